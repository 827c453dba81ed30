// JPEG by TurboJPEG, with an Exif segment that names the program and the colour space.
#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "engine/image/byte_order.h"
#include "engine/image/codec_failure.h"
#include "engine/image/encode.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

struct HandleDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};
struct StreamDeleter {
  void operator()(unsigned char* bytes) const { tjFree(bytes); }
};

constexpr int kFullColourFrom = 90;

void AppendEntry(Bytes& out, uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
  AppendLittle(out, tag, 2);
  AppendLittle(out, type, 2);
  AppendLittle(out, count, 4);
  AppendLittle(out, value, 4);
}

// An Exif segment: one directory with Software, one with ColorSpace (sRGB, or uncalibrated with Gamma).
Bytes ExifSegment(float gamma) {
  constexpr uint32_t kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndefined = 7;
  constexpr uint32_t kFirstDirectory = 8, kEntry = 12, kFrame = 6;
  const bool srgb = gamma == 1 || gamma == kDisplayGamma;
  constexpr uint32_t kSoftware = kFirstDirectory + kFrame + 2 * kEntry;
  constexpr uint32_t kExif = kSoftware + 6;  // "Kiln" with its end, to an even address
  const uint32_t entries = srgb ? 2 : 3;

  Bytes tiff;
  for (const char c : {'I', 'I', '\x2a', '\0'}) tiff.push_back(static_cast<std::byte>(c));
  AppendLittle(tiff, kFirstDirectory, 4);
  AppendLittle(tiff, 2, 2);
  AppendEntry(tiff, 0x0131, kAscii, 5, kSoftware);
  AppendEntry(tiff, 0x8769, kLong, 1, kExif);
  AppendLittle(tiff, 0, 4);
  for (const char c : {'K', 'i', 'l', 'n', '\0', '\0'}) tiff.push_back(static_cast<std::byte>(c));
  AppendLittle(tiff, entries, 2);
  AppendEntry(tiff, 0x9000, kUndefined, 4, 0x32333230);  // version "0232"
  AppendEntry(tiff, 0xa001, kShort, 1, srgb ? 1 : 0xffff);
  if (!srgb) AppendEntry(tiff, 0xa500, kRational, 1, kExif + kFrame + 3 * kEntry);
  AppendLittle(tiff, 0, 4);
  if (!srgb) {
    AppendLittle(tiff, static_cast<uint32_t>(std::lround(std::clamp(gamma, 0.001f, 1000.0f) * 1000)), 4);
    AppendLittle(tiff, 1000, 4);
  }

  Bytes segment;
  const size_t length = 2 + 6 + tiff.size();
  for (const int c : {0xff, 0xe1, static_cast<int>(length >> 8), static_cast<int>(length & 0xff)}) {
    segment.push_back(static_cast<std::byte>(c));
  }
  for (const char c : {'E', 'x', 'i', 'f', '\0', '\0'}) segment.push_back(static_cast<std::byte>(c));
  segment.insert(segment.end(), tiff.begin(), tiff.end());
  return segment;
}

bool Encode(const Image& image, int quality, Bytes* out, std::string* error) {
  const std::unique_ptr<void, HandleDeleter> encoder(tjInitCompress());
  if (!encoder) return Fail(error, kOutOfMemory);
  const auto width = static_cast<size_t>(image.width);
  std::vector<uint8_t> row(width * 4);
  std::vector<uint8_t> rgb(image.pixel_count() * 3);
  uint8_t* to = rgb.data();
  for (int y = 0; y < image.height; ++y) {
    QuantizeRow8(image, y, Alpha::kDrop, row.data());
    for (size_t x = 0; x < width; ++x, to += 3) std::memcpy(to, row.data() + x * 4, 3);
  }

  quality = quality == 0 ? kDefaultJpegQuality : std::clamp(quality, 1, 100);
  const int sampling = quality >= kFullColourFrom ? TJSAMP_444 : TJSAMP_420;
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  const int result = tjCompress2(encoder.get(), rgb.data(), image.width, 0, image.height, TJPF_RGB, &bytes,
                                 &size, sampling, quality, TJFLAG_ACCURATEDCT);
  const std::unique_ptr<unsigned char, StreamDeleter> owner(bytes);
  if (result != 0)
    return Fail(error, std::string("the JPEG encoder failed: ") + tjGetErrorStr2(encoder.get()));

  // Behind the start marker and the JFIF segment, which comes first by its own rule.
  size_t at = 2;
  if (size > 6 && bytes[2] == 0xff && bytes[3] == 0xe0)
    at += 2 + static_cast<size_t>(bytes[4] << 8 | bytes[5]);
  const auto* stream = reinterpret_cast<const std::byte*>(bytes);
  const Bytes exif = ExifSegment(image.gamma);
  out->assign(stream, stream + at);
  out->insert(out->end(), exif.begin(), exif.end());
  out->insert(out->end(), stream + at, stream + size);
  return true;
}

}  // namespace

bool EncodeJpeg(const Image& image, int quality, Bytes* out, std::string* error) try {
  return Encode(image, quality, out, error);
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
