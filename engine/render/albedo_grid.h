// A table over cosine and roughness. The cosine axis holds square roots, because albedos bend near grazing
// angles; the roughness axis is the table's own.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

namespace kiln::engine::render {

inline constexpr float kMinTableCosine = 1e-4f;

// Where a coordinate in 0..1 lies between n nodes.
struct Place {
  int low;
  float t;
};
inline Place Locate(float x, int n) {
  const float scaled = (x > 0 ? std::min(x, 1.0f) : 0.0f) * (n - 1);
  const int low = std::min(static_cast<int>(scaled), n - 2);
  return {low, scaled - low};
}
inline float RootOf(float x) {
  return x > 0 ? std::sqrt(x) : 0.0f;
}
inline float Mix(float a, float b, float t) {
  return a + (b - a) * t;
}

// A function of cosine and roughness on a grid, with its cosine-weighted average for each roughness.
template <int kCosines, int kRoughnesses>
class AlbedoGrid {
 public:
  template <class F>
  void Fill(F&& albedo) {
    for (int r = 0; r < kRoughnesses; ++r) {
      for (int c = 0; c < kCosines; ++c) {
        const float x = static_cast<float>(c) / (kCosines - 1);
        values_[r][c] = albedo(std::max(kMinTableCosine, x * x), static_cast<float>(r) / (kRoughnesses - 1));
      }
      averages_[r] = Average(values_[r]);
    }
  }
  float At(float cosine, float x_roughness) const {
    const Place r = Locate(x_roughness, kRoughnesses);
    const Place c = Locate(RootOf(cosine), kCosines);
    const auto row = [&](int i) { return Mix(values_[i][c.low], values_[i][c.low + 1], c.t); };
    return Mix(row(r.low), row(r.low + 1), r.t);
  }
  float Node(int cosine, int roughness) const { return values_[roughness][cosine]; }
  float AverageNode(int roughness) const { return averages_[roughness]; }
  float AverageAt(float x_roughness) const {
    const Place r = Locate(x_roughness, kRoughnesses);
    return Mix(averages_[r.low], averages_[r.low + 1], r.t);
  }

 private:
  using Row = std::array<float, kCosines>;
  // 2 * integral of f(mu) mu dmu with mu = x^2, over the interpolated row: what is looked up adds up exactly.
  static float Average(const Row& row) {
    constexpr int kSteps = 1024;
    double sum = 0;
    for (int i = 0; i < kSteps; ++i) {
      const float x = (i + 0.5f) / kSteps;
      const Place c = Locate(x, kCosines);
      sum += 4.0 * x * x * x * Mix(row[c.low], row[c.low + 1], c.t);
    }
    return static_cast<float>(sum / kSteps);
  }
  std::array<Row, kRoughnesses> values_{};
  std::array<float, kRoughnesses> averages_{};
};

}  // namespace kiln::engine::render
