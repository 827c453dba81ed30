// The choice between all kinds of lobes. Inline for the one file that asks, bsdf.cpp, whose every query ends
// here.
#pragma once

#include "engine/render/bsdf_dielectric.h"
#include "engine/render/bsdf_glossy.h"
#include "engine/render/sampling.h"

namespace kiln::engine::render {

inline LobeValue EvaluateDiffuse(const BsdfLobe& lobe, float cosine) {
  if (cosine <= 0) return {};
  const float pdf = cosine * (1 / kPi);
  return {lobe.tint * pdf, pdf};
}

// `wo` is local to the lobe, z of either sign but not 0.
inline LobeView LookAtLobe(const BsdfLobe& lobe, Vec3 wo) {
  LobeView view;
  view.inside = wo.z < 0;
  view.wo = {wo.x, wo.y, std::abs(wo.z)};
  switch (lobe.kind) {
    case LobeKind::kDiffuse:
    case LobeKind::kDiffuseTransmission:
      view.albedo = lobe.tint;
      break;
    case LobeKind::kClearcoat:
    case LobeKind::kGlossy:
      LookAtGlossy(lobe, &view);
      break;
    case LobeKind::kDielectric:
      LookAtDielectric(lobe, &view);
      break;
    case LobeKind::kThinDielectric:
      LookAtThinDielectric(lobe, &view);
      break;
    case LobeKind::kSheen:
      LookAtSheen(lobe, &view);
      break;
  }
  return view;
}

// Black for deltas. `wi` is mirrored as the view is; `albedo` is that of a glossy lobe towards wi.
inline LobeValue EvaluateLobe(const BsdfLobe& lobe, const LobeView& view, Vec3 wi, GlossyAlbedo albedo) {
  switch (lobe.kind) {
    case LobeKind::kDiffuse:
      return EvaluateDiffuse(lobe, wi.z);
    case LobeKind::kDiffuseTransmission:
      return EvaluateDiffuse(lobe, -wi.z);
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

// False when the sample leads nowhere.
inline bool SampleLobe(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u,
                       LobeSample* sample) {
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
