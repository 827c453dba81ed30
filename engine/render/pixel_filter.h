// Where in and around its pixel a sample looks: the filter, sampled by importance, so that every sample
// counts for one pixel alone and with weight 1.
#pragma once

#include <array>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

class PixelFilter {
 public:
  // A box of one pixel, or Blackman-Harris that reaches `radius` pixels.
  PixelFilter(bool box, float radius);
  // The offset from the pixel's centre, in pixels.
  Vec2 Sample(Vec2 u) const { return box_ ? Vec2{u.x - 0.5f, u.y - 0.5f} : Vec2{Invert(u.x), Invert(u.y)}; }

 private:
  static constexpr int kCells = 1024;
  float Invert(float u) const {
    const float scaled = u * kCells;
    const int cell = std::min(static_cast<int>(scaled), kCells - 1);
    return Lerp1(inverse_[cell], inverse_[cell + 1], scaled - static_cast<float>(cell));
  }
  static float Lerp1(float a, float b, float t) { return a + (b - a) * t; }

  bool box_;
  std::array<float, kCells + 1> inverse_{};  // the offset below which i / kCells of the filter lies
};

}  // namespace kiln::engine::render
