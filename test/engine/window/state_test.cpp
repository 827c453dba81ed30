// State as bytes, and what a window makes of them.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/window/window.h"

namespace kiln::engine::window {
namespace {

using Bytes = std::vector<std::byte>;

constexpr StateKind kKinds[] = {StateKind::kMain, StateKind::kHistory, StateKind::kPersistent};

TEST(State, ComesBackAsItWas) {
  const Json document = {{"a", {1, 2.5, "\u00e9"}}, {"b", nullptr}};
  for (const StateKind kind : kKinds) EXPECT_EQ(UnpackState(kind, PackState(kind, document)), document);
}

TEST(State, IsOfItsKind) {
  for (const StateKind kind : kKinds) {
    for (const StateKind other : kKinds) {
      EXPECT_EQ(UnpackState(other, PackState(kind, Json::object())).has_value(), kind == other);
    }
  }
}

TEST(State, DamageAnywhereIsNoticed) {
  const Bytes whole = PackState(StateKind::kMain, {{"settings", {{"a", "some text"}}}});
  for (size_t i = 0; i < whole.size(); ++i) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(i));
    EXPECT_FALSE(UnpackState(StateKind::kMain, cut)) << i;
    for (int bit = 0; bit < 8; ++bit) {
      Bytes changed = whole;
      changed[i] ^= static_cast<std::byte>(1 << bit);
      EXPECT_FALSE(UnpackState(StateKind::kMain, changed)) << i;
    }
  }
  Bytes longer = whole;
  longer.push_back(std::byte{0});
  EXPECT_FALSE(UnpackState(StateKind::kMain, longer));
}

TEST(WindowState, GoesFromOneWindowToAnother) {
  Window first;
  ASSERT_TRUE(first.SetRectangle({10, -20, 300, 200}));
  ASSERT_TRUE(first.SetSettings(R"({"mine": 5, "title": {"prefix": "a"}})"));
  ASSERT_TRUE(first.SetLayers(R"({"layers": [{"type": "exposure", "exposure": 3}]})"));
  ASSERT_TRUE(first.SetProgress("half", 0.5f));
  for (const StateKind kind : {StateKind::kMain, StateKind::kPersistent}) {
    Window second;
    ASSERT_TRUE(second.SetProgress("other", 0.25f));
    ASSERT_TRUE(second.SetState(kind, first.State(kind)));
    EXPECT_EQ(second.rectangle().y, -20);
    EXPECT_EQ(second.settings().at("mine"), 5);
    EXPECT_EQ(second.layers(), first.layers());
    EXPECT_EQ(second.Get<std::string>("progress", "text"), "other");
  }
}

TEST(WindowState, WhatIsDamagedChangesNothing) {
  Window window;
  ASSERT_TRUE(window.SetRectangle({1, 2, 3, 4}));
  Bytes state = Window().State(StateKind::kPersistent);
  state[40] ^= std::byte{1};
  EXPECT_FALSE(window.SetState(StateKind::kPersistent, state));
  // Whole, but of documents that no window holds.
  for (const Json& document :
       {Json{{"settings", 5}, {"layers", {{"layers", Json::array()}}}},
        Json{{"settings", Json::object()}, {"layers", {{"layers", 5}}}},
        Json{{"settings", Json::object()}, {"layers", Json::object()}, {"history", {1}}}}) {
    EXPECT_FALSE(window.SetState(StateKind::kPersistent, PackState(StateKind::kPersistent, document)))
        << document;
  }
  EXPECT_EQ(window.rectangle().width, 3);
}

TEST(WindowState, ResetBringsBackTheDefaults) {
  Window window;
  ASSERT_TRUE(window.SetSettings(R"({"mine": 5})"));
  ASSERT_TRUE(window.SetLayers(R"({"layers": []})"));
  window.Reset();
  EXPECT_EQ(window.settings(), DefaultSettings());
  EXPECT_EQ(window.layers(), DefaultLayers());
}

TEST(WindowState, TextsThatAreNoUtf8AreRefused) {
  Window window;
  EXPECT_FALSE(window.Set("title", "prefix", "\xff"));
  EXPECT_FALSE(window.SetProgress("\xff", {}));
  EXPECT_FALSE(window.SetProgress({}, NAN));
  EXPECT_EQ(window.settings(), DefaultSettings());
}

TEST(WindowState, ProgressIsHeldToItsRange) {
  Window window;
  ASSERT_TRUE(window.SetProgress({}, 7.0f));
  EXPECT_EQ(window.Get<double>("progress", "value"), 1);
  ASSERT_TRUE(window.SetProgress({}, -7.0f));
  EXPECT_EQ(window.Get<double>("progress", "value"), -1);
}

}  // namespace
}  // namespace kiln::engine::window
