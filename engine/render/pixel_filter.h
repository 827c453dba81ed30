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
  static constexpr int kCells = 256;
  float Invert(float u) const;

  bool box_;
  float radius_;
  std::array<float, kCells + 1> cumulative_{};
};

}  // namespace kiln::engine::render
