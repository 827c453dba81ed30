// Building and sampling of two-dimensional densities.
#include "engine/render/distribution.h"

namespace kiln::engine::render {
namespace {

// Cumulative values from 0 to 1 into `out` (count + 1 of them); returns the sum. A row of zeros becomes
// uniform.
double Accumulate(const float* weights, int count, float* out) {
  double sum = 0;
  for (int i = 0; i < count; ++i) sum += weights[i];
  double running = 0;
  out[0] = 0;
  for (int i = 0; i < count; ++i) {
    running += sum > 0 ? weights[i] / sum : 1.0 / count;
    out[i + 1] = static_cast<float>(running);
  }
  out[count] = 1;
  return sum;
}

// The interval of `cumulative` that holds u, and the place within it.
int Invert(const float* cumulative, int count, float u, float* position) {
  const float* above = std::upper_bound(cumulative, cumulative + count + 1, u);
  const int i = std::clamp(static_cast<int>(above - cumulative) - 1, 0, count - 1);
  const float width = cumulative[i + 1] - cumulative[i];
  const float inside = width > 0 ? std::clamp((u - cumulative[i]) / width, 0.0f, 0x1.fffffep-1f) : 0.5f;
  *position = std::min((static_cast<float>(i) + inside) / static_cast<float>(count), 0x1.fffffep-1f);
  return i;
}

}  // namespace

Distribution2D::Distribution2D(const std::vector<float>& weights, int width, int height)
    : width_(width),
      height_(height),
      conditional_(static_cast<size_t>(width + 1) * height),
      marginal_(static_cast<size_t>(height) + 1) {
  std::vector<float> rows(height);
  double total = 0;
  for (int y = 0; y < height; ++y) {
    const double sum = Accumulate(&weights[static_cast<size_t>(y) * width], width,
                                  &conditional_[static_cast<size_t>(y) * (width + 1)]);
    rows[y] = static_cast<float>(sum);
    total += sum;
  }
  Accumulate(rows.data(), height, marginal_.data());
  mean_ = static_cast<float>(total / (static_cast<double>(width) * height));
}

Vec2 Distribution2D::Sample(Vec2 u, float* pdf) const {
  Vec2 point;
  const int y = Invert(marginal_.data(), height_, u.y, &point.y);
  const float* row = Row(y);
  const int x = Invert(row, width_, u.x, &point.x);
  *pdf = (marginal_[y + 1] - marginal_[y]) * (row[x + 1] - row[x]) * static_cast<float>(width_) *
         static_cast<float>(height_);
  return point;
}

float Distribution2D::Pdf(Vec2 point) const {
  const int x = std::clamp(static_cast<int>(point.x * static_cast<float>(width_)), 0, width_ - 1);
  const int y = std::clamp(static_cast<int>(point.y * static_cast<float>(height_)), 0, height_ - 1);
  const float* row = Row(y);
  return (marginal_[y + 1] - marginal_[y]) * (row[x + 1] - row[x]) * static_cast<float>(width_) *
         static_cast<float>(height_);
}

}  // namespace kiln::engine::render
