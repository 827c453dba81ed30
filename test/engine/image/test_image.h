// Images for tests: made from a function of x and y, and compared.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>

#include "engine/image/image.h"

namespace kiln::engine::image {

using Rgba = std::array<float, 4>;

inline constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInf = std::numeric_limits<float>::infinity();

inline ImagePtr Make(int width, int height, const std::function<Rgba(int, int)>& pixel) {
  ImagePtr image(Create(width, height));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgba value = pixel(x, y);
      std::memcpy(image->row(y) + 4 * x, value.data(), sizeof value);
    }
  }
  return image;
}

inline ImagePtr Filled(int width, int height, Rgba value) {
  return Make(width, height, [=](int, int) { return value; });
}

// Repeatable noise in 0..1, in all four channels.
inline Rgba Noise(int x, int y) {
  uint32_t h = static_cast<uint32_t>(x) * 0x9e3779b1u ^ static_cast<uint32_t>(y) * 0x85ebca77u;
  Rgba result;
  for (float& v : result) {
    h ^= h >> 15;
    h = h * 0x2c1b3c6du + 0x297a2d39u;
    h ^= h >> 12;
    v = static_cast<float>(h >> 8) / 16777215.0f;
  }
  return result;
}

inline Rgba At(const Image& image, int x, int y) {
  Rgba value;
  std::memcpy(value.data(), image.row(y) + 4 * x, sizeof value);
  return value;
}

inline void ExpectPixel(const Image& image, int x, int y, Rgba expected, float tolerance = 1e-6f) {
  const Rgba actual = At(image, x, y);
  for (size_t c = 0; c < 4; ++c) {
    EXPECT_NEAR(actual[c], expected[c], tolerance) << "channel " << c << " at " << x << ", " << y;
  }
}

// The largest difference of any channel, infinite for images of different size.
inline float Distance(const Image& a, const Image& b) {
  if (a.width != b.width || a.height != b.height) return kInf;
  float worst = 0;
  for (size_t i = 0; i < a.pixel_count() * 4; ++i) {
    const float distance = std::fabs(a.pixels()[i] - b.pixels()[i]);
    if (!(distance <= worst)) worst = distance;
  }
  return worst;
}

inline std::array<double, 4> Mean(const Image& image) {
  std::array<double, 4> sum{};
  for (size_t i = 0; i < image.pixel_count() * 4; ++i) sum[i % 4] += static_cast<double>(image.pixels()[i]);
  for (double& v : sum) v /= static_cast<double>(image.pixel_count());
  return sum;
}

}  // namespace kiln::engine::image
