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

PixelFilter::PixelFilter(bool box, float radius)
    : box_(box), radius_(std::isfinite(radius) ? std::clamp(radius, 0.5f, 8.0f) : 1.5f) {
  double sum = 0;
  for (int i = 0; i < kCells; ++i) {
    sum += Window((i + 0.5) / kCells);
    cumulative_[i + 1] = static_cast<float>(sum);
  }
  for (float& c : cumulative_) c = static_cast<float>(c / sum);
  cumulative_[kCells] = 1;
}

float PixelFilter::Invert(float u) const {
  const auto above = std::upper_bound(cumulative_.begin(), cumulative_.end(), u);
  const int cell = std::clamp(static_cast<int>(above - cumulative_.begin()) - 1, 0, kCells - 1);
  const float width = cumulative_[cell + 1] - cumulative_[cell];
  const float inside = width > 0 ? (u - cumulative_[cell]) / width : 0.5f;
  return radius_ * (2 * (static_cast<float>(cell) + inside) / kCells - 1);
}

}  // namespace kiln::engine::render
