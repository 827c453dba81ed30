// The kinds of lobes that reflect only, and the choice between all kinds.
#include "engine/render/bsdf_lobe.h"

#include "engine/render/bsdf.h"
#include "engine/render/bsdf_albedo.h"
#include "engine/render/bsdf_dielectric.h"
#include "engine/render/bsdf_sheen.h"
#include "engine/render/fresnel.h"
#include "engine/render/microfacet.h"
#include "engine/render/sampling.h"

namespace kiln::engine::render {

namespace {

Color ScatterAgain(Color average_fresnel, float average_albedo) {
  const auto channel = [&](float f) {
    return f * f * average_albedo / std::max(1e-6f, 1 - f * (1 - average_albedo));
  };
  return {channel(average_fresnel.r), channel(average_fresnel.g), channel(average_fresnel.b)};
}

Color GlossyTotal(const BsdfLobe& lobe, GlossyAlbedo albedo) {
  return lobe.f0 * albedo.base + lobe.f90 * albedo.grazing + lobe.multiple * (1 - albedo.Total());
}

// Of the energy that single scattering loses towards wo and towards wi, what the compensation sends there.
float Compensation(const BsdfLobe& lobe, const LobeView& view, float cos_i, GlossyAlbedo towards_wi) {
  if (lobe.lost < 1e-6f) return 0;
  return view.lost * (1 - towards_wi.Total()) / (kPi * lobe.lost) * cos_i;
}

LobeValue EvaluateGlossy(const BsdfLobe& lobe, const LobeView& view, Vec3 wi, GlossyAlbedo albedo) {
  if (wi.z <= 0 || lobe.delta) return {};
  const Vec3& wo = view.wo;
  const Vec3 h = Normalize(wo + wi);
  const float d = GgxD(h, lobe.alpha) / (4 * wo.z);
  LobeValue value;
  value.f =
      FresnelSchlick(lobe.f0, lobe.f90, Dot(wo, h)) * (d / (1 + view.lambda + GgxLambda(wi.z, lobe.alpha)));
  value.f += lobe.multiple * Compensation(lobe, view, wi.z, albedo);
  value.pdf = (1 - view.multiple) * d / (1 + view.lambda) + view.multiple * kUniformHemispherePdf;
  return value;
}

bool SampleGlossy(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u, LobeSample* sample) {
  if (IsSmooth(lobe.alpha)) {
    sample->wi = {-view.wo.x, -view.wo.y, view.wo.z};
    sample->flags = kLobeSpecular | kLobeReflection;
    sample->delta = FresnelSchlick(lobe.f0, lobe.f90, view.wo.z);
    return true;
  }
  sample->flags = kLobeGlossy | kLobeReflection;
  sample->wi = u_choice < view.multiple ? SampleUniformHemisphere(u)
                                        : Reflect(view.wo, SampleGgxVisible(view.wo, lobe.alpha, u));
  return sample->wi.z > 0;
}

LobeValue EvaluateSheen(const BsdfLobe& lobe, const LobeView& view, Vec3 wi) {
  if (wi.z <= 0) return {};
  const float norm = std::max({1.0f, FindSheenNorm(view.wo.z, lobe.alpha), FindSheenNorm(wi.z, lobe.alpha)});
  return {lobe.tint * (CharlieSheen(view.wo, wi, lobe.alpha) / norm), kUniformHemispherePdf};
}

}  // namespace

float Mean(Color c) {
  return (c.r + c.g + c.b) * (1.0f / 3);
}

void FinishLobe(BsdfLobe* lobe) {
  switch (lobe->kind) {
    case LobeKind::kGlossy:
    case LobeKind::kClearcoat: {
      lobe->delta = IsSmooth(lobe->alpha);
      lobe->albedo = GlossyRow(lobe->alpha);
      const GlossyAlbedo average = lobe->albedo.Average();
      lobe->lost = 1 - average.Total();
      lobe->multiple = ScatterAgain(Lerp(lobe->f0, lobe->f90, kSchlickAverage), average.Total());
      lobe->layer_rest = 1 - MaxComponent(GlossyTotal(*lobe, average));
      break;
    }
    case LobeKind::kThinDielectric: {
      lobe->delta = IsSmooth(lobe->alpha);
      lobe->albedo = GlossyRow(lobe->alpha);
      lobe->lost = 1 - lobe->albedo.Average().Total();
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

float LayerRest(const BsdfLobe& layer, GlossyAlbedo albedo) {
  return 1 - MaxComponent(GlossyTotal(layer, albedo));
}

float MultipleScattering(const BsdfLobe& lobe, const LobeView& view, float cos_i) {
  return Compensation(lobe, view, cos_i, lobe.albedo.At(cos_i));
}

LobeView LookAtLobe(const BsdfLobe& lobe, Vec3 wo) {
  LobeView view;
  view.inside = wo.z < 0;
  view.wo = {wo.x, wo.y, std::abs(wo.z)};
  switch (lobe.kind) {
    case LobeKind::kDiffuse:
    case LobeKind::kDiffuseTransmission:
      view.albedo = lobe.tint;
      break;
    case LobeKind::kClearcoat:
    case LobeKind::kGlossy: {
      // A coat is on the outside; from within nothing is seen of it.
      if (lobe.kind == LobeKind::kClearcoat && view.inside) break;
      if (!lobe.delta) view.lambda = GgxLambda(view.wo.z, lobe.alpha);
      const GlossyAlbedo albedo = lobe.albedo.At(view.wo.z);
      view.lost = 1 - albedo.Total();
      view.albedo = GlossyTotal(lobe, albedo);
      const float total = Mean(view.albedo);
      if (total > 0 && lobe.lost >= 1e-6f) view.multiple = Mean(lobe.multiple) * view.lost / total;
      const float rest = 1 - MaxComponent(view.albedo);
      if (lobe.is_layer) view.base_rest = rest;
      if (lobe.kind == LobeKind::kClearcoat) view.rest = 1 - lobe.weight * (1 - rest);
      break;
    }
    case LobeKind::kDielectric:
      LookAtDielectric(lobe, &view);
      break;
    case LobeKind::kThinDielectric:
      LookAtThinDielectric(lobe, &view);
      break;
    case LobeKind::kSheen: {
      if (view.inside) break;
      view.albedo = lobe.tint * FindSheenAlbedo(view.wo.z, lobe.alpha);
      view.rest = std::max(0.0f, 1 - MaxComponent(view.albedo));
      break;
    }
  }
  return view;
}

LobeValue EvaluateLobe(const BsdfLobe& lobe, const LobeView& view, Vec3 wi, GlossyAlbedo albedo) {
  switch (lobe.kind) {
    case LobeKind::kDiffuse:
      return wi.z > 0 ? LobeValue{lobe.tint * (wi.z / kPi), wi.z / kPi} : LobeValue{};
    case LobeKind::kDiffuseTransmission:
      return wi.z < 0 ? LobeValue{lobe.tint * (-wi.z / kPi), -wi.z / kPi} : LobeValue{};
    case LobeKind::kGlossy:
    case LobeKind::kClearcoat:
      return EvaluateGlossy(lobe, view, wi, albedo);
    case LobeKind::kDielectric:
      return EvaluateDielectric(lobe, view, wi);
    case LobeKind::kThinDielectric:
      return EvaluateThinDielectric(lobe, view, wi);
    case LobeKind::kSheen:
      return EvaluateSheen(lobe, view, wi);
  }
  return {};
}

bool SampleLobe(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u, LobeSample* sample) {
  switch (lobe.kind) {
    case LobeKind::kDiffuse:
      sample->wi = SampleCosineHemisphere(u);
      sample->flags = kLobeDiffuse | kLobeReflection;
      return sample->wi.z > 0;
    case LobeKind::kDiffuseTransmission:
      sample->wi = SampleCosineHemisphere(u);
      sample->wi.z = -sample->wi.z;
      sample->flags = kLobeDiffuse | kLobeTransmission;
      return sample->wi.z < 0;
    case LobeKind::kGlossy:
    case LobeKind::kClearcoat:
      return SampleGlossy(lobe, view, u_choice, u, sample);
    case LobeKind::kDielectric:
      return SampleDielectric(lobe, view, u_choice, u, sample);
    case LobeKind::kThinDielectric:
      return SampleThinDielectric(lobe, view, u_choice, u, sample);
    case LobeKind::kSheen:
      sample->wi = SampleUniformHemisphere(u);
      sample->flags = kLobeGlossy | kLobeReflection;
      return sample->wi.z > 0;
  }
  return false;
}

}  // namespace kiln::engine::render
