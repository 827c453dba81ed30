// Instances, names, values and references in a scene.
#include "engine/scene/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "test/engine/scene/every_type.h"

namespace kiln::engine::scene {
namespace {

FloatArray Floats(std::vector<float> values) {
  return FloatArray(std::move(values));
}

class SceneTest : public testing::Test {
 protected:
  PluginId Make(std::string_view name, const PluginClass* type = nullptr) {
    PluginId id = kNoPlugin;
    EXPECT_EQ(scene_.Create(type != nullptr ? *type : type_, name, &id), CreateStatus::kOk);
    return id;
  }
  std::string NameOf(PluginId id) const { return scene_.Find(id)->name; }

  const PluginClass& type_ = *FindClass("TestEveryType");
  const PluginClass& other_ = *FindClass("TestOther");
  Scene scene_;
};

TEST_F(SceneTest, TheSceneChoosesNamesAndSkipsTakenOnes) {
  Make("TestEveryType@2");
  PluginId id = kNoPlugin;
  ASSERT_EQ(scene_.Create(type_, {}, &id), CreateStatus::kOk);
  EXPECT_EQ(NameOf(id), "TestEveryType@1");
  ASSERT_EQ(scene_.Create(type_, {}, &id), CreateStatus::kOk);
  EXPECT_EQ(NameOf(id), "TestEveryType@3");
}

TEST_F(SceneTest, NamesAreUniqueAndOfAllowedCharacters) {
  Make("Az09@|_");
  PluginId id = 99;
  EXPECT_EQ(scene_.Create(other_, "Az09@|_", &id), CreateStatus::kDuplicateName);
  for (const char* name : {"", "a b", "a.b", "a-b", "\xC3\xA4", "a\nb"}) {
    EXPECT_EQ(scene_.Create(type_, name, &id), CreateStatus::kInvalidName) << name;
  }
  EXPECT_EQ(id, 99U);
  scene_.allow_invalid_names = true;
  EXPECT_EQ(scene_.Create(type_, "a b", &id), CreateStatus::kOk);
  EXPECT_EQ(scene_.Create(type_, "", &id), CreateStatus::kInvalidName);
}

TEST_F(SceneTest, IdsKeepTheOrderOfCreationThroughDeletions) {
  const PluginId a = Make("a");
  const PluginId b = Make("b", &other_);
  const PluginId c = Make("c");
  const PluginId d = Make("d");
  EXPECT_EQ(scene_.Ids(), (std::vector{a, b, c, d}));
  EXPECT_EQ(scene_.Ids(&type_), (std::vector{a, c, d}));
  EXPECT_TRUE(scene_.Delete(c));
  EXPECT_FALSE(scene_.Delete(c));
  EXPECT_EQ(scene_.Ids(&type_), (std::vector{a, d}));
  EXPECT_TRUE(scene_.Delete(a));
  EXPECT_TRUE(scene_.Delete(d));
  EXPECT_EQ(scene_.Ids(&type_), std::vector<PluginId>());
  EXPECT_EQ(scene_.Ids(), std::vector{b});
  EXPECT_EQ(scene_.Count(&type_), 0U);
  EXPECT_EQ(scene_.FindByName("a"), nullptr);
  EXPECT_NE(Make("a"), a);
}

TEST_F(SceneTest, RenameChecksAsCreateDoes) {
  const PluginId a = Make("a");
  Make("b");
  EXPECT_FALSE(scene_.Rename(a, "b"));
  EXPECT_FALSE(scene_.Rename(a, "a b"));
  EXPECT_FALSE(scene_.Rename(a, ""));
  EXPECT_FALSE(scene_.Rename(12345, "c"));
  EXPECT_TRUE(scene_.Rename(a, "a"));
  const std::string long_name(100, 'x');
  EXPECT_TRUE(scene_.Rename(a, long_name));
  EXPECT_EQ(scene_.FindByName("a"), nullptr);
  ASSERT_NE(scene_.FindByName(long_name), nullptr);
  EXPECT_EQ(scene_.FindByName(long_name)->id, a);
  // The name may be the very text that the instance holds.
  EXPECT_TRUE(scene_.Rename(a, scene_.Find(a)->name.substr(0, 3)));
  EXPECT_TRUE(scene_.Delete(a));
  EXPECT_EQ(scene_.FindByName("xxx"), nullptr);
}

TEST_F(SceneTest, ValuesDefaultStoreAndReset) {
  const PluginId a = Make("a");
  EXPECT_EQ(scene_.Get(a, "int"), Value(7));
  EXPECT_TRUE(scene_.Set(a, "int", 3.0));
  EXPECT_EQ(scene_.Get(a, "int"), Value(3));
  EXPECT_TRUE(scene_.Set(a, "int", 1000));
  EXPECT_EQ(scene_.Get(a, "int"), Value(1000));
  EXPECT_FALSE(scene_.Set(a, "int", "x"));
  EXPECT_EQ(scene_.Get(a, "int"), Value(1000));
  EXPECT_TRUE(scene_.Set(a, "int", PluginRef{}));
  EXPECT_EQ(scene_.Get(a, "int"), Value(7));
  EXPECT_TRUE(scene_.Find(a)->values.empty());
  EXPECT_TRUE(scene_.Set(a, "real", 4));
  EXPECT_EQ(scene_.Get(a, "float"), Value(4.0F));
  EXPECT_FALSE(scene_.Set(a, "nothing", 4));
  EXPECT_FALSE(scene_.Set(12345, "int", 4));
  EXPECT_TRUE(scene_.Get(a, "nothing").Empty());
  EXPECT_TRUE(scene_.Get(12345, "int").Empty());
}

TEST_F(SceneTest, FixedLengthIsChecked) {
  const PluginId a = Make("a");
  EXPECT_TRUE(scene_.Set(a, "pair", Floats({1, 2})));
  EXPECT_FALSE(scene_.Set(a, "pair", Floats({1, 2, 3})));
  EXPECT_EQ(scene_.Get(a, "pair"), Value(Floats({1, 2})));
}

TEST_F(SceneTest, KeyFramesAndPlainValuesReplaceEachOther) {
  const PluginId a = Make("a");
  EXPECT_TRUE(scene_.Set(a, "float", 1, 0.0));
  EXPECT_TRUE(scene_.Set(a, "float", 3, 2.0));
  EXPECT_EQ(scene_.Get(a, "float"), Value(1.0F));
  EXPECT_EQ(scene_.Get(a, "float", 1.0), Value(2.0F));
  EXPECT_EQ(scene_.Get(a, "float", -5.0), Value(1.0F));
  EXPECT_EQ(scene_.Get(a, "float", 5.0), Value(3.0F));
  EXPECT_EQ(scene_.Get(a, "float", std::nan("")), Value(1.0F));
  EXPECT_FALSE(scene_.Set(a, "float", 1, std::nan("")));
  EXPECT_FALSE(scene_.Set(a, "float", 1, std::numeric_limits<double>::infinity()));
  EXPECT_TRUE(scene_.Set(a, "float", PluginRef{}, 0.0));
  EXPECT_EQ(scene_.Get(a, "float", 0.0), Value(3.0F));
  EXPECT_TRUE(scene_.Set(a, "float", PluginRef{}, 2.0));
  EXPECT_EQ(scene_.Get(a, "float", 0.0), Value(2.0F));
  EXPECT_TRUE(scene_.Set(a, "float", 1, 0.0));
  EXPECT_TRUE(scene_.Set(a, "float", 9));
  EXPECT_EQ(scene_.Get(a, "float", 0.0), Value(9.0F));
  EXPECT_TRUE(scene_.Find(a)->values.begin()->second.keys.empty());
}

TEST_F(SceneTest, TextsAreReferencesWhereTheTypeTakesThem) {
  const PluginId a = Make("a");
  const PluginId b = Make("b");
  EXPECT_TRUE(scene_.Set(a, "plugin", "b"));
  EXPECT_EQ(scene_.Get(a, "plugin"), Value(PluginRef{b, 0}));
  EXPECT_TRUE(scene_.Set(a, "texture", "b::red"));
  EXPECT_EQ(scene_.Get(a, "texture"), Value(PluginRef{b, 2}));
  EXPECT_EQ(scene_.ReferenceText(PluginRef{b, 2}), "b::red");
  EXPECT_FALSE(scene_.Set(a, "texture", "b::blue"));
  EXPECT_FALSE(scene_.Set(a, "plugin", "c"));
  EXPECT_TRUE(scene_.Set(a, "plugins", R"(["a", "b::alpha"])"));
  EXPECT_EQ(scene_.Get(a, "plugins"), Value(ValueArray({PluginRef{a}, PluginRef{b, 1}})));
  EXPECT_TRUE(scene_.Set(a, "texture", "1 0 0"));
  EXPECT_EQ(scene_.Get(a, "texture"), Value(Color{1, 0, 0}));
  EXPECT_TRUE(scene_.Set(a, "plugin", ""));
  EXPECT_EQ(scene_.Get(a, "plugin"), Value(PluginRef{}));
}

TEST_F(SceneTest, ADeletedPluginReadsAsNone) {
  const PluginId a = Make("a");
  const PluginId b = Make("b");
  EXPECT_TRUE(scene_.Set(a, "plugin", PluginRef{b}));
  EXPECT_TRUE(scene_.Delete(b));
  EXPECT_EQ(scene_.Get(a, "plugin"), Value(PluginRef{}));
  EXPECT_EQ(scene_.ReferenceText(PluginRef{b}), "");
}

TEST_F(SceneTest, ReplaceMovesReferencesButNotTheTargetsOwn) {
  const PluginId a = Make("a");
  const PluginId old = Make("old");
  const PluginId target = Make("target");
  const PluginId plain = Make("plain", &other_);
  EXPECT_TRUE(scene_.Set(a, "texture", PluginRef{old, 2}));
  EXPECT_TRUE(scene_.Set(a, "plugins", ValueArray({PluginRef{old}, PluginRef{a}})));
  EXPECT_TRUE(scene_.Set(a, "plugin", PluginRef{old}, 1.0));
  EXPECT_TRUE(scene_.Set(target, "plugin", PluginRef{old}));
  const uint64_t untouched = scene_.Find(plain)->revision;
  EXPECT_TRUE(scene_.Replace(old, target));
  EXPECT_EQ(scene_.Get(a, "texture"), Value(PluginRef{target, 2}));
  EXPECT_EQ(scene_.Get(a, "plugins"), Value(ValueArray({PluginRef{target}, PluginRef{a}})));
  EXPECT_EQ(scene_.Get(a, "plugin", 1.0), Value(PluginRef{target}));
  EXPECT_EQ(scene_.Get(target, "plugin"), Value(PluginRef{old}));
  EXPECT_EQ(scene_.Find(plain)->revision, untouched);
  EXPECT_TRUE(scene_.Replace(target, plain));
  EXPECT_EQ(scene_.Get(a, "texture"), Value(PluginRef{plain, 0}));
  EXPECT_TRUE(scene_.Replace(plain, kNoPlugin));
  EXPECT_EQ(scene_.Get(a, "texture"), Value(PluginRef{}));
  EXPECT_FALSE(scene_.Replace(a, 12345));
  EXPECT_FALSE(scene_.Replace(12345, a));
}

TEST_F(SceneTest, EveryChangeRaisesTheIndexAndFailuresDoNot) {
  const PluginId a = Make("a");
  uint64_t last = scene_.change_index();
  const auto changed = [&] { return std::exchange(last, scene_.change_index()) != last; };
  EXPECT_TRUE(scene_.Set(a, "int", 1));
  EXPECT_TRUE(changed());
  EXPECT_EQ(scene_.Find(a)->revision, scene_.change_index());
  EXPECT_FALSE(scene_.Set(a, "int", "x"));
  EXPECT_FALSE(changed());
  EXPECT_TRUE(scene_.Rename(a, "b"));
  EXPECT_TRUE(changed());
  EXPECT_TRUE(scene_.Delete(a));
  EXPECT_TRUE(changed());
  scene_.Clear();
  EXPECT_TRUE(changed());
}

TEST_F(SceneTest, TakingAnotherScenesContentNeverReusesAnId) {
  const PluginId old = Make("a");
  Scene other;
  PluginId a = kNoPlugin;
  PluginId b = kNoPlugin;
  ASSERT_EQ(other.Create(type_, "a", &a), CreateStatus::kOk);
  ASSERT_EQ(other.Create(type_, {}, &b), CreateStatus::kOk);
  EXPECT_TRUE(other.Set(a, "plugin", PluginRef{b, 1}));
  EXPECT_TRUE(other.Set(b, "plugins", ValueArray({PluginRef{a}, PluginRef{}})));
  const uint64_t before = scene_.change_index();
  scene_.TakeContent(other);
  EXPECT_EQ(other.Count(), 0U);
  EXPECT_EQ(other.FindByName("a"), nullptr);
  EXPECT_GT(scene_.change_index(), before);
  EXPECT_EQ(scene_.Find(old), nullptr);
  const PluginId moved = scene_.FindByName("a")->id;
  EXPECT_NE(moved, old);
  EXPECT_EQ(scene_.ReferenceText(*scene_.Get(moved, "plugin").As<PluginRef>()), "TestEveryType@1::alpha");
  EXPECT_EQ(scene_.Get(scene_.Ids()[1], "plugins"), Value(ValueArray({PluginRef{moved}, PluginRef{}})));
  EXPECT_EQ(NameOf(Make("TestEveryType@9")), "TestEveryType@9");
}

TEST_F(SceneTest, ManyInstancesComeAndGo) {
  constexpr size_t kCount = 200000;
  std::vector<PluginId> ids(kCount);
  for (PluginId& id : ids) ASSERT_EQ(scene_.Create(type_, {}, &id), CreateStatus::kOk);
  EXPECT_EQ(scene_.Count(&type_), kCount);
  std::shuffle(ids.begin(), ids.end(), std::mt19937(7));
  for (size_t i = 0; i < kCount; i += 2) ASSERT_TRUE(scene_.Delete(ids[i]));
  EXPECT_EQ(scene_.Count(&type_), kCount / 2);
  EXPECT_TRUE(std::ranges::is_sorted(scene_.Ids(&type_)));
  EXPECT_EQ(scene_.Ids().size(), kCount / 2);
  for (size_t i = 1; i < kCount; i += 2) ASSERT_TRUE(scene_.Delete(ids[i]));
  EXPECT_EQ(scene_.Count(), 0U);
  EXPECT_EQ(scene_.Ids(), std::vector<PluginId>());
}

TEST(ResolveFile, RelativeNamesStartAtTheFolder) {
  Instance instance;
  EXPECT_EQ(ResolveFile(instance, "a.png"), "a.png");
  instance.folder = std::make_shared<const std::filesystem::path>("/scenes");
  EXPECT_EQ(ResolveFile(instance, "a.png"), "/scenes/a.png");
  EXPECT_EQ(ResolveFile(instance, "/b/a.png"), "/b/a.png");
  EXPECT_EQ(ResolveFile(instance, ""), "");
}

TEST(Interpolate, BlendsWhatCanBeBlended) {
  const auto at_quarter = [](Value a, Value b) {
    return Interpolate({{1, std::move(a)}, {5, std::move(b)}}, 2);
  };
  EXPECT_EQ(at_quarter(0.0F, 4.0F), Value(1.0F));
  EXPECT_EQ(at_quarter(0.0, 4.0), Value(1.0));
  EXPECT_EQ(at_quarter(Vec3{0, 4, 8}, Vec3{4, 8, 12}), Value(Vec3{1, 5, 9}));
  EXPECT_EQ(at_quarter(Color{0, 4, 8}, Color{4, 8, 12}), Value(Color{1, 5, 9}));
  EXPECT_EQ(at_quarter(AColor{0, 4, 8, 0}, AColor{4, 8, 12, 4}), Value(AColor{1, 5, 9, 1}));
  EXPECT_EQ(at_quarter(Transform{{}, {0, 0, 0}}, Transform{{}, {4, 8, 12}}), Value(Transform{{}, {1, 2, 3}}));
  EXPECT_EQ(at_quarter(Floats({0, 4}), Floats({4, 8})), Value(Floats({1, 5})));
  EXPECT_EQ(at_quarter(VectorArray({{0, 0, 0}}), VectorArray({{4, 8, 12}})), Value(VectorArray({{1, 2, 3}})));
}

TEST(Interpolate, HoldsTheEarlierKeyForTheRest) {
  const auto at_quarter = [](Value a, Value b) {
    return Interpolate({{1, std::move(a)}, {5, std::move(b)}}, 2);
  };
  EXPECT_EQ(at_quarter(0, 4), Value(0));
  EXPECT_EQ(at_quarter(false, true), Value(false));
  EXPECT_EQ(at_quarter("a", "b"), Value("a"));
  EXPECT_EQ(at_quarter(PluginRef{1}, PluginRef{2}), Value(PluginRef{1}));
  EXPECT_EQ(at_quarter(Color{1, 1, 1}, PluginRef{2}), Value(Color{1, 1, 1}));
  EXPECT_EQ(at_quarter(Floats({0}), Floats({4, 8})), Value(Floats({0})));
  EXPECT_EQ(at_quarter(IntArray(std::vector<int32_t>{0}), IntArray(std::vector<int32_t>{4})),
            Value(IntArray(std::vector<int32_t>{0})));
}

TEST(Interpolate, KeysThemselvesAreExact) {
  const KeyFrames keys = {{0, 0.1F}, {1, 0.7F}, {2, 0.3F}};
  EXPECT_EQ(Interpolate(keys, 1), Value(0.7F));
  EXPECT_EQ(Interpolate(keys, 2), Value(0.3F));
  EXPECT_EQ(Interpolate(keys, 0), Value(0.1F));
}

}  // namespace
}  // namespace kiln::engine::scene
