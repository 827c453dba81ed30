// Size and regions from the host's side: what keeps them, and which pixels a render reaches.
#include <gtest/gtest.h>

#include <algorithm>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

class Region : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(renderer.Load(64), 0); }

  bool HasRegion() {
    KilnRenderRegion region{};
    return Kiln_KilnRenderer_getRenderRegion(renderer, &region) != 0;
  }
  bool HasCrop() {
    KilnCropRegion crop{};
    return Kiln_KilnRenderer_getCropRegion(renderer, &crop) != 0;
  }
  ImageHandle Render() {
    EXPECT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
    EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
    return ImageHandle(Kiln_KilnRenderer_getImage(renderer, nullptr));
  }
  static const float* Pixels(const ImageHandle& image) {
    uint64_t count = 0;
    return static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(image.get(), &count));
  }

  const KilnRenderRegion kRegion{8, 8, 16, 8};
  const KilnCropRegion kCrop{64, 64, 16, 16, 32, 32};
  ScopedRenderer renderer;
};

TEST_F(Region, AreKeptWithTheirFlags) {
  for (int32_t flags = 0; flags < 4; ++flags) {
    Kiln_KilnRenderer_setRenderRegion(renderer, &kRegion);
    Kiln_KilnRenderer_setCropRegion(renderer, &kCrop);
    ASSERT_EQ(Kiln_KilnRenderer_setImageSizeEx(renderer, 32, 32, flags), 0);
    EXPECT_EQ(HasCrop(), (flags & 1) != 0) << flags;
    EXPECT_EQ(HasRegion(), (flags & 2) != 0) << flags;
  }
}

TEST_F(Region, OfNoPixelsIsNone) {
  Kiln_KilnRenderer_setRenderRegion(renderer, &kRegion);
  const KilnRenderRegion none{3, 3, 0, 5};
  EXPECT_EQ(Kiln_KilnRenderer_setRenderRegion(renderer, &none), 0);
  EXPECT_FALSE(HasRegion());
  Kiln_KilnRenderer_setCropRegion(renderer, &kCrop);
  const KilnCropRegion nothing{0, 64, 0, 0, 32, 32};
  EXPECT_EQ(Kiln_KilnRenderer_setCropRegion(renderer, &nothing), 0);
  EXPECT_FALSE(HasCrop());
}

TEST_F(Region, LimitsARenderAndKeepsTheRest) {
  const ImageHandle whole = Render();
  ASSERT_NE(whole, nullptr);
  ASSERT_EQ(Kiln_KilnRenderer_deletePlugin(renderer, "lamp", 1), 0);
  const KilnRenderRegion middle{24, 24, 16, 16};
  Kiln_KilnRenderer_setRenderRegion(renderer, &middle);
  const ImageHandle part = Render();
  ASSERT_NE(part, nullptr);
  EXPECT_GT(Pixels(whole)[4 * (32 * 64 + 32)], 0);
  EXPECT_EQ(Pixels(part)[4 * (32 * 64 + 32)], 0) << "the lamp is gone where it was rendered again";
  EXPECT_TRUE(std::equal(Pixels(whole), Pixels(whole) + 4 * 64 * 24, Pixels(part)));
}

TEST_F(Region, OutsideOfTheImageFails) {
  const KilnRenderRegion outside{100, 100, 8, 8};
  Kiln_KilnRenderer_setRenderRegion(renderer, &outside);
  EXPECT_EQ(Kiln_KilnRenderer_startSync(renderer), 21);
  EXPECT_EQ(Kiln_KilnRenderer_getState(renderer), 2);
}

TEST_F(Region, OfTheCameraFillsTheImage) {
  // The lamp covers the middle of the view, so all of the window.
  Kiln_KilnRenderer_setCropRegion(renderer, &kCrop);
  const ImageHandle image = Render();
  ASSERT_NE(image, nullptr);
  EXPECT_NEAR(Pixels(image)[4 * (32 * 64 + 32)], 1, 1e-3);
  Kiln_KilnRenderer_setImageSizeEx(renderer, 32, 32, 2);
  const ImageHandle whole = Render();
  EXPECT_EQ(Pixels(whole)[0], 0) << "the corner of the view is dark";
}

TEST_F(Region, TheSameSceneGivesTheSamePicture) {
  const ImageHandle first = Render();
  for (const int32_t threads : {1, 3}) {
    ASSERT_NE(Kiln_KilnRenderer_setNumThreads(renderer, threads), 0);
    const ImageHandle again = Render();
    EXPECT_TRUE(std::equal(Pixels(first), Pixels(first) + size_t{4} * 64 * 64, Pixels(again))) << threads;
  }
}

// One worker, so that the order of the buckets is the order of the queue.
TEST_F(Region, BucketsNearAPixelComeFirst) {
  Host host;
  const CallbackDescriptor ready = Callback(OnBucketReady, host);
  Kiln_KilnRenderer_setBucketReadyCallback(renderer, &ready);
  ASSERT_NE(Kiln_KilnRenderer_setNumThreads(renderer, 1), 0);
  ASSERT_EQ(Kiln_KilnRenderer_setImageSize(renderer, 1024, 1024), 0);
  host.Hold(true);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_TRUE(host.WaitFor("ready"));
  // The render stands still until the host takes the first buckets.
  Kiln_KilnRenderer_bucketRenderNearest(renderer, 1000, 8);
  host.Hold(false);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  renderer.Release();
  ASSERT_EQ(host.buckets.size(), 4096u);
  const auto corner = std::find_if(host.buckets.begin(), host.buckets.end(),
                                   [](const auto& bucket) { return bucket.x == 992 && bucket.y == 0; });
  ASSERT_NE(corner, host.buckets.end());
  EXPECT_LT(corner - host.buckets.begin(), 1000) << "by itself a corner is among the last";
  const auto& last = host.buckets.back();
  EXPECT_GT((last.x - 1000) * (last.x - 1000) + (last.y - 8) * (last.y - 8), 1000 * 1000)
      << "and what is far away comes last";
}

}  // namespace
}  // namespace kiln::engine::test
