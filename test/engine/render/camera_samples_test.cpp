// Camera rays that are traced together meet what each would meet alone.
#include "engine/render/camera_samples.h"

#include "test/engine/render/cornell.h"

namespace kiln::engine::render::test {
namespace {

// A camera that sees past both sides of the room, so that some rays of a bundle meet nothing.
std::shared_ptr<const RenderScene> WideCornell(SceneKit& kit, int side) {
  MakeCornell(kit, side, 1);
  kit.Camera({0, 1, 3.9f}, {0, 1, 0}, 100);
  return kit.Build();
}

struct Tally {
  int met = 0, missed = 0;
};

// Every sample of the bucket, against its ray alone.
Tally Compare(const RenderScene& scene, int side, const Bucket& bucket, int first, int count) {
  const PixelFilter filter(false, 1.5f);
  const ImageWindow window(side, side, {});
  CameraSamples samples({scene, filter, window}, bucket, first, count);
  Tally tally;
  for (int i = 0; i < bucket.width * bucket.height * count; ++i) {
    const CameraSample& sample = samples.Next();
    Hit alone;
    scene.Intersect({sample.ray.origin, sample.ray.near, sample.ray.direction, sample.ray.far}, &alone);
    EXPECT_EQ(std::isfinite(sample.hit.distance), std::isfinite(alone.distance)) << i;
    if (std::isfinite(alone.distance)) {
      EXPECT_NEAR(sample.hit.distance, alone.distance, 1e-5f * alone.distance) << i;
      EXPECT_EQ(sample.hit.object, alone.object) << i;
      EXPECT_EQ(sample.hit.triangle, alone.triangle) << i;
      ++tally.met;
    } else {
      ++tally.missed;
    }
  }
  return tally;
}

TEST(CameraSamples, MeetWhatEachRayMeetsAlone) {
  SceneKit kit;
  constexpr int kSide = 24;
  const auto scene = WideCornell(kit, kSide);
  ASSERT_NE(scene, nullptr);
  // Fewer samples than a bundle holds, as many, and more; and a bucket that ends within one.
  for (const int count : {1, 16, 21}) {
    const Tally tally = Compare(*scene, kSide, {0, 0, kSide, kSide}, 0, count);
    EXPECT_GT(tally.met, 100) << count;
    EXPECT_GT(tally.missed, 50) << count;
  }
  Compare(*scene, kSide, {10, 9, 3, 1}, 2, 3);
}

TEST(CameraSamples, AreThoseOfTheirPixelsInAnyBucketAndPass) {
  SceneKit kit;
  constexpr int kSide = 24;
  const auto scene = WideCornell(kit, kSide);
  ASSERT_NE(scene, nullptr);
  const PixelFilter filter(false, 1.5f);
  const ImageWindow window(kSide, kSide, {});
  const FrameView view{*scene, filter, window};
  CameraSamples whole(view, {4, 5, 3, 2}, 0, 5);
  CameraSamples part(view, {6, 6, 1, 1}, 2, 3);
  // The last pixel's samples from the third on.
  for (int i = 0; i < 5 * 5 + 2; ++i) whole.Next();
  for (int i = 0; i < 3; ++i) {
    const CameraSample& a = whole.Next();
    const CameraSample& b = part.Next();
    EXPECT_EQ(a.ray.direction, b.ray.direction) << i;
    EXPECT_EQ(a.offset, b.offset) << i;
    EXPECT_EQ(a.hit.triangle, b.hit.triangle) << i;
    EXPECT_EQ(a.sampler.Get(1).x, b.sampler.Get(1).x) << i;
  }
}

}  // namespace
}  // namespace kiln::engine::render::test
