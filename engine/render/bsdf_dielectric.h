// The transmitting lobes: a refracting interface (Walter et al. 2007) and a sheet too thin to refract. Part
// of bsdf_lobe, whose conventions hold.
#pragma once

#include "engine/render/bsdf_lobe.h"

namespace kiln::engine::render {

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
