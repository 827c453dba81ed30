// Encoders: round trips through the decoders, options, metadata.
#include "engine/image/encode.h"

#include <functional>

#include "engine/image/codec.h"
#include "engine/image/operations.h"
#include "engine/image/quantize.h"
#include "engine/image/transfer.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

using Encoder = std::function<bool(const Image&, Bytes*)>;

Bytes Encoded(const Image& image, const Encoder& encode) {
  Bytes bytes;
  EXPECT_TRUE(encode(image, &bytes));
  return bytes;
}
ImagePtr Decoded(const Bytes& bytes) {
  std::string error;
  ImagePtr image(Decode(bytes, &error));
  EXPECT_TRUE(image) << error;
  return image;
}

bool Png8(const Image& i, Bytes* out) {
  return EncodePng(i, {}, out);
}
bool Png16(const Image& i, Bytes* out) {
  return EncodePng(i, {false, true}, out);
}
bool Bmp(const Image& i, Bytes* out) {
  return EncodeBmp(i, {}, out);
}
bool BmpTopDown(const Image& i, Bytes* out) {
  return EncodeBmp(i, {false, true}, out);
}
bool Tiff8(const Image& i, Bytes* out) {
  return EncodeTiff(i, 8, out);
}
bool Tiff16(const Image& i, Bytes* out) {
  return EncodeTiff(i, 16, out);
}

// Noise in whole steps, straight and display encoded, as a decoder of integers leaves it.
ImagePtr Stored(int width, int height, float steps) {
  ImagePtr image = Make(width, height, [=](int x, int y) {
    Rgba v = Noise(x, y);
    for (float& c : v) c = std::floor(c * steps + 0.5f) / steps;
    return v;
  });
  image->gamma = kDisplayGamma;
  image->straight_alpha = 1;
  return image;
}

TEST(RoundTrip, IntegersComeBackExactly) {
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 5}, {64, 33}}) {
    for (const Encoder& encode : {Encoder(Png8), Encoder(Bmp), Encoder(BmpTopDown), Encoder(Tiff8)}) {
      const ImagePtr image = Stored(width, height, 255);
      const Bytes bytes = Encoded(*image, encode);
      const ImagePtr back = Decoded(bytes);
      EXPECT_EQ(Distance(*image, *back), 0);
      EXPECT_EQ(back->gamma, kDisplayGamma);
      EXPECT_EQ(Encoded(*back, encode), bytes);
    }
    for (const Encoder& encode : {Encoder(Png16), Encoder(Tiff16)}) {
      const ImagePtr image = Stored(width, height, 65535);
      const Bytes bytes = Encoded(*image, encode);
      EXPECT_EQ(Distance(*image, *Decoded(bytes)), 0);
      EXPECT_EQ(Encoded(*Decoded(bytes), encode), bytes);
    }
  }
}

TEST(RoundTrip, EveryByteSurvivesLinearLight) {
  const ImagePtr image = Make(256, 1, [](int x, int) {
    const float v = FromByte(static_cast<uint8_t>(x));
    return Rgba{v, v, v, 1};
  });
  image->gamma = kDisplayGamma;
  const Bytes bytes = Encoded(*image, Png8);
  EXPECT_TRUE(ChangeSrgb(*image, false));
  EXPECT_EQ(Encoded(*image, Png8), bytes);
}

TEST(Quantize, TableAgreesWithTheCurve) {
  std::vector<uint8_t> row(4 * 4096);
  const ImagePtr image = Make(4096, 1, [](int x, int) {
    const float v = static_cast<float>(x) / 4095.0f;
    return Rgba{v, v * v, v * v * v * v, 1};
  });
  QuantizeRow8(*image, 0, Alpha::kKeep, row.data());
  for (int x = 0; x < 4096; ++x) {
    for (int c = 0; c < 3; ++c) {
      const float v = LinearToSrgb(image->pixels()[4 * x + c]) * 255.0f + 0.5f;
      ASSERT_EQ(row[static_cast<size_t>(4 * x + c)], static_cast<int>(v)) << x;
    }
  }
}

TEST(Quantize, StrangeValuesHaveAPlace) {
  uint8_t bytes[8];
  uint16_t words[8];
  const ImagePtr image = Make(2, 1, [](int x, int) {
    return x == 0 ? Rgba{kNan, kInf, -kInf, kNan} : Rgba{-1, 2, 1e-30f, kInf};
  });
  for (const float gamma : {1.0f, 2.2f}) {
    image->gamma = gamma;
    QuantizeRow8(*image, 0, Alpha::kKeep, bytes);
    QuantizeRow16(*image, 0, Alpha::kKeep, words);
    const int expected[8] = {0, 1, 0, 0, 0, 1, 0, 1};
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(bytes[i], expected[i] * 255) << i;
      EXPECT_EQ(words[i], expected[i] * 65535) << i;
    }
  }
}

TEST(Encode, LinearPixelsTakeTheCurveAndOthersStand) {
  const ImagePtr image = Filled(1, 1, {0.5f, 0.5f, 0.5f, 1});
  ExpectPixel(*Decoded(Encoded(*image, Png16)), 0, 0, {0.735357f, 0.735357f, 0.735357f, 1}, 1e-5f);
  image->gamma = 1.8f;
  ExpectPixel(*Decoded(Encoded(*image, Png16)), 0, 0, {0.5f, 0.5f, 0.5f, 1}, 1e-5f);
}

TEST(Encode, PremultipliedColourIsWrittenStraight) {
  const ImagePtr image = Filled(1, 1, {0.25f, 0.125f, 0.5f, 0.5f});
  image->gamma = kDisplayGamma;
  for (const Encoder& encode : {Encoder(Png16), Encoder(Tiff16)}) {
    ExpectPixel(*Decoded(Encoded(*image, encode)), 0, 0, {0.5f, 0.25f, 1, 0.5f}, 1e-4f);
  }
}

TEST(Encode, StrippedAlphaLeavesColourOverBlack) {
  const ImagePtr image = Filled(3, 2, {0.2f, 0.4f, 0.6f, 0.5f});
  image->gamma = kDisplayGamma;
  for (const Encoder& encode : {Encoder([](const Image&i, Bytes*out) {
                                  return EncodePng(i, {true, false}, out);
                                }),
                                Encoder([](const Image&i, Bytes*out) {
                                  return EncodePng(i, {true, true}, out);
                                }),
                                Encoder([](const Image&i, Bytes*out) {
                                  return EncodeBmp(i, {true, false}, out);
                                }),
                                Encoder([](const Image&i, Bytes*out) {
                                  return EncodeBmp(i, {true, true}, out);
                                })}) {
    const ImagePtr back = Decoded(Encoded(*image, encode));
    for (int x = 0; x < 3; ++x) ExpectPixel(*back, x, 1, {0.2f, 0.4f, 0.6f, 1}, 1e-4f);
  }
}

TEST(EncodePng, HeaderSaysDepthAndAlpha) {
  const ImagePtr image = Filled(3, 2, {0.2f, 0.4f, 0.6f, 0.5f});
  const auto header = [&](bool strip, bool sixteen) {
    Bytes bytes;
    EXPECT_TRUE(EncodePng(*image, {strip, sixteen}, &bytes));
    return std::pair(std::to_integer<int>(bytes[24]), std::to_integer<int>(bytes[25]));
  };
  EXPECT_EQ(header(false, false), std::pair(8, 6));
  EXPECT_EQ(header(true, false), std::pair(8, 2));
  EXPECT_EQ(header(false, true), std::pair(16, 6));
  EXPECT_EQ(header(true, true), std::pair(16, 2));
}

TEST(EncodePng, SaysProgramAndColourSpace) {
  const ImagePtr image = Filled(3, 2, {0.2f, 0.4f, 0.6f, 0.5f});
  Bytes bytes = Encoded(*image, Png8);
  EXPECT_TRUE(Contains(bytes, std::string_view("Software\0Kiln", 13)));
  EXPECT_TRUE(Contains(bytes, "sRGB") && Contains(bytes, "gAMA") && Contains(bytes, "cHRM"));
  image->gamma = 1.8f;
  bytes = Encoded(*image, Png8);
  EXPECT_TRUE(!Contains(bytes, "sRGB") && Contains(bytes, "gAMA"));
}

TEST(EncodeBmp, RowOrderIsInTheHeader) {
  const ImagePtr image = Stored(3, 2, 255);
  const auto height = [](const Bytes& b) { return std::to_integer<int>(b[25]) >= 0x80 ? -1 : 1; };
  EXPECT_EQ(height(Encoded(*image, Bmp)), 1);
  EXPECT_EQ(height(Encoded(*image, BmpTopDown)), -1);
}

TEST(EncodeBmp, TransparentPictureStaysTransparent) {
  const ImagePtr image = Filled(4, 4, {0, 0, 0, 0});
  EXPECT_EQ(Distance(*Decoded(Encoded(*image, Bmp)), *image), 0);
}

TEST(EncodeJpeg, IsCloseAndOpaque) {
  const ImagePtr image = Make(64, 48, [](int x, int y) {
    return Rgba{static_cast<float>(x) / 64, static_cast<float>(y) / 48, 0.5f, 0.25f};
  });
  image->gamma = kDisplayGamma;
  Bytes bytes;
  ASSERT_TRUE(EncodeJpeg(*image, 95, &bytes));
  const ImagePtr back = Decoded(bytes);
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 64; ++x) {
      Rgba expected = At(*image, x, y);
      expected[3] = 1;
      ExpectPixel(*back, x, y, expected, 0.03f);
    }
  }
  EXPECT_TRUE(Contains(bytes, "Exif") && Contains(bytes, "Kiln") && Contains(bytes, "JFIF"));
}

TEST(EncodeJpeg, QualityZeroIsTheDefaultAndOthersAreHeldToRange) {
  const ImagePtr image = Make(64, 64, Noise);
  const auto at = [&](int quality) {
    Bytes bytes;
    EXPECT_TRUE(EncodeJpeg(*image, quality, &bytes));
    return bytes;
  };
  EXPECT_EQ(at(0), at(90));
  EXPECT_EQ(at(1000), at(100));
  EXPECT_EQ(at(-5), at(1));
  EXPECT_LT(at(20).size(), at(60).size());
  EXPECT_LT(at(60).size(), at(95).size());
}

TEST(EncodeJpeg, TooWideForTheFormatFails) {
  Bytes bytes;
  std::string error;
  EXPECT_FALSE(EncodeJpeg(*ImagePtr(Create(65535, 1)), 90, &bytes, &error));
  EXPECT_NE(error, "");
}

TEST(EncodeTiff, DepthZeroIsEightAndStrangeOnesAreRefused) {
  const ImagePtr image = Stored(5, 5, 255);
  Bytes zero, eight;
  EXPECT_TRUE(EncodeTiff(*image, 0, &zero) && EncodeTiff(*image, 8, &eight));
  EXPECT_EQ(zero, eight);
  for (const int depth : {-1, 1, 7, 12, 24, 64}) {
    std::string error;
    EXPECT_FALSE(EncodeTiff(*image, depth, &zero, &error));
    EXPECT_EQ(error, "a TIFF has 8, 16 or 32 bits a channel, not " + std::to_string(depth));
  }
}

TEST(EncodeTiff, FloatsStandAsTheyAre) {
  const ImagePtr image = Make(70, 40, [](int x, int y) {
    Rgba v = Noise(x, y);
    v[0] *= 1e6f;
    v[1] -= 3;
    return v;
  });
  for (const uint32_t straight : {0u, 1u}) {
    image->straight_alpha = straight;
    Bytes bytes;
    ASSERT_TRUE(EncodeTiff(*image, 32, &bytes));
    const ImagePtr back = Decoded(bytes);
    EXPECT_EQ(Distance(*image, *back), 0);
    EXPECT_EQ(back->gamma, 1);
    EXPECT_EQ(back->straight_alpha, straight);
    EXPECT_TRUE(Contains(bytes, "Kiln"));
  }
}

TEST(EncodeExr, FloatsStandAsTheyAre) {
  const ImagePtr image = Make(70, 40, [](int x, int y) {
    Rgba v = Noise(x, y);
    v[0] *= 1e6f;
    v[1] -= 3;
    return v;
  });
  Bytes bytes;
  ASSERT_TRUE(EncodeExr(*image, {}, &bytes));
  const ImagePtr back = Decoded(bytes);
  EXPECT_EQ(Distance(*image, *back), 0);
  EXPECT_EQ(back->gamma, 1);
  EXPECT_TRUE(Contains(bytes, "chromaticities") && Contains(bytes, "software") && Contains(bytes, "Kiln"));
}

TEST(EncodeExr, HalfIsCloseAndSmaller) {
  const ImagePtr image = Make(70, 40, Noise);
  Bytes half, full;
  ASSERT_TRUE(EncodeExr(*image, {true, {}}, &half) && EncodeExr(*image, {}, &full));
  EXPECT_LT(Distance(*image, *Decoded(half)), 5e-4f);
  EXPECT_LT(half.size(), full.size());
}

TEST(EncodeExr, TextAttributesAreKept) {
  Bytes bytes;
  ASSERT_TRUE(EncodeExr(*Filled(2, 2, {0, 0, 0, 1}),
                        {false, {{"comments", "a kiln"}, {"", "x"}, {"channels", "y"}}}, &bytes));
  EXPECT_TRUE(Contains(bytes, "comments") && Contains(bytes, "a kiln"));
  EXPECT_TRUE(Decoded(bytes));
}

}  // namespace
}  // namespace kiln::engine::image
