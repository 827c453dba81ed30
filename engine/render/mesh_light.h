// An emissive mesh as a light: its triangles, chosen by emitted power.
#pragma once

#include "engine/render/alias_table.h"
#include "engine/render/light.h"
#include "engine/render/render_scene.h"

namespace kiln::engine::render {

class MeshLight : public Light {
 public:
  // Scene and object outlive the light; the object's derived fields are filled.
  MeshLight(const RenderScene& scene, const SceneObject& object);

  bool empty() const { return power_ <= 0; }
  bool Sample(const LightContext& at, Vec2 u, LightSample* sample) const override;
  float Power(float) const override { return power_; }
  // The solid angle density of a hit on a triangle, seen from `distance` along `wi`.
  float PdfOfHit(uint32_t triangle, float distance, Vec3 wi) const;

 private:
  // What a triangle emits, from a few probes of its emission on both sides.
  float EstimatePower(uint32_t triangle) const;
  struct Face {
    Vec3 normal;  // unit, of the front
    float area;
    Vec3 corner, edges[2];
  };
  // A triangle in world space.
  Face MakeFace(uint32_t triangle) const;
  // What the object emits at a place towards `wo`.
  Color Emission(uint32_t triangle, Vec2 barycentric, Vec3 wo, SurfacePoint* point) const;

  const RenderScene& scene_;
  const SceneObject& object_;
  AliasTable choice_;
  std::vector<Face> faces_;
  float power_ = 0;
  // An even light is sampled without a look at its surface.
  bool even_ = false;
  Color front_, back_;
  float offset_ = 0;  // the largest of all its points
};

// Emission of a material at a point, black on the back of a one-sided mesh.
Color SurfaceEmission(const SurfacePoint& point);

}  // namespace kiln::engine::render
