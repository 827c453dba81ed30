// A renderer's life, options and settings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

TEST(Renderer, LivesAsLongAsItsReferences) {
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(nullptr, nullptr);
  ASSERT_NE(renderer, nullptr);
  Kiln_KilnRenderer_incRef(renderer);
  Kiln_KilnRenderer_release(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_isRenderEnded(renderer), 1);
  Kiln_KilnRenderer_release(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_isRenderEnded(renderer), 0) << "gone";
  Kiln_KilnRenderer_release(renderer);
}

TEST(Renderer, AHandleIsNeverUsedTwice) {
  KilnRendererHandle first = Kiln_KilnRenderer_create(nullptr, nullptr);
  Kiln_KilnRenderer_release(first);
  const ScopedRenderer second;
  EXPECT_NE(static_cast<KilnRendererHandle>(second), first);
}

TEST(Renderer, GivesItsOptionsBackAsOneBlock) {
  std::string path = "/plugins";
  const KilnRendererOptions options{path.c_str(), 4, KILN_RENDERER_PREVIEW_RENDERER, 0, "en"};
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(&options, nullptr);
  path = "changed!";
  KilnRendererOptions* copy = Kiln_KilnRenderer_getRenderOptions(renderer);
  ASSERT_NE(copy, nullptr);
  EXPECT_STREQ(copy->pluginLibraryPath, "/plugins");
  EXPECT_STREQ(copy->kvwLanguage, "en");
  EXPECT_EQ(copy->kvwDrawStyle, 4);
  EXPECT_EQ(copy->flags, KILN_RENDERER_PREVIEW_RENDERER);
  C_memory_free(copy);
  Kiln_KilnRenderer_release(renderer);
}

TEST(Renderer, HasTheDefaultOptionsWithoutAny) {
  const ScopedRenderer renderer;
  KilnRendererOptions* options = Kiln_KilnRenderer_getRenderOptions(renderer);
  ASSERT_NE(options, nullptr);
  EXPECT_EQ(options->flags, KILN_RENDERER_DEFAULT_FLAGS);
  EXPECT_EQ(options->pluginLibraryPath, nullptr);
  EXPECT_EQ(options->kvwLanguage, nullptr);
  C_memory_free(options);
}

TEST(Renderer, KeepsUserData) {
  const ScopedRenderer renderer;
  int data = 0;
  EXPECT_EQ(Kiln_KilnRenderer_setUserData(renderer, 3, &data), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getUserData(renderer, 3), &data);
  EXPECT_EQ(Kiln_KilnRenderer_getUserData(renderer, 2), nullptr);
  EXPECT_NE(Kiln_KilnRenderer_setUserData(renderer, Kiln_getUserDataCount(), &data), 0);
  EXPECT_NE(Kiln_KilnRenderer_setUserData(renderer, -1, &data), 0);
}

TEST(Renderer, TakesTheModesOfTheCpuAndRefusesOthersWithAReason) {
  const ScopedRenderer renderer;
  EXPECT_EQ(Kiln_KilnRenderer_getRenderMode(renderer), -1);
  EXPECT_NE(Kiln_KilnRenderer_setRenderMode(renderer, 0), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getRenderMode(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setRenderMode(renderer, 107), 0);
  EXPECT_THAT(Kiln_getErrorTextStringFromErrorCode(Kiln_KilnRenderer_getLastErrorCode(renderer)),
              testing::HasSubstr("GPU"));
  EXPECT_EQ(Kiln_KilnRenderer_setRenderMode(renderer, 5), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 32);
  EXPECT_EQ(Kiln_KilnRenderer_getRenderMode(renderer), 0);
  Kiln_KilnRenderer_clearLastErrorCode(renderer);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 0);
}

TEST(Renderer, TheSceneStatesTheSizeAndFollowsTheHost) {
  const ScopedRenderer renderer;
  int32_t width = 0;
  int32_t height = 0;
  Kiln_KilnRenderer_getImageSize(renderer, &width, &height);
  EXPECT_EQ(width, 640);
  EXPECT_EQ(height, 480);
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, "[image]\nclass = \"SettingsImage\"\nwidth = 320\n"), 0);
  Kiln_KilnRenderer_getImageSize(renderer, &width, &height);
  EXPECT_EQ(width, 320);
  EXPECT_EQ(Kiln_KilnRenderer_setImageSize(renderer, 100, 50), 0);
  Kiln_KilnRenderer_getImageSize(renderer, &width, &height);
  EXPECT_EQ(width, 100);
  EXPECT_EQ(height, 50);
  EXPECT_NE(Kiln_KilnRenderer_setImageSize(renderer, 640, 0), 0);
  EXPECT_NE(Kiln_KilnRenderer_setImageSize(renderer, 1 << 20, 1 << 20), 0);
  Kiln_KilnRenderer_getImageSize(renderer, &width, nullptr);
  EXPECT_EQ(width, 100);
}

TEST(Renderer, ANewSizeKeepsTheRegionsThatItIsToldToKeep) {
  const ScopedRenderer renderer;
  KilnRenderRegion region{1, 2, 3, 4};
  KilnCropRegion crop{100, 100, 0, 0, 50, 50};
  EXPECT_EQ(Kiln_KilnRenderer_getRenderRegion(renderer, &region), 0) << "none at first";
  Kiln_KilnRenderer_setRenderRegion(renderer, &region);
  Kiln_KilnRenderer_setCropRegion(renderer, &crop);
  Kiln_KilnRenderer_setImageSizeEx(renderer, 10, 10, KILN_KEEP_CROP_REGION);
  EXPECT_EQ(Kiln_KilnRenderer_getRenderRegion(renderer, &region), 0);
  EXPECT_NE(Kiln_KilnRenderer_getCropRegion(renderer, &crop), 0);
  EXPECT_EQ(crop.rgnWidth, 50);
  Kiln_KilnRenderer_setImageSizeEx(renderer, 10, 10, 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCropRegion(renderer, &crop), 0);
}

TEST(Renderer, RegionsWithoutPixelsAreNone) {
  const ScopedRenderer renderer;
  KilnRenderRegion region{1, 2, 3, 4};
  Kiln_KilnRenderer_setRenderRegion(renderer, &region);
  region.width = 0;
  Kiln_KilnRenderer_setRenderRegion(renderer, &region);
  EXPECT_EQ(Kiln_KilnRenderer_getRenderRegion(renderer, &region), 0);
  const KilnCropRegion broken{0, 100, NAN, 0, 50, 50};
  KilnCropRegion crop{};
  Kiln_KilnRenderer_setCropRegion(renderer, &broken);
  EXPECT_EQ(Kiln_KilnRenderer_getCropRegion(renderer, &crop), 0);
}

TEST(Renderer, FindsItsCamera) {
  ScopedRenderer renderer;
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), KILN_NO_PLUGIN);
  ASSERT_EQ(renderer.Load(), 0);
  KilnPluginId second = 0;
  ASSERT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "second", "CameraOrthographic", 1, &second), 0);
  const KilnPluginId first = Kiln_KilnRenderer_getPluginID(renderer, "camera");
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), first) << "the scene's first";
  EXPECT_EQ(Kiln_KilnRenderer_setCurrentCamera(renderer, "second"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), second);
  EXPECT_NE(Kiln_KilnRenderer_setCurrentCamera(renderer, "nobody"), 0);
  EXPECT_NE(Kiln_KilnRenderer_setCurrentCamera(renderer, "lamp"), 0) << "no camera";
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 34);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), second);
  EXPECT_EQ(Kiln_KilnRenderer_setCurrentCamera(renderer, nullptr), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), first);
  EXPECT_EQ(Kiln_KilnRenderer_setCurrentCameraByID(renderer, second), 0);
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, second, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), first) << "a deleted camera is no camera";
}

TEST(Renderer, ACameraNameMayComeBeforeItsCamera) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCameraName(renderer), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_setCameraName(renderer, "later"), 0);
  EXPECT_STREQ(Kiln_KilnRenderer_getCameraName(renderer), "later");
  KilnPluginId later = 0;
  ASSERT_EQ(Kiln_KilnRenderer_newPlugin(renderer, "later", "CameraPerspective", 1, &later), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentCamera(renderer), later);
}

TEST(Renderer, KeepsTimeThreadsAndFlags) {
  const ScopedRenderer renderer;
  EXPECT_EQ(Kiln_KilnRenderer_setCurrentTime(renderer, 2.75), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentTime(renderer), 2.75);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentFrame(renderer), 2);
  EXPECT_NE(Kiln_KilnRenderer_setCurrentTime(renderer, NAN), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setCurrentFrame(renderer, -3), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getCurrentTime(renderer), -3);
  EXPECT_NE(Kiln_KilnRenderer_setNumThreads(renderer, 3), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getNumThreads(renderer), 3);
  EXPECT_EQ(Kiln_KilnRenderer_getAnimateProperties(renderer), 0);
  Kiln_KilnRenderer_setAnimateProperties(renderer, 7);
  EXPECT_EQ(Kiln_KilnRenderer_getAnimateProperties(renderer), 1);
  EXPECT_EQ(Kiln_KilnRenderer_getKeepInteractiveRunning(renderer), 0);
  Kiln_KilnRenderer_setKeepInteractiveRunning(renderer, 1);
  EXPECT_EQ(Kiln_KilnRenderer_getKeepInteractiveRunning(renderer), 1);
  EXPECT_NE(Kiln_KilnRenderer_getBucketReadyHasBuffer(renderer), 0);
  Kiln_KilnRenderer_setBucketReadyHasBuffer(renderer, 0);
  EXPECT_EQ(Kiln_KilnRenderer_getBucketReadyHasBuffer(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_getImageUpdatedHasBuffer(renderer), 0);
  EXPECT_GE(Kiln_KilnRenderer_getCurrentEventTime(renderer), 0);
}

TEST(Renderer, HasNoGpus) {
  const ScopedRenderer renderer;
  int32_t count = 7;
  EXPECT_EQ(Kiln_KilnRenderer_getDeviceListCUDA(renderer, &count, 112), nullptr);
  EXPECT_EQ(count, 0);
  const int32_t first = 0;
  EXPECT_EQ(Kiln_KilnRenderer_setDeviceListCUDA(renderer, nullptr, 0), 0);
  EXPECT_NE(Kiln_KilnRenderer_setDeviceListCUDA(renderer, &first, 1), 0);
}

}  // namespace
}  // namespace kiln::engine::test
