// The sheen of cloth: the Charlie distribution (Estevez and Kulla 2017, "Production Friendly Microfacet Sheen
// BRDF").
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine::render {

// Smoother sheen than this has a spike at grazing angles that neither sampling nor tables resolve.
inline constexpr float kMinSheenRoughness = 0.1f;

// Density of fibres; `cos_h` is the cosine of the half vector, alpha = roughness^2.
float CharlieD(float cos_h, float alpha);
// The fit of Smith's Lambda to that distribution.
float CharlieLambda(float cosine, float alpha);

// f * cos(wi) for a white sheen, both directions in the upper hemisphere of the local frame; before the
// normalisation that keeps the albedo from passing 1 (see SheenNormalization).
float CharlieSheen(Vec3 wo, Vec3 wi, float roughness);

}  // namespace kiln::engine::render
