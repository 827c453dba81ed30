// BMP: 24 bits a pixel, or 32 with alpha under a version 4 header.
#include <cmath>
#include <cstring>
#include <new>

#include "engine/image/byte_order.h"
#include "engine/image/codec_failure.h"
#include "engine/image/encode.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

constexpr uint32_t kFileHeader = 14;
constexpr uint32_t kVersion4Header = 108;
constexpr uint32_t kPixelsPerMetre = 2835;  // 72 dpi

// The sRGB primaries, in the fixed point of two bits before the point.
constexpr double kEndpoints[9] = {0.64, 0.33, 0.03, 0.30, 0.60, 0.10, 0.15, 0.06, 0.79};

void AppendColorSpace(Bytes& out, float gamma) {
  const bool srgb = gamma == 1 || gamma == kDisplayGamma;
  AppendLittle(out, srgb ? 0x73524742 : 0, 4);  // "sRGB", or calibrated by what follows
  for (const double v : kEndpoints) AppendLittle(out, srgb ? 0 : static_cast<uint32_t>(v * (1 << 30)), 4);
  const double fixed = std::fmin(static_cast<double>(gamma) * 65536, 4294967295.0);
  for (int i = 0; i < 3; ++i) AppendLittle(out, srgb ? 0 : static_cast<uint32_t>(fixed), 4);
}

void AppendHeaders(Bytes& out, const Image& image, const BmpOptions& options, uint32_t pixel_bytes) {
  const uint32_t offset = kFileHeader + kVersion4Header;
  AppendLittle(out, 'B' | 'M' << 8, 2);
  AppendLittle(out, offset + pixel_bytes, 4);
  AppendLittle(out, 0, 4);
  AppendLittle(out, offset, 4);

  const bool alpha = !options.strip_alpha;
  AppendLittle(out, kVersion4Header, 4);
  AppendLittle(out, static_cast<uint32_t>(image.width), 4);
  AppendLittle(out, static_cast<uint32_t>(options.top_down ? -image.height : image.height), 4);
  AppendLittle(out, 1, 2);
  AppendLittle(out, alpha ? 32 : 24, 2);
  AppendLittle(out, alpha ? 3 : 0, 4);  // channels by masks, or plain
  AppendLittle(out, pixel_bytes, 4);
  AppendLittle(out, kPixelsPerMetre, 4);
  AppendLittle(out, kPixelsPerMetre, 4);
  AppendLittle(out, 0, 4);
  AppendLittle(out, 0, 4);
  for (const uint32_t mask : {0x00ff0000u, 0x0000ff00u, 0x000000ffu, 0xff000000u}) {
    AppendLittle(out, alpha ? mask : 0, 4);
  }
  AppendColorSpace(out, image.gamma);
}

}  // namespace

bool EncodeBmp(const Image& image, const BmpOptions& options, Bytes* out, std::string* error) try {
  const size_t channels = options.strip_alpha ? 3 : 4;
  const auto width = static_cast<size_t>(image.width);
  const size_t stride = (width * channels + 3) / 4 * 4;
  const size_t pixel_bytes = stride * static_cast<size_t>(image.height);  // at most 1 GiB

  out->clear();
  out->reserve(kFileHeader + kVersion4Header + pixel_bytes);
  AppendHeaders(*out, image, options, static_cast<uint32_t>(pixel_bytes));
  std::vector<uint8_t> rgba(width * 4);
  std::vector<std::byte> row(stride);
  for (int i = 0; i < image.height; ++i) {
    const int y = options.top_down ? i : image.height - 1 - i;
    QuantizeRow8(image, y, options.strip_alpha ? Alpha::kDrop : Alpha::kKeep, rgba.data());
    for (size_t x = 0; x < width; ++x) {
      const uint8_t* p = rgba.data() + x * 4;
      const uint8_t bgra[4] = {p[2], p[1], p[0], p[3]};
      std::memcpy(row.data() + x * channels, bgra, channels);
    }
    out->insert(out->end(), row.begin(), row.end());
  }
  return true;
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
