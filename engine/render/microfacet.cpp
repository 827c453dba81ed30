// Sampling of facets and of the hemisphere.
#include "engine/render/microfacet.h"

namespace kiln::engine::render {

Vec3 SampleGgxVisible(Vec3 wo, float alpha, Vec2 u) {
  const Vec3 v = Normalize({alpha * wo.x, alpha * wo.y, wo.z});
  const float length2 = v.x * v.x + v.y * v.y;
  const Vec3 t1 = length2 > 0 ? Vec3{-v.y, v.x, 0} / std::sqrt(length2) : Vec3{1, 0, 0};
  const Vec3 t2 = Cross(v, t1);
  const float r = std::sqrt(u.x);
  const float phi = 2 * kPi * u.y;
  const float p1 = r * std::cos(phi);
  const float s = 0.5f * (1 + v.z);
  const float p2 = (1 - s) * std::sqrt(std::max(0.0f, 1 - p1 * p1)) + s * r * std::sin(phi);
  const Vec3 n = t1 * p1 + t2 * p2 + v * std::sqrt(std::max(0.0f, 1 - p1 * p1 - p2 * p2));
  return Normalize({alpha * n.x, alpha * n.y, std::max(1e-7f, n.z)});
}

Vec3 SampleUniformHemisphere(Vec2 u) {
  const float r = std::sqrt(std::max(0.0f, 1 - u.x * u.x));
  const float phi = 2 * kPi * u.y;
  return {r * std::cos(phi), r * std::sin(phi), u.x};
}

}  // namespace kiln::engine::render
