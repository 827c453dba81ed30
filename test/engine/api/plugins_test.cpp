// Plugin instances, their classes and what can be asked about their properties.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

std::vector<std::string> Take(KilnStringVector vector) {
  std::vector<std::string> texts;
  for (int32_t i = 0; i < getVectorSize(vector); ++i) texts.emplace_back(getVectorElement(vector, i));
  releaseVector(vector);
  return texts;
}

class Plugins : public ::testing::Test {
 protected:
  KilnPluginId New(const char* name, const char* class_name) {
    KilnPluginId id = KILN_NO_PLUGIN;
    EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, name, class_name, 1, &id), 0);
    return id;
  }
  const ScopedRenderer renderer;
};

TEST_F(Plugins, AreMadeUnderANameOrWithout) {
  const KilnPluginId named = New("sun", "LightPoint");
  EXPECT_EQ(Kiln_KilnRenderer_getPluginID(renderer, "sun"), named);
  EXPECT_STREQ(Kiln_KilnRenderer_getPluginName(renderer, named), "sun");
  EXPECT_STREQ(Kiln_KilnRenderer_getPluginTypeByID(renderer, named), "LightPoint");
  EXPECT_STREQ(Kiln_KilnRenderer_getPluginType(renderer, "sun"), "LightPoint");
  const KilnPluginId unnamed = New(nullptr, "LightPoint");
  EXPECT_THAT(Kiln_KilnRenderer_getPluginName(renderer, unnamed), testing::StartsWith("LightPoint@"));
  EXPECT_NE(Kiln_KilnRenderer_pluginExistsByID(renderer, unnamed), 0);
  EXPECT_EQ(Kiln_KilnRenderer_pluginExistsByID(renderer, 0), 0);
  EXPECT_EQ(Kiln_KilnRenderer_pluginExistsByID(renderer, KILN_NO_PLUGIN), 0);
}

TEST_F(Plugins, AreRefusedForANamedReason) {
  New("sun", "LightPoint");
  KilnPluginId id = 77;
  EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "sun", "LightPoint", 1, &id), -2);
  EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "a b", "LightPoint", 1, &id), -3);
  EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "a", "NoSuchClass", 1, &id), -1);
  EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "a", nullptr, 1, &id), -1);
  EXPECT_EQ(id, 77u) << "untouched";
}

TEST_F(Plugins, MayHaveAnyNameWhereTheOptionsSaySo) {
  KilnRendererOptions options{};
  options.flags = KILN_RENDERER_ALLOW_INVALID_CHARACTERS;
  KilnRendererHandle loose = Kiln_KilnRenderer_create(&options, nullptr);
  KilnPluginId id = 0;
  EXPECT_EQ(Kiln_KilnRenderer_newPlugin(loose, "a b", "LightPoint", 1, &id), 0);
  Kiln_KilnRenderer_release(loose);
}

TEST_F(Plugins, AreListedInTheOrderOfTheirMaking) {
  const KilnPluginId first = New("b", "LightPoint");
  const KilnPluginId second = New("a", "LightPoint");
  New("camera", "CameraPerspective");
  int32_t count = 0;
  KilnPluginId* ids = Kiln_KilnRenderer_getPluginIDsOfType(renderer, "LightPoint", &count);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(ids[0], first);
  EXPECT_EQ(ids[1], second);
  C_memory_free(ids);
  C_memory_free(Kiln_KilnRenderer_getPluginIDsOfType(renderer, nullptr, &count));
  EXPECT_EQ(count, 3);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginIDsOfType(renderer, "NoSuchClass", &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "LightPoint"), 2);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "NoSuchClass"), 0);
  EXPECT_THAT(Take(Kiln_KilnRenderer_getPluginNames(renderer)), testing::ElementsAre("b", "a", "camera"));
}

TEST_F(Plugins, ANameStaysReadableAfterTheRename) {
  const KilnPluginId id = New("old", "LightPoint");
  const char* name = Kiln_KilnRenderer_getPluginName(renderer, id);
  EXPECT_EQ(Kiln_KilnRenderer_renamePlugin(renderer, "old", "new"), 0);
  EXPECT_STREQ(name, "old");
  EXPECT_STREQ(Kiln_KilnRenderer_getPluginName(renderer, id), "new");
  New("other", "LightPoint");
  EXPECT_NE(Kiln_KilnRenderer_renamePluginByID(renderer, id, "other"), 0);
  EXPECT_NE(Kiln_KilnRenderer_renamePluginByID(renderer, id, nullptr), 0);
}

TEST_F(Plugins, AreDeletedTogetherOrNotAtAll) {
  const KilnPluginId a = New("a", "LightPoint");
  const KilnPluginId b = New("b", "LightPoint");
  const KilnPluginId with_stranger[] = {a, 123456, b};
  EXPECT_LT(Kiln_KilnRenderer_deletePluginsByID(renderer, with_stranger, 3, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, nullptr), 2);
  const KilnPluginId twice[] = {a, b, a};
  EXPECT_EQ(Kiln_KilnRenderer_deletePluginsByID(renderer, twice, 3, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, nullptr), 0);
  EXPECT_EQ(Kiln_KilnRenderer_deletePluginsByID(renderer, nullptr, 0, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_deletePluginsByID(renderer, nullptr, 1, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_deletePlugin(renderer, "a", 1), 0);
}

TEST_F(Plugins, EveryChangeRaisesTheChangeIndex) {
  const uint64_t before = Kiln_KilnRenderer_getChangeIndex(renderer);
  New("a", "LightPoint");
  EXPECT_GT(Kiln_KilnRenderer_getChangeIndex(renderer), before);
  EXPECT_EQ(Kiln_KilnRenderer_commit(renderer, 1), Kiln_KilnRenderer_getChangeIndex(renderer));
}

TEST_F(Plugins, CanBeReplaced) {
  const KilnPluginId a = New("a", "MaterialPrincipled");
  const KilnPluginId b = New("b", "MaterialPrincipled");
  EXPECT_EQ(Kiln_KilnRenderer_replacePluginByID(renderer, a, b, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_replacePluginByID(renderer, a, KILN_NO_PLUGIN, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_replacePluginByID(renderer, 123456, b, 1), 0);
}

TEST_F(Plugins, ClassesAreKnownByNameAndCategory) {
  const char* name = Kiln_KilnRenderer_pluginClassExists(renderer, "LightPoint");
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(name, "LightPoint");
  EXPECT_EQ(Kiln_KilnRenderer_pluginClassExists(renderer, "LightPoint"), name) << "one pointer for good";
  EXPECT_EQ(Kiln_KilnRenderer_pluginClassExists(renderer, "lightpoint"), nullptr);
  constexpr int32_t kLight = 4;
  EXPECT_NE(Kiln_KilnRenderer_isPluginClassOfCategory(renderer, "LightPoint", kLight), 0);
  EXPECT_EQ(Kiln_KilnRenderer_isPluginClassOfCategory(renderer, "CameraPerspective", kLight), 0);
  EXPECT_EQ(Kiln_KilnRenderer_isPluginClassOfCategory(renderer, "LightPoint", 17), 0);
  EXPECT_EQ(Kiln_KilnRenderer_isPluginClassOfCategory(renderer, "LightPoint", -1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginClassCategories(renderer, "LightPoint"), uint64_t{1} << kLight);
  const auto lights = Take(Kiln_KilnRenderer_getPluginClassNamesByCategory(renderer, kLight));
  EXPECT_THAT(lights, testing::Contains("LightDome"));
  EXPECT_THAT(lights, testing::Not(testing::Contains("CameraPerspective")));
  EXPECT_EQ(Kiln_KilnRenderer_getPluginClassNamesByCategory(renderer, 17), nullptr);
  char* description = Kiln_KilnRenderer_getPluginDescription(renderer, "LightPoint");
  ASSERT_NE(description, nullptr);
  EXPECT_GT(std::strlen(description), 10u);
  C_memory_free(description);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginDescription(renderer, "NoSuchClass"), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginDeprecation(renderer, "LightPoint"), nullptr);
  EXPECT_THAT(Take(Kiln_KilnRenderer_getClassPropertyNames(renderer, "LightPoint")),
              testing::Contains("intensity"));
  EXPECT_EQ(Kiln_KilnRenderer_getClassPropertyNames(renderer, "NoSuchClass"), nullptr);
}

TEST_F(Plugins, PropertiesAreKnownByNameTypeAndCount) {
  const KilnPluginId id = New("mesh", "GeomStaticMesh");
  EXPECT_NE(Kiln_KilnRenderer_propertyExistsByID(renderer, id, "vertices"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_propertyExistsByID(renderer, id, "nonsense"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyTypeByID(renderer, id, "vertices"), 104);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyType(renderer, "mesh", "doubleSided"), 3);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyTypeByID(renderer, id, "nonsense"), 10000);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyElementsCountByID(renderer, id, "vertices"), 0);
  EXPECT_LT(Kiln_KilnRenderer_getPropertyElementsCount(renderer, "mesh", "doubleSided"), 0);
  EXPECT_THAT(Take(Kiln_KilnRenderer_getPropertyNames(renderer, "mesh")), testing::Contains("vertices"));
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyNamesByID(renderer, 123456), nullptr);
}

TEST_F(Plugins, KeyFramesAreListedInOrder) {
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, "[a]\nclass = \"LightPoint\"\nintensity = 2\n"), 0);
  const KilnPluginId id = Kiln_KilnRenderer_getPluginID(renderer, "a");
  EXPECT_EQ(Kiln_KilnRenderer_isPropertyAnimatedByID(renderer, id, "intensity"), 0);
  double* times = nullptr;
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyKeyframeTimesByID(renderer, id, "intensity", &times), 0);
  C_memory_free(times);
  EXPECT_LT(Kiln_KilnRenderer_getPropertyKeyframeTimesByID(renderer, id, "nonsense", &times), 0);
  EXPECT_EQ(times, nullptr);
}

TEST_F(Plugins, OutputsHaveANumberAndAName) {
  const KilnPluginId id = New("bitmap", "TextureBitmap");
  const int32_t index = Kiln_KilnRenderer_getPropertyIndexFromNameByID(renderer, id, "green");
  EXPECT_GT(index, 0);
  EXPECT_STREQ(Kiln_KilnRenderer_getPropertyNameFromIndexByID(renderer, id, index), "green");
  EXPECT_LT(Kiln_KilnRenderer_getPropertyIndexFromNameByID(renderer, id, "nonsense"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyNameFromIndexByID(renderer, id, 99), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyNameFromIndexByID(renderer, id, -1), nullptr);
}

}  // namespace
}  // namespace kiln::engine::test
