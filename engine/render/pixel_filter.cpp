// The cumulative Blackman-Harris window and its inversion.
#include "engine/render/pixel_filter.h"

namespace kiln::engine::render {
namespace {

// Harris 1978, the four-term window, over 0..1.
double Window(double t) {
  constexpr double kTwoPi = 6.283185307179586;
  return 0.35875 - 0.48829 * std::cos(kTwoPi * t) + 0.14128 * std::cos(2 * kTwoPi * t) -
         0.01168 * std::cos(3 * kTwoPi * t);
}

}  // namespace

PixelFilter::PixelFilter(bool box, float radius) : box_(box) {
  const float reach = std::isfinite(radius) ? std::clamp(radius, 0.5f, 8.0f) : 1.5f;
  constexpr int kSteps = 8192;
  double total = 0;
  for (int i = 0; i < kSteps; ++i) total += Window((i + 0.5) / kSteps);
  double sum = 0;
  int cell = 0;
  for (int i = 0; i < kSteps; ++i) {
    const double next = sum + Window((i + 0.5) / kSteps) / total;
    // Every cell border that this step passes lies within it, in proportion.
    for (; cell <= kCells && static_cast<double>(cell) / kCells <= next; ++cell) {
      const double inside = next > sum ? (static_cast<double>(cell) / kCells - sum) / (next - sum) : 0;
      inverse_[cell] = reach * static_cast<float>(2 * (i + inside) / kSteps - 1);
    }
    sum = next;
  }
  for (; cell <= kCells; ++cell) inverse_[cell] = reach;
}

}  // namespace kiln::engine::render
