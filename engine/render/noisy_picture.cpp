// What a denoiser needs of a film, above all how noisy each pixel is.
#include <algorithm>
#include <cmath>

#include "engine/render/denoise.h"
#include "engine/render/plane.h"

namespace kiln::engine::render {
namespace {

// Means over squares of 2 * radius + 1 pixels, the picture mirrored at its edges.
Plane BoxMean(const Plane& in, int radius) {
  Plane rows(in.width(), in.height(), radius);
  Plane out(in.width(), in.height(), radius);
  const float scale = 1.0f / static_cast<float>((2 * radius + 1) * (2 * radius + 1));
  const auto row = static_cast<ptrdiff_t>(rows.stride());
  for (int y = 0; y < in.height(); ++y) {
    for (int x = 0; x < in.width(); ++x) {
      const float* p = in.data() + in.Index(x, y);
      float sum = 0;
      for (int i = -radius; i <= radius; ++i) sum += p[i];
      rows.data()[rows.Index(x, y)] = sum;
    }
  }
  rows.Mirror();
  for (int y = 0; y < in.height(); ++y) {
    for (int x = 0; x < in.width(); ++x) {
      const float* p = rows.data() + rows.Index(x, y);
      float sum = 0;
      for (ptrdiff_t i = -radius; i <= radius; ++i) sum += p[i * row];
      out.data()[out.Index(x, y)] = sum * scale;
    }
  }
  out.Mirror();
  return out;
}

constexpr int kRadius = 3;

// By how much the smoothed differences of two half pictures exceed or fall short of the variance that
// independent samples would have: those of a pixel are spread more evenly than that.
void CorrectByHalves(const Plane& halves, Plane* variance) {
  const Plane seen = BoxMean(halves, kRadius);
  const Plane thought = BoxMean(*variance, kRadius);
  for (int y = 0; y < variance->height(); ++y) {
    for (int x = 0; x < variance->width(); ++x) {
      const size_t i = variance->Index(x, y);
      const float from = thought.data()[thought.Index(x, y)];
      const float ratio = from > 0 ? seen.data()[seen.Index(x, y)] / from : 0;
      variance->data()[i] *= std::clamp(ratio, 0.02f, 1.0f);
    }
  }
  variance->Mirror();
}

// Of one colour, from the squares and the half pictures.
Plane VarianceOf(const NoisyPicture& picture, const std::vector<float>& squares,
                 const std::vector<float>& odd, const std::vector<uint32_t>& samples, size_t c) {
  Plane variance(picture.width, picture.height, kRadius);
  Plane halves(picture.width, picture.height, kRadius);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const size_t i = static_cast<size_t>(y) * picture.width + x;
      const size_t at = variance.Index(x, y);
      const auto n = static_cast<float>(samples[i]);
      const float mean = picture.rgba[4 * i + c];
      if (samples[i] < 2) {
        // One sample says nothing of its error; it may be as wrong as it is large.
        variance.data()[at] = halves.data()[at] = mean * mean;
        continue;
      }
      variance.data()[at] = std::max(0.0f, squares[3 * i + c] - mean * mean) / (n - 1);
      const uint32_t odd_samples = samples[i] / 2;
      const auto odd_count = static_cast<float>(odd_samples);
      const float odd_mean = odd[3 * i + c] * n / odd_count;
      const float even_mean = (mean - odd[3 * i + c]) * n / (n - odd_count);
      halves.data()[at] = (odd_mean - even_mean) * (odd_mean - even_mean) / 4;
    }
  }
  variance.Mirror();
  halves.Mirror();
  CorrectByHalves(halves, &variance);
  return BoxMean(variance, 1);
}

// From the picture alone: what a filter that is blind to slopes leaves of it (Immerkaer 1996, "Fast Noise
// Variance Estimation"), smoothed.
Plane SpatialVariance(const NoisyPicture& picture, size_t c) {
  Plane in(picture.width, picture.height, 1);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      in.data()[in.Index(x, y)] = picture.rgba[4 * (static_cast<size_t>(y) * picture.width + x) + c];
    }
  }
  in.Mirror();
  Plane out(picture.width, picture.height, kRadius);
  const auto row = static_cast<ptrdiff_t>(in.stride());
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const float* p = in.data() + in.Index(x, y);
      const float rest = p[-row - 1] + p[-row + 1] + p[row - 1] + p[row + 1] -
                         2 * (p[-row] + p[row] + p[-1] + p[1]) + 4 * p[0];
      out.data()[out.Index(x, y)] = rest * rest / 36;
    }
  }
  out.Mirror();
  return BoxMean(out, kRadius);
}

}  // namespace

std::optional<NoisyPicture> ReadNoisyPicture(const Film& film) {
  NoisyPicture picture;
  picture.width = film.width();
  picture.height = film.height();
  const Bucket whole{0, 0, picture.width, picture.height};
  const size_t count = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
  picture.rgba.resize(4 * count);
  if (!film.ReadBeauty(whole, picture.rgba.data())) return std::nullopt;
  std::vector<uint32_t> samples(count);
  film.ReadSampleCounts(whole, samples.data());
  const auto read = [&](Layer layer) {
    std::vector<float> values(3 * count);
    if (!film.ReadMeans(layer, whole, values.data())) values.clear();
    return values;
  };
  picture.albedo = read(Layer::kAlbedo);
  picture.normal = read(Layer::kNormal);
  const std::vector<float> squares = read(Layer::kSquares);
  const std::vector<float> odd = read(Layer::kHalf);
  picture.variance.resize(3 * count);
  for (size_t c = 0; c < 3; ++c) {
    const bool kept = !squares.empty() && !odd.empty();
    const Plane variance = kept ? VarianceOf(picture, squares, odd, samples, c) : SpatialVariance(picture, c);
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        picture.variance[3 * (static_cast<size_t>(y) * picture.width + x) + c] =
            variance.data()[variance.Index(x, y)];
      }
    }
  }
  return picture;
}

}  // namespace kiln::engine::render
