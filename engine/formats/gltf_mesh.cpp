// glTF primitives as triangle meshes: strips and fans unrolled, morph targets and skins applied at rest.
#include "engine/formats/gltf_mesh.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

// Morphed and skinned meshes are copies, one for each node: few nodes of a small file could ask for any
// amount.
constexpr size_t kPosedVertexLimit = size_t{1} << 28;

// Triangles that name a vertex twice only stitch strips together and are dropped.
std::vector<int32_t> Unroll(const std::vector<uint32_t>& indices, int mode) {
  std::vector<int32_t> faces;
  const auto add = [&](uint32_t a, uint32_t b, uint32_t c) {
    if (a == b || b == c || c == a) return;
    faces.insert(faces.end(), {static_cast<int32_t>(a), static_cast<int32_t>(b), static_cast<int32_t>(c)});
  };
  if (mode == TINYGLTF_MODE_TRIANGLES) {
    faces.reserve(indices.size());
    for (size_t i = 0; i + 2 < indices.size(); i += 3) add(indices[i], indices[i + 1], indices[i + 2]);
  } else if (mode == TINYGLTF_MODE_TRIANGLE_STRIP) {
    // Every second triangle runs the other way round.
    for (size_t i = 0; i + 2 < indices.size(); ++i) {
      add(indices[i], indices[i + 1 + i % 2], indices[i + 2 - i % 2]);
    }
  } else {
    for (size_t i = 1; i + 1 < indices.size(); ++i) add(indices[0], indices[i], indices[i + 1]);
  }
  return faces;
}

bool AllUsable(const scene::VectorArray& normals) {
  return std::all_of(normals.begin(), normals.end(), [](Vec3 n) {
    const float square = Dot(n, n);
    return std::isfinite(square) && square > 0;
  });
}

std::vector<Vec3> Copy(const scene::VectorArray& array) {
  return {array.begin(), array.end()};
}

// Directions across a surface turn with the cofactors of the map, which need no inverse.
Vec3d TurnNormal(const Affine& map, Vec3d n) {
  const Affine cofactors{
      {Cross(map.c[1], map.c[2]), Cross(map.c[2], map.c[0]), Cross(map.c[0], map.c[1]), {}}};
  return Direction(cofactors, n);
}

Vec3 Unit(Vec3d v) {
  const double length = std::sqrt(Dot(v, v));
  return length > 0 && std::isfinite(length) ? ToVec3(Scale(v, 1 / length)) : Vec3{0, 0, 1};
}

Affine Blend(const std::vector<float>& weights, const std::vector<uint32_t>& indices, size_t vertex,
             const JointMatrices& joints, double* total, Affine sum) {
  for (size_t k = 0; k < 4; ++k) {
    const double weight = weights[4 * vertex + k];
    if (!(weight > 0) || !std::isfinite(weight)) continue;
    const Affine& joint = joints[indices[4 * vertex + k]];
    for (int c = 0; c < 4; ++c) sum.c[c] = Sum(sum.c[c], Scale(joint.c[c], weight));
    *total += weight;
  }
  return sum;
}

}  // namespace

std::optional<int> GltfMeshes::Attribute(const tinygltf::Primitive& primitive, const std::string& name,
                                         size_t vertex_count, const std::string& label) const {
  const auto found = primitive.attributes.find(name);
  if (found == primitive.attributes.end()) return std::nullopt;
  const size_t count = accessors_.Count(found->second);
  if (count != vertex_count) {
    throw ImportFailure(
        fmt::format("{} of {} has {} elements for {} vertices", name, label, count, vertex_count));
  }
  return found->second;
}

const GltfMeshes::Triangles& GltfMeshes::Faces(int indices, int mode, size_t vertex_count) {
  if (indices < 0) {
    const auto [it, added] = unindexed_.try_emplace({vertex_count, mode});
    if (added) {
      std::vector<uint32_t> sequence(vertex_count);
      for (size_t i = 0; i < vertex_count; ++i) sequence[i] = static_cast<uint32_t>(i);
      it->second.faces = scene::IntArray(Unroll(sequence, mode));
    }
    return it->second;
  }
  const auto [it, added] = faces_.try_emplace({indices, mode});
  if (added) {
    const std::vector<uint32_t> values = accessors_.Integers(indices, 1);
    const auto highest = std::max_element(values.begin(), values.end());
    it->second.highest = highest == values.end() ? -1 : *highest;
    // What does not fit is refused below before anyone looks at the faces.
    if (it->second.highest <= INT32_MAX) it->second.faces = scene::IntArray(Unroll(values, mode));
  }
  if (it->second.highest >= static_cast<int64_t>(vertex_count)) {
    throw ImportFailure(fmt::format("{} holds the index {}, but there are {} vertices",
                                    GltfAccessors::Label(indices), it->second.highest, vertex_count));
  }
  return it->second;
}

void GltfMeshes::ReadColors(int accessor, MeshData& mesh) {
  const auto [known, added] = colors_.try_emplace(accessor);
  if (!added) {
    std::tie(mesh.colors, mesh.color_alphas) = known->second;
    return;
  }
  const int width = accessors_.Width(accessor);
  if (width != 3 && width != 4) {
    throw ImportFailure(
        fmt::format("{} is a colour with {} components", GltfAccessors::Label(accessor), width));
  }
  const std::vector<float> values = accessors_.Floats(accessor, width);
  const size_t count = values.size() / width;
  const auto channel = [&](size_t i) { return std::isfinite(values[i]) ? std::max(values[i], 0.0f) : 0.0f; };
  std::vector<Color> colors(count);
  std::vector<float> alphas(width == 4 ? count : 0);
  for (size_t i = 0; i < count; ++i) {
    colors[i] = {channel(i * width), channel(i * width + 1), channel(i * width + 2)};
    if (width == 4) alphas[i] = std::min(channel(i * width + 3), 1.0f);
  }
  mesh.colors = scene::ColorArray(std::move(colors));
  mesh.color_alphas = scene::FloatArray(std::move(alphas));
  known->second = {mesh.colors, mesh.color_alphas};
}

void GltfMeshes::ReadTangents(int accessor, MeshData& mesh) {
  const auto [known, added] = tangents_.try_emplace(accessor);
  if (!added) {
    std::tie(mesh.tangents, mesh.tangent_signs) = known->second;
    return;
  }
  const std::vector<float> values = accessors_.Floats(accessor, 4);
  std::vector<Vec3> tangents(values.size() / 4);
  std::vector<float> signs(tangents.size());
  for (size_t i = 0; i < tangents.size(); ++i) {
    tangents[i] = {values[4 * i], values[4 * i + 1], values[4 * i + 2]};
    signs[i] = values[4 * i + 3] < 0 ? -1.0f : 1.0f;
  }
  mesh.tangents = scene::VectorArray(std::move(tangents));
  if (!AllUsable(mesh.tangents)) {
    mesh.tangents = {};
    return;
  }
  mesh.tangent_signs = scene::FloatArray(std::move(signs));
  known->second = {mesh.tangents, mesh.tangent_signs};
}

void GltfMeshes::Morph(const tinygltf::Primitive& primitive, const std::vector<double>& weights,
                       const std::string& label, MeshData& mesh) {
  for (size_t t = 0; t < primitive.targets.size(); ++t) {
    const double weight = t < weights.size() ? weights[t] : 0;
    if (weight == 0) continue;
    const auto add = [&](const char* name, scene::VectorArray& values) {
      const auto found = primitive.targets[t].find(name);
      if (found == primitive.targets[t].end() || values.empty()) return;
      const scene::VectorArray offsets = accessors_.Vectors(found->second, true);
      if (offsets.size() != values.size()) {
        throw ImportFailure(fmt::format("{} of target {} of {} has {} elements for {} vertices", name, t,
                                        label, offsets.size(), values.size()));
      }
      std::vector<Vec3> moved = Copy(values);
      for (size_t i = 0; i < moved.size(); ++i) moved[i] += offsets[i] * static_cast<float>(weight);
      values = scene::VectorArray(std::move(moved));
    };
    add("POSITION", mesh.vertices);
    add("NORMAL", mesh.normals);
    add("TANGENT", mesh.tangents);
  }
}

void GltfMeshes::Skin(const tinygltf::Primitive& primitive, const JointMatrices& joints,
                      const std::string& label, MeshData& mesh) {
  const size_t count = mesh.vertices.size();
  struct Set {
    std::vector<uint32_t> indices;
    std::vector<float> weights;
  };
  std::vector<Set> sets;
  for (int s = 0;; ++s) {
    const auto indices = Attribute(primitive, fmt::format("JOINTS_{}", s), count, label);
    const auto weights = Attribute(primitive, fmt::format("WEIGHTS_{}", s), count, label);
    if (!indices || !weights) break;
    sets.push_back({accessors_.Integers(*indices, 4), accessors_.Floats(*weights, 4)});
    for (const uint32_t joint : sets.back().indices) {
      if (joint >= joints.size()) {
        throw ImportFailure(
            fmt::format("{} refers to joint {}, but the skin has {}", label, joint, joints.size()));
      }
    }
  }

  std::vector<Vec3> vertices = Copy(mesh.vertices);
  std::vector<Vec3> normals = Copy(mesh.normals);
  std::vector<Vec3> tangents = Copy(mesh.tangents);
  for (size_t i = 0; i < count; ++i) {
    double total = 0;
    Affine map{{Vec3d{}, Vec3d{}, Vec3d{}, Vec3d{}}};
    for (const Set& set : sets) map = Blend(set.weights, set.indices, i, joints, &total, map);
    if (total > 0) {
      for (Vec3d& column : map.c) column = Scale(column, 1 / total);
    } else {
      // A vertex that no joint holds stays with the first one.
      map = joints.empty() ? Affine{} : joints[0];
    }
    vertices[i] = ToVec3(Point(map, ToVec3d(vertices[i])));
    if (!std::isfinite(Dot(vertices[i], Vec3{1, 1, 1})))
      throw ImportFailure(label + " leaves its range when skinned");
    if (!normals.empty()) normals[i] = Unit(TurnNormal(map, ToVec3d(normals[i])));
    if (!tangents.empty()) tangents[i] = Unit(Direction(map, ToVec3d(tangents[i])));
  }
  mesh.vertices = scene::VectorArray(std::move(vertices));
  mesh.normals = scene::VectorArray(std::move(normals));
  mesh.tangents = scene::VectorArray(std::move(tangents));
}

std::optional<MeshData> GltfMeshes::Read(int mesh_index, int primitive_index,
                                         const std::vector<double>& weights, const JointMatrices* joints) {
  const tinygltf::Primitive& primitive = document_.model.meshes[mesh_index].primitives[primitive_index];
  const std::string label = fmt::format("meshes[{}].primitives[{}]", mesh_index, primitive_index);
  if (primitive.mode > TINYGLTF_MODE_TRIANGLE_FAN) {
    throw ImportFailure(fmt::format("{}.mode is {}, which is none", label, primitive.mode));
  }
  if (primitive.mode < TINYGLTF_MODE_TRIANGLES) {
    stage_.Note(label + " is made of points or lines and was left out");
    return std::nullopt;
  }
  const auto positions = primitive.attributes.find("POSITION");
  if (positions == primitive.attributes.end()) {
    stage_.Note(label + " has no positions and was left out");
    return std::nullopt;
  }

  MeshData mesh;
  mesh.vertices = accessors_.Vectors(positions->second, true);
  const size_t count = mesh.vertices.size();
  if (count > INT32_MAX) throw ImportFailure(label + " has more vertices than can be loaded");
  mesh.faces = Faces(primitive.indices, primitive.mode, count).faces;
  if (mesh.faces.empty()) return std::nullopt;

  if (const auto normals = Attribute(primitive, "NORMAL", count, label)) {
    mesh.normals = accessors_.Vectors(*normals, false);
    if (!AllUsable(mesh.normals)) {
      stage_.Note(label + " has normals without a direction; its faces are flat instead");
      mesh.normals = {};
    }
  }
  if (const auto uv = Attribute(primitive, "TEXCOORD_0", count, label)) mesh.uv = accessors_.TexCoords(*uv);
  if (const auto uv = Attribute(primitive, "TEXCOORD_1", count, label)) mesh.uv2 = accessors_.TexCoords(*uv);
  if (const auto tangents = Attribute(primitive, "TANGENT", count, label);
      tangents && !mesh.normals.empty()) {
    ReadTangents(*tangents, mesh);
  }
  if (const auto colors = Attribute(primitive, "COLOR_0", count, label)) ReadColors(*colors, mesh);
  const bool posed =
      joints != nullptr || std::any_of(weights.begin(), weights.end(), [](double w) { return w != 0; });
  if (posed && (posed_vertices_ += count) > kPosedVertexLimit) {
    throw ImportFailure("the file has more morphed and skinned vertices than can be loaded");
  }
  Morph(primitive, weights, label, mesh);
  if (joints != nullptr) Skin(primitive, *joints, label, mesh);
  return mesh;
}

JointMatrices GltfMeshes::InverseBind(int skin_index) {
  const tinygltf::Skin& skin = document_.model.skins[skin_index];
  JointMatrices matrices(skin.joints.size());
  if (skin.inverseBindMatrices < 0) return matrices;
  const std::vector<float> values = accessors_.Floats(skin.inverseBindMatrices, 16);
  if (values.size() / 16 < matrices.size()) {
    throw ImportFailure(fmt::format("{} has {} matrices for the {} joints of skins[{}]",
                                    GltfAccessors::Label(skin.inverseBindMatrices), values.size() / 16,
                                    matrices.size(), skin_index));
  }
  for (size_t i = 0; i < matrices.size(); ++i) {
    for (size_t c = 0; c < 4; ++c) {
      const float* column = values.data() + 16 * i + 4 * c;
      matrices[i].c[c] = {column[0], column[1], column[2]};
      if (!IsFinite(matrices[i].c[c])) {
        throw ImportFailure(
            fmt::format("matrix {} of {} is not finite", i, GltfAccessors::Label(skin.inverseBindMatrices)));
      }
    }
  }
  return matrices;
}

}  // namespace kiln::engine::formats
