// Sequences from the host's side: frames in their order, continued from a callback, and what ends them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

using testing::ElementsAre;
using Ranges = std::vector<KilnSubSequence>;

// A camera that goes to the right, past a lamp; with a settings instance that keeps a frame tiny.
constexpr char kWalk[] = R"(
[camera]
class = "CameraPerspective"
transform = { "0" = { translate = [0, 0, 0] }, "24" = { translate = [3, 0, 0] } }

[lamp]
class = "LightRectangle"
transform = { translate = [0, 0, -2] }
doubleSided = true

[sampler]
class = "SettingsSampler"
samples = 1
bucketSize = 16

[image]
class = "SettingsImage"
width = 16
height = 16
)";

// Goes on with the next frame inside the callback that tells the end of one, and writes down what it saw,
// unless a test does it by itself.
class Sequence : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kWalk), 0);
    const CallbackDescriptor state{OnStateChanged, this, {0, 0}};
    Kiln_KilnRenderer_setStateChangedCallback(renderer, &state);
  }
  void TearDown() override { renderer.Release(); }

  static int32_t OnStateChanged(void* record) {
    const auto& event = *static_cast<KilnStateChangedEvent*>(record);
    auto& self = *static_cast<Sequence*>(event.head.user_data);
    if (!self.goes_on) return 0;
    if (event.second == 3 || event.second == 4) self.FrameDone();
    if (event.second == 4) self.over = true;
    if (event.second == 3) {
      EXPECT_EQ(Kiln_KilnRenderer_isSequenceEnded(self.renderer), 0);
      EXPECT_EQ(Kiln_KilnRenderer_continueSequence(self.renderer), 0);
    }
    return 0;
  }
  void FrameDone() {
    EXPECT_NE(Kiln_KilnRenderer_isRenderEnded(renderer), 0);
    frames.push_back(Kiln_KilnRenderer_getCurrentFrame(renderer));
    images.emplace_back(Kiln_KilnRenderer_getImage(renderer, nullptr));
  }
  float Brightness(size_t i) {
    uint64_t count = 0;
    const auto* pixels =
        static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(images[i].get(), &count));
    float sum = 0;
    for (uint64_t p = 0; p < count; ++p) sum += pixels[4 * p];
    return sum;
  }
  // Until the end was told.
  void AwaitEnd() {
    EXPECT_NE(Kiln_KilnRenderer_waitSequenceEnd(renderer, 60000), 0);
    EXPECT_NE(Kiln_KilnRenderer_isSequenceEnded(renderer), 0);
    for (int i = 0; i < 60000 && !over; ++i) std::this_thread::sleep_for(1ms);
  }
  void Render(const Ranges& ranges) {
    EXPECT_EQ(Kiln_KilnRenderer_renderSequence(renderer, ranges.data(), static_cast<int32_t>(ranges.size())),
              0);
    AwaitEnd();
  }

  std::atomic<bool> goes_on{true};
  std::atomic<bool> over{false};
  std::vector<int32_t> frames;
  std::vector<ImageHandle> images;
  ScopedRenderer renderer;
};

TEST_F(Sequence, RendersTwentyFourFramesOfAnAnimatedCamera) {
  Render({{1, 24, 1}});
  ASSERT_EQ(frames.size(), 24u);
  for (int i = 0; i < 24; ++i) {
    EXPECT_EQ(frames[i], i + 1);
    ASSERT_NE(images[i], nullptr);
  }
  EXPECT_GT(Brightness(0), Brightness(6));
  EXPECT_GT(Brightness(6), Brightness(12)) << "the lamp leaves";
  EXPECT_EQ(Brightness(23), 0);
}

TEST_F(Sequence, TakesSubSequencesAndSteps) {
  Render({{1, 1, 0}, {4, 8, 2}, {3, 1, 0}});
  EXPECT_THAT(frames, ElementsAre(1, 4, 6, 8, 3, 2, 1));
}

TEST_F(Sequence, WithoutRangesIsTheWholeAnimation) {
  ASSERT_EQ(Kiln_KilnRenderer_clearAllFrameValuesUpToTime(renderer, -1), 0);
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, nullptr, 0), 0);
  AwaitEnd();
  ASSERT_EQ(frames.size(), 25u);
  EXPECT_EQ(frames.front(), 0);
  EXPECT_EQ(frames.back(), 24);
}

TEST_F(Sequence, WithoutRangesOrAnimationIsTheCurrentFrame) {
  ASSERT_EQ(Kiln_KilnRenderer_clearAllFrameValuesUpToTime(renderer, 100), 0);
  Kiln_KilnRenderer_setCurrentTime(renderer, 7.5);
  Render({});
  EXPECT_THAT(frames, ElementsAre(7));
}

TEST_F(Sequence, WaitsForTheHostAfterAFrame) {
  goes_on = false;
  const KilnSubSequence three{1, 3, 1};
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0) << "there is none";
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &three, 1), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 3);
  EXPECT_EQ(Kiln_KilnRenderer_waitSequenceEnd(renderer, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentTime(renderer), 1);
  ASSERT_EQ(Kiln_KilnRenderer_continueSequence(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentFrame(renderer), 2);
  ASSERT_EQ(Kiln_KilnRenderer_continueSequence(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitSequenceEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 4);
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0) << "it is over";
}

TEST_F(Sequence, EndsWithAStopBetweenTwoFrames) {
  goes_on = false;
  const KilnSubSequence three{1, 3, 1};
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &three, 1), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 1);
  EXPECT_NE(Kiln_KilnRenderer_isSequenceEnded(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0);
}

TEST_F(Sequence, EndsWithAStopInAFrame) {
  Kiln_KilnRenderer_setImageSize(renderer, 2048, 2048);
  const KilnSubSequence three{1, 3, 1};
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &three, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_isSequenceEnded(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0);
}

TEST_F(Sequence, EndsWithAFrameThatFails) {
  goes_on = false;
  const KilnSubSequence three{1, 3, 1};
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &three, 1), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  ASSERT_EQ(Kiln_KilnRenderer_deletePlugin(renderer, "camera", 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_continueSequence(renderer), 0) << "it fails in its own threads";
  EXPECT_NE(Kiln_KilnRenderer_waitSequenceEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 2);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 20);
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0);
}

TEST_F(Sequence, GivesWayToAnotherRender) {
  goes_on = false;
  const KilnSubSequence three{1, 3, 1};
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &three, 1), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitSequenceEnd(renderer, 60000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 4);
  EXPECT_NE(Kiln_KilnRenderer_continueSequence(renderer), 0);
}

TEST_F(Sequence, FramesOfInteractiveModeEndByThemselves) {
  Kiln_KilnRenderer_setRenderMode(renderer, 0);
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
  Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, 0);
  Render({{1, 3, 1}});
  EXPECT_THAT(frames, ElementsAre(1, 2, 3));
}

TEST_F(Sequence, EditsBetweenTwoFramesShowInTheNext) {
  goes_on = false;
  const KilnSubSequence two{0, 1, 1};
  ASSERT_EQ(Kiln_KilnRenderer_renderSequence(renderer, &two, 1), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  images.emplace_back(Kiln_KilnRenderer_getImage(renderer, nullptr));
  ASSERT_EQ(Kiln_KilnRenderer_deletePlugin(renderer, "lamp", 0), 0);
  ASSERT_EQ(Kiln_KilnRenderer_continueSequence(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitSequenceEnd(renderer, 60000), 0);
  images.emplace_back(Kiln_KilnRenderer_getImage(renderer, nullptr));
  EXPECT_GT(Brightness(0), 0);
  EXPECT_EQ(Brightness(1), 0);
}

TEST_F(Sequence, RefusesWhatIsNoList) {
  EXPECT_NE(Kiln_KilnRenderer_renderSequence(renderer, nullptr, 3), 0);
  const KilnSubSequence one{1, 1, 1};
  EXPECT_NE(Kiln_KilnRenderer_renderSequence(renderer, &one, -1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 0);
}

}  // namespace
}  // namespace kiln::engine::test
