// Staging of instances and their addition in one step.
#include "engine/scene/scene_batch.h"

#include <gtest/gtest.h>

#include "test/engine/scene/every_type.h"

namespace kiln::engine::scene {
namespace {

TEST(SceneBatch, AddsInstancesWithForwardReferences) {
  Scene scene;
  SceneBatch batch;
  batch.SetFolder("/scenes");
  const auto a = batch.Add("TestEveryType", "a");
  const auto b = batch.Add("TestEveryType");
  EXPECT_TRUE(batch.Set(a, "plugin", batch.Ref(b, 1)));
  EXPECT_TRUE(batch.Set(b, "plugins", ValueArray({batch.Ref(a), PluginRef{}})));
  EXPECT_TRUE(batch.Set(a, "texture", batch.Ref(b), 0.0));
  EXPECT_TRUE(batch.Set(a, "texture", Color{1, 0, 0}, 1.0));
  EXPECT_EQ(batch.size(), 2U);
  EXPECT_EQ(batch.NameOf(a), "a");
  EXPECT_EQ(batch.TypeOf(b), FindClass("TestEveryType"));
  const CommitReport report = batch.CommitTo(scene);
  ASSERT_TRUE(report.ok()) << report.why;
  EXPECT_EQ(batch.size(), 0U);
  const Instance* first = scene.FindByName("a");
  const Instance* second = scene.FindByName("TestEveryType@1");
  ASSERT_TRUE(first != nullptr && second != nullptr);
  EXPECT_EQ(scene.Get(first->id, "plugin"), Value(PluginRef{second->id, 1}));
  EXPECT_EQ(scene.Get(first->id, "texture", 0.0), Value(PluginRef{second->id}));
  EXPECT_EQ(scene.Get(second->id, "plugins"), Value(ValueArray({PluginRef{first->id}, PluginRef{}})));
  ASSERT_NE(first->folder, nullptr);
  EXPECT_EQ(*first->folder, "/scenes");
}

TEST(SceneBatch, TakenNamesGetASuffixAndInvalidCharactersAreReplaced) {
  Scene scene;
  for (int round = 0; round < 2; ++round) {
    SceneBatch batch;
    batch.Add("TestOther", "n");
    batch.Add("TestOther", "n");
    batch.Add("TestOther", "a b\xC3\xA4.c");
    ASSERT_TRUE(batch.CommitTo(scene).ok());
  }
  for (const char* name : {"n", "n_2", "n_3", "n_4", "a_b___c", "a_b___c_2"}) {
    EXPECT_NE(scene.FindByName(name), nullptr) << name;
  }
  scene.allow_invalid_names = true;
  SceneBatch batch;
  batch.Add("TestOther", "a b");
  ASSERT_TRUE(batch.CommitTo(scene).ok());
  EXPECT_NE(scene.FindByName("a b"), nullptr);
}

TEST(SceneBatch, ManyEqualNamesDoNotCountAnewEachTime) {
  constexpr size_t kCount = 100000;
  Scene scene;
  SceneBatch batch;
  for (size_t i = 0; i < kCount; ++i) batch.Add("TestOther", "node");
  ASSERT_TRUE(batch.CommitTo(scene).ok());
  EXPECT_EQ(scene.Count(), kCount);
  EXPECT_NE(scene.FindByName("node_" + std::to_string(kCount)), nullptr);
}

TEST(SceneBatch, TheFirstFailureIsKeptAndNothingIsAdded) {
  Scene scene;
  SceneBatch batch;
  const auto a = batch.Add("TestOther", "a");
  std::string why;
  EXPECT_FALSE(batch.Set(a, "nothing", 1, {}, &why));
  EXPECT_EQ(why, "TestOther has no property \"nothing\"");
  EXPECT_EQ(batch.Add("NoClass", "b"), SceneBatch::kNoHandle);
  EXPECT_FALSE(batch.Set(SceneBatch::kNoHandle, "target", 1));
  EXPECT_FALSE(batch.Set(a, "target", 1));
  EXPECT_EQ(batch.CommitTo(scene).why, "TestOther has no property \"nothing\"");
  EXPECT_EQ(scene.Count(), 0U);
  batch.Add("TestOther", "a");
  EXPECT_TRUE(batch.CommitTo(scene).ok());
}

TEST(SceneBatch, AFilterRenamesAndLeavesOut) {
  Scene scene;
  SceneBatch batch;
  const auto a = batch.Add("TestOther", "a");
  const auto b = batch.Add("TestOther", "b");
  const auto c = batch.Add("TestOther", "c");
  batch.Set(a, "target", batch.Ref(b));
  batch.Set(c, "target", batch.Ref(a));
  std::vector<std::string> asked;
  const LoadFilter filter = [&](std::string_view type, std::string_view name) -> std::optional<std::string> {
    asked.push_back(std::string(type) + ' ' + std::string(name));
    if (name == "b") return {};
    return name == "a" ? "renamed" : std::string(name);
  };
  const CommitReport report = batch.CommitTo(scene, filter);
  ASSERT_TRUE(report.ok()) << report.why;
  EXPECT_EQ(report.notes, "\"renamed\": its \"target\" refers to \"b\", which the filter left out");
  EXPECT_EQ(asked, (std::vector<std::string>{"TestOther a", "TestOther b", "TestOther c"}));
  EXPECT_EQ(scene.Count(), 2U);
  const Instance* renamed = scene.FindByName("renamed");
  ASSERT_NE(renamed, nullptr);
  EXPECT_TRUE(renamed->values.empty()) << "a reference to nothing is no value";
  EXPECT_EQ(scene.Get(scene.FindByName("c")->id, "target"), Value(PluginRef{renamed->id}));
}

TEST(SceneBatch, AFilterSeesTheNamesThatInstancesGet) {
  Scene scene;
  PluginId id = kNoPlugin;
  ASSERT_EQ(scene.Create(*FindClass("TestOther"), "cube", &id), CreateStatus::kOk);
  SceneBatch batch;
  batch.Add("TestOther", "cube");
  batch.Add("TestOther", "cube");
  batch.Add("TestOther", "a cube");
  batch.Add("TestOther");
  std::vector<std::string> asked;
  const LoadFilter filter = [&](std::string_view, std::string_view name) {
    asked.emplace_back(name);
    return std::optional<std::string>("my_" + std::string(name));
  };
  ASSERT_TRUE(batch.CommitTo(scene, filter).ok());
  EXPECT_EQ(asked, (std::vector<std::string>{"cube_2", "cube_3", "a_cube", "TestOther@1"}));
  for (const std::string& name : asked) EXPECT_NE(scene.FindByName("my_" + name), nullptr) << name;
}

TEST(SceneBatch, ANameOfTheFiltersThatCannotBeRefusesAll) {
  struct Case {
    const char* name;
    CreateStatus status;
  };
  for (const Case& c : {Case{"there", CreateStatus::kDuplicateName}, Case{"b", CreateStatus::kDuplicateName},
                        Case{"a b", CreateStatus::kInvalidName}, Case{"", CreateStatus::kInvalidName}}) {
    Scene scene;
    PluginId id = kNoPlugin;
    ASSERT_EQ(scene.Create(*FindClass("TestOther"), "there", &id), CreateStatus::kOk);
    SceneBatch batch;
    batch.Add("TestOther", "a");
    batch.Add("TestOther", "b");
    const CommitReport report = batch.CommitTo(scene, [&](std::string_view, std::string_view name) {
      return std::optional<std::string>(name == "a" ? c.name : std::string(name));
    });
    EXPECT_EQ(report.status, c.status) << c.name;
    EXPECT_FALSE(report.ok()) << c.name;
    EXPECT_EQ(scene.Count(), 1U) << c.name;
  }
}

TEST(SceneBatch, AFilterMayGiveANameThatAnotherLeaves) {
  Scene scene;
  SceneBatch batch;
  batch.Add("TestOther", "a");
  batch.Add("TestOther", "b");
  const CommitReport report = batch.CommitTo(scene, [](std::string_view, std::string_view name) {
    return std::optional<std::string>(name == "a" ? "b" : "a");
  });
  EXPECT_TRUE(report.ok()) << report.why;
  EXPECT_EQ(scene.Count(), 2U);
}

}  // namespace
}  // namespace kiln::engine::scene
