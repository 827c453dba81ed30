// The closure at a hit: a fixed stack of lobes in a local frame, evaluated, sampled and measured together.
#pragma once

#include <cstdint>

#include "engine/render/bsdf_lobe.h"
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
  Vec3 wi;             // world space, unit
  Color weight;        // f * |cos| / pdf; for a delta the probability of the choice is divided in
  float pdf = 0;       // solid angle; of a delta: 0
  uint32_t flags = 0;  // of the lobe that was chosen
  float eta = 1;       // index of refraction where wi goes over the one where wo goes; 1 for a reflection
};

// What a query needs of wo, for all lobes.
struct BsdfView;

// Lobes are added by a Material; then the integrator asks. All directions are in world space, unit length,
// pointing away from the surface. Energy-conserving up to the furnace tolerance of the tests: at most 0.5 %
// is gained.
//
// What crosses a refracting boundary is basic radiance, L / n^2: a weight has no factor eta^2, a furnace
// stays a furnace, and what a path gathers needs no correction when it ends in the medium where it began.
//
// Reflecting lobes are reciprocal, alone and as a specular layer over a diffuse base. A sheen and a clearcoat
// dim what lies below by the albedo that they have towards wo only, which keeps the sum exact for any base.
class Bsdf {
 public:
  static constexpr int kMaxLobes = 8;

  Bsdf() {}

  // `shading` is the frame the lobes live in (normal mapped), its normal in the hemisphere of
  // `geometric_normal`, which decides reflection from transmission: a direction that the two normals see on
  // different sides is refused.
  void Begin(const Frame& shading, Vec3 geometric_normal);
  // The same, with the lobes of another closure to begin with.
  void Begin(const Frame& shading, Vec3 geometric_normal, const Bsdf& lobes);

  // Each lobe with its colours and a weight of the whole. alpha = roughness^2; below kSmoothAlpha it is a
  // delta. Lobes of no weight and those beyond kMaxLobes are left out.
  void AddDiffuse(Color reflectance);  // Lambert
  void AddDiffuseTransmission(Color transmittance);
  // GGX conductor, multi-scatter compensated.
  void AddMetal(Color f0, Color f90, float alpha, float weight = 1);
  // GGX glass, both sides. The normal points to the outside; ior is that of the body over that of the
  // outside. reflect_tint applies to what the outside reflects.
  void AddDielectric(Color reflect_tint, Color transmit_tint, const DielectricTable& glass, float alpha,
                     float weight = 1);
  // A sheet without refraction: what passes spreads as what is reflected does.
  void AddThinDielectric(Color f0, Color f90, Color transmit_tint, float alpha, float weight = 1);
  // A GGX dielectric layer over the diffuse lobes added before, which get what it leaves in all its channels.
  void AddSpecularLayer(Color f0, Color f90, float alpha, float weight = 1);
  // Varnish of index 1.5 with a normal of its own, on the outside, over all that was added before.
  void AddClearcoat(float weight, float alpha, Vec3 normal);
  // Charlie sheen on the outside, over all that was added before.
  void AddSheen(Color color, float roughness);

  // Begins anew with two closures of one point side by side, `amount` of b and the rest of a; neither's
  // layers dim the other. The frame is that of a, or of b when only b refracts. Neither is this closure.
  void Mix(const Bsdf& a, const Bsdf& b, float amount);

  bool empty() const { return count_ == 0; }
  // f * |cos(wi)|, and the density with which Sample makes wi when `pdf` is given.
  Color Evaluate(Vec3 wo, Vec3 wi, float* pdf = nullptr) const;
  float Pdf(Vec3 wo, Vec3 wi) const;
  // False when no direction could be made. u_lobe chooses the lobe, u the direction; all in [0, 1).
  bool Sample(Vec3 wo, float u_lobe, Vec2 u, BsdfSample* sample) const;
  // The same three steps for several queries of one wo. False: nothing is scattered there, and the view is
  // unusable.
  bool Look(Vec3 wo, BsdfView* view) const;
  Color Evaluate(const BsdfView& view, Vec3 wi, float* pdf) const;
  bool Sample(const BsdfView& view, float u_lobe, Vec2 u, BsdfSample* sample) const;
  // Whether Evaluate can be other than black: some lobe is not a delta.
  bool HasNonDelta() const;

  // For the layers of a film (bsdf_layers.cpp). The part that the diffuse lobes have in Evaluate.
  Color EvaluateDiffuse(const BsdfView& view, Vec3 wi) const;
  // What of the light from everywhere goes to wo: by the diffuse lobes, and by all of them.
  Color DiffuseAlbedo(const BsdfView& view) const;
  Color Albedo(const BsdfView& view) const;
  Vec3 normal() const { return frame_.n; }

 private:
  BsdfLobe* Add(LobeKind kind, float weight);
  void Append(const Bsdf& other, float share);
  bool Refracts() const;

  Frame frame_{Vec3{0, 0, 1}};
  Vec3 geometric_normal_{0, 0, 1};
  // In a union they are not cleared when a closure is made, which would cost as much as to fill two of them.
  union {
    BsdfLobe lobes_[kMaxLobes];
  };
  int count_ = 0;
};

struct BsdfView {
  BsdfView() {}  // keeps a direction in braces from being taken for a view
  union {        // not cleared either
    LobeView lobes[Bsdf::kMaxLobes];
  };
  float scale[Bsdf::kMaxLobes];  // weight of the lobe and transmission of what lies above it, towards wo
  float probability[Bsdf::kMaxLobes];  // of sampling the lobe
  bool outside = false;                // wo is on the side of the geometric normal
};

}  // namespace kiln::engine::render
