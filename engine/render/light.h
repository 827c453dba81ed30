// What a light does: sampled towards a point, measured along a direction, intersected where it has a shape.
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine::render {

// Where light is gathered. A light may leave out directions behind `normal`: there other techniques have to
// do.
struct LightContext {
  Vec3 position;
  Vec3 normal;
};

struct LightSample {
  Vec3 wi;                    // unit, towards the light
  float distance = INFINITY;  // to the sampled point
  Color radiance;      // that arrives along wi; of a delta: intensity over distance squared, or irradiance
  float pdf = 0;       // solid angle at the context; of a delta: 1
  bool delta = false;  // no direction but this one: rays can't meet the light
};

struct LightHit {
  float distance = 0;
  Color radiance;  // towards the ray's origin
};

// Thread-safe. Lights don't block rays: one that passes through a light gathers its radiance and goes on.
class Light {
 public:
  virtual ~Light() = default;

  // False when the light can't reach the point.
  virtual bool Sample(const LightContext& at, Vec2 u, LightSample* sample) const = 0;
  // The solid angle density with which Sample gives `wi`; 0 for directions that it never gives, and for
  // deltas.
  virtual float Pdf(const LightContext& /*at*/, Vec3 /*wi*/) const { return 0; }
  // Emitted power (any unit that all lights share), for the choice among lights.
  virtual float Power(float scene_radius) const = 0;

  // Lights with a shape: where the ray meets it in (near, far), from the side that emits.
  virtual bool HasShape() const { return false; }
  virtual bool Intersect(Vec3 /*origin*/, Vec3 /*direction*/, float /*near*/, float /*far*/,
                         LightHit* /*hit*/) const {
    return false;
  }
  virtual Bounds3 Bounds() const { return {}; }
  // Lights at infinity: what a ray that leaves the scene gathers.
  virtual bool IsInfinite() const { return false; }
  virtual Color Background(Vec3 /*direction*/) const { return {}; }

  bool visible_to_camera() const { return visible_to_camera_; }

 protected:
  bool visible_to_camera_ = true;
};

}  // namespace kiln::engine::render
