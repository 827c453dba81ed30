// The entry points of images, called as a host calls them.
#include "entry_points.h"

#include <fstream>

#include "engine/image/codec.h"
#include "engine/utilities/memory.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

struct BlockDeleter {
  void operator()(void* block) const { FreeShared(block); }
};
using Block = std::unique_ptr<void, BlockDeleter>;

void* const kStranger = [] {
  static uint64_t block[32] = {};
  return static_cast<void*>(block);
}();

TEST(EntryPoints, WhatIsNoImageIsRefused) {
  const Block image(KilnImage_create(2, 2));
  for (void* handle : {static_cast<void*>(nullptr), kStranger}) {
    void* data = kStranger;
    const KilnImageColor color{};
    char list[64];
    EXPECT_EQ(KilnImage_compressToJpeg(handle, 0, &data, nullptr), 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(KilnImage_compressToPng(handle, 0, &data, nullptr), 0u);
    EXPECT_EQ(KilnImage_convertToBmp(handle, 0, &data, nullptr, 0), 0u);
    EXPECT_EQ(KilnImage_toBitmapData(handle, &data, 0, 0, -1), 0u);
    EXPECT_NE(KilnImage_toIntList(handle, list, sizeof list, 0), 0);
    EXPECT_EQ(KilnImage_compressToJpegFile(handle, 0, "x", nullptr), 0);
    EXPECT_EQ(KilnImage_compressToPngFile(handle, 0, "x", nullptr), 0);
    EXPECT_EQ(KilnImage_SaveToBmpFile(handle, 0, "x", nullptr, 0), 0);
    EXPECT_EQ(KilnImage_SaveToTiffFile(handle, "x", nullptr, 0), 0);
    EXPECT_EQ(KilnImage_SaveToExrFile(handle, "x", nullptr), 0);
    EXPECT_EQ(KilnImage_crop(handle, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_downscale(handle, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_crop_downscale(handle, 0, 0, 1, 1, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_fitIn(handle, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_fitOut(handle, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_cutIn(handle, 1, 1), nullptr);
    EXPECT_EQ(KilnImage_clone(handle), nullptr);
    int32_t width = 7, height = 7;
    KilnImage_getSize(handle, &width, &height);
    EXPECT_EQ(width + height, 0);
    EXPECT_EQ(KilnImage_getMemorySize(handle), 0u);
    uint64_t count = 7;
    EXPECT_EQ(KilnImage_getPixelDataPointerAndPixelCount(handle, &count), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(KilnImage_drawImage(handle, image.get(), 0, 0, 0), 0);
    EXPECT_EQ(KilnImage_drawImage(image.get(), handle, 0, 0, 0), 0);
    EXPECT_EQ(KilnImage_addColor(handle, &color), 0);
    EXPECT_EQ(KilnImage_changeExposure(handle, 1), 0);
    EXPECT_EQ(KilnImage_changeGamma(handle, 1), 0);
    EXPECT_EQ(KilnImage_changeSRGB(handle, 1), 0);
    EXPECT_EQ(KilnImage_changeContrast(handle, 1), 0);
    EXPECT_EQ(KilnImage_makeNegative(handle), 0);
    EXPECT_EQ(KilnImage_setGamma(handle, 1), 0);
    EXPECT_EQ(KilnImage_getGamma(handle), 0);
  }
}

TEST(EntryPoints, NullArgumentsAreRefused) {
  const Block image(KilnImage_create(2, 2));
  EXPECT_EQ(KilnImage_compressToPng(image.get(), 0, nullptr, nullptr), 0u);
  EXPECT_EQ(KilnImage_toBitmapData(image.get(), nullptr, 0, 0, -1), 0u);
  EXPECT_NE(KilnImage_toIntList(image.get(), nullptr, 100, 0), 0);
  EXPECT_EQ(KilnImage_compressToPngFile(image.get(), 0, nullptr, nullptr), 0);
  EXPECT_EQ(KilnImage_addColor(image.get(), nullptr), 0);
  EXPECT_EQ(KilnImage_createFromPng(nullptr, 10, nullptr), nullptr);
  EXPECT_EQ(KilnImage_createFromPng("", 0, nullptr), nullptr);
  EXPECT_EQ(KilnImage_create(0, 4), nullptr);
  KilnImage_getSize(image.get(), nullptr, nullptr);
  EXPECT_NE(KilnImage_getPixelDataPointerAndPixelCount(image.get(), nullptr), nullptr);
}

TEST(EntryPoints, BlockDescribesItself) {
  const Block image(KilnImage_create(5, 3));
  uint64_t count = 0;
  auto* pixels = static_cast<char*>(KilnImage_getPixelDataPointerAndPixelCount(image.get(), &count));
  EXPECT_EQ(count, 15u);
  EXPECT_EQ(static_cast<uint64_t>(pixels - static_cast<char*>(image.get())) + count * 16,
            KilnImage_getMemorySize(image.get()));
  EXPECT_EQ(KilnImage_getMemorySize(image.get()) % 4, 0u);
  EXPECT_EQ(KilnImage_getGamma(image.get()), 1);
}

TEST(EntryPoints, CompressAndDecode) {
  const ImagePtr image = Filled(6, 4, {0.2f, 0.4f, 0.6f, 1});
  image->gamma = kDisplayGamma;
  const auto check = [](uint64_t size, void* data, auto* create, float tolerance) {
    const Block bytes(data);
    ASSERT_GT(size, 0u);
    const Block back(create(data, size, nullptr));
    ASSERT_TRUE(back);
    ExpectPixel(*static_cast<Image*>(back.get()), 5, 3, {0.2f, 0.4f, 0.6f, 1}, tolerance);
  };
  void* data = nullptr;
  uint64_t size = KilnImage_compressToPng(image.get(), KILN_PNG_16_BITS, &data, nullptr);
  check(size, data, KilnImage_createFromPng, 1e-4f);
  size = KilnImage_compressToJpeg(image.get(), 0, &data, nullptr);
  check(size, data, KilnImage_createFromJpeg, 0.02f);
  size = KilnImage_convertToBmp(image.get(), 1, &data, nullptr, 1);
  check(size, data, KilnImage_createFromBmp, 1e-4f);
}

TEST(EntryPoints, FilesAreDecodedAgain) {
  const ScratchDirectory scratch;
  const ImagePtr image = Filled(6, 4, {0.2f, 0.4f, 0.6f, 1});
  const auto name = [&](const char* file) { return (scratch / file).string(); };
  EXPECT_NE(KilnImage_compressToPngFile(image.get(), 0, name("\xc3\xa4.png").c_str(), nullptr), 0);
  EXPECT_NE(KilnImage_compressToJpegFile(image.get(), 0, name("a.jpg").c_str(), nullptr), 0);
  EXPECT_NE(KilnImage_SaveToBmpFile(image.get(), 0, name("a.bmp").c_str(), nullptr, 0), 0);
  EXPECT_NE(KilnImage_SaveToTiffFile(image.get(), name("a.tif").c_str(), nullptr, 32), 0);
  EXPECT_NE(KilnImage_SaveToExrFile(image.get(), name("a.exr").c_str(), nullptr), 0);
  EXPECT_EQ(KilnImage_SaveToTiffFile(image.get(), name("b.tif").c_str(), nullptr, 9), 0);
  EXPECT_EQ(KilnImage_SaveToExrFile(image.get(), name("none/a.exr").c_str(), nullptr), 0);
  EXPECT_EQ(scratch.Count(), 5u);
  for (const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
    EXPECT_TRUE(ImagePtr(DecodeFile(entry.path()))) << entry.path();
  }
}

std::vector<uint8_t> Bitmap(const Image& image, int flags, int stride, int alpha) {
  void* data = nullptr;
  const uint64_t size = KilnImage_toBitmapData(const_cast<Image*>(&image), &data, flags, stride, alpha);
  const Block owner(data);
  const auto* bytes = static_cast<uint8_t*>(data);
  return {bytes, bytes + size};
}

TEST(EntryPoints, BitmapDataHonoursItsFlags) {
  const ImagePtr image = Make(1, 2, [](int, int y) { return Rgba{1, y ? 0.2f : 0.4f, 0, 0.6f}; });
  image->gamma = kDisplayGamma;
  image->straight_alpha = 1;
  using Bytes8 = std::vector<uint8_t>;
  EXPECT_EQ(Bitmap(*image, 0, 0, -1), (Bytes8{255, 102, 0, 255, 255, 51, 0, 255}));
  EXPECT_EQ(Bitmap(*image, 1, 0, -1), (Bytes8{0, 102, 255, 255, 0, 51, 255, 255}));
  EXPECT_EQ(Bitmap(*image, 2, 0, -1), (Bytes8{255, 51, 0, 255, 255, 102, 0, 255}));
  EXPECT_EQ(Bitmap(*image, 4, 0, -1), (Bytes8{255, 102, 0, 153, 255, 51, 0, 153}));
  EXPECT_EQ(Bitmap(*image, 4, 0, 7), (Bytes8{255, 102, 0, 7, 255, 51, 0, 7}));
  EXPECT_EQ(Bitmap(*image, 0, 6, -1), (Bytes8{255, 102, 0, 255, 0, 0, 255, 51, 0, 255, 0, 0}));
  for (const int stride : {1, 3, -4, INT32_MIN}) EXPECT_EQ(Bitmap(*image, 0, stride, -1).size(), 0u);
  for (const int alpha : {-2, 256}) EXPECT_EQ(Bitmap(*image, 0, 0, alpha).size(), 0u);
}

TEST(EntryPoints, IntListsHaveTheirOrdersAndPadding) {
  const ImagePtr image = Filled(3, 1, {1, 0.2f, 0, 0.4f});
  image->gamma = kDisplayGamma;
  image->straight_alpha = 1;
  uint8_t bytes[64];
  std::fill_n(bytes, 64, uint8_t{99});
  ASSERT_EQ(KilnImage_toIntList(image.get(), bytes, 12, KILN_INTS_BGRA_BYTE), 0);
  EXPECT_EQ((std::vector<uint8_t>(bytes + 8, bytes + 13)), (std::vector<uint8_t>{0, 51, 255, 102, 99}));
  ASSERT_EQ(KilnImage_toIntList(image.get(), bytes, 12, KILN_INTS_BGR_BYTE), 0);
  EXPECT_EQ((std::vector<uint8_t>(bytes + 6, bytes + 13)), (std::vector<uint8_t>{0, 51, 255, 0, 0, 0, 99}));
  uint16_t words[12];
  ASSERT_EQ(KilnImage_toIntList(image.get(), words, sizeof words, KILN_INTS_RGBA_16), 0);
  EXPECT_EQ((std::vector<uint16_t>(words + 8, words + 12)), (std::vector<uint16_t>{65535, 13107, 0, 26214}));
  float floats[12];
  ASSERT_EQ(KilnImage_toIntList(image.get(), floats, sizeof floats, KILN_INTS_RGBA_FLOAT), 0);
  EXPECT_EQ(std::memcmp(floats, image->pixels(), sizeof floats), 0);
  for (const int type : {-1, 2, 5, 1000}) EXPECT_NE(KilnImage_toIntList(image.get(), bytes, 64, type), 0);
  EXPECT_NE(KilnImage_toIntList(image.get(), bytes, 11, KILN_INTS_BGRA_BYTE), 0);
  EXPECT_NE(KilnImage_toIntList(image.get(), bytes, 47, KILN_INTS_RGBA_FLOAT), 0);
}

TEST(EntryPoints, PackedListsAlwaysFitTheHostsMemory) {
  for (int width = 1; width <= 40; ++width) {
    const Block image(KilnImage_create(width, 1));
    std::vector<int32_t> list(static_cast<size_t>((width + 1) * 3 >> 2));
    EXPECT_EQ(KilnImage_toIntList(image.get(), list.data(), list.size() * 4, KILN_INTS_BGR_BYTE), 0) << width;
  }
}

TEST(EntryPoints, ChangesReachThePixels) {
  const Block image(KilnImage_create(2, 2));
  auto& pixels = *static_cast<Image*>(image.get());
  const KilnImageColor color{0.25f, 0.5f, 0.75f};
  EXPECT_NE(KilnImage_addColor(image.get(), &color), 0);
  EXPECT_NE(KilnImage_changeExposure(image.get(), 1), 0);
  ExpectPixel(pixels, 1, 1, {0.5f, 1, 1.5f, 0});
  EXPECT_NE(KilnImage_makeNegative(image.get()), 0);
  ExpectPixel(pixels, 1, 1, {0.5f, 0, -0.5f, 0});
  EXPECT_NE(KilnImage_changeSRGB(image.get(), 1), 0);
  EXPECT_FLOAT_EQ(KilnImage_getGamma(image.get()), 2.2f);
  EXPECT_NE(KilnImage_changeSRGB(image.get(), 0), 0);
  EXPECT_NE(KilnImage_changeGamma(image.get(), 2), 0);
  EXPECT_NE(KilnImage_changeContrast(image.get(), 1), 0);
  EXPECT_NE(KilnImage_setGamma(image.get(), 1), 0);
  EXPECT_EQ(KilnImage_setGamma(image.get(), 0), 0);
  EXPECT_EQ(KilnImage_setGamma(image.get(), kNan), 0);
  EXPECT_EQ(KilnImage_changeExposure(image.get(), kNan), 0);
  EXPECT_EQ(KilnImage_drawImage(image.get(), image.get(), 0, 0, 7), 0);
  EXPECT_NE(KilnImage_drawImage(image.get(), image.get(), 1, 1, KILN_DRAW_BLEND), 0);
}

TEST(EntryPoints, NewImagesHaveTheirSizes) {
  const Block image(KilnImage_create(40, 20));
  const auto size = [](KilnImageHandle handle) {
    const Block owner(handle);
    int32_t width = 0, height = 0;
    KilnImage_getSize(handle, &width, &height);
    return std::pair(width, height);
  };
  EXPECT_EQ(size(KilnImage_clone(image.get())), std::pair(40, 20));
  EXPECT_EQ(size(KilnImage_crop(image.get(), 1, 2, -3, 4)), std::pair(3, 4));
  EXPECT_EQ(size(KilnImage_downscale(image.get(), 7, 6)), std::pair(7, 6));
  EXPECT_EQ(size(KilnImage_crop_downscale(image.get(), 1, 2, 10, 10, 5, 4)), std::pair(5, 4));
  EXPECT_EQ(size(KilnImage_fitIn(image.get(), 10, 10)), std::pair(10, 5));
  EXPECT_EQ(size(KilnImage_fitOut(image.get(), 10, 10)), std::pair(20, 10));
  EXPECT_EQ(size(KilnImage_cutIn(image.get(), 10, 10)), std::pair(10, 10));
  EXPECT_EQ(KilnImage_fitIn(image.get(), 0, 0), nullptr);
}

}  // namespace
}  // namespace kiln::engine::image
