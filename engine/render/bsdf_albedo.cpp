// The albedo tables. The cosine axis holds square roots, because albedos bend near grazing angles; the
// roughness axis holds roughness (the root of alpha), because they bend near smoothness.
#include "engine/render/bsdf_albedo.h"

#include <map>
#include <mutex>

#include "engine/render/bsdf_sheen.h"
#include "engine/render/fresnel.h"
#include "engine/render/microfacet.h"

namespace kiln::engine::render {

namespace {

// Calls visit(h) for facets that are spread as wo sees them, each of the same weight; half of them by
// symmetry. A golden-ratio lattice: a product of radii and angles would see only its few radii where the
// albedo has an edge.
template <int kCount, class F>
void ForVisibleFacets(Vec3 wo, float alpha, F&& visit) {
  double turn = 0.5;
  for (int i = 0; i < kCount; ++i) {
    // Half a turn that starts at the plane of incidence, where the sampled disk has its symmetry.
    const Vec2 u{(i + 0.5f) / kCount, 0.25f + 0.5f * static_cast<float>(turn)};
    visit(SampleGgxVisible(wo, alpha, u));
    turn += 0.6180339887498949;
    turn -= std::floor(turn);
  }
}

Vec3 DirectionAt(float cosine) {
  return {std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine};
}

// Both albedos of a node side by side, and behind the cosines of a roughness the average.
struct GlossyTables {
  static constexpr int kCosines = GlossyRow::kCosines;
  static constexpr int kRoughnesses = 32;
  static constexpr int kRow = GlossyRow::kRow;
  std::array<GlossyAlbedo, kRow * kRoughnesses> nodes;
  GlossyTables() {
    AlbedoGrid<kCosines, kRoughnesses> base;
    AlbedoGrid<kCosines, kRoughnesses> grazing;
    base.Fill([](float cosine, float roughness) { return Integrate(cosine, roughness).base; });
    grazing.Fill([](float cosine, float roughness) { return Integrate(cosine, roughness).grazing; });
    for (int r = 0; r < kRoughnesses; ++r) {
      GlossyAlbedo* row = &nodes[static_cast<size_t>(r) * kRow];
      for (int c = 0; c < kCosines; ++c) row[c] = {base.Node(c, r), grazing.Node(c, r)};
      row[kCosines] = {base.AverageNode(r), grazing.AverageNode(r)};
    }
  }
  static GlossyAlbedo Integrate(float cosine, float roughness) {
    constexpr int kCount = 384;
    const float alpha = std::max(kSmoothAlpha, roughness * roughness);
    const Vec3 wo = DirectionAt(cosine);
    double base = 0;
    double grazing = 0;
    ForVisibleFacets<kCount>(wo, alpha, [&](Vec3 h) {
      const Vec3 wi = Reflect(wo, h);
      if (wi.z <= 0) return;
      const float weight = GgxG2(wo.z, wi.z, alpha) / GgxG1(wo.z, alpha);
      const float schlick = SchlickWeight(Dot(wo, h));
      base += weight * (1 - schlick);
      grazing += weight * schlick;
    });
    return {static_cast<float>(base / kCount), static_cast<float>(grazing / kCount)};
  }
};

const GlossyTables& Glossy() {
  static const GlossyTables tables;
  return tables;
}

// eta = index beyond the interface / index where wo is.
float IntegrateDielectric(float cosine, float roughness, float eta) {
  if (roughness == 0) return 1;
  constexpr int kCount = 384;
  const float alpha = roughness * roughness;
  const Vec3 wo = DirectionAt(cosine);
  const float g1 = GgxG1(wo.z, alpha);
  double sum = 0;
  ForVisibleFacets<kCount>(wo, alpha, [&](Vec3 h) {
    const float fresnel = FresnelDielectric(Dot(wo, h), eta);
    const Vec3 reflected = Reflect(wo, h);
    if (reflected.z > 0) sum += fresnel * GgxG2(wo.z, reflected.z, alpha) / g1;
    Vec3 refracted;
    if (Refract(wo, h, eta, &refracted) && refracted.z < 0) {
      sum += (1 - fresnel) * GgxG2(wo.z, -refracted.z, alpha) / g1;
    }
  });
  return static_cast<float>(sum / kCount);
}

// The albedo changes fastest where the sheen is smoothest, so nodes lie closer there.
float SheenAxis(float roughness) {
  return RootOf((roughness - kMinSheenRoughness) / (1 - kMinSheenRoughness));
}
float SheenRoughnessAt(float x) {
  return Mix(kMinSheenRoughness, 1, x * x);
}

struct SheenTables {
  using Table = AlbedoGrid<32, 20>;
  Table norm, albedo;
  SheenTables() {
    norm.Fill([](float cosine, float x) { return Integrate(cosine, x, [](float) { return 1.0f; }); });
    albedo.Fill([this](float cosine, float x) {
      const float here = norm.At(cosine, x);
      return Integrate(cosine, x, [&](float other) { return 1 / std::max({1.0f, here, norm.At(other, x)}); });
    });
  }
  // The light towards the cosine, each direction weighted by a factor of its cosine.
  template <class F>
  static float Integrate(float cosine, float x_roughness, F&& factor) {
    constexpr int kCosines = 32;
    constexpr int kAngles = 48;
    const float roughness = SheenRoughnessAt(x_roughness);
    const float alpha = roughness * roughness;
    const Vec3 wo = DirectionAt(cosine);
    const float lambda = CharlieLambda(cosine, alpha);
    double sum = 0;
    for (int i = 0; i < kCosines; ++i) {
      const float x = (i + 0.5f) / kCosines;
      const Vec3 wi = DirectionAt(x * x);
      double ring = 0;
      for (int j = 0; j < kAngles; ++j) {
        const float phi = kPi * (j + 0.5f) / kAngles;
        const Vec3 h = Normalize(wo + Vec3{wi.x * std::cos(phi), wi.x * std::sin(phi), wi.z});
        ring += CharlieD(h.z, alpha);
      }
      const float shadowing = 1 / (1 + lambda + CharlieLambda(wi.z, alpha));
      sum += 2 * x * ring * shadowing / (4 * cosine) * factor(wi.z);
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
  return GlossyRow(alpha).At(cosine);
}

GlossyAlbedo FindAverageGlossyAlbedo(float alpha) {
  return GlossyRow(alpha).Average();
}

GlossyRow::GlossyRow(float alpha) {
  if (IsSmooth(alpha)) return;
  const Place place = Locate(RootOf(alpha), GlossyTables::kRoughnesses);
  nodes_ = &Glossy().nodes[static_cast<size_t>(place.low) * GlossyTables::kRow];
  t_ = place.t;
}

std::shared_ptr<const DielectricTable> DielectricTable::For(float ior) {
  static std::mutex mutex;
  static std::map<float, std::weak_ptr<const DielectricTable>> tables;
  const std::lock_guard lock(mutex);
  std::erase_if(tables, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<const DielectricTable>& slot = tables[ior];
  std::shared_ptr<const DielectricTable> table = slot.lock();
  if (!table) slot = table = std::make_shared<const DielectricTable>(ior);
  return table;
}

DielectricTable::DielectricTable(float ior) : ior_(ior) {
  const float eta[2] = {ior, 1 / ior};
  for (const bool inside : {false, true}) {
    sides_[inside].Fill(
        [&](float cosine, float roughness) { return IntegrateDielectric(cosine, roughness, eta[inside]); });
  }
}

float DielectricTable::Albedo(float cosine, float alpha, bool inside) const {
  return sides_[inside].At(cosine, RootOf(alpha));
}

float DielectricTable::AverageAlbedo(float alpha, bool inside) const {
  return sides_[inside].AverageAt(RootOf(alpha));
}

float FindSheenNorm(float cosine, float roughness) {
  return Sheen().norm.At(cosine, SheenAxis(roughness));
}
float FindSheenAlbedo(float cosine, float roughness) {
  return Sheen().albedo.At(cosine, SheenAxis(roughness));
}

}  // namespace kiln::engine::render
