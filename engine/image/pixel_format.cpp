// From four floats a pixel to bare bytes.
#include "engine/image/pixel_format.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/image/transfer.h"

namespace kiln::engine::image {
namespace {

struct Row {
  int32_t code;
  PixelFormat format;
};
constexpr Row kFormats[] = {
    {100, {1, 1, false}}, {101, {1, 2, false}}, {102, {1, 4, false}}, {104, {1, 4, true}},
    {200, {3, 1, false}}, {201, {3, 2, false}}, {203, {3, 4, true}},  {300, {4, 1, false}},
    {301, {4, 2, false}}, {303, {4, 4, true}},
};

uint64_t Largest(int bytes) {
  return (uint64_t{1} << (8 * bytes)) - 1;
}

void WriteInteger(uint64_t value, int bytes, std::byte* out) {
  std::memcpy(out, &value, static_cast<size_t>(bytes));
}

float Encode(float v, Encoding encoding) {
  if (encoding == Encoding::kColor) return LinearToSrgb(v);
  return encoding == Encoding::kSigned ? 0.5f + 0.5f * v : v;
}

// In double precision: a float does not hold 32 bits.
uint64_t Quantize(float v, int bytes) {
  const double scaled = v > 0 ? std::min<double>(v, 1) * static_cast<double>(Largest(bytes)) : 0;
  return static_cast<uint64_t>(std::llround(scaled));
}

float Grey(const float* rgba) {
  // What is grey stays exactly what it is, infinite or not.
  if (rgba[0] == rgba[1] && rgba[1] == rgba[2]) return rgba[0];
  return 0.2126f * rgba[0] + 0.7152f * rgba[1] + 0.0722f * rgba[2];
}

void PackFloats(const float* rgba, const PixelFormat& format, std::byte* out) {
  if (format.channels == 1) {
    const float grey = Grey(rgba);
    std::memcpy(out, &grey, sizeof(grey));
  } else {
    std::memcpy(out, rgba, format.pixel_bytes());
  }
}

void PackIntegers(const float* rgba, const PixelFormat& format, const PackOptions& options, std::byte* out) {
  if (format.channels == 1) {
    WriteInteger(Quantize(Encode(Grey(rgba), options.encoding), format.bytes), format.bytes, out);
    return;
  }
  for (int c = 0; c < format.channels; ++c) {
    const int from = c < 3 && options.blue_first ? 2 - c : c;
    const float v = c < 3 ? Encode(rgba[from], options.encoding) : rgba[3];
    WriteInteger(Quantize(v, format.bytes), format.bytes, out + c * format.bytes);
  }
}

// The number in every colour channel.
void PackNumber(uint32_t number, const float* rgba, const PixelFormat& format, std::byte* out) {
  const uint64_t held = std::min<uint64_t>(number, Largest(format.bytes));
  for (int c = 0; c < format.channels; ++c) {
    WriteInteger(c < 3 ? held : Quantize(rgba[3], format.bytes), format.bytes, out + c * format.bytes);
  }
}

}  // namespace

std::optional<PixelFormat> FindPixelFormat(int32_t code) {
  const auto* found = std::ranges::find(kFormats, code, &Row::code);
  return found != std::end(kFormats) ? std::optional(found->format) : std::nullopt;
}

void PackPixels(std::span<const float> rgba, const PixelFormat& format, const PackOptions& options,
                std::byte* out) {
  for (size_t i = 0; 4 * i < rgba.size(); ++i, out += format.pixel_bytes()) {
    const float* pixel = &rgba[4 * i];
    if (format.is_float) {
      PackFloats(pixel, format, out);
    } else if (!options.integers.empty()) {
      PackNumber(options.integers[i], pixel, format, out);
    } else {
      PackIntegers(pixel, format, options, out);
    }
  }
}

}  // namespace kiln::engine::image
