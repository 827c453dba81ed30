// Interactive renders from the host's side: a session of many edits, settings that reach a render in
// progress, and what is refused.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

constexpr int32_t kInteractive = 0;
// The plain value of a property.
const double kNoTime = std::bit_cast<double>(KILN_TIME_DIRECT_BITS);

// Awaits pictures, and knows of each its size, its scene and its samples.
class Interactive : public ::testing::Test {
 protected:
  void Start(int32_t side, int32_t samples) {
    ASSERT_EQ(renderer.Load(side), 0);
    const CallbackDescriptor updated{OnUpdated, this, {0, 0}};
    Kiln_KilnRenderer_setImageUpdatedCallback(renderer, &updated);
    Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
    Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, samples);
    ASSERT_NE(Kiln_KilnRenderer_setRenderMode(renderer, kInteractive), 0);
    ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  }
  void TearDown() override { renderer.Release(); }

  static int32_t OnUpdated(void* record) {
    const auto& event = *static_cast<KilnImageUpdatedEvent*>(record);
    auto& self = *static_cast<Interactive*>(event.head.user_data);
    const std::lock_guard lock(self.mutex);
    self.last = event;
    self.last.image = nullptr;
    ++self.pictures;
    self.changed.notify_all();
    return 0;
  }
  template <class Condition>
  bool Await(Condition condition) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 60s, [&] { return pictures > 0 && condition(last); });
  }
  int Pictures() {
    const std::lock_guard lock(mutex);
    return pictures;
  }
  bool AwaitState(int32_t state) {
    for (int i = 0; i < 30000 && Kiln_KilnRenderer_getState(renderer) != state; ++i) {
      std::this_thread::sleep_for(1ms);
    }
    return Kiln_KilnRenderer_getState(renderer) == state;
  }
  int32_t MoveCamera(double x, bool commit) {
    const std::string transform = "1 0 0 0 1 0 0 0 1 " + std::to_string(x) + " 0 0";
    return Kiln_KilnRenderer_setPropertyValueAtTime(renderer, "camera", "transform", transform.c_str(),
                                                    kNoTime, commit);
  }

  std::mutex mutex;
  std::condition_variable changed;
  KilnImageUpdatedEvent last{};
  int pictures = 0;
  ScopedRenderer renderer;
};

// KILN_TEST_EDITS makes it longer: the sanitizers ask for 500.
TEST_F(Interactive, FollowsEveryEditOfASession) {
  const char* const wish = std::getenv("KILN_TEST_EDITS");
  const int edits = wish ? std::atoi(wish) : 50;
  Start(150, 0);
  KilnPluginId light = 0;
  for (int i = 0; i < edits; ++i) {
    const bool at_once = i % 3 != 0;
    switch (i % 7) {
      case 0:
        ASSERT_EQ(Kiln_KilnRenderer_newPlugin(renderer, nullptr, "LightPoint", at_once, &light), 0);
        break;
      case 3:
        ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, light, at_once), 0);
        break;
      case 5:
        ASSERT_EQ(Kiln_KilnRenderer_setImageSize(renderer, 150 + i % 3, 150), 0);
        MoveCamera(-0.1, at_once);
        break;
      default:
        ASSERT_EQ(MoveCamera(i % 10 / 10.0, at_once), 0);
    }
    if (i % 11 == 4) {
      EXPECT_NE(Kiln_KilnRenderer_pauseRT(renderer, 1), 0);
      EXPECT_NE(Kiln_KilnRenderer_pauseRT(renderer, 0), 0);
    }
    // Every other edit comes while the one before it is still being taken over.
    if (i % 2 == 0) continue;
    const uint64_t index = Kiln_KilnRenderer_commit(renderer, 0);
    ASSERT_TRUE(Await([&](const auto& picture) { return picture.number == index; })) << i;
  }
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 1);
}

TEST_F(Interactive, KeepsEditsBackUntilACommit) {
  Start(16, 2);
  ASSERT_TRUE(AwaitState(8));
  ASSERT_TRUE(Await([](const auto& picture) { return picture.extra == 2; }));
  const uint64_t before = last.number;
  const int told = Pictures();
  ASSERT_EQ(MoveCamera(1, false), 0);
  ASSERT_EQ(MoveCamera(2, false), 0);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(Pictures(), told);
  EXPECT_EQ(Kiln_KilnRenderer_commit(renderer, 0), before + 2);
  EXPECT_TRUE(Await([&](const auto& picture) { return picture.number == before + 2 && picture.extra == 2; }));
  ASSERT_TRUE(AwaitState(8));
  const int again = Pictures();
  Kiln_KilnRenderer_commit(renderer, 0);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(Pictures(), again) << "there is nothing to take over";
}

TEST_F(Interactive, TakesSettingsOverAtOnce) {
  Start(16, 2);
  const auto begins_again = [&](const char* what) {
    ASSERT_TRUE(Await([](const auto& picture) { return picture.extra >= 2; })) << what;
    {
      const std::lock_guard lock(mutex);
      pictures = 0;
    }
  };
  ASSERT_TRUE(AwaitState(8));
  begins_again("start");
  Kiln_KilnRenderer_setImageSize(renderer, 24, 12);
  ASSERT_TRUE(Await([](const auto& picture) { return picture.first == 24 && picture.second == 12; }));
  begins_again("size");
  const KilnRenderRegion region{2, 2, 8, 8};
  Kiln_KilnRenderer_setRenderRegion(renderer, &region);
  begins_again("region");
  const KilnCropRegion crop{10, 10, 1, 1, 5, 5};
  Kiln_KilnRenderer_setCropRegion(renderer, &crop);
  begins_again("crop region");
  Kiln_KilnRenderer_setCurrentFrame(renderer, 3);
  begins_again("frame");
  KilnPluginId other = 0;
  ASSERT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "other", "CameraPerspective", 0, &other), 0);
  Kiln_KilnRenderer_setCurrentCamera(renderer, "other");
  begins_again("camera");
  Kiln_KilnRenderer_setCurrentCamera(renderer, nullptr);
  begins_again("camera of the scene");
}

TEST_F(Interactive, GoesOnWithMoreSamples) {
  Start(16, 2);
  ASSERT_TRUE(AwaitState(8));
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, 16), 0);
  EXPECT_TRUE(Await([](const auto& picture) { return picture.extra == 16; }));
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, 0), 0);
  EXPECT_TRUE(Await([](const auto& picture) { return picture.extra > 64; }));
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, 1), 0);
  EXPECT_TRUE(AwaitState(8)) << "it has more than enough";
  EXPECT_EQ(Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 0), 0);
  EXPECT_TRUE(AwaitState(4)) << "nothing keeps it";
}

TEST_F(Interactive, EndsAtItsTimeOrItsNoise) {
  Start(16, 0);
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 0);
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveTimeout(renderer, 50), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 30000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 4);
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveTimeout(renderer, 0), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setInteractiveNoiseThreshold(renderer, 0.1f), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 30000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 4);
}

TEST_F(Interactive, RefusesLimitsThatAreNone) {
  EXPECT_NE(Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, -1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setInteractiveTimeout(renderer, -1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setInteractiveNoiseThreshold(renderer, -0.1f), 0);
  EXPECT_NE(Kiln_KilnRenderer_setInteractiveNoiseThreshold(renderer, NAN), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateDifference(renderer, 0.25f), 0.25f);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateDifference(renderer, -1), 0.25f);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateDifference(renderer, NAN), 0.25f);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateTimeout(renderer, 500), 500);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateTimeout(renderer, -1), 500);
  EXPECT_EQ(Kiln_KilnRenderer_setRTImageUpdateTimeout(renderer, int64_t{1} << 40), INT32_MAX);
}

TEST_F(Interactive, TellsOfPicturesThatDifferEnough) {
  ASSERT_EQ(Kiln_KilnRenderer_setRTImageUpdateDifference(renderer, 1e6f), 1e6f);
  Start(16, 64);
  ASSERT_TRUE(AwaitState(8));
  ASSERT_TRUE(Await([](const auto& picture) { return picture.extra == 64; }));
  EXPECT_EQ(Pictures(), 2) << "the first and the last";
}

TEST_F(Interactive, GpuModesAreRefusedWithTheReason) {
  for (const int32_t mode : {4, 7, 104, 107}) {
    Kiln_KilnRenderer_clearLastErrorCode(renderer);
    EXPECT_EQ(Kiln_KilnRenderer_setRenderMode(renderer, mode), 0);
    EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 33);
    EXPECT_STREQ(Kiln_getErrorTextStringFromErrorCode(33),
                 "This render mode needs a GPU, which the engine does not use.");
    EXPECT_EQ(Kiln_KilnRenderer_getRenderMode(renderer), -1);
  }
  EXPECT_EQ(Kiln_KilnRenderer_setRenderMode(renderer, 5), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 32);
}

TEST_F(Interactive, LightingAnalysisIsRefused) {
  EXPECT_EQ(Kiln_KilnRenderer_updateLightingAnalysis(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 35);
  EXPECT_STREQ(Kiln_getErrorTextStringFromErrorCode(35), "The engine has no lighting analysis to update.");
}

}  // namespace
}  // namespace kiln::engine::test
