// The node hierarchy of a glTF document, multiplied out.
#pragma once

#include <vector>

#include "engine/formats/gltf_document.h"
#include "engine/formats/model_import_affine.h"

namespace kiln::engine::formats {

struct GltfNodes {
  std::vector<Affine> world;  // of every node of the document
  std::vector<int>
      visible;  // nodes of the default scene, parents first; of the whole document without scenes
};

// Throws ImportFailure for cycles, nodes with two parents, and transforms that are none.
GltfNodes FlattenNodes(const tinygltf::Model& model);

}  // namespace kiln::engine::formats
