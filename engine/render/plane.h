// One float for each pixel, with a border of mirrored pixels around, so that filters need not look where the
// picture ends.
#pragma once

#include <cstddef>
#include <vector>

namespace kiln::engine::render {

class Plane {
 public:
  Plane() = default;
  Plane(int width, int height, int border)
      : width_(width),
        height_(height),
        border_(border),
        stride_(static_cast<size_t>(width) + 2 * static_cast<size_t>(border)),
        values_(stride_ * (static_cast<size_t>(height) + 2 * static_cast<size_t>(border))) {}

  int width() const { return width_; }
  int height() const { return height_; }
  size_t stride() const { return stride_; }
  float* data() { return values_.data(); }
  const float* data() const { return values_.data(); }
  // Of a pixel, or of one as far outside as the border reaches.
  size_t Index(int x, int y) const {
    return static_cast<size_t>(y + border_) * stride_ + static_cast<size_t>(x + border_);
  }

  // Fills the border.
  void Mirror() {
    for (int y = 0; y < height_; ++y) {
      for (int i = 1; i <= border_; ++i) {
        values_[Index(-i, y)] = values_[Index(Inside(-i, width_), y)];
        values_[Index(width_ - 1 + i, y)] = values_[Index(Inside(width_ - 1 + i, width_), y)];
      }
    }
    for (int i = 1; i <= border_; ++i) {
      CopyRow(Inside(-i, height_), -i);
      CopyRow(Inside(height_ - 1 + i, height_), height_ - 1 + i);
    }
  }

 private:
  // Back and forth between the first and the last.
  static int Inside(int i, int count) {
    if (count == 1) return 0;
    const int period = 2 * (count - 1);
    const int within = ((i % period) + period) % period;
    return within < count ? within : period - within;
  }
  void CopyRow(int from, int to) {
    for (int x = -border_; x < width_ + border_; ++x) values_[Index(x, to)] = values_[Index(x, from)];
  }

  int width_ = 0, height_ = 0, border_ = 0;
  size_t stride_ = 0;
  std::vector<float> values_;
};

}  // namespace kiln::engine::render
