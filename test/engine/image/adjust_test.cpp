// Adjustments: what each does to a pixel, and what it refuses.
#include "engine/image/operations.h"
#include "engine/image/transfer.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

// A refused change leaves the image as it was.
template <class F>
void ExpectRefused(F&& change) {
  const ImagePtr image = Make(3, 3, Noise);
  const ImagePtr before(Clone(*image));
  EXPECT_FALSE(change(*image));
  EXPECT_EQ(std::memcmp(image.get(), before.get(), image->bytes), 0);
}

TEST(Adjust, AddColorAddsToColourAlone) {
  const ImagePtr image = Filled(2, 2, {0.25f, 0.5f, 2, 0.5f});
  EXPECT_TRUE(AddColor(*image, 0.5f, -1, 0.125f));
  ExpectPixel(*image, 1, 1, {0.75f, -0.5f, 2.125f, 0.5f});
  for (const float bad : {kNan, kInf, -kInf}) {
    ExpectRefused([&](Image& i) { return AddColor(i, bad, 0, 0); });
    ExpectRefused([&](Image& i) { return AddColor(i, 0, bad, 0); });
    ExpectRefused([&](Image& i) { return AddColor(i, 0, 0, bad); });
  }
}

TEST(Adjust, ExposureIsInStops) {
  const ImagePtr image = Filled(2, 2, {0.25f, 0.5f, 3, 0.5f});
  EXPECT_TRUE(ChangeExposure(*image, 2));
  ExpectPixel(*image, 0, 0, {1, 2, 12, 0.5f});
  EXPECT_TRUE(ChangeExposure(*image, -2));
  ExpectPixel(*image, 0, 0, {0.25f, 0.5f, 3, 0.5f});
  for (const float bad : {kNan, kInf, -kInf, 200.0f, -200.0f}) {
    ExpectRefused([&](Image& i) { return ChangeExposure(i, bad); });
  }
}

TEST(Adjust, ContrastTurnsAboutMidGrey) {
  const ImagePtr image = Make(3, 1, [](int x, int) {
    return Rgba{0.18f, x == 0 ? 0.09f : 0.36f, x == 2 ? 0.0f : 0.18f, 0.5f};
  });
  EXPECT_TRUE(ChangeContrast(*image, 2));
  ExpectPixel(*image, 0, 0, {0.18f, 0.045f, 0.18f, 0.5f});
  ExpectPixel(*image, 1, 0, {0.18f, 0.72f, 0.18f, 0.5f});
  ExpectPixel(*image, 2, 0, {0.18f, 0.72f, 0, 0.5f});
}

TEST(Adjust, ContrastOfOneChangesNothingAndOfZeroLeavesGrey) {
  const ImagePtr image = Make(4, 4, Noise);
  const ImagePtr before(Clone(*image));
  EXPECT_TRUE(ChangeContrast(*image, 1));
  EXPECT_LT(Distance(*image, *before), 1e-6f);
  EXPECT_TRUE(ChangeContrast(*image, 0));
  const float alpha = At(*before, 2, 3)[3];
  ExpectPixel(*image, 2, 3, {0.18f, 0.18f, 0.18f, alpha});
  for (const float bad : {kNan, kInf, -1.0f}) ExpectRefused([&](Image& i) { return ChangeContrast(i, bad); });
}

TEST(Adjust, ContrastOfEncodedPixelsTurnsAboutEncodedGrey) {
  const float grey = LinearToSrgb(0.18f);
  const ImagePtr image = Filled(1, 1, {grey, grey / 2, grey * 2, 1});
  image->gamma = kDisplayGamma;
  EXPECT_TRUE(ChangeContrast(*image, 2));
  ExpectPixel(*image, 0, 0, {grey, grey / 4, grey * 4, 1}, 1e-5f);
}

TEST(Adjust, GammaEncodesAndIsRemembered) {
  const ImagePtr image = Filled(1, 1, {0.25f, 4, -0.25f, 0.25f});
  EXPECT_TRUE(ChangeGamma(*image, 2));
  ExpectPixel(*image, 0, 0, {0.5f, 2, -0.5f, 0.25f});
  EXPECT_FLOAT_EQ(image->gamma, 2);
  EXPECT_TRUE(ChangeGamma(*image, 0.5f));
  ExpectPixel(*image, 0, 0, {0.25f, 4, -0.25f, 0.25f});
  EXPECT_FLOAT_EQ(image->gamma, 1);
  for (const float bad : {kNan, kInf, -kInf, 0.0f, -1.0f, 1e-45f}) {
    ExpectRefused([&](Image& i) { return ChangeGamma(i, bad); });
  }
}

TEST(Adjust, GammaThatWouldOverflowIsRefused) {
  const ImagePtr image = Filled(1, 1, {0.5f, 0.5f, 0.5f, 1});
  EXPECT_TRUE(SetGamma(*image, 1e30f));
  EXPECT_FALSE(ChangeGamma(*image, 1e30f));
  EXPECT_FLOAT_EQ(image->gamma, 1e30f);
}

TEST(Adjust, SrgbGoesBothWays) {
  const ImagePtr image = Filled(1, 1, {0.5f, 0.002f, 1, 0.5f});
  EXPECT_TRUE(ChangeSrgb(*image, true));
  ExpectPixel(*image, 0, 0, {0.735357f, 0.02584f, 1, 0.5f}, 1e-5f);
  EXPECT_EQ(image->gamma, kDisplayGamma);
  EXPECT_TRUE(ChangeSrgb(*image, false));
  ExpectPixel(*image, 0, 0, {0.5f, 0.002f, 1, 0.5f}, 1e-6f);
  EXPECT_EQ(image->gamma, 1);
}

TEST(Adjust, NegativeTwiceIsTheImageAgain) {
  const ImagePtr image = Filled(1, 1, {0.25f, 1, 3, 0.5f});
  EXPECT_TRUE(MakeNegative(*image));
  ExpectPixel(*image, 0, 0, {0.75f, 0, -2, 0.5f});
  EXPECT_TRUE(MakeNegative(*image));
  ExpectPixel(*image, 0, 0, {0.25f, 1, 3, 0.5f});
}

TEST(Adjust, SetGammaLeavesPixelsAlone) {
  const ImagePtr image = Make(3, 3, Noise);
  const ImagePtr before(Clone(*image));
  EXPECT_TRUE(SetGamma(*image, 1.8f));
  EXPECT_EQ(image->gamma, 1.8f);
  EXPECT_EQ(Distance(*image, *before), 0);
  for (const float bad : {kNan, kInf, 0.0f, -2.2f}) ExpectRefused([&](Image& i) { return SetGamma(i, bad); });
}

TEST(Transfer, CurveIsContinuousAndMirrored) {
  EXPECT_NEAR(LinearToSrgb(0.0031308f), LinearToSrgb(0.0031309f), 1e-5f);
  EXPECT_NEAR(SrgbToLinear(0.04045f), SrgbToLinear(0.040451f), 1e-6f);
  for (float v = -2; v <= 2; v += 0.03125f) {
    EXPECT_NEAR(SrgbToLinear(LinearToSrgb(v)), v, 2e-6f);
    EXPECT_EQ(LinearToSrgb(-v), -LinearToSrgb(v));
  }
}

}  // namespace
}  // namespace kiln::engine::image
