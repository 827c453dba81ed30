// Normal mapping.
#include "engine/render/shading_normal.h"

#include "engine/render/microfacet.h"

namespace kiln::engine::render {

namespace {

Vec3 Mapped(const ShadingPoint& point, const Texture& map, float scale) {
  const Color color = map.EvaluateColor(point, 0);
  const Vec3 local{(2 * color.r - 1) * scale, (2 * color.g - 1) * scale, 2 * color.b - 1};
  const Vec3& n = point.normal;
  const Vec3 tangent = point.tangent - n * Dot(point.tangent, n);
  const float length = Length(tangent);
  // A map without height, or a surface without directions, bends nothing.
  if (!(length > 1e-6f) || !(Dot(local, local) > 1e-12f) || !(local.z > 0)) return n;
  const Vec3 t = tangent / length;
  const Vec3 b = Cross(n, t) * point.tangent_sign;
  const Vec3 bent = Normalize(t * local.x + b * local.y + n * local.z);
  return std::isfinite(bent.x + bent.y + bent.z) ? bent : n;
}

// Whether light that comes from wo leaves the mirror on the visible side, both as the geometry sees it.
bool IsUsable(Vec3 normal, Vec3 geometric, Vec3 wo) {
  constexpr float kLeast = 1e-3f;
  if (Dot(normal, wo) < kLeast * 0.1f) return false;
  const float least = std::min(kLeast, 0.5f * Dot(geometric, wo));
  return Dot(Reflect(wo, normal), geometric) >= least;
}

}  // namespace

Vec3 ShadingNormal(const ShadingPoint& point, const Texture* map, float scale) {
  const float side = point.backfacing ? -1.0f : 1.0f;
  const Vec3 geometric = point.geometric_normal * side;
  const Vec3 normal = (map ? Mapped(point, *map, scale) : point.normal) * side;
  if (IsUsable(normal, geometric, point.wo)) return normal * side;
  float bad = 0;
  float good = 1;
  for (int i = 0; i < 8; ++i) {
    const float middle = 0.5f * (bad + good);
    const Vec3 candidate = Normalize(Lerp(normal, geometric, middle));
    (IsUsable(candidate, geometric, point.wo) ? good : bad) = middle;
  }
  return Normalize(Lerp(normal, geometric, good)) * side;
}

}  // namespace kiln::engine::render
