// The GGX distribution of microfacets: isotropic, with the Smith masking of its height field.
// All vectors are in the local frame of the macro surface (z is the normal) and of unit length.
#pragma once

#include <algorithm>
#include <cmath>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

// Below this roughness a surface counts as perfectly smooth: its lobe is a delta.
inline constexpr float kSmoothAlpha = 1e-4f;

inline constexpr bool IsSmooth(float alpha) {
  return alpha < kSmoothAlpha;
}

inline Vec3 Reflect(Vec3 v, Vec3 about) {
  return about * (2 * Dot(v, about)) - v;
}

// The refraction of `wo` at a facet `h` with Dot(wo, h) > 0 and eta = index beyond / index before.
// False at total internal reflection.
inline bool Refract(Vec3 wo, Vec3 h, float eta, Vec3* wi) {
  const float cos_i = Dot(wo, h);
  const float sin2_t = std::max(0.0f, 1 - cos_i * cos_i) / (eta * eta);
  if (sin2_t >= 1) return false;
  *wi = h * (cos_i / eta - std::sqrt(1 - sin2_t)) - wo / eta;
  return true;
}

// Walter et al. 2007, "Microfacet Models for Refraction through Rough Surfaces", equation 33.
inline float GgxD(Vec3 h, float alpha) {
  const float a2 = alpha * alpha;
  const float e = (h.x * h.x + h.y * h.y) / a2 + h.z * h.z;
  return 1 / (kPi * a2 * e * e);
}

// Smith's Lambda for a direction with cosine `z`.
inline float GgxLambda(float z, float alpha) {
  const float z2 = z * z;
  if (z2 <= 0) return INFINITY;
  const float tan2 = std::max(0.0f, 1 - z2) / z2;
  return 0.5f * (std::sqrt(1 + alpha * alpha * tan2) - 1);
}

inline float GgxG1(float z, float alpha) {
  return 1 / (1 + GgxLambda(z, alpha));
}

// Height-correlated masking and shadowing (Heitz 2014).
inline float GgxG2(float zo, float zi, float alpha) {
  return 1 / (1 + GgxLambda(zo, alpha) + GgxLambda(zi, alpha));
}

// The density over facets h that `wo` (wo.z > 0) sees; 0 for facets that face away.
inline float GgxVisibleD(Vec3 wo, Vec3 h, float alpha) {
  const float cosine = Dot(wo, h);
  if (cosine <= 0 || wo.z <= 0) return 0;
  return GgxG1(wo.z, alpha) * cosine * GgxD(h, alpha) / wo.z;
}

// A facet from that density (Heitz 2018, "Sampling the GGX Distribution of Visible Normals").
Vec3 SampleGgxVisible(Vec3 wo, float alpha, Vec2 u);

// A direction of the upper hemisphere with density kUniformHemispherePdf.
Vec3 SampleUniformHemisphere(Vec2 u);
inline constexpr float kUniformHemispherePdf = 1 / (2 * kPi);

}  // namespace kiln::engine::render
