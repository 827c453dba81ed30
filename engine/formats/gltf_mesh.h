// glTF primitives as triangle meshes: strips and fans unrolled, morph targets and skins applied at rest.
#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "engine/formats/gltf_accessor.h"
#include "engine/formats/model_import_stage.h"

namespace kiln::engine::formats {

// The pose of a skin: what maps a vertex of the mesh to the world, per joint.
using JointMatrices = std::vector<Affine>;

class GltfMeshes {
 public:
  GltfMeshes(const GltfDocument& document, ImportStage& stage)
      : document_(document), stage_(stage), accessors_(document) {}

  // The triangles of a primitive with the morph weights (as many as there are; missing ones are 0) and, when
  // there is one, the skin applied, which leaves them in world space. Nothing for points, lines and empty
  // primitives. Throws ImportFailure.
  std::optional<MeshData> Read(int mesh, int primitive, const std::vector<double>& weights,
                               const JointMatrices* joints);

  // The inverse bind matrices of a skin; identities where it has none. Throws ImportFailure.
  JointMatrices InverseBind(int skin);

 private:
  struct Triangles {
    scene::IntArray faces;
    int64_t highest = -1;
  };

  const Triangles& Faces(int indices, int mode, size_t vertex_count);
  void ReadColors(int accessor, MeshData& mesh);
  void ReadTangents(int accessor, MeshData& mesh);
  void Morph(const tinygltf::Primitive& primitive, const std::vector<double>& weights,
             const std::string& label, MeshData& mesh);
  void Skin(const tinygltf::Primitive& primitive, const JointMatrices& joints, const std::string& label,
            MeshData& mesh);
  std::optional<int> Attribute(const tinygltf::Primitive& primitive, const std::string& name,
                               size_t vertex_count, const std::string& label) const;

  const GltfDocument& document_;
  ImportStage& stage_;
  GltfAccessors accessors_;
  std::map<std::pair<int, int>, Triangles> faces_;
  std::map<std::pair<size_t, int>, Triangles> unindexed_;
  std::map<int, std::pair<scene::ColorArray, scene::FloatArray>> colors_;
  std::map<int, std::pair<scene::VectorArray, scene::FloatArray>> tangents_;
  size_t posed_vertices_ = 0;
};

}  // namespace kiln::engine::formats
