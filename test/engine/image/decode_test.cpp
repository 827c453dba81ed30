// Decoders: every kind of file that they read, and how damaged ones are refused.
#include <png.h>

#include <cstdio>

#include "engine/image/byte_order.h"
#include "engine/image/codec.h"
#include "engine/image/encode.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

ImagePtr Decoded(const Bytes& bytes) {
  std::string error;
  ImagePtr image(Decode(bytes, &error));
  EXPECT_TRUE(image) << error;
  return image;
}
std::string ErrorOf(const Bytes& bytes) {
  std::string error;
  const ImagePtr image(Decode(bytes, &error));
  EXPECT_FALSE(image);
  return error;
}

TEST(DecodePng, Palette) {
  const ImagePtr image = Decoded(BuildPng({4, 1, 2, PNG_COLOR_TYPE_PALETTE, false, {{0b00011011}}}));
  ExpectPixel(*image, 0, 0, {1, 0, 0, 1});
  ExpectPixel(*image, 1, 0, {0, 1, 0, 0.2f});
  ExpectPixel(*image, 2, 0, {0, 0, 1, 1});
  ExpectPixel(*image, 3, 0, {1, 1, 1, 1});
  EXPECT_EQ(image->gamma, kDisplayGamma);
  EXPECT_EQ(image->straight_alpha, 1u);
}

TEST(DecodePng, GreyOfEveryDepth) {
  ExpectPixel(*Decoded(BuildPng({2, 1, 1, PNG_COLOR_TYPE_GRAY, false, {{0x40}}})), 1, 0, {1, 1, 1, 1});
  const float third = 1 / 3.0f;
  ExpectPixel(*Decoded(BuildPng({2, 1, 2, PNG_COLOR_TYPE_GRAY, false, {{0x10}}})), 1, 0,
              {third, third, third, 1});
  ExpectPixel(*Decoded(BuildPng({2, 1, 4, PNG_COLOR_TYPE_GRAY, false, {{0x03}}})), 1, 0,
              {0.2f, 0.2f, 0.2f, 1});
  ExpectPixel(*Decoded(BuildPng({2, 1, 8, PNG_COLOR_TYPE_GRAY, false, {{0, 51}}})), 1, 0,
              {0.2f, 0.2f, 0.2f, 1});
  const float word = 0x1234 / 65535.0f;
  ExpectPixel(*Decoded(BuildPng({2, 1, 16, PNG_COLOR_TYPE_GRAY, false, {{0, 0, 0x12, 0x34}}})), 1, 0,
              {word, word, word, 1});
}

TEST(DecodePng, GreyWithAlphaAndRgb) {
  ExpectPixel(*Decoded(BuildPng({1, 1, 8, PNG_COLOR_TYPE_GRAY_ALPHA, false, {{51, 102}}})), 0, 0,
              {0.2f, 0.2f, 0.2f, 0.4f});
  ExpectPixel(*Decoded(BuildPng({1, 1, 8, PNG_COLOR_TYPE_RGB, false, {{51, 102, 255}}})), 0, 0,
              {0.2f, 0.4f, 1, 1});
  ExpectPixel(
      *Decoded(BuildPng({1, 1, 16, PNG_COLOR_TYPE_RGB, false, {{0x33, 0x33, 0x66, 0x66, 0xff, 0xff}}})), 0, 0,
      {0.2f, 0.4f, 1, 1});
}

TEST(DecodePng, InterlacedIsTheSame) {
  for (const int depth : {8, 16}) {
    PngSource source{13, 11, depth, PNG_COLOR_TYPE_RGB_ALPHA, false, {}};
    for (int y = 0; y < 11; ++y) {
      std::vector<unsigned char> row(static_cast<size_t>(13 * depth / 2));
      for (size_t i = 0; i < row.size(); ++i) {
        row[i] = static_cast<unsigned char>(Noise(static_cast<int>(i), y)[0] * 255);
      }
      source.rows.push_back(row);
    }
    const ImagePtr plain = Decoded(BuildPng(source));
    source.interlaced = true;
    EXPECT_EQ(Distance(*plain, *Decoded(BuildPng(source))), 0);
  }
}

TEST(DecodeBmp, Palettes) {
  const std::vector<int> palette = {0, 0, 255, 0, 0, 255, 0, 0};  // red, green
  const ImagePtr one = Decoded(BuildBmp(3, 1, 1, 0, palette, {0b01000000, 0, 0, 0}));
  ExpectPixel(*one, 0, 0, {1, 0, 0, 1});
  ExpectPixel(*one, 1, 0, {0, 1, 0, 1});
  const ImagePtr four = Decoded(BuildBmp(3, 1, 4, 0, palette, {0x10, 0x10, 0, 0}));
  ExpectPixel(*four, 0, 0, {0, 1, 0, 1});
  ExpectPixel(*four, 1, 0, {1, 0, 0, 1});
  const ImagePtr eight = Decoded(BuildBmp(2, 2, 8, 0, palette, {0, 1, 0, 0, 1, 0, 0, 0}));
  ExpectPixel(*eight, 0, 1, {1, 0, 0, 1});
  ExpectPixel(*eight, 0, 0, {0, 1, 0, 1});
}

TEST(DecodeBmp, SixteenBits) {
  ExpectPixel(*Decoded(BuildBmp(1, 1, 16, 0, {}, {0x1f, 0x7c, 0, 0})), 0, 0, {1, 0, 1, 1});
  const std::vector<int> masks565 = {0, 0xf8, 0, 0, 0xe0, 0x07, 0, 0, 0x1f, 0, 0, 0};
  ExpectPixel(*Decoded(BuildBmp(1, 1, 16, 3, masks565, {0xe0, 0x07, 0, 0})), 0, 0, {0, 1, 0, 1});
}

TEST(DecodeBmp, ThirtyTwoBitsWithoutAlphaAreOpaque) {
  ExpectPixel(*Decoded(BuildBmp(1, 1, 32, 0, {}, {255, 0, 51, 0})), 0, 0, {0.2f, 0, 1, 1});
  ExpectPixel(*Decoded(BuildBmp(1, 1, 32, 0, {}, {255, 0, 51, 51})), 0, 0, {0.2f, 0, 1, 0.2f});
}

TEST(DecodeBmp, NegativeHeightIsTopDown) {
  const ImagePtr image = Decoded(BuildBmp(1, -2, 24, 0, {}, {0, 0, 255, 0, 255, 0, 0, 0}));
  ExpectPixel(*image, 0, 0, {1, 0, 0, 1});
  ExpectPixel(*image, 0, 1, {0, 0, 1, 1});
}

TEST(DecodeBmp, Runs) {
  const std::vector<int> palette = {0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0};  // red, green, blue
  // 4 x 2: a run, the end of the line, then three single pixels and their padding, and the end.
  const ImagePtr eight = Decoded(BuildBmp(4, 2, 8, 1, palette, {4, 1, 0, 0, 0, 3, 2, 1, 0, 0, 1, 2, 0, 1}));
  for (int x = 0; x < 4; ++x) ExpectPixel(*eight, x, 1, {0, 1, 0, 1});
  ExpectPixel(*eight, 0, 0, {0, 0, 1, 1});
  ExpectPixel(*eight, 1, 0, {0, 1, 0, 1});
  ExpectPixel(*eight, 2, 0, {1, 0, 0, 1});
  ExpectPixel(*eight, 3, 0, {0, 0, 1, 1});
  const ImagePtr four = Decoded(BuildBmp(4, 1, 4, 2, palette, {4, 0x12, 0, 1}));
  for (int x = 0; x < 4; ++x) ExpectPixel(*four, x, 0, x % 2 ? Rgba{0, 0, 1, 1} : Rgba{0, 1, 0, 1});
  // A jump over two pixels and one row.
  const ImagePtr jump = Decoded(BuildBmp(4, 2, 8, 1, palette, {0, 2, 2, 1, 1, 2, 0, 1}));
  ExpectPixel(*jump, 2, 0, {0, 0, 1, 1});
  ExpectPixel(*jump, 0, 0, {1, 0, 0, 1});
}

TEST(DecodeBmp, OldestHeader) {
  Bytes bytes;
  Append(bytes, {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0,  26, 0, 0,  0,   12,
                 0,   0,   0, 1, 0, 1, 0, 1, 0, 24, 0,  0, 51, 255, 0});
  ExpectPixel(*Decoded(bytes), 0, 0, {1, 0.2f, 0, 1});
}

TEST(DecodeBmp, StrangeHeadersAreRefused) {
  EXPECT_NE(ErrorOf(BuildBmp(1, 1, 7, 0, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(1, 1, 24, 9, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(0, 1, 24, 0, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(-1, 1, 24, 0, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(1, 0, 24, 0, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(1, INT32_MIN, 24, 0, {}, {0, 0, 0, 0})), "");
  EXPECT_NE(ErrorOf(BuildBmp(1, 1, 8, 0, {}, {0, 0, 0, 0})), "");
}

TEST(DecodeHdr, FlatPixels) {
  Bytes bytes = FromText("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n");
  Append(bytes, {128, 64, 32, 129, 128, 128, 128, 138});
  const ImagePtr image = Decoded(bytes);
  ExpectPixel(*image, 0, 0, {1, 0.5f, 0.25f, 1}, 0.01f);
  ExpectPixel(*image, 1, 0, {512, 512, 512, 1}, 3);
  EXPECT_EQ(image->gamma, 1);
}

Bytes Tga(int type, const std::vector<int>& pixels) {
  Bytes bytes;
  Append(bytes, {0, 0, type, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 2, 0, 24, 0x20});
  Append(bytes, pixels);
  return bytes;
}

TEST(DecodeTga, PlainAndRuns) {
  const ImagePtr plain = Decoded(Tga(2, {0, 0, 255, 0, 255, 0, 255, 0, 0, 51, 51, 51}));
  ExpectPixel(*plain, 0, 0, {1, 0, 0, 1});
  ExpectPixel(*plain, 1, 0, {0, 1, 0, 1});
  ExpectPixel(*plain, 0, 1, {0, 0, 1, 1});
  const ImagePtr runs = Decoded(Tga(10, {0x82, 0, 0, 255, 0x00, 255, 0, 0}));
  ExpectPixel(*runs, 0, 1, {1, 0, 0, 1});
  ExpectPixel(*runs, 1, 1, {0, 0, 1, 1});
}

TEST(Decode, NothingAndNonsenseAreRefused) {
  EXPECT_EQ(ErrorOf({}), "the file is empty");
  EXPECT_EQ(ErrorOf(FromText("This is no picture at all, whatever its name may say.")),
            "the bytes are no image format that can be read");
  EXPECT_EQ(Decode({}, nullptr), nullptr);
}

TEST(Decode, OneFormatIsNotAnother) {
  Bytes png, bmp;
  ASSERT_TRUE(EncodePng(*Filled(2, 2, {0, 0, 0, 1}), {}, &png) &&
              EncodeBmp(*Filled(2, 2, {0, 0, 0, 1}), {}, &bmp));
  for (const auto decode : {DecodeJpeg, DecodeBmp, DecodeTiff, DecodeExr, DecodeHdr}) {
    EXPECT_EQ(decode(png, nullptr), nullptr);
  }
  for (const auto decode : {DecodeJpeg, DecodePng, DecodeTiff, DecodeExr, DecodeHdr}) {
    EXPECT_EQ(decode(bmp, nullptr), nullptr);
  }
}

TEST(DecodeFile, SaysWhatIsWrong) {
  const ScratchDirectory scratch;
  std::string error;
  EXPECT_EQ(DecodeFile(scratch / "none.png", &error), nullptr);
  EXPECT_EQ(error, "the file \"" + (scratch / "none.png").string() + "\" does not exist");
  EXPECT_EQ(DecodeFile(scratch.path(), &error), nullptr);
  EXPECT_EQ(error, "\"" + scratch.path().string() + "\" is not a file that can be read");
}

}  // namespace
}  // namespace kiln::engine::image
