// The albedo tables. The cosine axis holds square roots, because albedos bend near grazing angles; the
// roughness axis holds roughness (the root of alpha), because they bend near smoothness.
#include "engine/render/bsdf_albedo.h"

#include <array>
#include <vector>

#include "engine/render/bsdf_sheen.h"
#include "engine/render/fresnel.h"
#include "engine/render/microfacet.h"

namespace kiln::engine::render {

namespace {

constexpr float kMinCosine = 1e-4f;

// Where a coordinate in 0..1 lies between n nodes.
struct Place {
  int low;
  float t;
};
Place Locate(float x, int n) {
  const float scaled = (x > 0 ? std::min(x, 1.0f) : 0.0f) * (n - 1);
  const int low = std::min(static_cast<int>(scaled), n - 2);
  return {low, scaled - low};
}
float RootOf(float x) {
  return x > 0 ? std::sqrt(x) : 0.0f;
}
float Mix(float a, float b, float t) {
  return a + (b - a) * t;
}

// A function of cosine and roughness on a grid, with its cosine-weighted average for each roughness.
template <int kCosines, int kRoughnesses>
class Grid {
 public:
  template <class F>
  void Fill(F&& albedo) {
    for (int r = 0; r < kRoughnesses; ++r) {
      for (int c = 0; c < kCosines; ++c) {
        const float x = static_cast<float>(c) / (kCosines - 1);
        values_[r][c] = albedo(std::max(kMinCosine, x * x), static_cast<float>(r) / (kRoughnesses - 1));
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

// Calls visit(h) for facets that are spread as wo sees them, each of the same weight; half of them by
// symmetry.
template <int kRadii, int kAngles, class F>
void ForVisibleFacets(Vec3 wo, float alpha, F&& visit) {
  for (int i = 0; i < kRadii; ++i) {
    for (int j = 0; j < kAngles; ++j) {
      // Half a turn that starts at the plane of incidence, where the sampled disk has its symmetry.
      const Vec2 u{(i + 0.5f) / kRadii, 0.25f + 0.5f * (j + 0.5f) / kAngles};
      visit(SampleGgxVisible(wo, alpha, u));
    }
  }
}

Vec3 DirectionAt(float cosine) {
  return {std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine};
}

struct GlossyTables {
  Grid<32, 32> base, grazing;
  GlossyTables() {
    base.Fill([](float cosine, float roughness) { return Integrate(cosine, roughness).base; });
    grazing.Fill([](float cosine, float roughness) { return Integrate(cosine, roughness).grazing; });
  }
  static GlossyAlbedo Integrate(float cosine, float roughness) {
    constexpr int kRadii = 24;
    constexpr int kAngles = 16;
    const float alpha = std::max(kSmoothAlpha, roughness * roughness);
    const Vec3 wo = DirectionAt(cosine);
    double base = 0;
    double grazing = 0;
    ForVisibleFacets<kRadii, kAngles>(wo, alpha, [&](Vec3 h) {
      const Vec3 wi = Reflect(wo, h);
      if (wi.z <= 0) return;
      const float weight = GgxG2(wo.z, wi.z, alpha) / GgxG1(wo.z, alpha);
      const float schlick = SchlickWeight(Dot(wo, h));
      base += weight * (1 - schlick);
      grazing += weight * schlick;
    });
    constexpr double kCount = kRadii * kAngles;
    return {static_cast<float>(base / kCount), static_cast<float>(grazing / kCount)};
  }
};

const GlossyTables& Glossy() {
  static const GlossyTables tables;
  return tables;
}

// One grid for each index and each side; the indices lie closer near 1.
class DielectricTables {
 public:
  static constexpr int kIndices = 8;
  static constexpr float kMaxIndex = 3;
  using Table = Grid<16, 16>;

  DielectricTables() {
    for (int i = 0; i < kIndices; ++i) {
      const float x = static_cast<float>(i) / (kIndices - 1);
      // At exactly 1 there is no half vector; the albedo hardly changes from there to here.
      const float index = std::max(1.01f, 1 + (kMaxIndex - 1) * x * x);
      outside_[i].Fill(
          [index](float cosine, float roughness) { return Integrate(cosine, roughness, index); });
      inside_[i].Fill(
          [index](float cosine, float roughness) { return Integrate(cosine, roughness, 1 / index); });
    }
  }
  template <class F>
  float Find(float eta, F&& value) const {
    const std::vector<Table>& tables = eta >= 1 ? outside_ : inside_;
    const float index = eta >= 1 ? eta : 1 / eta;
    const Place i = Locate(RootOf((index - 1) / (kMaxIndex - 1)), kIndices);
    return Mix(value(tables[i.low]), value(tables[i.low + 1]), i.t);
  }

 private:
  static float Integrate(float cosine, float roughness, float eta) {
    if (roughness == 0) return 1;
    constexpr int kRadii = 16;
    constexpr int kAngles = 12;
    const float alpha = roughness * roughness;
    const Vec3 wo = DirectionAt(cosine);
    const float g1 = GgxG1(wo.z, alpha);
    double sum = 0;
    ForVisibleFacets<kRadii, kAngles>(wo, alpha, [&](Vec3 h) {
      const float fresnel = FresnelDielectric(Dot(wo, h), eta);
      const Vec3 reflected = Reflect(wo, h);
      if (reflected.z > 0) sum += fresnel * GgxG2(wo.z, reflected.z, alpha) / g1;
      Vec3 refracted;
      if (Refract(wo, h, eta, &refracted) && refracted.z < 0) {
        sum += (1 - fresnel) * GgxG2(wo.z, -refracted.z, alpha) / g1;
      }
    });
    return static_cast<float>(sum / (kRadii * kAngles));
  }
  std::vector<Table> outside_ = std::vector<Table>(kIndices);
  std::vector<Table> inside_ = std::vector<Table>(kIndices);
};

const DielectricTables& Dielectric() {
  static const DielectricTables tables;
  return tables;
}

float SheenAxis(float roughness) {
  return (roughness - kMinSheenRoughness) / (1 - kMinSheenRoughness);
}

struct SheenTables {
  using Table = Grid<32, 16>;
  Table norm, albedo;
  SheenTables() {
    norm.Fill(
        [](float cosine, float x) { return Integrate(cosine, RoughnessAt(x), [](float) { return 1.0f; }); });
    albedo.Fill([this](float cosine, float x) {
      const float here = norm.At(cosine, x);
      return Integrate(cosine, RoughnessAt(x), [&](float other) {
        return 1 / std::max({1.0f, here, norm.At(other, x)});
      });
    });
  }
  static float RoughnessAt(float x) { return Mix(kMinSheenRoughness, 1, x); }
  template <class F>
  static float Integrate(float cosine, float roughness, F&& factor) {
    constexpr int kCosines = 32;
    constexpr int kAngles = 32;
    const Vec3 wo = DirectionAt(cosine);
    double sum = 0;
    for (int i = 0; i < kCosines; ++i) {
      const float x = (i + 0.5f) / kCosines;
      const float sine = std::sqrt(1 - x * x * x * x);
      for (int j = 0; j < kAngles; ++j) {
        const float phi = kPi * (j + 0.5f) / kAngles;
        const Vec3 wi{sine * std::cos(phi), sine * std::sin(phi), x * x};
        sum += 2 * x * CharlieSheen(wo, wi, roughness) * factor(wi.z);
      }
    }
    return static_cast<float>(sum * 2 * kPi / (kCosines * kAngles));
  }
};

const SheenTables& Sheen() {
  static const SheenTables tables;
  return tables;
}

}  // namespace

GlossyAlbedo FindGlossyAlbedo(float cosine, float alpha) {
  if (IsSmooth(alpha)) {
    const float schlick = SchlickWeight(cosine);
    return {1 - schlick, schlick};
  }
  const float roughness = RootOf(alpha);
  return {Glossy().base.At(cosine, roughness), Glossy().grazing.At(cosine, roughness)};
}

GlossyAlbedo FindAverageGlossyAlbedo(float alpha) {
  if (IsSmooth(alpha)) return {1 - kSchlickAverage, kSchlickAverage};
  const float roughness = RootOf(alpha);
  return {Glossy().base.AverageAt(roughness), Glossy().grazing.AverageAt(roughness)};
}

float FindDielectricAlbedo(float cosine, float alpha, float eta) {
  const float roughness = RootOf(alpha);
  return Dielectric().Find(eta, [&](const auto& table) { return table.At(cosine, roughness); });
}

float FindAverageDielectricAlbedo(float alpha, float eta) {
  const float roughness = RootOf(alpha);
  return Dielectric().Find(eta, [&](const auto& table) { return table.AverageAt(roughness); });
}

float FindSheenNorm(float cosine, float roughness) {
  return Sheen().norm.At(cosine, SheenAxis(roughness));
}
float FindSheenAlbedo(float cosine, float roughness) {
  return Sheen().albedo.At(cosine, SheenAxis(roughness));
}

}  // namespace kiln::engine::render
