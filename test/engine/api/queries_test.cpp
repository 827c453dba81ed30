// What a renderer says about its renders and its machine, and what it refuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

void Render(const ScopedRenderer& renderer) {
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, -1), 0);
}

TEST(Queries, StatisticsAreOfTheLastRender) {
  ScopedRenderer renderer;
  KilnStatisticsHead* statistics = nullptr;
  EXPECT_EQ(Kiln_KilnRenderer_getRTStatistics(renderer, &statistics), 0) << "there was none";
  EXPECT_EQ(statistics, nullptr);
  const std::string scene = std::string(kScene) +
                            "[ball]\nclass = \"GeomSphere\"\n[object]\nclass = \"GeomInstance\"\n"
                            "geometry = \"ball\"\ntransform = { translate = [0, 0, -5] }\n";
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, scene.c_str()), 0);
  Render(renderer);
  ASSERT_NE(Kiln_KilnRenderer_getRTStatistics(renderer, &statistics), 0);
  ASSERT_NE(statistics, nullptr);
  EXPECT_EQ(statistics->sampleLevel, 4);
  EXPECT_GT(statistics->pathsPerSecond, 0);
  ASSERT_EQ(statistics->device_count, 1);
  const char* block = reinterpret_cast<const char*>(statistics);
  KilnStatisticsDevice device;
  std::memcpy(&device, block + KILN_STATISTICS_DEVICES_OFFSET, sizeof(device));
  EXPECT_GT(std::strlen(device.name), 0U);
  EXPECT_GE(device.utilization, 0);
  EXPECT_LE(device.utilization, 1);
  EXPECT_GT(device.totalMem, 0);
  EXPECT_GT(device.freeMem, 0);
  EXPECT_LE(device.freeMem, device.totalMem);
  uint64_t counters[KILN_STATISTICS_COUNTERS];
  std::memcpy(counters, block + KILN_STATISTICS_DEVICES_OFFSET + sizeof(device), sizeof(counters));
  EXPECT_GT(counters[1], 1000U) << "the ball";
  uint64_t total = 0;
  for (int i = 0; i < 10; ++i) total += counters[i];
  EXPECT_EQ(counters[10], total);
  C_memory_free(statistics);
}

TEST(Queries, TheProcessorIsTheOnlyDevice) {
  const ScopedRenderer renderer;
  int32_t count = 7;
  EXPECT_EQ(Kiln_KilnRenderer_getDeviceListOptix(renderer, &count, 112), nullptr);
  EXPECT_EQ(count, 0);
  KilnComputeDevice* list = Kiln_KilnRenderer_getDeviceListDenoiser(renderer, &count, 112);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(count, 1);
  EXPECT_GT(std::strlen(list->name), 0U);
  EXPECT_EQ(list->kind, 2U);
  EXPECT_GT(list->totalMemoryMB, 0U);
  EXPECT_EQ(list->isSupported, 1U);
  EXPECT_EQ(list->useForDenoising, 1U);
  EXPECT_EQ(list->ccMajor, 0U);
  C_memory_free(list);
  count = 7;
  EXPECT_EQ(Kiln_KilnRenderer_getDeviceListDenoiser(renderer, &count, 8), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(Kiln_KilnRenderer_getDeviceListDenoiser(renderer, nullptr, 112), nullptr);
  const int32_t ids[] = {0, 1};
  EXPECT_EQ(Kiln_KilnRenderer_setDeviceListDenoiser(renderer, ids, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setDeviceListDenoiser(renderer, ids, 2), 0);
  EXPECT_NE(Kiln_KilnRenderer_setDeviceListDenoiser(renderer, ids + 1, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setDeviceListDenoiser(renderer, nullptr, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setGPUDevicesEnvironmentVariable(renderer), 0);
}

// A lamp of a colour that fills the picture, and what the automatics say.
KilnAutoExposure ExposureOf(const char* color, const char* intensity) {
  ScopedRenderer renderer;
  const std::string scene =
      std::string("[camera]\nclass = \"CameraPerspective\"\n[sky]\nclass = \"LightDome\"\n") +
      "color = " + color + "\nintensity = " + intensity +
      "\n[sampler]\nclass = \"SettingsSampler\"\nsamples = 1\n";
  EXPECT_EQ(Kiln_KilnRenderer_loadAsText(renderer, scene.c_str()), 0);
  Kiln_KilnRenderer_setImageSize(renderer, 16, 16);
  KilnAutoExposure result{};
  EXPECT_EQ(Kiln_KilnRenderer_getAutoExposureResult(renderer, &result), 0) << "no picture yet";
  Render(renderer);
  EXPECT_NE(Kiln_KilnRenderer_getAutoExposureResult(renderer, &result), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getAutoExposureResult(renderer, nullptr), 0);
  return result;
}

TEST(Queries, AutoExposureBringsAPictureToMiddleGrey) {
  EXPECT_NEAR(ExposureOf("[1, 1, 1]", "0.18").autoExposure, 1, 1e-3);
  EXPECT_NEAR(ExposureOf("[1, 1, 1]", "1.8").autoExposure, 0.1, 1e-4);
}

TEST(Queries, AutoWhiteBalanceIsTheTemperatureOfTheMean) {
  const float white = ExposureOf("[1, 1, 1]", "1").autoWhiteBalance;
  EXPECT_NEAR(white, 6500, 60);
  EXPECT_LT(ExposureOf("[1, 0.6, 0.3]", "1").autoWhiteBalance, 4000);
  EXPECT_GT(ExposureOf("[0.7, 0.8, 1]", "1").autoWhiteBalance, 8000);
}

TEST(Queries, ABlackPictureHasNoExposure) {
  ScopedRenderer renderer;
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, "[camera]\nclass = \"CameraPerspective\"\n"), 0);
  Kiln_KilnRenderer_setImageSize(renderer, 8, 8);
  Render(renderer);
  KilnAutoExposure result{7, 7};
  EXPECT_EQ(Kiln_KilnRenderer_getAutoExposureResult(renderer, &result), 0);
  EXPECT_EQ(result.autoExposure, 7);
}

TEST(Queries, WhatTheEngineDoesNotHaveIsRefusedWithAReason) {
  const ScopedRenderer renderer;
  const auto reason = [&] {
    const std::string text =
        Kiln_getErrorTextStringFromErrorCode(Kiln_KilnRenderer_getLastErrorCode(renderer));
    Kiln_KilnRenderer_clearLastErrorCode(renderer);
    return text;
  };
  const auto saves = {Kiln_KilnRenderer_saveIrradianceMapFile, Kiln_KilnRenderer_saveLightCacheFile,
                      Kiln_KilnRenderer_savePhotonMapFile, Kiln_KilnRenderer_saveCausticsFile};
  for (const auto& save : saves) {
    EXPECT_EQ(save(renderer, "/no/such/file"), 0);
    EXPECT_EQ(reason(), "The engine keeps no light in maps or caches that could be saved.");
  }
  EXPECT_EQ(Kiln_KilnRenderer_setResumableRendering(renderer, 1, nullptr), 0);
  EXPECT_EQ(reason(), "The engine cannot resume a render that was stopped.");
  EXPECT_NE(Kiln_KilnRenderer_setResumableRendering(renderer, 0, nullptr), 0);
  KilnProfilerOptions options{};
  EXPECT_NE(Kiln_KilnRenderer_setKilnProfiler(renderer, &options), 0) << "off is what it is";
  options.mode = 2;
  EXPECT_EQ(Kiln_KilnRenderer_setKilnProfiler(renderer, &options), 0);
  EXPECT_EQ(reason(), "The engine has no profiler.");
}

TEST(Queries, BitmapsAreKeptWhenAsked) {
  const ScopedRenderer renderer;
  EXPECT_NE(Kiln_KilnRenderer_setBitmapCache(renderer, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setBitmapCache(renderer, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setBitmapCache(renderer, 0), 0);
}

TEST(Queries, TheBoxIsAroundObjectsOfEveryKind) {
  const ScopedRenderer renderer;
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, R"(
[ball]
class = "GeomSphere"
radius = 2
segments = 64
[object]
class = "GeomInstance"
geometry = "ball"
[plane]
class = "GeomPlane"
width = 2
depth = 2
[glow]
class = "LightMesh"
geometry = "plane"
transform = { translate = [10, 0, 0] }
[off]
class = "LightMesh"
geometry = "plane"
enabled = false
transform = { translate = [100, 0, 0] }
)"),
            0);
  KilnBox box;
  ASSERT_NE(Kiln_KilnRenderer_getBoundingBox(renderer, &box), 0);
  EXPECT_NEAR(box.lower[0], -2, 0.01);
  EXPECT_NEAR(box.upper[0], 11, 1e-4);
  EXPECT_NEAR(box.lower[1], -2, 0.01);
  EXPECT_NEAR(box.upper[1], 2, 0.01);
}

}  // namespace
}  // namespace kiln::engine::test
