// Maps from the unit square to the domains that a path tracer samples, with their densities.
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine::render {

// The power heuristic with exponent 2 (Veach 1997): the weight of a sample drawn with density `pdf` when
// another technique would have drawn it with `other`.
inline float MisWeight(float pdf, float other) {
  if (std::isinf(pdf)) return 1;
  const float a = pdf * pdf;
  const float b = other * other;
  return a > 0 ? a / (a + b) : 0;
}

// Uniform on the unit disk, by the concentric map (Shirley and Chiu 1997).
inline Vec2 SampleDisk(Vec2 u) {
  const Vec2 p{2 * u.x - 1, 2 * u.y - 1};
  if (p.x == 0 && p.y == 0) return {};
  float r = p.x;
  float phi = (kPi / 4) * (p.y / p.x);
  if (std::abs(p.x) <= std::abs(p.y)) {
    r = p.y;
    phi = kPi / 2 - (kPi / 4) * (p.x / p.y);
  }
  return {r * std::cos(phi), r * std::sin(phi)};
}

// Around +Z with density cos / pi.
inline Vec3 SampleCosineHemisphere(Vec2 u) {
  const Vec2 d = SampleDisk(u);
  return {d.x, d.y, std::sqrt(std::max(0.0f, 1 - d.x * d.x - d.y * d.y))};
}

// Around +Z, uniform in the cone; `one_minus_cos` is 1 - cos of its half angle, which keeps narrow cones
// exact.
inline Vec3 SampleCone(Vec2 u, float one_minus_cos) {
  const float h = u.x * one_minus_cos;
  const float r = std::sqrt(std::max(0.0f, h * (2 - h)));
  const float phi = 2 * kPi * u.y;
  return {r * std::cos(phi), r * std::sin(phi), 1 - h};
}
inline float ConePdf(float one_minus_cos) {
  return 1 / (2 * kPi * one_minus_cos);
}

// Barycentric coordinates (of the second and third corner), uniform on a triangle without a square root
// (Heitz 2019, "A Low-Distortion Map Between Triangle and Square").
inline Vec2 SampleTriangle(Vec2 u) {
  if (u.y > u.x) {
    const float x = u.x * 0.5f;
    return {x, u.y - x};
  }
  const float y = u.y * 0.5f;
  return {u.x - y, y};
}

}  // namespace kiln::engine::render
