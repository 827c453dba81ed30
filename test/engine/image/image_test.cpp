// The image block: sizes, copies, and what counts as a handle.
#include "engine/image/image.h"

#include <climits>
#include <vector>

#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

TEST(Image, StartsTransparentBlackAndLinear) {
  const ImagePtr image(Create(7, 5));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 7);
  EXPECT_EQ(image->height, 5);
  EXPECT_EQ(image->gamma, 1);
  EXPECT_EQ(image->straight_alpha, 0u);
  EXPECT_EQ(image->bytes, 64u + 7 * 5 * 16);
  EXPECT_EQ(image->pixel_count(), 35u);
  EXPECT_EQ(Distance(*image, *Filled(7, 5, {0, 0, 0, 0})), 0);
}

TEST(Image, PixelsFollowTheHeaderOnSixteenBytes) {
  const ImagePtr image(Create(3, 3));
  EXPECT_EQ(reinterpret_cast<char*>(image->pixels()) - reinterpret_cast<char*>(image.get()), 64);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(image->pixels()) % 16, 0u);
  EXPECT_EQ(image->row(2), image->pixels() + 2 * 3 * 4);
}

TEST(Image, RefusesSizesThatAreNone) {
  for (const auto& [width, height] : {std::pair{0, 1},
                                      {1, 0},
                                      {-1, 5},
                                      {5, -1},
                                      {INT_MIN, INT_MIN},
                                      {65536, 1},
                                      {1, 65536},
                                      {INT_MAX, INT_MAX},
                                      {65535, 65535},
                                      {16384, 16384}}) {
    EXPECT_EQ(Create(width, height), nullptr) << width << " x " << height;
    EXPECT_EQ(CreateUnfilled(width, height), nullptr) << width << " x " << height;
  }
}

TEST(Image, GoesToTheLargestSide) {
  EXPECT_TRUE(ImagePtr(Create(kMaxSide, 1)));
  EXPECT_TRUE(ImagePtr(Create(1, kMaxSide)));
}

TEST(Image, LargestBlockStaysBelowFourGigabytes) {
  EXPECT_LT(64 + kMaxPixels * 16, int64_t{1} << 32);
}

TEST(Image, CloneCopiesPixelsAndMarks) {
  const ImagePtr image = Make(5, 4, Noise);
  image->gamma = 1.8f;
  image->straight_alpha = 1;
  const ImagePtr copy(Clone(*image));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy.get(), image.get());
  EXPECT_EQ(std::memcmp(copy.get(), image.get(), image->bytes), 0);
}

TEST(Image, HandleIsKnownByItsHeader) {
  const ImagePtr image(Create(4, 4));
  EXPECT_TRUE(IsImage(image.get()));
  EXPECT_FALSE(IsImage(nullptr));
  alignas(16) const char other[256] = {};
  EXPECT_FALSE(IsImage(other));
  EXPECT_FALSE(IsImage(reinterpret_cast<char*>(image.get()) + 1));
}

TEST(Image, HeaderThatContradictsItselfIsNoImage) {
  const ImagePtr image(Create(4, 4));
  image->width = 4000;
  EXPECT_FALSE(IsImage(image.get()));
  image->width = -4;
  image->height = -4;
  EXPECT_FALSE(IsImage(image.get()));
  image->width = image->height = 4;
  EXPECT_TRUE(IsImage(image.get()));
}

}  // namespace
}  // namespace kiln::engine::image
