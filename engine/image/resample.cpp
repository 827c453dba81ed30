// Scaling images: a separable filter, one axis at a time.
//
// The filter is that of Mitchell and Netravali ("Reconstruction Filters in Computer Graphics", 1988, B = C =
// 1/3), widened by the ratio when scaling down. A result is held within the range of the pixels under the
// filter: its negative lobes would otherwise draw dark rings round every lamp.
#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "engine/image/operations.h"
#include "engine/image/transfer.h"

namespace kiln::engine::image {
namespace {

double Mitchell(double x) {
  constexpr double kB = 1.0 / 3;
  constexpr double kC = 1.0 / 3;
  x = std::fabs(x);
  if (x < 1) return ((12 - 9 * kB - 6 * kC) * x * x * x + (-18 + 12 * kB + 6 * kC) * x * x + 6 - 2 * kB) / 6;
  if (x < 2) {
    return ((-kB - 6 * kC) * x * x * x + (6 * kB + 30 * kC) * x * x + (-12 * kB - 48 * kC) * x + 8 * kB +
            24 * kC) /
           6;
  }
  return 0;
}

// Which source samples make each destination sample of one axis.
struct Axis {
  struct Window {
    int first;  // source sample
    int count;
    size_t weight;  // index of the first weight
  };
  std::vector<Window> windows;
  std::vector<float> weights;
  bool identity = false;
};

// A span of one axis: samples begin..end may be read, `extent` of them from `origin` on become `size` new
// ones.
struct Span {
  int begin, end;
  double origin, extent;
  int size;
};

// Samples beyond the edge are those inside, mirrored: the mean stays, and nothing dark creeps in.
int64_t Mirrored(int64_t index, int64_t begin, int64_t end) {
  const int64_t period = 2 * (end - begin);
  int64_t offset = (index - begin) % period;
  if (offset < 0) offset += period;
  return begin + (offset < end - begin ? offset : period - 1 - offset);
}

Axis MakeAxis(const Span& span) {
  Axis axis;
  const double ratio = span.extent / span.size;
  axis.identity = ratio == 1 && span.origin == std::floor(span.origin);
  const double widening = std::max(1.0, ratio);
  std::vector<double> sums;
  axis.windows.reserve(static_cast<size_t>(span.size));
  for (int i = 0; i < span.size; ++i) {
    if (axis.identity) {
      axis.windows.push_back({static_cast<int>(span.origin) + i, 1, axis.weights.size()});
      axis.weights.push_back(1);
      continue;
    }
    const double center = span.origin + (i + 0.5) * ratio;
    const auto low = static_cast<int64_t>(std::ceil(center - 2 * widening - 0.5));
    const auto high = static_cast<int64_t>(std::floor(center + 2 * widening - 0.5));
    const int64_t first = std::clamp<int64_t>(low, span.begin, span.end - 1);
    const int64_t last = std::clamp<int64_t>(high, span.begin, span.end - 1);
    sums.assign(static_cast<size_t>(last - first + 1), 0.0);
    double total = 0;
    for (int64_t s = low; s <= high; ++s) {
      const double weight = Mitchell((static_cast<double>(s) + 0.5 - center) / widening);
      const int64_t inside = std::clamp(Mirrored(s, span.begin, span.end), first, last);
      sums[static_cast<size_t>(inside - first)] += weight;
      total += weight;
    }
    axis.windows.push_back({static_cast<int>(first), static_cast<int>(sums.size()), axis.weights.size()});
    for (const double sum : sums) axis.weights.push_back(static_cast<float>(sum / total));
  }
  return axis;
}

// One source row in linear light and premultiplied, x from `begin` on.
void LoadRow(const Image& source, int y, int begin, int end, float* row) {
  const float* from = source.row(y) + size_t{4} * begin;
  for (int x = begin; x < end; ++x, from += 4, row += 4) {
    const float alpha = std::isfinite(from[3]) ? from[3] : 0;
    for (int c = 0; c < 3; ++c) {
      float v = std::isfinite(from[c]) ? ToLinear(from[c], source.gamma) : 0;
      if (source.straight_alpha) v *= alpha;
      row[c] = v;
    }
    row[3] = alpha;
  }
}

void StoreRow(const float* row, int y, Image& result) {
  float* to = result.row(y);
  for (int x = 0; x < result.width; ++x, row += 4, to += 4) {
    const float alpha = row[3];
    const float divisor = result.straight_alpha && alpha > 0 ? alpha : 1;
    for (int c = 0; c < 3; ++c) to[c] = FromLinear(row[c] / divisor, result.gamma);
    to[3] = alpha;
  }
}

void FilterAcross(const float* row, int begin, const Axis& axis, float* out) {
  for (const Axis::Window& window : axis.windows) {
    const float* pixel = row + size_t{4} * (window.first - begin);
    const float* weight = axis.weights.data() + window.weight;
    float sum[4] = {}, low[4], high[4];
    std::copy_n(pixel, 4, low);
    std::copy_n(pixel, 4, high);
    for (int i = 0; i < window.count; ++i, pixel += 4) {
      for (int c = 0; c < 4; ++c) {
        sum[c] += weight[i] * pixel[c];
        low[c] = std::min(low[c], pixel[c]);
        high[c] = std::max(high[c], pixel[c]);
      }
    }
    for (int c = 0; c < 4; ++c) *out++ = std::clamp(sum[c], low[c], high[c]);
  }
}

// Filters down the columns as the rows come in; only the rows under one window are kept.
class RowRing {
 public:
  RowRing(size_t rows, size_t row_floats) : rows_(rows), row_floats_(row_floats), data_(rows * row_floats) {}
  float* Row(int y) { return data_.data() + static_cast<size_t>(y) % rows_ * row_floats_; }

 private:
  size_t rows_, row_floats_;
  std::vector<float> data_;
};

void FilterDown(RowRing& ring, const Axis& axis, const Axis::Window& window, std::vector<float>& out,
                std::vector<float>& low, std::vector<float>& high) {
  const float* first = ring.Row(window.first);
  const size_t count = out.size();
  std::fill(out.begin(), out.end(), 0.0f);
  std::copy_n(first, count, low.begin());
  std::copy_n(first, count, high.begin());
  for (int i = 0; i < window.count; ++i) {
    const float* row = ring.Row(window.first + i);
    const float weight = axis.weights[window.weight + static_cast<size_t>(i)];
    for (size_t c = 0; c < count; ++c) {
      out[c] += weight * row[c];
      low[c] = std::min(low[c], row[c]);
      high[c] = std::max(high[c], row[c]);
    }
  }
  for (size_t c = 0; c < count; ++c) out[c] = std::clamp(out[c], low[c], high[c]);
}

ImagePtr Filtered(const Image& source, const Span& across, const Span& down) {
  ImagePtr result(CreateUnfilled(across.size, down.size));
  if (!result) return nullptr;
  result->gamma = source.gamma;
  result->straight_alpha = source.straight_alpha;

  const Axis x_axis = MakeAxis(across);
  const Axis y_axis = MakeAxis(down);
  int tallest = 1;
  for (const auto& window : y_axis.windows) tallest = std::max(tallest, window.count);
  if (int64_t{tallest} * across.size > kMaxPixels) return nullptr;

  const size_t row_floats = static_cast<size_t>(across.size) * 4;
  RowRing ring(static_cast<size_t>(tallest), row_floats);
  std::vector<float> loaded(static_cast<size_t>(across.end - across.begin) * 4);
  std::vector<float> out(row_floats), low(row_floats), high(row_floats);
  int next = y_axis.windows.front().first;
  for (int y = 0; y < down.size; ++y) {
    const Axis::Window& window = y_axis.windows[static_cast<size_t>(y)];
    for (next = std::max(next, window.first); next < window.first + window.count; ++next) {
      LoadRow(source, next, across.begin, across.end, loaded.data());
      FilterAcross(loaded.data(), across.begin, x_axis, ring.Row(next));
    }
    FilterDown(ring, y_axis, window, out, low, high);
    StoreRow(out.data(), y, *result);
  }
  return result;
}

bool ValidTarget(int64_t width, int64_t height) {
  return width >= 1 && width <= kMaxSide && height >= 1 && height <= kMaxSide;
}

Image* Resample(const Image& source, const Span& across, const Span& down) noexcept try {
  if (!ValidTarget(across.size, down.size)) return nullptr;
  return Filtered(source, across, down).release();
} catch (const std::bad_alloc&) {
  return nullptr;
}

// a * b / c to the nearest, at least 1.
int64_t Proportion(int64_t a, int64_t b, int64_t c) {
  return std::max<int64_t>(1, (2 * a * b + c) / (2 * c));
}

// Whether the width of the target is what limits a picture that keeps the source's aspect.
bool WidthLimits(const Image& source, int64_t width, int64_t height) {
  return width * source.height <= height * source.width;
}

Image* ScaleTo(const Image& source, int64_t width, int64_t height) noexcept {
  if (!ValidTarget(width, height)) return nullptr;
  return Downscale(source, static_cast<int>(width), static_cast<int>(height));
}

}  // namespace

Image* Downscale(const Image& source, int width, int height) noexcept {
  return CropDownscale(source, 0, 0, source.width, source.height, width, height);
}

Image* FitIn(const Image& source, int width, int height) noexcept {
  if (!ValidTarget(width, height)) return nullptr;
  if (WidthLimits(source, width, height)) {
    return ScaleTo(source, width, std::min<int64_t>(height, Proportion(source.height, width, source.width)));
  }
  return ScaleTo(source, std::min<int64_t>(width, Proportion(source.width, height, source.height)), height);
}

Image* FitOut(const Image& source, int width, int height) noexcept {
  if (!ValidTarget(width, height)) return nullptr;
  if (WidthLimits(source, width, height)) {
    return ScaleTo(source, std::max<int64_t>(width, Proportion(source.width, height, source.height)), height);
  }
  return ScaleTo(source, width, std::max<int64_t>(height, Proportion(source.height, width, source.width)));
}

Image* CutIn(const Image& source, int width, int height) noexcept {
  if (!ValidTarget(width, height)) return nullptr;
  if (width == source.width && height == source.height) return Clone(source);
  // The part of the source that has the target's aspect, from the middle.
  double part_width = source.width;
  double part_height = source.height;
  if (WidthLimits(source, width, height)) {
    part_width = static_cast<double>(width) * source.height / height;
  } else {
    part_height = static_cast<double>(height) * source.width / width;
  }
  const Span across{0, source.width, (source.width - part_width) / 2, part_width, width};
  const Span down{0, source.height, (source.height - part_height) / 2, part_height, height};
  return Resample(source, across, down);
}

Image* CropDownscale(const Image& source, int x, int y, int source_width, int source_height, int width,
                     int height) noexcept {
  if (x < 0 || y < 0 || source_width < 1 || source_height < 1) return nullptr;
  if (int64_t{x} + source_width > source.width || int64_t{y} + source_height > source.height) return nullptr;
  if (width == source_width && height == source_height) return Crop(source, x, y, width, height);
  const Span across{x, x + source_width, static_cast<double>(x), static_cast<double>(source_width), width};
  const Span down{y, y + source_height, static_cast<double>(y), static_cast<double>(source_height), height};
  return Resample(source, across, down);
}

}  // namespace kiln::engine::image
