// The GGX reflection of metals, specular layers and coats. Part of bsdf_lobe, whose conventions hold; inline,
// because nearly every query of a closure comes here.
#pragma once

#include "engine/render/bsdf.h"
#include "engine/render/bsdf_lobe.h"
#include "engine/render/fresnel.h"
#include "engine/render/microfacet.h"

namespace kiln::engine::render {

inline Color GlossyTotal(const BsdfLobe& lobe, GlossyAlbedo albedo) {
  return lobe.f0 * albedo.base + lobe.f90 * albedo.grazing + lobe.multiple * (1 - albedo.Total());
}

// What a specular layer of the albedo leaves to the diffuse lobes below it.
inline float LayerRest(const BsdfLobe& layer, GlossyAlbedo albedo) {
  return 1 - MaxComponent(GlossyTotal(layer, albedo));
}

// Of the energy that single scattering loses towards wo and towards wi, what the compensation sends there
// (Kulla and Conty 2017, "Revisiting Physically Based Shading at Imageworks"), times the cosine. It is
// sampled uniformly: the loss of smooth surfaces is all at grazing angles, where a density with the cosine
// would make fireflies.
inline float Compensation(const BsdfLobe& lobe, const LobeView& view, float cos_i, GlossyAlbedo towards_wi) {
  return view.lost * (1 - towards_wi.Total()) * lobe.again_scale * cos_i;
}

inline void LookAtGlossy(const BsdfLobe& lobe, LobeView* view) {
  // A coat is on the outside; from within nothing is seen of it.
  if (lobe.kind == LobeKind::kClearcoat && view->inside) return;
  if (!lobe.delta) {
    view->lambda = GgxLambda(view->wo.z, lobe.alpha);
    view->masking = 1 / (1 + view->lambda);
  }
  const GlossyAlbedo albedo = lobe.albedo.At(view->wo.z);
  view->lost = 1 - albedo.Total();
  view->albedo = GlossyTotal(lobe, albedo);
  const float total = Mean(view->albedo);
  if (total > 0 && lobe.again_scale > 0) view->multiple = Mean(lobe.multiple) * view->lost / total;
  const float rest = 1 - MaxComponent(view->albedo);
  if (lobe.is_layer) view->base_rest = rest;
  if (lobe.kind == LobeKind::kClearcoat) view->rest = 1 - lobe.weight * (1 - rest);
}

// Written without the unit half vector h: of h = wo + wi as it is, the squared length is twice its projection
// on wo, and the density of facets and Smith's shadowing need one division each.
inline LobeValue EvaluateGlossy(const BsdfLobe& lobe, const LobeView& view, Vec3 wi, GlossyAlbedo albedo) {
  if (wi.z <= 0 || lobe.delta) return {};
  const Vec3 h = view.wo + wi;
  const float a2 = lobe.alpha * lobe.alpha;
  const float length2 = Dot(h, h);
  const float e = h.x * h.x + h.y * h.y + a2 * (h.z * h.z);
  const float d = a2 * (length2 * length2) / (4 * kPi * view.wo.z * (e * e));
  const float slope = std::sqrt(wi.z * wi.z + a2 * std::max(0.0f, 1 - wi.z * wi.z));
  const float shadowing = wi.z / ((0.5f + view.lambda) * wi.z + 0.5f * slope);
  LobeValue value;
  value.f = FresnelSchlick(lobe.f0, lobe.f90, 0.5f * std::sqrt(length2)) * (d * shadowing);
  value.f += lobe.multiple * Compensation(lobe, view, wi.z, albedo);
  value.pdf = (1 - view.multiple) * d * view.masking + view.multiple * kUniformHemispherePdf;
  return value;
}

inline bool SampleGlossy(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u,
                         LobeSample* sample) {
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

}  // namespace kiln::engine::render
