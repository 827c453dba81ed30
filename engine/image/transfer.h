// Transfer curves: between linear light and the encodings that an image's gamma field names.
#pragma once

#include <cmath>

#include "engine/image/image.h"

namespace kiln::engine::image {

// The sRGB curve of IEC 61966-2-1, carried on above 1 and mirrored below 0.
inline float LinearToSrgb(float v) {
  const float a = std::fabs(v);
  return std::copysign(a <= 0.0031308f ? a * 12.92f : 1.055f * std::pow(a, 1 / 2.4f) - 0.055f, v);
}
inline float SrgbToLinear(float v) {
  const float a = std::fabs(v);
  return std::copysign(a <= 0.04045f ? a / 12.92f : std::pow((a + 0.055f) / 1.055f, 2.4f), v);
}

inline float SignedPower(float v, float exponent) {
  return std::copysign(std::pow(std::fabs(v), exponent), v);
}

// From the encoding that `gamma` names to linear light, and back.
inline float ToLinear(float v, float gamma) {
  if (gamma == 1) return v;
  return gamma == kDisplayGamma ? SrgbToLinear(v) : SignedPower(v, gamma);
}
inline float FromLinear(float v, float gamma) {
  if (gamma == 1) return v;
  return gamma == kDisplayGamma ? LinearToSrgb(v) : SignedPower(v, 1 / gamma);
}

}  // namespace kiln::engine::image
