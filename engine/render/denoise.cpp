// Joint non-local means in tiles.
#include "engine/render/denoise.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "engine/render/plane.h"
#include "engine/render/threads.h"

namespace kiln::engine::render {
namespace {

constexpr int kSearch = 8;  // neighbours on each side
constexpr int kPatch = 3;   // of a pixel's surroundings, on each side
constexpr int kBorder = kSearch + kPatch;
constexpr int kTile = 32;

// How much two colours may differ, in their own standard errors, before they count as different.
constexpr float kColorSpread = 0.5f;
// The least squared differences of guides that tell surfaces apart.
constexpr float kNormalSpread = 0.02f;
constexpr float kAlbedoSpread = 0.02f;
// What light is divided by where a surface is black.
constexpr float kDarkest = 0.02f;

// Everything that the filter reads, with a border of mirrored pixels.
struct Planes {
  std::array<Plane, 3> light, variance, albedo, normal;
  Plane albedo_bend, normal_bend;  // squared change to the next pixel: an edge inside a pixel is none
  bool has_albedo = false, has_normal = false;
};

float SquaredDifference(const std::array<Plane, 3>& planes, size_t a, size_t b) {
  float sum = 0;
  for (const Plane& plane : planes) {
    const float d = plane.data()[a] - plane.data()[b];
    sum += d * d;
  }
  return sum;
}

// The smaller of the changes to both sides, so that beside an edge it is the surface's own.
Plane BendOf(const std::array<Plane, 3>& guide) {
  const Plane& shape = guide[0];
  Plane bend(shape.width(), shape.height(), kBorder);
  for (int y = 0; y < shape.height(); ++y) {
    for (int x = 0; x < shape.width(); ++x) {
      const size_t p = shape.Index(x, y);
      const size_t row = shape.stride();
      bend.data()[p] = std::min(SquaredDifference(guide, p, p - 1), SquaredDifference(guide, p, p + 1)) +
                       std::min(SquaredDifference(guide, p, p - row), SquaredDifference(guide, p, p + row));
    }
  }
  bend.Mirror();
  return bend;
}

float Reflectance(const NoisyPicture& picture, size_t i) {
  return picture.albedo.empty() ? 1.0f : std::max(kDarkest, picture.albedo[i]);
}

Planes MakePlanes(const NoisyPicture& picture) {
  Planes planes;
  const auto make = [&](std::array<Plane, 3>* to, auto value) {
    for (size_t c = 0; c < 3; ++c) {
      Plane plane(picture.width, picture.height, kBorder);
      for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
          plane.data()[plane.Index(x, y)] = value(static_cast<size_t>(y) * picture.width + x, c);
        }
      }
      plane.Mirror();
      (*to)[c] = std::move(plane);
    }
  };
  make(&planes.light,
       [&](size_t i, size_t c) { return picture.rgba[4 * i + c] / Reflectance(picture, 3 * i + c); });
  make(&planes.variance, [&](size_t i, size_t c) {
    const float reflectance = Reflectance(picture, 3 * i + c);
    return picture.variance[3 * i + c] / (reflectance * reflectance);
  });
  if (!picture.albedo.empty()) {
    planes.has_albedo = true;
    make(&planes.albedo, [&](size_t i, size_t c) { return picture.albedo[3 * i + c]; });
    planes.albedo_bend = BendOf(planes.albedo);
  }
  if (!picture.normal.empty()) {
    planes.has_normal = true;
    make(&planes.normal, [&](size_t i, size_t c) { return picture.normal[3 * i + c]; });
    planes.normal_bend = BendOf(planes.normal);
  }
  return planes;
}

// Falls smoothly from 1 to 0 as a distance grows from 0 to 4: close to exp(-d), and the same everywhere.
float WeightOf(float distance) {
  const float rest = std::max(0.0f, 1 - 0.25f * distance);
  const float square = rest * rest;
  return square * square;
}

// Filters a tile; the buffers belong to one worker.
class TileFilter {
 public:
  explicit TileFilter(const Planes& planes) : planes_(planes) {}

  // Sums of light and of weights for the tile's pixels, into `light` (three planes) and `weights`.
  void Run(int left, int top, int width, int height);
  Color At(int x, int y) const {
    const size_t i = static_cast<size_t>(y) * kTile + x;
    return Color{light_[0][i], light_[1][i], light_[2][i]} / weights_[i];
  }

 private:
  static constexpr int kWide = kTile + 2 * kPatch;

  void Compare(int left, int top, int width, int height, ptrdiff_t shift);
  void SumPatches(int width, int height);
  void Gather(int left, int top, int width, int height, ptrdiff_t shift);

  const Planes& planes_;
  std::array<float, size_t{kWide} * kWide> distance_{};
  std::array<float, size_t{kWide} * kWide> rows_{};
  std::array<std::array<float, size_t{kTile} * kTile>, 3> light_{};
  std::array<float, size_t{kTile} * kTile> weights_{};
};

// Squared differences of colour beyond what the variances explain, of the tile and a patch around it.
void TileFilter::Compare(int left, int top, int width, int height, ptrdiff_t shift) {
  constexpr float kScale = 1 / (kColorSpread * kColorSpread);
  constexpr float kTiny = 1e-10f;
  for (int y = -kPatch; y < height + kPatch; ++y) {
    float* out = &distance_[static_cast<size_t>(y + kPatch) * kWide];
    std::fill(out, out + width + 2 * kPatch, 0.0f);
    const size_t row = planes_.light[0].Index(left - kPatch, top + y);
    for (size_t c = 0; c < 3; ++c) {
      const float* p = planes_.light[c].data() + row;
      const float* v = planes_.variance[c].data() + row;
      for (int x = 0; x < width + 2 * kPatch; ++x) {
        const float difference = p[x] - p[x + shift];
        const float both = v[x] + v[x + shift];
        const float expected = v[x] + std::min(v[x], v[x + shift]);
        out[x] += (difference * difference - expected) * kScale / (kTiny + both);
      }
    }
  }
}

// Means over patches: first along the rows, then down the columns.
void TileFilter::SumPatches(int width, int height) {
  constexpr float kMean = 1.0f / (3 * (2 * kPatch + 1) * (2 * kPatch + 1));
  for (int y = 0; y < height + 2 * kPatch; ++y) {
    const float* in = &distance_[static_cast<size_t>(y) * kWide];
    float* out = &rows_[static_cast<size_t>(y) * kWide];
    for (int x = 0; x < width; ++x) {
      float sum = 0;
      for (int i = 0; i <= 2 * kPatch; ++i) sum += in[x + i];
      out[x] = sum;
    }
  }
  for (int y = 0; y < height; ++y) {
    float* out = &distance_[static_cast<size_t>(y) * kWide];
    for (int x = 0; x < width; ++x) {
      float sum = 0;
      for (int i = 0; i <= 2 * kPatch; ++i) sum += rows_[static_cast<size_t>(y + i) * kWide + x];
      out[x] = std::max(0.0f, sum * kMean);
    }
  }
}

void TileFilter::Gather(int left, int top, int width, int height, ptrdiff_t shift) {
  for (int y = 0; y < height; ++y) {
    const size_t row = planes_.light[0].Index(left, top + y);
    const float* color_distance = &distance_[static_cast<size_t>(y) * kWide];
    for (int x = 0; x < width; ++x) {
      const size_t p = row + static_cast<size_t>(x);
      const size_t q = p + static_cast<size_t>(shift);
      float distance = color_distance[x];
      if (planes_.has_normal) {
        const float spread = kNormalSpread + planes_.normal_bend.data()[p];
        distance = std::max(distance, SquaredDifference(planes_.normal, p, q) / spread);
      }
      if (planes_.has_albedo) {
        const float spread = kAlbedoSpread + planes_.albedo_bend.data()[p];
        distance = std::max(distance, SquaredDifference(planes_.albedo, p, q) / spread);
      }
      const float weight = WeightOf(distance);
      const size_t i = static_cast<size_t>(y) * kTile + static_cast<size_t>(x);
      for (size_t c = 0; c < 3; ++c) light_[c][i] += weight * planes_.light[c].data()[q];
      weights_[i] += weight;
    }
  }
}

void TileFilter::Run(int left, int top, int width, int height) {
  for (auto& plane : light_) plane.fill(0);
  weights_.fill(0);
  const auto stride = static_cast<ptrdiff_t>(planes_.light[0].stride());
  for (int dy = -kSearch; dy <= kSearch; ++dy) {
    for (int dx = -kSearch; dx <= kSearch; ++dx) {
      const ptrdiff_t shift = dy * stride + dx;
      Compare(left, top, width, height, shift);
      SumPatches(width, height);
      Gather(left, top, width, height, shift);
    }
  }
}

}  // namespace

bool Denoise(const NoisyPicture& picture, float strength, int threads, const std::atomic<bool>& interrupt,
             float* rgba) {
  const Planes planes = MakePlanes(picture);
  const int columns = (picture.width + kTile - 1) / kTile;
  const int tiles = columns * ((picture.height + kTile - 1) / kTile);
  const float blend = strength > 0 ? std::min(strength, 1.0f) : 0.0f;
  std::atomic<int> next{0};
  RunWorkers(WorkerCount(threads), [&](int) {
    const auto filter = std::make_unique<TileFilter>(planes);
    for (int tile = next++; tile < tiles && !interrupt; tile = next++) {
      const int left = tile % columns * kTile;
      const int top = tile / columns * kTile;
      const int width = std::min(kTile, picture.width - left);
      const int height = std::min(kTile, picture.height - top);
      filter->Run(left, top, width, height);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const size_t i = static_cast<size_t>(top + y) * picture.width + left + x;
          const Color light = filter->At(x, y);
          const float filtered[3] = {light.r, light.g, light.b};
          for (size_t c = 0; c < 3; ++c) {
            const float noisy = picture.rgba[4 * i + c];
            rgba[4 * i + c] = noisy + (filtered[c] * Reflectance(picture, 3 * i + c) - noisy) * blend;
          }
          rgba[4 * i + 3] = picture.rgba[4 * i + 3];
        }
      }
    }
  });
  return !interrupt;
}

}  // namespace kiln::engine::render
