// Light from all around: a constant, or a lat-long texture with importance sampling of its bright parts.
#pragma once

#include <memory>

#include "engine/render/light.h"
#include "engine/render/shading.h"

namespace kiln::engine::render {

struct DomeDescription {
  Color radiance{};  // multiplies the texture
  const Texture* texture =
      nullptr;  // outlives the dome; the middle of the map is -Z, its top +Y, right is +X
  uint32_t output = 0;
  Matrix rotation{};  // from the map's axes to the world's; scale is ignored
  bool visible_to_camera = true;
};

// Building a textured dome evaluates the texture on a grid, on the engine's threads.
std::unique_ptr<Light> MakeDome(const DomeDescription& description);

// A unit direction's place on the lat-long map, and back.
Vec2 LatLong(Vec3 direction);
Vec3 LatLongDirection(Vec2 uv);

}  // namespace kiln::engine::render
