// Presets of quality, and the box around a scene.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

class SceneEdit : public ::testing::Test {
 protected:
  std::string Text(const char* plugin, const char* property) {
    char* text = Kiln_KilnRenderer_getPropertyValue(renderer, plugin, property, 0);
    const std::string copy = text ? text : "(null)";
    C_memory_free(text);
    return copy;
  }
  int32_t Load(const char* text) { return Kiln_KilnRenderer_loadAsText(renderer, text); }

  const ScopedRenderer renderer;
};

TEST_F(SceneEdit, APresetMakesTheSettingsThatItNeeds) {
  EXPECT_NE(Kiln_KilnRenderer_setImprovedDefaults(renderer, 2), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "SettingsSampler"), 1);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "SettingsIntegrator"), 1);
  EXPECT_EQ(Text("SettingsSampler@1", "samples"), "256");
  EXPECT_EQ(Text("SettingsIntegrator@1", "maxDepth"), "12");
}

TEST_F(SceneEdit, APresetChangesTheSettingsThatAreThere) {
  ASSERT_EQ(Load("[mine]\nclass = \"SettingsSampler\"\nsamples = 5\nseed = 9\n"), 0);
  int32_t before = 0;
  for (int32_t level = 0; level < 5; ++level) {
    EXPECT_NE(Kiln_KilnRenderer_setImprovedDefaults(renderer, level), 0);
    const int32_t samples = std::stoi(Text("mine", "samples"));
    EXPECT_GT(samples, before);
    before = samples;
  }
  EXPECT_EQ(Text("mine", "seed"), "9");
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "SettingsSampler"), 1);
}

TEST_F(SceneEdit, ALevelThatIsNoneChangesNothing) {
  const uint64_t before = Kiln_KilnRenderer_getChangeIndex(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_setImprovedDefaults(renderer, -1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setImprovedDefaults(renderer, 5), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getChangeIndex(renderer), before);
}

constexpr char kMesh[] = R"(
[mesh]
class = "GeomStaticMesh"
vertices = [[-1, -2, -3], [1, 2, 3], [0, 0, 0]]
faces = [0, 1, 2]
)";

TEST_F(SceneEdit, AnEmptySceneHasNoBox) {
  KilnBox box{{7, 7, 7}, {7, 7, 7}};
  EXPECT_EQ(Kiln_KilnRenderer_getBoundingBox(renderer, &box), 0);
  ASSERT_EQ(Load(kMesh), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getBoundingBox(renderer, &box), 0) << "a mesh that nobody puts into the scene";
  EXPECT_EQ(box.lower[0], 7);
  EXPECT_EQ(Kiln_KilnRenderer_getBoundingBox(renderer, nullptr), 0);
}

TEST_F(SceneEdit, TheBoxIsAroundAllThatIsVisible) {
  const std::string scene = std::string(kMesh) + R"(
[first]
class = "GeomInstance"
geometry = "mesh"
transform = { translate = [10, 0, 0] }

[second]
class = "GeomInstance"
geometry = "mesh"
transform = { rotate = [0, 0, 90], scale = 2 }

[hidden]
class = "GeomInstance"
geometry = "mesh"
visible = false
transform = { translate = [1000, 0, 0] }
)";
  ASSERT_EQ(Load(scene.c_str()), 0);
  KilnBox box;
  ASSERT_NE(Kiln_KilnRenderer_getBoundingBox(renderer, &box), 0);
  EXPECT_THAT(box.lower, testing::Pointwise(testing::FloatNear(1e-4F), {-4.0F, -2.0F, -6.0F}));
  EXPECT_THAT(box.upper, testing::Pointwise(testing::FloatNear(1e-4F), {11.0F, 2.0F, 6.0F}));
}

TEST_F(SceneEdit, TheBoxFollowsTheTime) {
  const std::string scene = std::string(kMesh) + R"(
[object]
class = "GeomInstance"
geometry = "mesh"
)";
  ASSERT_EQ(Load(scene.c_str()), 0);
  const KilnPluginId object = Kiln_KilnRenderer_getPluginID(renderer, "object");
  const auto key = [&](const char* transform, double time) {
    EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTimeByID(renderer, object, "transform", transform, time, 1),
              0);
  };
  key("1 0 0 0 1 0 0 0 1 0 0 0", 0);
  key("1 0 0 0 1 0 0 0 1 10 0 0", 10);
  Kiln_KilnRenderer_setCurrentTime(renderer, 5);
  KilnBox box;
  ASSERT_NE(Kiln_KilnRenderer_getBoundingBox(renderer, &box), 0);
  EXPECT_FLOAT_EQ(box.lower[0], 4);
  EXPECT_FLOAT_EQ(box.upper[0], 6);
}

}  // namespace
}  // namespace kiln::engine::test
