// Scaling: sizes, what must stay, and what must not bleed.
#include <climits>

#include "engine/image/operations.h"
#include "engine/image/transfer.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

std::pair<int, int> SizeOf(const ImagePtr& image) {
  return image ? std::pair{image->width, image->height} : std::pair{0, 0};
}

TEST(Resample, ConstantStaysConstant) {
  const ImagePtr image = Filled(37, 23, {0.25f, 0.5f, 7, 0.75f});
  for (const auto& [width, height] : {std::pair{1, 1}, {5, 7}, {36, 22}, {37, 5}, {80, 60}, {64, 1}}) {
    const ImagePtr scaled(Downscale(*image, width, height));
    ASSERT_TRUE(scaled);
    EXPECT_LT(Distance(*scaled, *Filled(width, height, {0.25f, 0.5f, 7, 0.75f})), 5e-6f);
  }
}

TEST(Resample, SameSizeIsTheSameBitForBit) {
  const ImagePtr image = Make(9, 7, Noise);
  image->gamma = kDisplayGamma;
  image->straight_alpha = 1;
  for (const ImagePtr& copy : {ImagePtr(Downscale(*image, 9, 7)), ImagePtr(CutIn(*image, 9, 7)),
                               ImagePtr(FitIn(*image, 9, 7)), ImagePtr(FitOut(*image, 9, 7))}) {
    ASSERT_TRUE(copy);
    EXPECT_EQ(std::memcmp(copy.get(), image.get(), image->bytes), 0);
  }
}

TEST(Resample, MeanIsPreserved) {
  const ImagePtr image = Make(240, 160, [](int x, int y) {
    Rgba v = Noise(x, y);
    v[3] = 1;
    return v;
  });
  const auto expected = Mean(*image);
  for (const auto& [width, height] : {std::pair{120, 80}, {60, 40}, {100, 70}, {37, 31}, {1, 1}}) {
    const auto mean = Mean(*ImagePtr(Downscale(*image, width, height)));
    for (size_t c = 0; c < 4; ++c) EXPECT_NEAR(mean[c], expected[c], 2e-3) << width << " x " << height;
  }
}

TEST(Resample, CheckerboardTurnsGrey) {
  const ImagePtr image = Make(64, 64, [](int x, int y) {
    const float v = (x + y) % 2 ? 1.0f : 0.0f;
    return Rgba{v, v, v, 1};
  });
  const ImagePtr grey(Downscale(*image, 16, 16));
  EXPECT_LT(Distance(*grey, *Filled(16, 16, {0.5f, 0.5f, 0.5f, 1})), 0.01f);
}

TEST(Resample, EncodedPixelsAreMixedAsLight) {
  const ImagePtr image = Make(64, 64, [](int x, int y) {
    const float v = (x + y) % 2 ? 1.0f : 0.0f;
    return Rgba{v, v, v, 1};
  });
  image->gamma = kDisplayGamma;
  const ImagePtr grey(Downscale(*image, 16, 16));
  const float expected = LinearToSrgb(0.5f);
  EXPECT_EQ(grey->gamma, kDisplayGamma);
  EXPECT_LT(Distance(*grey, *Filled(16, 16, {expected, expected, expected, 1})), 0.01f);
}

TEST(Resample, ColourOfTransparentPixelsDoesNotBleed) {
  const ImagePtr image = Make(64, 64, [](int x, int) {
    return x < 32 ? Rgba{1, 0, 0, 1} : Rgba{0, 1, 0, 0};
  });
  image->straight_alpha = 1;
  const ImagePtr scaled(Downscale(*image, 15, 15));
  for (int x = 0; x < 15; ++x) {
    const Rgba pixel = At(*scaled, x, 7);
    EXPECT_NEAR(pixel[1], 0, 1e-6f);
    if (pixel[3] > 0) {
      EXPECT_NEAR(pixel[0], 1, 1e-5f);
    }
  }
}

TEST(Resample, EdgeNeverRings) {
  const ImagePtr image = Make(90, 30, [](int x, int) {
    const float v = x < 45 ? 0.0f : 1000.0f;
    return Rgba{v, v, v, 1};
  });
  for (const auto& [width, height] : {std::pair{31, 10}, {45, 15}, {200, 70}}) {
    const ImagePtr scaled(Downscale(*image, width, height));
    for (size_t i = 0; i < scaled->pixel_count(); ++i) {
      EXPECT_GE(scaled->pixels()[i * 4], 0);
      EXPECT_LE(scaled->pixels()[i * 4], 1000);
    }
  }
}

TEST(Resample, NegativeValuesSurvive) {
  const ImagePtr scaled(Downscale(*Filled(8, 8, {-1, -0.5f, 0.5f, 1}), 3, 3));
  ExpectPixel(*scaled, 1, 1, {-1, -0.5f, 0.5f, 1});
}

TEST(Resample, BrokenPixelsDoNotSpread) {
  const ImagePtr image = Filled(32, 32, {0.5f, 0.5f, 0.5f, 1});
  image->row(3)[4 * 3] = kNan;
  image->row(20)[4 * 20 + 1] = kInf;
  const ImagePtr scaled(Downscale(*image, 8, 8));
  for (size_t i = 0; i < scaled->pixel_count() * 4; ++i) EXPECT_TRUE(std::isfinite(scaled->pixels()[i]));
}

TEST(Resample, MirrorsWithTheImage) {
  const ImagePtr image = Make(50, 40, Noise);
  const ImagePtr mirrored(Crop(*image, 0, 0, -50, -40));
  const ImagePtr a(Downscale(*image, 17, 13));
  const ImagePtr b(Downscale(*mirrored, 17, 13));
  EXPECT_LT(Distance(*a, *ImagePtr(Crop(*b, 0, 0, -17, -13))), 1e-5f);
}

TEST(Resample, RampKeepsItsSlope) {
  const ImagePtr image = Make(100, 4, [](int x, int) {
    const float v = (static_cast<float>(x) + 0.5f) / 100;
    return Rgba{v, v, v, 1};
  });
  const ImagePtr scaled(Downscale(*image, 40, 4));
  for (int x = 4; x < 36; ++x) EXPECT_NEAR(At(*scaled, x, 2)[0], (static_cast<float>(x) + 0.5f) / 40, 2e-3f);
}

TEST(Fit, SizesKeepTheAspect) {
  const ImagePtr wide(Create(200, 100));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*wide, 50, 50))), std::pair(50, 25));
  EXPECT_EQ(SizeOf(ImagePtr(FitOut(*wide, 50, 50))), std::pair(100, 50));
  EXPECT_EQ(SizeOf(ImagePtr(CutIn(*wide, 50, 50))), std::pair(50, 50));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*wide, 300, 20))), std::pair(40, 20));
  EXPECT_EQ(SizeOf(ImagePtr(FitOut(*wide, 300, 20))), std::pair(300, 150));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*wide, 400, 400))), std::pair(400, 200));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*wide, 1, 1))), std::pair(1, 1));
}

TEST(Fit, NoSideVanishes) {
  const ImagePtr line(Create(1000, 1));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*line, 10, 10))), std::pair(10, 1));
  EXPECT_EQ(SizeOf(ImagePtr(FitIn(*ImagePtr(Create(1, 1000)), 10, 10))), std::pair(1, 10));
}

TEST(Fit, AnythingFitsInsideAndCovers) {
  for (const auto& [w, h] : {std::pair{17, 31}, {640, 479}, {3, 1000}}) {
    const ImagePtr image(Create(w, h));
    for (const auto& [tw, th] : {std::pair{10, 10}, {33, 7}, {64, 50}}) {
      const auto in = SizeOf(ImagePtr(FitIn(*image, tw, th)));
      EXPECT_TRUE(in.first <= tw && in.second <= th && (in.first == tw || in.second == th));
      const auto out = SizeOf(ImagePtr(FitOut(*image, tw, th)));
      EXPECT_TRUE(out.first >= tw && out.second >= th && (out.first == tw || out.second == th));
      EXPECT_EQ(SizeOf(ImagePtr(CutIn(*image, tw, th))), (std::pair{tw, th}));
    }
  }
}

TEST(CutIn, KeepsTheMiddle) {
  const ImagePtr image = Make(90, 30, [](int x, int) {
    return x < 30 ? Rgba{1, 0, 0, 1} : x < 60 ? Rgba{0, 1, 0, 1} : Rgba{0, 0, 1, 1};
  });
  const ImagePtr middle(CutIn(*image, 10, 10));
  ExpectPixel(*middle, 5, 5, {0, 1, 0, 1}, 1e-4f);
  EXPECT_NEAR(At(*middle, 0, 5)[0], At(*middle, 9, 5)[2], 1e-5f);
  EXPECT_GT(At(*middle, 0, 5)[1], 0.5f);
}

TEST(CropDownscale, PixelsOutsideHaveNoInfluence) {
  const ImagePtr image = Make(40, 40, [](int x, int y) {
    const bool inside = x >= 10 && x < 30 && y >= 5 && y < 25;
    return inside ? Rgba{0.25f, 0.5f, 0.75f, 1} : Rgba{100, 100, 100, 1};
  });
  const ImagePtr part(CropDownscale(*image, 10, 5, 20, 20, 7, 9));
  ASSERT_TRUE(part);
  EXPECT_LT(Distance(*part, *Filled(7, 9, {0.25f, 0.5f, 0.75f, 1})), 1e-5f);
}

TEST(CropDownscale, SameSizeIsACrop) {
  const ImagePtr image = Make(12, 12, Noise);
  EXPECT_EQ(Distance(*ImagePtr(CropDownscale(*image, 3, 4, 5, 6, 5, 6)), *ImagePtr(Crop(*image, 3, 4, 5, 6))),
            0);
}

TEST(Resample, MeaninglessSizesGiveNothing) {
  const ImagePtr image = Make(8, 8, Noise);
  for (const auto& [w, h] : {std::pair{0, 4},
                             {4, 0},
                             {-1, 4},
                             {4, -1},
                             {INT_MIN, INT_MIN},
                             {INT_MAX, INT_MAX},
                             {65536, 1},
                             {65535, 65535}}) {
    EXPECT_EQ(Downscale(*image, w, h), nullptr);
    EXPECT_EQ(FitIn(*image, w, h), nullptr);
    EXPECT_EQ(FitOut(*image, w, h), nullptr);
    EXPECT_EQ(CutIn(*image, w, h), nullptr);
    EXPECT_EQ(CropDownscale(*image, 0, 0, 8, 8, w, h), nullptr);
  }
  EXPECT_EQ(CropDownscale(*image, INT_MAX, 0, INT_MAX, 8, 4, 4), nullptr);
  EXPECT_EQ(CropDownscale(*image, -1, 0, 4, 4, 4, 4), nullptr);
  EXPECT_EQ(CropDownscale(*image, 5, 0, 4, 4, 4, 4), nullptr);
  EXPECT_EQ(FitOut(*ImagePtr(Create(65535, 1)), 1, 100), nullptr);
}

TEST(Resample, ExtremeRatiosFinish) {
  const ImagePtr line = Filled(kMaxSide, 2, {0.5f, 0.5f, 0.5f, 1});
  const ImagePtr dot(Downscale(*line, 1, 1));
  ExpectPixel(*dot, 0, 0, {0.5f, 0.5f, 0.5f, 1}, 1e-4f);
  const ImagePtr stretched(Downscale(*Filled(1, 1, {0.5f, 0.5f, 0.5f, 1}), kMaxSide, 2));
  ExpectPixel(*stretched, kMaxSide - 1, 1, {0.5f, 0.5f, 0.5f, 1});
}

}  // namespace
}  // namespace kiln::engine::image
