// What materials share when they fill a closure: numbers made safe, and the side that faces the viewer.
#pragma once

#include <algorithm>
#include <cmath>

#include "engine/render/bsdf.h"
#include "engine/render/shading_normal.h"

namespace kiln::engine::render {

// Textures may hold anything; closures take numbers from 0 to 1 only. What is not a number is 0.
inline float Unit(float x) {
  return x > 0 ? std::min(x, 1.0f) : 0.0f;
}
inline Color Unit(Color c) {
  return {Unit(c.r), Unit(c.g), Unit(c.b)};
}

// A normal map as a material's properties have it; no texture: the interpolated normal.
struct NormalInput {
  const Texture* texture = nullptr;
  float scale = 1;
};

// Begins a closure that looks the same from both sides.
inline void BeginFront(const ShadingPoint& point, const NormalInput& bump, Bsdf* bsdf) {
  const float side = point.backfacing ? -1.0f : 1.0f;
  bsdf->Begin(Frame(ShadingNormal(point, bump.texture, bump.scale) * side), point.geometric_normal * side);
}

// Begins a closure whose inside differs from its outside.
inline void BeginBody(const ShadingPoint& point, const NormalInput& bump, Bsdf* bsdf) {
  bsdf->Begin(Frame(ShadingNormal(point, bump.texture, bump.scale)), point.geometric_normal);
}

}  // namespace kiln::engine::render
