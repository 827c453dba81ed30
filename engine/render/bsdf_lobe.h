// One lobe of a closure: evaluated, measured and sampled in its local frame. Bsdf puts lobes together.
#pragma once

#include <cstdint>

#include "engine/render/bsdf_albedo.h"
#include "engine/utilities/math.h"

namespace kiln::engine::render {

enum class LobeKind : uint8_t {
  kDiffuse,
  kDiffuseTransmission,
  kGlossy,      // metal, and the specular layer
  kClearcoat,   // glossy with a normal of its own
  kDielectric,  // refracting, both sides
  kThinDielectric,
  kSheen,
};

struct BsdfLobe {
  LobeKind kind = LobeKind::kDiffuse;
  bool is_layer = false;  // glossy: some diffuse lobe lies below
  bool delta = false;
  int layer = -1;    // diffuse: the lobe that lies above
  int group = 0;     // of a mixture: layers dim what is below in their own group
  float weight = 1;  // of the lobe as a whole
  float share = 1;   // of a mixture: of the closure that it came from
  // What follows has a value in the kinds that are named only.
  float alpha = 0;                         // roughness squared; of a sheen: roughness
  const DielectricTable* glass = nullptr;  // dielectric: index and albedo
  Color f0, f90;          // glossy, thin: Schlick's Fresnel; dielectric: f0 tints what the outside reflects
  Color tint;             // reflectance of diffuse, sheen; transmittance of the rest
  Color multiple;         // glossy, thin: what of the light lost by single scattering is reflected in the end
  Color multiple_pass;    // thin: what of it passes
  float lost = 0;         // glossy, thin: average of what single scattering loses
  float again_scale = 0;  // glossy, thin: 1 / (pi * lost), or 0 where nothing is lost
  float layer_scale = 1;  // glossy: 1 / average of what it leaves to a base
  GlossyRow albedo;       // glossy, thin
  Frame frame{Vec3{0, 0, 1}};  // clearcoat
};

// A lobe as wo sees it. wo is local with z > 0: seen from below, z is mirrored for wo and wi alike.
struct LobeView {
  Vec3 wo;
  bool inside = false;  // mirrored
  float lambda = 0;     // glossy: Smith's function of wo
  float masking = 1;    // glossy: 1 / (1 + lambda)
  float lost = 0;       // what single scattering loses towards wo
  float multiple = 0;   // probability of sampling the compensation for it
  Color albedo;         // directional albedo, unweighted
  float rest = 1;       // of a coat: what it leaves to the lobes below
  float base_rest = 1;  // of a specular layer: what it leaves to its base
};

struct LobeValue {
  Color f;  // f * |cos(wi)|, unweighted
  float pdf = 0;
};

struct LobeSample {
  Vec3 wi;  // local
  uint32_t flags = 0;
  float eta = 1;
  Color delta;                  // of a delta: the throughput
  float delta_probability = 1;  // and the probability of the choice that led to it
};

inline float Mean(Color c) {
  return (c.r + c.g + c.b) * (1.0f / 3);
}
// Prepare what does not depend on directions: after the colours and alpha are set.
void FinishLobe(BsdfLobe* lobe);
inline bool IsGlossy(LobeKind kind) {
  return kind == LobeKind::kGlossy || kind == LobeKind::kClearcoat;
}

void LookAtSheen(const BsdfLobe& lobe, LobeView* view);
LobeValue EvaluateSheen(const BsdfLobe& lobe, const LobeView& view, Vec3 wi);

}  // namespace kiln::engine::render
