// The difference of two pictures, pixel by pixel.
#include "engine/render/image_difference.h"

#include <cmath>
#include <limits>

namespace kiln::engine::render {
namespace {

// Below this brightness a difference counts as it is: in the dark its ratio would say nothing.
constexpr double kDark = 0.02;

double PixelDifference(const float* a, const float* b) {
  double difference = 0;
  double sum = 0;
  for (int c = 0; c < 3; ++c) {
    difference += std::abs(double{b[c]} - a[c]);
    sum += double{b[c]} + a[c];
  }
  return (difference / 3) / (sum / 6 + kDark);
}

}  // namespace

double RelativeDifference(const image::Image& a, const image::Image& b, const Bucket& area) {
  if (a.width != b.width || a.height != b.height) return std::numeric_limits<double>::infinity();
  double sum = 0;
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      sum += PixelDifference(a.row(y) + 4 * x, b.row(y) + 4 * x);
    }
  }
  return sum / (static_cast<double>(area.width) * area.height);
}

}  // namespace kiln::engine::render
