// How much of the light an interface reflects.
#pragma once

#include <algorithm>
#include <cmath>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

inline constexpr float kSchlickAverage = 1.0f / 21.0f;  // 2 * integral of (1 - mu)^5 mu dmu

inline float SchlickWeight(float cosine) {
  const float m = std::clamp(1 - cosine, 0.0f, 1.0f);
  return m * m * m * m * m;
}

inline Color FresnelSchlick(Color f0, Color f90, float cosine) {
  return Lerp(f0, f90, SchlickWeight(cosine));
}

// Unpolarised reflectance of a smooth dielectric interface. `cosine` is that of the incident side, not
// negative; eta is the index beyond the interface over the one before it. 1 at total internal reflection.
inline float FresnelDielectric(float cosine, float eta) {
  const float c = std::clamp(cosine, 0.0f, 1.0f);
  const float sin2_t = (1 - c * c) / (eta * eta);
  if (sin2_t >= 1) return 1;
  const float cos_t = std::sqrt(1 - sin2_t);
  const float parallel = (eta * c - cos_t) / (eta * c + cos_t);
  const float perpendicular = (c - eta * cos_t) / (c + eta * cos_t);
  return 0.5f * (parallel * parallel + perpendicular * perpendicular);
}

}  // namespace kiln::engine::render
