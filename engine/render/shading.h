// What meets at a surface hit: the shading point, textures and materials.
#pragma once

#include <cstdint>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

class Bsdf;

inline constexpr int kMaxUvSets = 2;

// A hit, in world space. Directions are unit vectors; `wo` points away from the surface to where the ray came
// from.
struct ShadingPoint {
  Vec3 position;
  Vec3 geometric_normal;   // of the triangle, on the side of its winding
  Vec3 normal;             // interpolated, in the hemisphere of geometric_normal
  Vec3 tangent{1, 0, 0};   // along u of uv set 0, where the material reads it
  float tangent_sign = 1;  // bitangent = sign * cross(normal, tangent)
  Vec3 wo;
  Vec2 uv[kMaxUvSets];
  Color vertex_color{1, 1, 1};
  float vertex_alpha = 1;
  float uv_per_pixel = 0;   // footprint of a pixel in uv units, for mip selection; 0: unknown
  bool backfacing = false;  // wo is on the other side of geometric_normal
};

// A function of the shading point. Thread-safe.
class Texture {
 public:
  virtual ~Texture() = default;
  // Linear RGB of an output; 0 is the main one.
  virtual Color EvaluateColor(const ShadingPoint& point, uint32_t output) const = 0;
  virtual float EvaluateFloat(const ShadingPoint& point, uint32_t output) const {
    return Luminance(EvaluateColor(point, output));
  }
  // Rounded to the nearest; what an int can't hold is 0.
  virtual int32_t EvaluateInt(const ShadingPoint& point, uint32_t output) const {
    const float value = std::round(EvaluateFloat(point, output));
    return std::abs(value) < 2147483520.0f ? static_cast<int32_t>(value) : 0;
  }
  virtual Vec3 EvaluateVector(const ShadingPoint& point, uint32_t output) const {
    const Color c = EvaluateColor(point, output);
    return {c.r, c.g, c.b};
  }
  // A texture of vectors scales along the axes.
  virtual Matrix EvaluateMatrix(const ShadingPoint& point, uint32_t output) const {
    const Vec3 v = EvaluateVector(point, output);
    return {{v.x, 0, 0}, {0, v.y, 0}, {0, 0, v.z}};
  }
  virtual Transform EvaluateTransform(const ShadingPoint& point, uint32_t output) const {
    return {EvaluateMatrix(point, output), {}};
  }
};

// Texture coordinates, and the footprint of a pixel in them (0: unknown).
struct Uvw {
  Vec3 at;
  float per_pixel = 0;
};

// Where on a texture a shading point lies. Thread-safe.
class UvwGen {
 public:
  virtual ~UvwGen() = default;
  virtual Uvw Evaluate(const ShadingPoint& point) const = 0;
};

// The generator's coordinates, or those of a set of the mesh where there is no generator.
inline Uvw UvwAt(const ShadingPoint& point, const UvwGen* generator, int uv_set = 0) {
  if (generator != nullptr) return generator->Evaluate(point);
  return {{point.uv[uv_set].x, point.uv[uv_set].y, 0}, point.uv_per_pixel};
}

// What fills a closed body. Thread-safe.
class Volume {
 public:
  virtual ~Volume() = default;
  // What is left of light along a path of the length, per channel.
  virtual Color Transmittance(float distance) const = 0;
};

// Thread-safe.
class Material {
 public:
  virtual ~Material() = default;
  // Fills the closure for a hit. The lobes are scaled by their weights; opacity is not in them.
  virtual void Evaluate(const ShadingPoint& point, Bsdf* bsdf) const = 0;
  // Coverage in 0..1: the ray goes straight on with probability 1 - opacity.
  virtual float Opacity(const ShadingPoint&) const { return 1; }
  virtual bool IsOpaque() const { return true; }
  // Whether anything of it reads the tangent of a point, which is not made otherwise.
  virtual bool ReadsTangent() const { return true; }
  // Emitted radiance towards point.wo, W/(m^2 sr) per channel.
  virtual Color Emission(const ShadingPoint&) const { return {}; }
  // Whether Emission can be other than black anywhere: such meshes become area lights.
  virtual bool IsEmissive() const { return false; }
  // True when Emission is the same at every point and in every direction of a side, and what it is.
  virtual bool EmitsEvenly(Color* /*front*/, Color* /*back*/) const { return false; }
  // Transmittance along a path inside the body, per channel (Beer-Lambert), `distance` in scene units.
  virtual Color Attenuation(float /*distance*/) const { return {1, 1, 1}; }
};

}  // namespace kiln::engine::render
