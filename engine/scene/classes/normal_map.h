// The normal map that the classes of simple materials have in common.
#pragma once

#include "engine/render/closure_inputs.h"
#include "engine/render/inputs.h"

namespace kiln::engine::scene {

// The rows of a class's properties that ReadNormalMap reads.
inline Property NormalMapRow() {
  return {"normalMap", Type::kTexture, PluginRef{}, "Normals in tangent space, as colours."};
}
inline Property NormalScaleRow() {
  return {"normalScale", Type::kFloat, 1.0f, "Factor on the slopes of the normal map."};
}

inline render::NormalInput ReadNormalMap(const render::Inputs& in) {
  return {in.TextureOf("normalMap"), in.Float("normalScale")};
}

}  // namespace kiln::engine::scene
