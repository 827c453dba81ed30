// Bare pixels in the formats that raw data crosses the boundary in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kiln::engine::image {

// What one pixel is: so many channels of so many bytes, integers or floats.
struct PixelFormat {
  int channels = 0;
  int bytes = 0;
  bool is_float = false;
  size_t pixel_bytes() const { return static_cast<size_t>(channels) * static_cast<size_t>(bytes); }
};

// By the code that crosses the boundary; nothing for another number.
std::optional<PixelFormat> FindPixelFormat(int32_t code);

// How a float becomes an integer, whose largest value stands for 1. NaN is 0, what lies outside is held.
enum class Encoding {
  kColor,   // by the sRGB curve; alpha as it stands
  kLinear,  // as it stands
  kSigned,  // -1 to 1
};

struct PackOptions {
  Encoding encoding = Encoding::kLinear;
  bool blue_first = false;  // of integers; floats are red first
  std::span<const uint32_t>
      integers{};  // for each pixel, in place of its colour; held to what the format holds
};

// Writes the pixels (four floats each) to `out`, which holds pixel_bytes() for each. One channel is the
// luminance. Floats are written as they stand.
void PackPixels(std::span<const float> rgba, const PixelFormat& format, const PackOptions& options,
                std::byte* out);

}  // namespace kiln::engine::image
