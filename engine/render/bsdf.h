// The closure at a hit: a fixed stack of lobes in a local frame, evaluated, sampled and measured together.
#pragma once

#include <cstdint>

#include "engine/render/shading.h"
#include "engine/utilities/math.h"

namespace kiln::engine::render {

enum LobeFlags : uint32_t {
  kLobeDiffuse = 1,
  kLobeGlossy = 2,
  kLobeSpecular = 4,  // a delta: Evaluate and Pdf do not see it
  kLobeReflection = 8,
  kLobeTransmission = 16,
};

struct BsdfSample {
  Vec3 wi;                // world space, unit
  Color weight;           // f * |cos| / pdf; for a delta the probability of the choice is divided in
  float pdf = 0;          // solid angle; of a delta: 0
  uint32_t flags = 0;
  float eta = 1;          // ratio of indices of refraction crossed; 1 for a reflection
};

// Lobes are added by a Material; then the integrator asks. All directions are in world space, unit length, pointing
// away from the surface. Reciprocal and energy-conserving up to the stated furnace tolerance.
class Bsdf {
 public:
  static constexpr int kMaxLobes = 6;

  // `shading` is the frame the lobes live in (normal mapped); geometric decides reflection from transmission.
  void Begin(const Frame& shading, Vec3 geometric_normal);

  // Each lobe with its colour weight. alpha = roughness^2.
  void AddDiffuse(Color reflectance);                                  // Lambert
  void AddDiffuseTransmission(Color transmittance);
  void AddMetal(Color f0, Color f90, float alpha);                     // GGX conductor, multi-scatter compensated
  void AddDielectric(Color reflect_tint, Color transmit_tint, float ior, float alpha);  // GGX glass, both sides
  void AddThinDielectric(Color transmit_tint, float ior, float alpha);  // a sheet without refraction
  // The glTF dielectric layer: a diffuse (or transmissive) base below a GGX specular layer.
  void AddSpecularLayer(Color f0, Color f90, float alpha);
  void AddClearcoat(float weight, float alpha, Vec3 normal);           // over all that was added before
  void AddSheen(Color color, float roughness);                         // Charlie, over all that was added before

  bool empty() const { return count_ == 0; }
  // f * |cos(wi)|.
  Color Evaluate(Vec3 wo, Vec3 wi) const;
  float Pdf(Vec3 wo, Vec3 wi) const;
  // False when no direction could be made. u_lobe chooses the lobe, u the direction; all in [0, 1).
  bool Sample(Vec3 wo, float u_lobe, Vec2 u, BsdfSample* sample) const;
  // Directional albedo towards wo, for tests and for the choice of lobes.
  bool HasNonDelta() const;

 private:
  friend class BsdfAccess;
  struct Lobe {
    uint8_t kind = 0;
    Color weight;      // of the lobe as a whole, after the layers above it
    Color a, b;        // kind-specific colours
    float alpha = 0;   // roughness squared
    float ior = 1;
    Vec3 normal;       // of a layer with its own normal
    float probability = 0;
  };
  Frame frame_{Vec3{0, 0, 1}};
  Vec3 geometric_normal_{0, 0, 1};
  Lobe lobes_[kMaxLobes];
  int count_ = 0;
};

}  // namespace kiln::engine::render
