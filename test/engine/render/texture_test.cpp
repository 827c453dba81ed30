// Textures: texels, filtering, wrapping, transforms, sharing, and files that can't be read.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include "engine/render/mip_map.h"
#include "engine/render/texture_cache.h"
#include "test/engine/render/fake_inputs.h"

namespace kiln::engine::render {
namespace {

struct FreeImage {
  void operator()(image::Image* image) const { FreeShared(image); }
};
using ImagePtr = std::unique_ptr<image::Image, FreeImage>;

ImagePtr MakeImage(int width, int height, float gamma, const std::vector<AColor>& texels) {
  ImagePtr image(image::Create(width, height));
  image->gamma = gamma;
  for (size_t i = 0; i < texels.size(); ++i) std::memcpy(image->pixels() + i * 4, &texels[i], sizeof(AColor));
  return image;
}

struct Rgb {
  uint8_t r, g, b;
};
constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kGreen{0, 255, 0};
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kGrey{128, 128, 128};

// A 24 bit BMP, rows given from the top.
std::vector<uint8_t> Bmp(int width, int height, const std::vector<Rgb>& texels) {
  const size_t pitch = (static_cast<size_t>(width) * 3 + 3) / 4 * 4;
  std::vector<uint8_t> file(54 + pitch * static_cast<size_t>(height));
  const auto put = [&](size_t at, uint32_t value) { std::memcpy(&file[at], &value, 4); };
  file[0] = 'B';
  file[1] = 'M';
  put(2, static_cast<uint32_t>(file.size()));
  put(10, 54);
  put(14, 40);
  put(18, static_cast<uint32_t>(width));
  put(22, static_cast<uint32_t>(height));
  file[26] = 1;
  file[28] = 24;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgb& t = texels[static_cast<size_t>(y) * width + x];
      uint8_t* p = &file[54 + pitch * static_cast<size_t>(height - 1 - y) + static_cast<size_t>(x) * 3];
      p[0] = t.b;
      p[1] = t.g;
      p[2] = t.r;
    }
  }
  return file;
}

FakeInputs Embedded(const std::vector<uint8_t>& file) {
  std::vector<int32_t> words((file.size() + 3) / 4);
  std::memcpy(words.data(), file.data(), file.size());
  FakeInputs in("TextureBitmap");
  in.Set("bytes", scene::IntArray(std::move(words))).Set("byteCount", static_cast<int32_t>(file.size()));
  return in;
}

ShadingPoint At(float u, float v) {
  ShadingPoint point;
  point.uv[0] = {u, v};
  point.uv[1] = {v, u};
  return point;
}

std::vector<uint8_t> Quad() {
  return Bmp(2, 2, {kRed, kGreen, kBlue, kGrey});
}

TEST(MipMap, BytesStayBytes) {
  const auto image = MakeImage(4, 2, 2.2f, std::vector<AColor>(8, {128 / 255.0f, 0, 1, 64 / 255.0f}));
  const MipMap map(*image, true);
  EXPECT_EQ(map.level_count(), 3);
  EXPECT_EQ(map.byte_count(), (8u + 2 + 1) * 4);
  const AColor texel = map.Texel(0, 3, 1);
  EXPECT_NEAR(texel.r, 0.21586f, 1e-5f);
  EXPECT_EQ(texel.b, 1);
  EXPECT_NEAR(texel.a, 64 / 255.0f, 1e-6f);
  EXPECT_NEAR(map.Texel(2, 0, 0).r, texel.r, 1e-6f);
  EXPECT_NEAR(MipMap(*image, false).Texel(0, 0, 0).r, 128 / 255.0f, 1e-6f);
}

TEST(MipMap, FloatsStayFloatsAndLinear) {
  const auto image = MakeImage(1, 1, 1, {{12.5f, -0.25f, 0.5f, 1}});
  const MipMap map(*image, true);
  EXPECT_EQ(map.Texel(0, 0, 0), (AColor{12.5f, -0.25f, 0.5f, 1}));
  EXPECT_EQ(map.byte_count(), 16u);
}

// Half black, half white is half the light, not half the number.
TEST(MipMap, HalvingsAverageLight) {
  const auto image = MakeImage(2, 1, 2.2f, {{0, 0, 0, 1}, {1, 1, 1, 0}});
  const AColor top = MipMap(*image, true).Texel(1, 0, 0);
  EXPECT_NEAR(top.r, 0.5f, 4e-3f);
  EXPECT_NEAR(top.a, 0.5f, 4e-3f);
}

TEST(MipMap, OddSidesKeepTheMean) {
  std::vector<AColor> texels;
  texels.reserve(35);
  for (int i = 0; i < 35; ++i) texels.push_back({static_cast<float>(i * i), 1, 0, 1});
  double mean = 0;
  for (const AColor& t : texels) mean += t.r / 35;
  const MipMap map(*MakeImage(7, 5, 1, texels), false);
  EXPECT_EQ(map.level_count(), 3);
  EXPECT_NEAR(map.Texel(2, 0, 0).r, mean, 1e-3 * mean);
  EXPECT_NEAR(map.Texel(2, 0, 0).g, 1, 1e-5f);
}

TEST(MipMap, FootprintsChooseTheLevel) {
  std::vector<AColor> texels;
  texels.reserve(64);
  for (int i = 0; i < 64; ++i)
    texels.push_back((i % 8 + i / 8) % 2 ? AColor{1, 1, 1, 1} : AColor{0, 0, 0, 1});
  const MipMap map(*MakeImage(8, 8, 1, texels), false);
  const Vec2 center{0.5f / 8, 0.5f / 8};
  EXPECT_EQ(map.Sample(center, {0, 0}, {}).r, 0);
  EXPECT_EQ(map.Sample(center, {0.1f, 0.1f}, {}).r, 0);
  EXPECT_NEAR(map.Sample(center, {std::sqrt(2.0f) / 8, 0}, {}).r, 0.25f, 1e-5f);
  EXPECT_NEAR(map.Sample(center, {0, 2.0f / 8}, {}).r, 0.5f, 1e-6f);
  EXPECT_NEAR(map.Sample(center, {1000, 1000}, {}).r, 0.5f, 1e-6f);
  EXPECT_NEAR(map.Sample(center, {INFINITY, 0}, {}).r, 0.5f, 1e-6f);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(map.Sample(center, {nan, nan}, {}).r, 0);
}

TEST(MipMap, WrapsEachAxis) {
  const MipMap map(*MakeImage(2, 1, 1, {{0, 0, 0, 1}, {1, 1, 1, 1}}), false);
  const auto at = [&](float u, Wrap wrap) {
    return map.Sample({u, 0.5f}, {}, {wrap, Wrap::kClamp, TextureFilter::kNearest}).r;
  };
  EXPECT_EQ(at(0.25f, Wrap::kRepeat), 0);
  EXPECT_EQ(at(1.25f, Wrap::kRepeat), 0);
  EXPECT_EQ(at(-0.25f, Wrap::kRepeat), 1);
  EXPECT_EQ(at(1.25f, Wrap::kMirror), 1);
  EXPECT_EQ(at(1.75f, Wrap::kMirror), 0);
  EXPECT_EQ(at(-0.25f, Wrap::kMirror), 0);
  EXPECT_EQ(at(7.0f, Wrap::kClamp), 1);
  EXPECT_EQ(at(-7.0f, Wrap::kClamp), 0);
  // Between the last and the first texel: half of each when the image repeats, the edge when it doesn't.
  EXPECT_NEAR(map.Sample({0, 0.5f}, {}, {}).r, 0.5f, 1e-6f);
  EXPECT_EQ(map.Sample({0, 0.5f}, {}, {Wrap::kClamp, Wrap::kClamp}).r, 0);
  EXPECT_EQ(map.Sample({0, 0.5f}, {}, {Wrap::kMirror, Wrap::kClamp}).r, 0);
  EXPECT_NEAR(map.Sample({0.5f, 0.5f}, {}, {}).r, 0.5f, 1e-6f);
}

TEST(MipMap, AnyCoordinateIsSafe) {
  const MipMap map(*MakeImage(3, 5, 1, std::vector<AColor>(15, {0.25f, 0.5f, 1, 1})), false);
  for (const float u : {0.0f, 1.0f, -1e-9f, 0x1.fffffep-1f, 1e9f, -1e9f, 3e38f, -3e38f, INFINITY, -INFINITY,
                        std::numeric_limits<float>::quiet_NaN(), 1.9999999f, -0.49999997f}) {
    for (const Wrap wrap : {Wrap::kRepeat, Wrap::kMirror, Wrap::kClamp}) {
      for (const TextureFilter filter : {TextureFilter::kNearest, TextureFilter::kTrilinear}) {
        EXPECT_NEAR(map.Sample({u, u}, {0.3f, 0.3f}, {wrap, wrap, filter}).r, 0.25f, 1e-6f) << u;
      }
    }
  }
}

TEST(TextureBitmap, TheTopRowIsAtVZero) {
  const auto texture = Embedded(Quad()).Set("filter", 0).MakeTexture();
  EXPECT_EQ(texture->EvaluateColor(At(0.25f, 0.25f), 0), (Color{1, 0, 0}));
  EXPECT_EQ(texture->EvaluateColor(At(0.75f, 0.25f), 0), (Color{0, 1, 0}));
  EXPECT_EQ(texture->EvaluateColor(At(0.25f, 0.75f), 0), (Color{0, 0, 1}));
}

TEST(TextureBitmap, FilterZeroShowsSquares) {
  FakeInputs in = Embedded(Quad());
  const ShadingPoint edge = At(0.45f, 0.25f);
  EXPECT_GT(in.MakeTexture()->EvaluateColor(edge, 0).g, 0.3f);
  EXPECT_EQ(in.Set("filter", 0).MakeTexture()->EvaluateColor(edge, 0), (Color{1, 0, 0}));
}

TEST(TextureBitmap, OutputsAreChannels) {
  const auto texture = Embedded(Quad())
                           .Set("filter", 0)
                           .Set("multiply", Color{0.5f, 1, 1})
                           .Set("multiplyAlpha", 0.25f)
                           .MakeTexture();
  const ShadingPoint point = At(0.25f, 0.25f);
  EXPECT_FLOAT_EQ(texture->EvaluateFloat(point, 0), 0.5f * 0.2126f);
  EXPECT_FLOAT_EQ(texture->EvaluateFloat(point, 1), 0.25f);
  EXPECT_FLOAT_EQ(texture->EvaluateFloat(point, 2), 0.5f);
  EXPECT_FLOAT_EQ(texture->EvaluateFloat(point, 3), 0);
  EXPECT_FLOAT_EQ(texture->EvaluateFloat(At(0.25f, 0.75f), 4), 1);
  EXPECT_EQ(texture->EvaluateColor(point, 2), (Color{0.5f, 0.5f, 0.5f}));
}

TEST(TextureBitmap, ColorSpaceAndArithmetic) {
  FakeInputs in = Embedded(Quad());
  in.Set("filter", 0);
  const ShadingPoint grey = At(0.75f, 0.75f);
  EXPECT_NEAR(in.MakeTexture()->EvaluateColor(grey, 0).g, 128 / 255.0f, 1e-5f);
  in.Set("colorSpace", 1);
  EXPECT_NEAR(in.MakeTexture()->EvaluateColor(grey, 0).g, 0.21586f, 1e-5f);
  in.Set("multiply", Color{1, 2, 1}).Set("add", Color{0, 0.5f, 0});
  EXPECT_NEAR(in.MakeTexture()->EvaluateColor(grey, 0).g, 2 * 0.21586f + 0.5f, 1e-5f);
}

TEST(TextureBitmap, CoordinatesAreTransformed) {
  FakeInputs in = Embedded(Quad());
  in.Set("filter", 0);
  const Color green{0, 1, 0};
  const Color blue{0, 0, 1};
  EXPECT_EQ(in.Set("uvOffset", Vec3{0.5f, 0, 0}).MakeTexture()->EvaluateColor(At(0.25f, 0.25f), 0), green);
  in.Set("uvOffset", Vec3{0, 0, 0}).Set("uvScale", Vec3{3, 1, 1});
  EXPECT_EQ(in.MakeTexture()->EvaluateColor(At(0.25f, 0.25f), 0), green);
  // A quarter turn, counter-clockwise with v down: (1, 0) goes to (0, -1), which repeats at the bottom.
  in.Set("uvScale", Vec3{1, 1, 1}).Set("uvRotation", kPi / 2);
  EXPECT_EQ(in.MakeTexture()->EvaluateColor(At(0.25f, 0.25f), 0), blue);
  in.Set("uvRotation", 0.0f).Set("uvSet", 1);
  EXPECT_EQ(in.MakeTexture()->EvaluateColor(At(0.25f, 0.75f), 0), green);
}

TEST(TextureBitmap, WhatCantBeReadIsGreyAndSaysSo) {
  const auto check = [](const FakeInputs& in, std::string_view text) {
    const auto texture = in.MakeTexture();
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(texture->EvaluateColor(At(0.1f, 0.2f), 0), (Color{0.5f, 0.5f, 0.5f}));
    ASSERT_EQ(in.warnings().size(), 1u);
    EXPECT_NE(in.warnings()[0].find(text), std::string::npos) << in.warnings()[0];
    EXPECT_NE(in.warnings()[0].find("so the texture is grey"), std::string::npos) << in.warnings()[0];
  };
  check(FakeInputs("TextureBitmap"), "neither a file nor bytes are set");
  check(FakeInputs("TextureBitmap").Set("file", "no-such-folder/none.png"),
        "the file 'no-such-folder/none.png' can't be read");
  check(Embedded({'n', 'o', 'n', 'e'}), "");
  check(Embedded(Quad()).Set("byteCount", 1 << 20), "byteCount is outside the bytes");
  check(Embedded(Quad()).Set("byteCount", -1), "byteCount is outside the bytes");
  auto cut = Quad();
  cut.resize(40);
  check(Embedded(cut), "");
}

TEST(TextureCache, TheSameContentIsDecodedOnce) {
  const auto file = Quad();
  const auto bytes = std::as_bytes(std::span(file));
  std::string error;
  std::shared_ptr<const MipMap> maps[8];
  {
    std::vector<std::thread> threads;
    for (auto& map : maps) {
      threads.emplace_back([&map, bytes] {
        std::string ignored;
        map = LoadTexture(bytes, true, &ignored);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  ASSERT_NE(maps[0], nullptr);
  for (const auto& map : maps) EXPECT_EQ(map, maps[0]);
  EXPECT_NE(LoadTexture(bytes, false, &error), maps[0]);
  const std::weak_ptr<const MipMap> watch = maps[0];
  for (auto& map : maps) map.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_NE(LoadTexture(bytes, true, &error), nullptr);
}

// Each image goes as soon as it came, and the next look-up of any thread clears up after it.
TEST(TextureCache, ClearsUpAfterOtherThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> loaded{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &loaded] {
      for (int i = 0; i < 100; ++i) {
        const auto file = Bmp(1, 1, {Rgb{static_cast<uint8_t>(t), static_cast<uint8_t>(i), 0}});
        std::string error;
        loaded += LoadTexture(std::as_bytes(std::span(file)), false, &error) != nullptr;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loaded, 400);
  EXPECT_EQ(TextureBytes(), 0);
}

TEST(TextureCache, AChangedFileIsReadAgain) {
  const auto path = std::filesystem::path(testing::TempDir()) / "kiln_texture_cache_test.bmp";
  const auto write = [&path](Rgb color, int hours) {
    const auto file = Bmp(1, 1, {color});
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
    std::filesystem::last_write_time(
        path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours));
  };
  std::string error;
  write(kRed, 2);
  const auto first = LoadTexture(path, false, &error);
  ASSERT_NE(first, nullptr) << error;
  EXPECT_EQ(LoadTexture(path, false, &error), first);
  write(kBlue, 1);
  const auto second = LoadTexture(path, false, &error);
  ASSERT_NE(second, nullptr) << error;
  EXPECT_EQ(first->Texel(0, 0, 0), (AColor{1, 0, 0, 1}));
  EXPECT_EQ(second->Texel(0, 0, 0), (AColor{0, 0, 1, 1}));
  std::filesystem::remove(path);
}

TEST(TextureChecker, Alternates) {
  const FlatTexture b({0, 0, 1});
  const auto texture = FakeInputs("TextureChecker")
                           .Set("colorA", Color{1, 0, 0})
                           .SetTexture("colorB", &b)
                           .Set("scale", 2.0f)
                           .MakeTexture();
  EXPECT_EQ(texture->EvaluateColor(At(0.25f, 0.25f), 0), (Color{1, 0, 0}));
  EXPECT_EQ(texture->EvaluateColor(At(0.75f, 0.25f), 0), (Color{0, 0, 1}));
  EXPECT_EQ(texture->EvaluateColor(At(0.75f, 0.75f), 0), (Color{1, 0, 0}));
  EXPECT_EQ(texture->EvaluateColor(At(-0.25f, 0.25f), 0), (Color{0, 0, 1}));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(IsFinite(texture->EvaluateColor(At(nan, INFINITY), 0)));
}

}  // namespace
}  // namespace kiln::engine::render
