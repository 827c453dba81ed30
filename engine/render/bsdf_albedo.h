// Tables of how much of the light each kind of rough lobe sends back: what layers and the compensation for
// multiple scattering need. Computed once a process at the first use by fixed quadratures, so that every run
// has the same numbers. Any thread.
#pragma once

#include <memory>

#include "engine/render/albedo_grid.h"
#include "engine/render/fresnel.h"

namespace kiln::engine::render {

// The directional albedo of a single-scattering GGX reflection with Schlick's Fresnel is f0 * base + f90 *
// grazing.
struct GlossyAlbedo {
  float base = 1;
  float grazing = 0;
  float Total() const { return base + grazing; }
};
// Towards a direction with the cosine.
GlossyAlbedo FindGlossyAlbedo(float cosine, float alpha);
// Averaged over the hemisphere, weighted by the cosine.
GlossyAlbedo FindAverageGlossyAlbedo(float alpha);

// The same for one roughness that many directions are looked up for.
class GlossyRow {
 public:
  GlossyRow() = default;
  explicit GlossyRow(float alpha);
  GlossyAlbedo At(float cosine) const {
    if (nodes_ == nullptr) {
      const float schlick = SchlickWeight(cosine);
      return {1 - schlick, schlick};
    }
    const Place place = Locate(RootOf(cosine), kCosines);
    const GlossyAlbedo* low = nodes_ + place.low;
    const GlossyAlbedo* high = low + kRow;
    return Blend(Blend(low[0], low[1], place.t), Blend(high[0], high[1], place.t), t_);
  }
  GlossyAlbedo Average() const {
    if (nodes_ == nullptr) return {1 - kSchlickAverage, kSchlickAverage};
    return Blend(nodes_[kCosines], nodes_[kRow + kCosines], t_);
  }

  static constexpr int kCosines = 32;
  static constexpr int kRow = kCosines + 1;  // behind the cosines the average

 private:
  static GlossyAlbedo Blend(GlossyAlbedo a, GlossyAlbedo b, float t) {
    return {Mix(a.base, b.base, t), Mix(a.grazing, b.grazing, t)};
  }

  const GlossyAlbedo* nodes_ = nullptr;  // of the smoother neighbour in the table; null: a delta
  float t_ = 0;                          // where between it and the next
};

// What a rough dielectric interface reflects and refracts together, single scattering. One table serves an
// index of refraction: a material finds it when it is built and keeps it alive for its closures.
class DielectricTable {
 public:
  // The table of ior = index of the body / index outside, shared while somebody holds it. 0.1 <= ior <= 10.
  static std::shared_ptr<const DielectricTable> For(float ior);

  explicit DielectricTable(float ior);
  float ior() const { return ior_; }
  // For light that leaves with the cosine on the outside, or inside the body.
  float Albedo(float cosine, float alpha, bool inside) const;
  float AverageAlbedo(float alpha, bool inside) const;

 private:
  float ior_;
  AlbedoGrid<32, 32> sides_[2];
};

// Charlie sheen of white colour. Its published form passes 1 at grazing angles: f / max(1, norm(wo),
// norm(wi)) is what the lobe uses, `norm` being the albedo before.
float FindSheenNorm(float cosine, float roughness);
float FindSheenAlbedo(float cosine, float roughness);

}  // namespace kiln::engine::render
