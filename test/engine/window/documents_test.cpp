// The window's documents: what they take, what they refuse, what they keep.
#include "engine/window/documents.h"

#include <gtest/gtest.h>

#include <string>

namespace kiln::engine::window {
namespace {

TEST(Documents, DefaultsHoldWhatTheyMay) {
  EXPECT_EQ(MergeSettings(DefaultSettings(), Json::object()), DefaultSettings());
  EXPECT_EQ(MergeLayers(DefaultLayers(), Json::object()), DefaultLayers());
}

TEST(Documents, OnlyWhatIsNamedChanges) {
  Json expected = DefaultSettings();
  expected["window"]["width"] = 800;
  EXPECT_EQ(MergeSettings(DefaultSettings(), Json{{"window", {{"width", 800}}}}), expected);
}

TEST(Documents, NullBringsBackTheDefault) {
  const auto changed =
      MergeSettings(DefaultSettings(), Json{{"title", {{"prefix", "a"}}}, {"save", {{"noAlpha", true}}}});
  ASSERT_TRUE(changed);
  EXPECT_EQ(MergeSettings(*changed, Json{{"title", nullptr}, {"save", {{"noAlpha", nullptr}}}}),
            DefaultSettings());
}

TEST(Documents, UnknownKeysAreKept) {
  const auto changed = MergeSettings(DefaultSettings(), Json{{"mine", {1, 2}}, {"window", {{"mine", "x"}}}});
  ASSERT_TRUE(changed);
  EXPECT_EQ(changed->at("mine"), Json({1, 2}));
  EXPECT_EQ(changed->at("window").at("mine"), "x");
}

TEST(Documents, DocumentedKeysHoldWhatTheyMay) {
  for (const char* change :
       {R"({"window": 5})", R"({"window": {"width": 0}})", R"({"window": {"width": 1.5}})",
        R"({"window": {"alwaysOnTop": 1}})", R"({"title": {"prefix": 1}})", R"({"progress": {"value": 1.5}})",
        R"({"save": {"bitsPerChannel": 24}})", R"({"save": {"compressionType": 11}})",
        R"({"history": {"maxPictures": -1}})"}) {
    const auto document = ParseDocument(change);
    ASSERT_TRUE(document) << change;
    EXPECT_FALSE(MergeSettings(DefaultSettings(), *document)) << change;
  }
}

TEST(Documents, LayersGetTheirDefaults) {
  const auto layers =
      MergeLayers(DefaultLayers(),
                  Json{{"layers", {{{"type", "exposure"}, {"exposure", 2}}, {{"type", "mine"}, {"x", 1}}}}});
  ASSERT_TRUE(layers);
  const Json& list = layers->at("layers");
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].at("exposure"), 2);
  EXPECT_EQ(list[0].at("contrast"), 1.0);
  EXPECT_EQ(list[0].at("enabled"), true);
  EXPECT_EQ(list[1].at("x"), 1);
  EXPECT_EQ(list[1].at("opacity"), 1.0);
}

TEST(Documents, LayersHoldWhatTheyMay) {
  for (const char* change :
       {R"({"layers": {}})", R"({"layers": [5]})", R"({"layers": [{}]})", R"({"layers": [{"type": 1}]})",
        R"({"layers": [{"type": "exposure", "exposure": "x"}]})",
        R"({"layers": [{"type": "gamma", "gamma": 0}]})", R"({"layers": [{"type": "mine", "opacity": 2}]})",
        R"({"layers": [{"type": "mine", "enabled": 1}]})"}) {
    const auto document = ParseDocument(change);
    ASSERT_TRUE(document) << change;
    EXPECT_FALSE(MergeLayers(DefaultLayers(), *document)) << change;
  }
}

TEST(Documents, NoObjectIsNoDocument) {
  for (const char* text : {"", "5", "[]", "{", "{\"a\":1e999}", "{\"a\":\"\xff\"}", "{} x"}) {
    EXPECT_FALSE(ParseDocument(text)) << text;
  }
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "{\"a\":";
  EXPECT_FALSE(ParseDocument(deep));
  std::string closed = "{\"a\":" + std::string(50, '[') + std::string(50, ']') + "}";
  EXPECT_FALSE(ParseDocument(closed));
}

}  // namespace
}  // namespace kiln::engine::window
