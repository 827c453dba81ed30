// The normal that shading uses: interpolated, then bent by a normal map, then straightened where it can't be
// seen.
#pragma once

#include "engine/render/shading.h"

namespace kiln::engine::render {

// The normal on the side of the geometric normal, also where the back is seen. `map` may be null; it gives
// tangent-space normals as colours, their slopes multiplied by `scale`. The mirror image of point.wo in the
// result is above the surface: a normal that looks away from the viewer, or would reflect into the surface,
// leans towards the geometric normal as far as it must.
Vec3 ShadingNormal(const ShadingPoint& point, const Texture* map, float scale);

}  // namespace kiln::engine::render
