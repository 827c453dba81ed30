// Drawing and cropping: positions, clipping, blending, mirrors.
#include <climits>

#include "engine/image/operations.h"
#include "engine/image/transfer.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

constexpr int kCopy = 0;
constexpr int kBlend = 1;

TEST(Draw, CopiesAtAPosition) {
  const ImagePtr target = Filled(6, 5, {0, 0, 0, 1});
  const ImagePtr source = Make(3, 2, Noise);
  EXPECT_TRUE(Draw(*target, *source, 2, 1, kCopy));
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 6; ++x) {
      const bool inside = x >= 2 && x < 5 && y >= 1 && y < 3;
      ExpectPixel(*target, x, y, inside ? Noise(x - 2, y - 1) : Rgba{0, 0, 0, 1}, 0);
    }
  }
}

TEST(Draw, ClipsAtEveryEdge) {
  for (int y = -5; y <= 6; ++y) {
    for (int x = -5; x <= 7; ++x) {
      const ImagePtr target = Filled(6, 5, {9, 9, 9, 9});
      EXPECT_TRUE(Draw(*target, *Make(4, 3, Noise), x, y, kCopy));
      for (int ty = 0; ty < 5; ++ty) {
        for (int tx = 0; tx < 6; ++tx) {
          const bool inside = tx >= x && tx < x + 4 && ty >= y && ty < y + 3;
          ASSERT_EQ(At(*target, tx, ty), inside ? Noise(tx - x, ty - y) : (Rgba{9, 9, 9, 9}));
        }
      }
    }
  }
}

TEST(Draw, FarPositionsDrawNothing) {
  const ImagePtr target = Make(4, 4, Noise);
  const ImagePtr before(Clone(*target));
  for (const int far : {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1}) {
    EXPECT_TRUE(Draw(*target, *before, far, 0, kCopy));
    EXPECT_TRUE(Draw(*target, *before, 0, far, kBlend));
    EXPECT_TRUE(Draw(*target, *before, far, far, kBlend));
  }
  EXPECT_EQ(Distance(*target, *before), 0);
}

TEST(Draw, UnknownModeIsRefused) {
  const ImagePtr target = Make(4, 4, Noise);
  const ImagePtr before(Clone(*target));
  for (const int mode : {-1, 2, 7, INT_MAX, INT_MIN}) EXPECT_FALSE(Draw(*target, *before, 0, 0, mode));
  EXPECT_EQ(Distance(*target, *before), 0);
}

TEST(Draw, BlendsPremultipliedOver) {
  const ImagePtr target = Filled(1, 1, {0.5f, 0.25f, 0, 0.5f});
  EXPECT_TRUE(Draw(*target, *Filled(1, 1, {0.25f, 0, 1, 0.25f}), 0, 0, kBlend));
  ExpectPixel(*target, 0, 0, {0.625f, 0.1875f, 1, 0.625f});
}

TEST(Draw, BlendsStraightOver) {
  const ImagePtr target = Filled(2, 1, {1, 0, 0, 0.5f});
  const ImagePtr source = Filled(2, 1, {0, 1, 0, 0.5f});
  target->straight_alpha = source->straight_alpha = 1;
  EXPECT_TRUE(Draw(*target, *source, 0, 0, kBlend));
  ExpectPixel(*target, 0, 0, {1 / 3.0f, 2 / 3.0f, 0, 0.75f});
}

TEST(Draw, ConvertsTheKindOfAlpha) {
  const ImagePtr straight = Filled(1, 1, {1, 0.5f, 0, 0.5f});
  straight->straight_alpha = 1;
  const ImagePtr target = Filled(1, 1, {0, 0, 0, 0});
  EXPECT_TRUE(Draw(*target, *straight, 0, 0, kCopy));
  ExpectPixel(*target, 0, 0, {0.5f, 0.25f, 0, 0.5f});
  EXPECT_TRUE(Draw(*straight, *target, 0, 0, kCopy));
  ExpectPixel(*straight, 0, 0, {1, 0.5f, 0, 0.5f});
}

TEST(Draw, ConvertsTheEncoding) {
  const ImagePtr source = Filled(1, 1, {LinearToSrgb(0.2f), 1, 0, 1});
  source->gamma = kDisplayGamma;
  const ImagePtr target(Create(1, 1));
  EXPECT_TRUE(Draw(*target, *source, 0, 0, kCopy));
  ExpectPixel(*target, 0, 0, {0.2f, 1, 0, 1});
  EXPECT_EQ(target->gamma, 1);
}

TEST(Draw, OnItself) {
  for (const auto& [x, y] : {std::pair{1, 1}, {-1, -1}, {2, -1}, {0, 1}, {1, 0}, {0, 0}}) {
    const ImagePtr image = Make(5, 5, Noise);
    EXPECT_TRUE(Draw(*image, *image, x, y, kCopy));
    for (int ty = 0; ty < 5; ++ty) {
      for (int tx = 0; tx < 5; ++tx) {
        const bool inside = tx - x >= 0 && tx - x < 5 && ty - y >= 0 && ty - y < 5;
        ASSERT_EQ(At(*image, tx, ty), inside ? Noise(tx - x, ty - y) : Noise(tx, ty));
      }
    }
  }
}

TEST(Crop, TakesTheRectangle) {
  const ImagePtr image = Make(6, 5, Noise);
  image->gamma = 1.5f;
  image->straight_alpha = 1;
  const ImagePtr part(Crop(*image, 2, 1, 3, 4));
  ASSERT_TRUE(part);
  EXPECT_EQ(part->width, 3);
  EXPECT_EQ(part->height, 4);
  EXPECT_EQ(part->gamma, 1.5f);
  EXPECT_EQ(part->straight_alpha, 1u);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(At(*part, x, y), Noise(x + 2, y + 1));
  }
}

TEST(Crop, NegativeSidesMirror) {
  const ImagePtr image = Make(6, 5, Noise);
  const ImagePtr across(Crop(*image, 1, 1, -4, 2));
  const ImagePtr down(Crop(*image, 1, 1, 4, -2));
  const ImagePtr both(Crop(*image, 1, 1, -4, -2));
  ASSERT_TRUE(across && down && both);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 4; ++x) {
      EXPECT_EQ(At(*across, x, y), Noise(1 + 3 - x, 1 + y));
      EXPECT_EQ(At(*down, x, y), Noise(1 + x, 1 + 1 - y));
      EXPECT_EQ(At(*both, x, y), Noise(1 + 3 - x, 1 + 1 - y));
    }
  }
}

TEST(Crop, OutsideIsRefused) {
  const ImagePtr image = Make(6, 5, Noise);
  EXPECT_EQ(Crop(*image, -1, 0, 2, 2), nullptr);
  EXPECT_EQ(Crop(*image, 0, -1, 2, 2), nullptr);
  EXPECT_EQ(Crop(*image, 0, 0, 0, 2), nullptr);
  EXPECT_EQ(Crop(*image, 0, 0, 2, 0), nullptr);
  EXPECT_EQ(Crop(*image, 5, 0, 2, 2), nullptr);
  EXPECT_EQ(Crop(*image, 5, 0, -2, 2), nullptr);
  EXPECT_EQ(Crop(*image, 0, 4, 2, 2), nullptr);
  EXPECT_EQ(Crop(*image, INT_MAX, INT_MAX, INT_MAX, INT_MAX), nullptr);
  EXPECT_EQ(Crop(*image, 0, 0, INT_MIN, INT_MIN), nullptr);
}

}  // namespace
}  // namespace kiln::engine::image
