// Entry points of images: unwrap the handle, call the image room, wrap what comes back.
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>

#include "engine/api/guard.h"
#include "engine/image/bitmap.h"
#include "engine/image/codec.h"
#include "engine/image/encode.h"
#include "engine/image/file_output.h"
#include "engine/image/image.h"
#include "engine/image/operations.h"
#include "entry_points.h"

namespace {

using kiln::engine::AllocateShared;
using kiln::engine::api::Guarded;
using namespace kiln::engine::image;

Image* Unwrap(KilnImageHandle handle) {
  return IsImage(handle) ? static_cast<Image*>(handle) : nullptr;
}

// Runs a change of an image or a look at it, with `failure` for a handle that is none.
template <class R, class F>
R WithImage(KilnImageHandle handle, R failure, F&& body) noexcept {
  Image* image = Unwrap(handle);
  if (!image) return failure;
  return Guarded<R>(failure, [&]() -> R { return body(*image); });
}

// A number from the host as a flag.
bool Flag(int32_t value) {
  return value != 0;
}

PngOptions ReadPngOptions(int32_t flags) {
  return {(flags & KILN_PNG_FIRST_FLAG) != 0, (flags & KILN_PNG_16_BITS) != 0};
}

// Encodes into a block of the host's; answers its size.
template <class Encoder>
uint64_t ToMemory(KilnImageHandle handle, void** data, Encoder&& encode) noexcept {
  if (!data) return 0;
  *data = nullptr;
  return WithImage<uint64_t>(handle, 0, [&](const Image& image) -> uint64_t {
    Bytes bytes;
    if (!encode(image, &bytes)) return 0;
    void* block = AllocateShared(bytes.size());
    if (!block) return 0;
    std::memcpy(block, bytes.data(), bytes.size());
    *data = block;
    return bytes.size();
  });
}

template <class Encoder>
int32_t ToFile(KilnImageHandle handle, const char* file, Encoder&& encode) noexcept {
  if (!file) return 0;
  return WithImage<int32_t>(handle, 0, [&](const Image& image) -> int32_t {
    Bytes bytes;
    const std::u8string name(reinterpret_cast<const char8_t*>(file));
    return encode(image, &bytes) && WriteFileWhole(std::filesystem::path(name), bytes);
  });
}

using Decoder = Image* (*)(std::span<const std::byte>, std::string*);

KilnImageHandle FromMemory(const void* data, uint64_t size, Decoder decode) noexcept {
  if (!data || size == 0) return nullptr;
  return Guarded<KilnImageHandle>(nullptr, [&]() -> KilnImageHandle {
    return decode({static_cast<const std::byte*>(data), static_cast<size_t>(size)}, nullptr);
  });
}

}  // namespace

extern "C" {

uint64_t KilnImage_compressToJpeg(KilnImageHandle image, int32_t quality, void** data, KilnRendererHandle) {
  return ToMemory(image, data, [=](const Image& i, Bytes* out) { return EncodeJpeg(i, quality, out); });
}

uint64_t KilnImage_compressToPng(KilnImageHandle image, int32_t flags, void** data, KilnRendererHandle) {
  return ToMemory(image, data,
                  [=](const Image& i, Bytes* out) { return EncodePng(i, ReadPngOptions(flags), out); });
}

uint64_t KilnImage_convertToBmp(KilnImageHandle image, int32_t first_flag, void** data, KilnRendererHandle,
                                int32_t second_flag) {
  const BmpOptions options{Flag(first_flag), Flag(second_flag)};
  return ToMemory(image, data, [=](const Image& i, Bytes* out) { return EncodeBmp(i, options, out); });
}

uint64_t KilnImage_toBitmapData(KilnImageHandle image, void** data, int32_t flags, int32_t stride,
                                int32_t alpha) {
  if (!data) return 0;
  *data = nullptr;
  const BitmapOptions options{(flags & KILN_BITMAP_SWAP_CHANNELS) != 0, (flags & KILN_BITMAP_REVERSE_Y) != 0,
                              (flags & KILN_BITMAP_PRESERVE_ALPHA) != 0, stride, alpha};
  return WithImage<uint64_t>(image, 0, [&](const Image& i) -> uint64_t {
    size_t size = 0;
    *data = ToBitmap(i, options, &size);
    return size;
  });
}

int32_t KilnImage_toIntList(KilnImageHandle image, void* destination, uint64_t size, int32_t type) {
  return WithImage<int32_t>(image, 1,
                            [=](const Image& i) { return ToIntList(i, destination, size, type) ? 0 : 1; });
}

int32_t KilnImage_compressToJpegFile(KilnImageHandle image, int32_t quality, const char* file,
                                     KilnRendererHandle) {
  return ToFile(image, file, [=](const Image& i, Bytes* out) { return EncodeJpeg(i, quality, out); });
}

int32_t KilnImage_compressToPngFile(KilnImageHandle image, int32_t flags, const char* file,
                                    KilnRendererHandle) {
  return ToFile(image, file,
                [=](const Image& i, Bytes* out) { return EncodePng(i, ReadPngOptions(flags), out); });
}

int32_t KilnImage_SaveToBmpFile(KilnImageHandle image, int32_t first_flag, const char* file,
                                KilnRendererHandle, int32_t second_flag) {
  const BmpOptions options{Flag(first_flag), Flag(second_flag)};
  return ToFile(image, file, [=](const Image& i, Bytes* out) { return EncodeBmp(i, options, out); });
}

int32_t KilnImage_SaveToTiffFile(KilnImageHandle image, const char* file, KilnRendererHandle,
                                 int32_t bit_depth) {
  return ToFile(image, file, [=](const Image& i, Bytes* out) { return EncodeTiff(i, bit_depth, out); });
}

int32_t KilnImage_SaveToExrFile(KilnImageHandle image, const char* file, KilnRendererHandle) {
  return ToFile(image, file, [](const Image& i, Bytes* out) { return EncodeExr(i, {}, out); });
}

KilnImageHandle KilnImage_createFromBmp(const void* data, uint64_t size, KilnRendererHandle) {
  return FromMemory(data, size, DecodeBmp);
}

KilnImageHandle KilnImage_createFromJpeg(const void* data, uint64_t size, KilnRendererHandle) {
  return FromMemory(data, size, DecodeJpeg);
}

KilnImageHandle KilnImage_createFromPng(const void* data, uint64_t size, KilnRendererHandle) {
  return FromMemory(data, size, DecodePng);
}

KilnImageHandle KilnImage_crop(KilnImageHandle image, int32_t x, int32_t y, int32_t width, int32_t height) {
  return WithImage<KilnImageHandle>(image, nullptr,
                                    [=](const Image& i) { return Crop(i, x, y, width, height); });
}

KilnImageHandle KilnImage_downscale(KilnImageHandle image, int32_t width, int32_t height) {
  return WithImage<KilnImageHandle>(image, nullptr,
                                    [=](const Image& i) { return Downscale(i, width, height); });
}

KilnImageHandle KilnImage_crop_downscale(KilnImageHandle image, int32_t x, int32_t y, int32_t width,
                                         int32_t height, int32_t new_width, int32_t new_height) {
  return WithImage<KilnImageHandle>(image, nullptr, [=](const Image& i) {
    return CropDownscale(i, x, y, width, height, new_width, new_height);
  });
}

KilnImageHandle KilnImage_fitIn(KilnImageHandle image, int32_t width, int32_t height) {
  return WithImage<KilnImageHandle>(image, nullptr, [=](const Image& i) { return FitIn(i, width, height); });
}

KilnImageHandle KilnImage_fitOut(KilnImageHandle image, int32_t width, int32_t height) {
  return WithImage<KilnImageHandle>(image, nullptr, [=](const Image& i) { return FitOut(i, width, height); });
}

KilnImageHandle KilnImage_cutIn(KilnImageHandle image, int32_t width, int32_t height) {
  return WithImage<KilnImageHandle>(image, nullptr, [=](const Image& i) { return CutIn(i, width, height); });
}

KilnImageHandle KilnImage_clone(KilnImageHandle image) {
  return WithImage<KilnImageHandle>(image, nullptr, [](const Image& i) { return Clone(i); });
}

KilnImageHandle KilnImage_create(int32_t width, int32_t height) {
  return Create(width, height);
}

void KilnImage_getSize(KilnImageHandle image, int32_t* width, int32_t* height) {
  const Image* i = Unwrap(image);
  if (width) *width = i ? i->width : 0;
  if (height) *height = i ? i->height : 0;
}

uint64_t KilnImage_getMemorySize(KilnImageHandle image) {
  return WithImage<uint64_t>(image, 0, [](const Image& i) { return i.bytes; });
}

void* KilnImage_getPixelDataPointerAndPixelCount(KilnImageHandle image, uint64_t* count) {
  Image* i = Unwrap(image);
  if (count) *count = i ? i->pixel_count() : 0;
  return i ? i->pixels() : nullptr;
}

int32_t KilnImage_drawImage(KilnImageHandle image, KilnImageHandle source, int32_t x, int32_t y,
                            int32_t mode) {
  const Image* from = Unwrap(source);
  if (!from) return 0;
  return WithImage<int32_t>(image, 0, [=](Image& i) { return Draw(i, *from, x, y, mode); });
}

int32_t KilnImage_addColor(KilnImageHandle image, const KilnImageColor* color) {
  if (!color) return 0;
  return WithImage<int32_t>(image, 0,
                            [=](Image& i) { return AddColor(i, color->red, color->green, color->blue); });
}

int32_t KilnImage_changeExposure(KilnImageHandle image, float exposure) {
  return WithImage<int32_t>(image, 0, [=](Image& i) { return ChangeExposure(i, exposure); });
}

int32_t KilnImage_changeGamma(KilnImageHandle image, float gamma) {
  return WithImage<int32_t>(image, 0, [=](Image& i) { return ChangeGamma(i, gamma); });
}

int32_t KilnImage_changeSRGB(KilnImageHandle image, int32_t flag) {
  return WithImage<int32_t>(image, 0, [=](Image& i) { return ChangeSrgb(i, Flag(flag)); });
}

int32_t KilnImage_changeContrast(KilnImageHandle image, float contrast) {
  return WithImage<int32_t>(image, 0, [=](Image& i) { return ChangeContrast(i, contrast); });
}

int32_t KilnImage_makeNegative(KilnImageHandle image) {
  return WithImage<int32_t>(image, 0, [](Image& i) { return MakeNegative(i); });
}

int32_t KilnImage_setGamma(KilnImageHandle image, float gamma) {
  return WithImage<int32_t>(image, 0, [=](Image& i) { return SetGamma(i, gamma); });
}

float KilnImage_getGamma(KilnImageHandle image) {
  return WithImage<float>(image, 0, [](const Image& i) { return i.gamma; });
}

}  // extern "C"
