// A whole room: the strategies agree, and its brightness stays what it was found to be.
#include "test/engine/render/cornell.h"

#include <cstdio>
#include <cstdlib>

namespace kiln::engine::render::test {
namespace {

// Mean radiance at 4096 samples per pixel of a 32 x 32 image, box filter.
constexpr Color kReference{0.26972f, 0.17565f, 0.05633f};

TEST(Cornell, MeanRadianceIsTheReference) {
  SceneKit kit;
  MakeCornell(kit, 32, 256);
  const ImagePtr image = kit.Render();
  const Color mean = Mean(*image);
  EXPECT_NEAR(mean.r, kReference.r, kReference.r * 0.01);
  EXPECT_NEAR(mean.g, kReference.g, kReference.g * 0.01);
  EXPECT_NEAR(mean.b, kReference.b, kReference.b * 0.01);
}

TEST(Cornell, StrategiesAgree) {
  SceneKit kit;
  MakeCornell(kit, 16, 512);
  const Color both = Mean(*kit.Render(LightStrategy::kBoth));
  const Color lights = Mean(*kit.Render(LightStrategy::kLightsOnly));
  const Color scattering = Mean(*kit.Render(LightStrategy::kScatteringOnly));
  EXPECT_NEAR(lights.g, both.g, both.g * 0.01);
  EXPECT_NEAR(scattering.g, both.g, both.g * 0.04);
}

}  // namespace
}  // namespace kiln::engine::render::test
