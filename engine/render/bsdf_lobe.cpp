// What lobes prepare, and the sheen.
#include "engine/render/bsdf_lobe.h"

#include "engine/render/bsdf_dielectric.h"
#include "engine/render/bsdf_glossy.h"
#include "engine/render/bsdf_sheen.h"

namespace kiln::engine::render {

namespace {

Color ScatterAgain(Color average_fresnel, float average_albedo) {
  const auto channel = [&](float f) {
    return f * f * average_albedo / std::max(1e-6f, 1 - f * (1 - average_albedo));
  };
  return {channel(average_fresnel.r), channel(average_fresnel.g), channel(average_fresnel.b)};
}

float AgainScale(float lost) {
  return lost < 1e-6f ? 0 : 1 / (kPi * lost);
}

}  // namespace

void FinishLobe(BsdfLobe* lobe) {
  switch (lobe->kind) {
    case LobeKind::kGlossy:
    case LobeKind::kClearcoat: {
      lobe->delta = IsSmooth(lobe->alpha);
      lobe->albedo = GlossyRow(lobe->alpha);
      const GlossyAlbedo average = lobe->albedo.Average();
      lobe->lost = 1 - average.Total();
      lobe->again_scale = AgainScale(lobe->lost);
      lobe->multiple = ScatterAgain(Lerp(lobe->f0, lobe->f90, kSchlickAverage), average.Total());
      lobe->layer_scale = 1 / std::max(1e-6f, LayerRest(*lobe, average));
      break;
    }
    case LobeKind::kThinDielectric: {
      lobe->delta = IsSmooth(lobe->alpha);
      lobe->albedo = GlossyRow(lobe->alpha);
      lobe->lost = 1 - lobe->albedo.Average().Total();
      lobe->again_scale = AgainScale(lobe->lost);
      lobe->multiple = Lerp(lobe->f0, lobe->f90, kSchlickAverage);
      lobe->multiple_pass = lobe->tint * (1 - MaxComponent(lobe->multiple));
      break;
    }
    case LobeKind::kDielectric:
      lobe->delta = IsSmoothDielectric(*lobe);
      break;
    default:
      break;
  }
}

void LookAtSheen(const BsdfLobe& lobe, LobeView* view) {
  if (view->inside) return;
  view->albedo = lobe.tint * FindSheenAlbedo(view->wo.z, lobe.alpha);
  view->rest = std::max(0.0f, 1 - MaxComponent(view->albedo));
}

LobeValue EvaluateSheen(const BsdfLobe& lobe, const LobeView& view, Vec3 wi) {
  if (wi.z <= 0) return {};
  const float norm = std::max({1.0f, FindSheenNorm(view.wo.z, lobe.alpha), FindSheenNorm(wi.z, lobe.alpha)});
  return {lobe.tint * (CharlieSheen(view.wo, wi, lobe.alpha) / norm), kUniformHemispherePdf};
}

}  // namespace kiln::engine::render
