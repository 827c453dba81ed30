// Picks: what shows at a pixel, with and without a render, and all along the ray.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

// Looked at along -Z: what is not there for the camera, a small ball to the lower right, a wall with a
// material, a lamp behind it, and a wall without.
constexpr char kRow[] = R"(
[camera]
class = "CameraPerspective"
fov = 90

[mesh]
class = "GeomStaticMesh"
vertices = [[-50, -50, 0], [50, -50, 0], [0, 90, 0]]
faces = [0, 1, 2]

[sphere]
class = "GeomSphere"
radius = 0.1

[red]
class = "BsdfDiffuse"

[clear]
class = "MaterialPrincipled"
opacity = 0
alphaMode = 2

[hidden]
class = "GeomInstance"
geometry = "mesh"
visibleToCamera = false
transform = { translate = [0, 0, -0.5] }

[glass]
class = "GeomInstance"
geometry = "mesh"
material = "clear"
transform = { translate = [0, 0, -0.75] }

[ball]
class = "GeomInstance"
geometry = "sphere"
transform = { translate = [0.5, -0.5, -1] }

[near]
class = "GeomInstance"
geometry = "mesh"
material = "red"
transform = { translate = [0, 0, -2] }

[lamp]
class = "LightRectangle"
transform = { translate = [0, 0, -3] }
doubleSided = true

[far]
class = "GeomInstance"
geometry = "mesh"
transform = { translate = [0, 0, -5] }

[sampler]
class = "SettingsSampler"
samples = 4
)";

class Picking : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kRow), 0);
    Kiln_KilnRenderer_setImageSize(renderer, 64, 64);
  }
  std::string NameOf(KilnPluginId id) const {
    const char* name = Kiln_KilnRenderer_getPluginName(renderer, id);
    return name ? name : "";
  }
  std::string PickAt(int x, int y, int32_t timeout = -1) const {
    const KilnPluginId id = Kiln_KilnRenderer_pickPluginByXY(renderer, x, y, timeout);
    return id ? NameOf(id) : "";
  }
  std::vector<KilnPick> PickAll(double x, double y, int32_t limit = 0) const {
    KilnPickResult* result = nullptr;
    EXPECT_GE(Kiln_KilnRenderer_pickPluginsByXY(renderer, x, y, -1, limit, &result), 0);
    if (!result) return {};
    std::vector<KilnPick> picks(result->entries, result->entries + result->count);
    C_memory_free(result);
    return picks;
  }
  std::vector<std::string> NamesAt(double x, double y, int32_t limit = 0) const {
    std::vector<std::string> names;
    for (const KilnPick& pick : PickAll(x, y, limit)) names.push_back(NameOf(pick.plugin));
    return names;
  }

  ScopedRenderer renderer;
};

TEST_F(Picking, FindsTheNearestThatTheCameraSees) {
  EXPECT_EQ(PickAt(32, 32), "near");
  EXPECT_EQ(PickAt(48, 48), "ball");
  EXPECT_EQ(PickAt(48, 16), "near") << "y runs down";
}

TEST_F(Picking, FindsNothingBesideTheImage) {
  EXPECT_EQ(PickAt(-1, 32), "");
  EXPECT_EQ(PickAt(64, 32), "");
  EXPECT_EQ(PickAt(32, 64), "");
  EXPECT_TRUE(PickAll(NAN, 3).empty());
  EXPECT_TRUE(PickAll(1e300, 3).empty());
}

TEST_F(Picking, FindsAllAlongTheRayEachOnce) {
  const std::vector<KilnPick> picks = PickAll(32, 32);
  ASSERT_EQ(picks.size(), 3U);
  EXPECT_EQ(NamesAt(32, 32), (std::vector<std::string>{"near", "lamp", "far"}));
  EXPECT_NEAR(picks[0].distance, 2, 1e-4);
  EXPECT_NEAR(picks[1].distance, 3, 1e-4);
  EXPECT_NEAR(picks[2].distance, 5, 1e-4);
  EXPECT_EQ(static_cast<KilnPluginId>(picks[0].mtl_id), Kiln_KilnRenderer_getPluginID(renderer, "red"));
  EXPECT_EQ(picks[2].mtl_id, 0);
  EXPECT_THAT(NamesAt(48.5, 48.5), ::testing::ElementsAre("ball", "near", "far"))
      << "the back of the ball is no other ball";
}

TEST_F(Picking, ALimitLeavesTheNearest) {
  EXPECT_EQ(NamesAt(32, 32, 1), (std::vector<std::string>{"near"}));
  EXPECT_EQ(NamesAt(32, 32, 2), (std::vector<std::string>{"near", "lamp"}));
}

TEST_F(Picking, AfterARenderTheSameIsFound) {
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  Kiln_KilnRenderer_waitRenderEnd(renderer, -1);
  EXPECT_EQ(PickAt(32, 32), "near");
  EXPECT_EQ(NamesAt(32, 32), (std::vector<std::string>{"near", "lamp", "far"}));
}

TEST_F(Picking, WithoutARenderEditsAreSeen) {
  EXPECT_EQ(PickAt(32, 32), "near");
  const KilnPluginId near = Kiln_KilnRenderer_getPluginID(renderer, "near");
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, near, 1), 0);
  EXPECT_EQ(PickAt(32, 32), "lamp");
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  Kiln_KilnRenderer_waitRenderEnd(renderer, -1);
  const KilnPluginId lamp = Kiln_KilnRenderer_getPluginID(renderer, "lamp");
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, lamp, 1), 0);
  EXPECT_EQ(PickAt(32, 32), "far") << "the last render is of another scene";
}

TEST_F(Picking, OnlyTheRegionIsThere) {
  const KilnRenderRegion region{0, 0, 16, 16};
  Kiln_KilnRenderer_setRenderRegion(renderer, &region);
  EXPECT_EQ(PickAt(8, 8), "near");
  EXPECT_EQ(PickAt(32, 32), "");
}

TEST_F(Picking, ACropIsLookedThrough) {
  const KilnCropRegion crop{64, 64, 32, 32, 32, 32};
  Kiln_KilnRenderer_setCropRegion(renderer, &crop);
  EXPECT_EQ(PickAt(32, 32), "ball") << "the middle of the lower right quarter";
}

TEST_F(Picking, ATimeThatIsOverFindsNothingYet) {
  EXPECT_EQ(PickAt(32, 32, 0), "");
  KilnPickResult* result = nullptr;
  while (Kiln_KilnRenderer_pickPluginsByXY(renderer, 32, 32, 0, 0, &result) < 0) {
    EXPECT_EQ(result, nullptr);
    std::this_thread::sleep_for(1ms);
  }
  ASSERT_NE(result, nullptr);
  C_memory_free(result);
  EXPECT_EQ(PickAt(32, 32, 1000), "near");
}

TEST_F(Picking, ASceneWithoutACameraShowsNothing) {
  ASSERT_EQ(Kiln_KilnRenderer_clearScene(renderer), 0);
  EXPECT_EQ(PickAt(32, 32), "");
  KilnPickResult* result = nullptr;
  EXPECT_LT(Kiln_KilnRenderer_pickPluginsByXY(renderer, 32, 32, -1, 0, &result), 0);
  EXPECT_EQ(result, nullptr);
}

TEST_F(Picking, GoesOnWhileARenderRunsAndTheSceneChanges) {
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
  ASSERT_NE(Kiln_KilnRenderer_setRenderMode(renderer, 0), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  std::atomic<int> found{0};
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      while (!over) found += PickAt(32, 32) == "near" ? 1 : 0;
    });
  }
  const KilnPluginId ball = Kiln_KilnRenderer_getPluginID(renderer, "ball");
  for (int i = 0; i < 20; ++i) {
    const std::string place = "1 0 0 0 1 0 0 0 1 " + std::to_string(i) + " 0 -1";
    Kiln_KilnRenderer_setPropertyValueAtTimeByID(renderer, ball, "transform", place.c_str(), NAN, 1);
    std::this_thread::sleep_for(2ms);
  }
  over = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(found, 0);
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
}

TEST_F(Picking, ARendererMayGoWhileItsSceneIsMadeReady) {
  for (int i = 0; i < 10; ++i) {
    ScopedRenderer other;
    ASSERT_EQ(Kiln_KilnRenderer_loadAsText(other, kRow), 0);
    EXPECT_EQ(Kiln_KilnRenderer_pickPluginByXY(other, 32, 32, 0), 0U);
  }
}

}  // namespace
}  // namespace kiln::engine::test
