// The transmitting lobes: a refracting interface (Walter et al. 2007) and a sheet too thin to refract. Part
// of bsdf_lobe, whose conventions hold.
#pragma once

#include "engine/render/bsdf_lobe.h"

namespace kiln::engine::render {

// The GGX compensation kernel (Kulla and Conty 2017, "Revisiting Physically Based Shading at Imageworks"),
// times the cosine: what single scattering loses towards wo, spread as it loses towards wi. It is sampled
// uniformly: the loss of smooth surfaces is all at grazing angles, where a density with the cosine would make
// fireflies.
float MultipleScattering(const BsdfLobe& lobe, const LobeView& view, float cos_i);

// Also when the index is so near 1 that roughness has nothing to spread.
bool IsSmoothDielectric(const BsdfLobe& lobe);
void LookAtDielectric(const BsdfLobe& lobe, LobeView* view);
LobeValue EvaluateDielectric(const BsdfLobe& lobe, const LobeView& view, Vec3 wi);
bool SampleDielectric(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u, LobeSample* sample);

void LookAtThinDielectric(const BsdfLobe& lobe, LobeView* view);
LobeValue EvaluateThinDielectric(const BsdfLobe& lobe, const LobeView& view, Vec3 wi);
bool SampleThinDielectric(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u,
                          LobeSample* sample);

}  // namespace kiln::engine::render
