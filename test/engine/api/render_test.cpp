// Renders from the host's side: the order of events, stop, pictures, failures, and hosts that hold a
// callback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <semaphore>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

constexpr int32_t kInteractive = 0;

const float* PixelsOf(void* image) {
  uint64_t count = 0;
  return static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(image, &count));
}

int WidthOf(void* image) {
  int32_t width = 0;
  int32_t height = 0;
  KilnImage_getSize(image, &width, &height);
  return width;
}

int HeightOf(void* image) {
  int32_t width = 0;
  int32_t height = 0;
  KilnImage_getSize(image, &width, &height);
  return height;
}

size_t Count(const std::vector<std::string>& log, const std::string& text) {
  return static_cast<size_t>(std::count(log.begin(), log.end(), text));
}

TEST(Render, ReportsItsStatesAndEveryBucketOnce) {
  Host host;
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(64), 0);
  const CallbackDescriptor state = Callback(OnState, host);
  const CallbackDescriptor init = Callback(OnBucketInit, host);
  const CallbackDescriptor ready = Callback(OnBucketReady, host);
  Kiln_KilnRenderer_setStateChangedCallback(renderer, &state);
  Kiln_KilnRenderer_setBucketInitCallback(renderer, &init);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  ASSERT_TRUE(host.WaitFor("state 6 4"));
  const auto log = host.Log();
  EXPECT_EQ(log[0], "state 0 5");
  EXPECT_EQ(log[1], "state 5 6");
  EXPECT_EQ(log.back(), "state 6 4");
  EXPECT_EQ(Count(log, "bucket"), 16u);
  EXPECT_EQ(Count(log, "ready"), 16u);
  EXPECT_EQ(host.most_inside, 1);
  EXPECT_NE(host.thread, std::this_thread::get_id());
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 4);
  EXPECT_EQ(Kiln_KilnRenderer_isRenderEnded(renderer), 1);
  std::vector<std::pair<int, int>> corners;
  for (const KilnBucketReadyEvent& bucket : host.buckets) {
    corners.emplace_back(bucket.x, bucket.y);
    EXPECT_EQ(bucket.width, 16);
    EXPECT_EQ(bucket.height, 16);
    EXPECT_NE(bucket.image, nullptr);
    EXPECT_GE(bucket.head.time, 0);
  }
  std::sort(corners.begin(), corners.end());
  EXPECT_EQ(std::unique(corners.begin(), corners.end()), corners.end());
}

TEST(Render, ImagesAreTheHostsWhenTheyAreKept) {
  Host host;
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(32), 0);
  Kiln_KilnRenderer_setKeepBucketsInCallback(renderer, 1);
  const CallbackDescriptor ready = Callback(OnBucketReady, host);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  Kiln_KilnRenderer_waitRenderEnd(renderer, -1);
  renderer.Release();
  ASSERT_EQ(host.buckets.size(), 4u) << "a release delivers what was raised before it";
  for (const KilnBucketReadyEvent& bucket : host.buckets) {
    const ImageHandle image(bucket.image);
    EXPECT_EQ(WidthOf(image.get()), 16);
  }
}

TEST(Render, TakesThePictureThatTheOptionsAskFor) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(64), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getImage(renderer, nullptr), nullptr) << "nothing rendered yet";
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  const ImageHandle plain(Kiln_KilnRenderer_getImage(renderer, nullptr));
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(WidthOf(plain.get()), 64);
  EXPECT_EQ(KilnImage_getGamma(plain.get()), 1);
  const float* center = PixelsOf(plain.get()) + 4 * (64 * 32 + 32);
  EXPECT_NEAR(center[0], 1, 1e-3) << "the lamp fills the middle";

  const KilnImageOptions part{10, 20, 30, 0, 1, 1, 1};
  const ImageHandle developed(Kiln_KilnRenderer_getImage(renderer, &part));
  ASSERT_NE(developed, nullptr);
  EXPECT_EQ(WidthOf(developed.get()), 20);
  EXPECT_EQ(HeightOf(developed.get()), 44);
  EXPECT_NE(KilnImage_getGamma(developed.get()), 1);
  // Upside down: the first row is the frame's last.
  const float* corner = PixelsOf(developed.get());
  const float* original = PixelsOf(plain.get()) + 4 * (64 * 63 + 10);
  EXPECT_EQ(corner[3], 1);
  const float linear = original[0];
  EXPECT_NEAR(corner[0],
              linear <= 0.0031308F ? 12.92F * linear : 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F, 1e-3);

  const KilnImageOptions outside{64, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(Kiln_KilnRenderer_getImage(renderer, &outside), nullptr);
}

TEST(Render, SaysWhyItCannotBegin) {
  const ScopedRenderer renderer;
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, ""), 0);
  EXPECT_EQ(Kiln_KilnRenderer_startSync(renderer), 20);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 20) << "no camera";
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 10000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 2);
  Kiln_KilnRenderer_clearLastErrorCode(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_render(renderer), 0) << "it fails later, in its own threads";
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 10000), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 20);
}

TEST(Render, RefusesSettingsWhileItRuns) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(4096), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setNumThreads(renderer, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setRenderMode(renderer, kInteractive), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 31);
  EXPECT_EQ(Kiln_KilnRenderer_waitRenderEnd(renderer, 1), 0) << "still running";
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 1);
  EXPECT_NE(Kiln_KilnRenderer_setNumThreads(renderer, 1), 0);
}

TEST(Render, StopDoesNotWaitForACallback) {
  Host host;
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(2048), 0);
  const CallbackDescriptor ready = Callback(OnBucketReady, host);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  host.Hold(true);
  ASSERT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  ASSERT_TRUE(host.WaitFor("ready"));
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0) << "with the host inside its callback";
  EXPECT_EQ(Kiln_KilnRenderer_isRenderEnded(renderer), 1);
  EXPECT_EQ(Kiln_KilnRenderer_startSync(renderer), 0) << "nor does the next start";
  EXPECT_EQ(Kiln_KilnRenderer_startSync(renderer), 0) << "that stops one before it";
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, nullptr);
  host.Hold(false);
}

// How a host that serves its callbacks on one thread closes from that very thread: it turns the callbacks
// off, lets the thread that waits go, and then blocks in the release.
TEST(Render, ClosesWhileTheHostIsInsideACallback) {
  Host host;
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(2048), 0);
  const CallbackDescriptor ready = Callback(OnBucketReady, host);
  const CallbackDescriptor state = Callback(OnState, host);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  Kiln_KilnRenderer_setStateChangedCallback(renderer, &state);
  ASSERT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  ASSERT_TRUE(host.WaitFor("ready"));
  host.Hold(true);
  std::this_thread::sleep_for(50ms);
  Kiln_KilnRenderer_setStateChangedCallback(renderer, nullptr);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, nullptr);
  const size_t delivered = host.Log().size();
  host.Hold(false);
  renderer.Release();
  EXPECT_LE(host.Log().size(), delivered + 1) << "nothing but what was on its way";
}

int32_t ReleaseRenderer(void* record) {
  const auto& event = *static_cast<KilnPlainEvent*>(record);
  Kiln_KilnRenderer_release(*static_cast<KilnRendererHandle*>(event.head.user_data));
  return 0;
}

TEST(Render, ACallbackMayReleaseTheRenderer) {
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(nullptr, nullptr);
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kScene), 0);
  const CallbackDescriptor ready{ReleaseRenderer, &renderer, {0, 0}};
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  ASSERT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  for (int i = 0; i < 10000 && Kiln_KilnRenderer_getInProcess(renderer); ++i)
    std::this_thread::sleep_for(1ms);
  EXPECT_EQ(Kiln_KilnRenderer_getInProcess(renderer), 0) << "gone";
}

TEST(Render, AReleaseStopsARender) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(4096), 0);
  ASSERT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  renderer.Release();
}

TEST(Render, AReleaseEndsAWait) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(4096), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  std::atomic<int32_t> ended{0};
  std::binary_semaphore waiting{0};
  std::thread waiter([&, handle = static_cast<KilnRendererHandle>(renderer)] {
    waiting.release();
    ended = Kiln_KilnRenderer_waitRenderEnd(handle, -1);
  });
  waiting.acquire();
  std::this_thread::sleep_for(20ms);
  renderer.Release();
  waiter.join();
  EXPECT_NE(ended, 0);
}

TEST(Render, TwoRenderersRenderAtOnce) {
  ScopedRenderer first;
  ScopedRenderer second;
  ASSERT_EQ(first.Load(256), 0);
  ASSERT_EQ(second.Load(256), 0);
  ASSERT_EQ(Kiln_KilnRenderer_render(first), 0);
  ASSERT_EQ(Kiln_KilnRenderer_render(second), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(first, 60000), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(second, 60000), 0);
  const ImageHandle a(Kiln_KilnRenderer_getImage(first, nullptr));
  const ImageHandle b(Kiln_KilnRenderer_getImage(second, nullptr));
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(std::memcmp(PixelsOf(a.get()), PixelsOf(b.get()), 256 * 256 * 16), 0);
}

TEST(Render, AnInteractiveRenderTakesCommittedChangesOver) {
  Host host;
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(32), 0);
  const CallbackDescriptor image = Callback(OnImage, host);
  Kiln_KilnRenderer_setImageUpdatedCallback(renderer, &image);
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
  ASSERT_NE(Kiln_KilnRenderer_setRenderMode(renderer, kInteractive), 0);
  const uint64_t first = Kiln_KilnRenderer_getChangeIndex(renderer);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_TRUE(host.WaitFor("image " + std::to_string(first)));

  KilnPluginId light = 0;
  ASSERT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "more", "LightPoint", 0, &light), 0);
  const uint64_t second = Kiln_KilnRenderer_commit(renderer, 0);
  EXPECT_GT(second, first);
  EXPECT_TRUE(host.WaitFor("image " + std::to_string(second)));

  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, light, 1), 0);
  EXPECT_TRUE(host.WaitFor("image " + std::to_string(Kiln_KilnRenderer_getChangeIndex(renderer))));

  KilnStatisticsHead* statistics = nullptr;
  EXPECT_NE(Kiln_KilnRenderer_getRTStatistics(renderer, &statistics), 0);
  ASSERT_NE(statistics, nullptr);
  EXPECT_GE(statistics->sampleLevel, 0);
  EXPECT_EQ(statistics->device_count, 1);
  C_memory_free(statistics);
  EXPECT_EQ(Kiln_KilnRenderer_stop(renderer), 0);
}

TEST(Render, AnInteractiveRenderPauses) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(256), 0);
  EXPECT_EQ(Kiln_KilnRenderer_pauseRT(renderer, 1), 0) << "nothing runs";
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
  ASSERT_NE(Kiln_KilnRenderer_setRenderMode(renderer, kInteractive), 0);
  Kiln_KilnRenderer_setInteractiveSampleLevel(renderer, 100000);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_pauseRT(renderer, 1), 0);
  for (int i = 0; i < 10000 && !Kiln_KilnRenderer_getPauseRTStatus(renderer); ++i) {
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_NE(Kiln_KilnRenderer_getPauseRTStatus(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_pauseRT(renderer, 0), 0);
  Kiln_KilnRenderer_stop(renderer);
}

TEST(Render, ManyThreadsMayCall) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(64), 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20; ++i) {
        KilnPluginId id = 0;
        Kiln_KilnRenderer_newPlugin(renderer, nullptr, "LightPoint", i % 2, &id);
        if (t == 0) Kiln_KilnRenderer_startSync(renderer);
        if (t == 1) Kiln_KilnRenderer_stop(renderer);
        if (t == 2) C_memory_free(Kiln_KilnRenderer_getImage(renderer, nullptr));
        Kiln_KilnRenderer_getPluginName(renderer, id);
        Kiln_KilnRenderer_deletePluginByID(renderer, id, i % 2);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Kiln_KilnRenderer_stop(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, "LightPoint"), 0);
}

}  // namespace
}  // namespace kiln::engine::test
