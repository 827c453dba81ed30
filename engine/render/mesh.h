// A triangle mesh as the scene gives it, checked once, with what shading interpolates.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/render/shading.h"
#include "engine/scene/value.h"

namespace kiln::engine::render {

// As the properties hold them; an empty list is an attribute that the mesh has not.
struct MeshArrays {
  scene::VectorArray vertices;
  scene::IntArray faces;  // three per triangle
  scene::VectorArray normals;
  scene::IntArray face_normals;  // an index per corner; empty: as faces
  scene::VectorArray uv[kMaxUvSets];
  scene::IntArray face_uv[kMaxUvSets];
  scene::VectorArray tangents;  // per vertex
  scene::FloatArray tangent_signs;
  scene::ColorArray colors;  // per vertex
  scene::FloatArray color_alphas;
  bool smooth_normals = false;  // compute vertex normals where none are given
  bool double_sided = true;     // emission from both sides
};

// Values per corner: a list, and an index for each corner into it.
template <class T>
struct CornerAttribute {
  const T* values = nullptr;
  const int32_t* indices = nullptr;
  explicit operator bool() const { return values != nullptr; }
  const T& At(uint32_t triangle, int corner) const { return values[indices[3 * size_t{triangle} + corner]]; }
};

// Immutable after Create.
class Mesh {
 public:
  // Null, with a sentence without a full stop in *error, for a mesh that can't be rendered: index lists that
  // don't fit or positions that are not finite. Attributes that don't fit are left out, with a sentence in
  // *warnings each.
  static std::unique_ptr<Mesh> Create(MeshArrays arrays, std::string* error,
                                      std::vector<std::string>* warnings);

  size_t vertex_count() const { return vertex_count_; }
  size_t triangle_count() const { return arrays_.faces.size() / 3; }
  // One vertex more than vertex_count, so that readers of 16 bytes stay inside.
  const Vec3* positions() const { return positions_.data(); }
  const int32_t* indices() const { return arrays_.faces.data(); }
  const Bounds3& bounds() const { return bounds_; }
  bool double_sided() const { return arrays_.double_sided; }
  // Of all lists, those that it shares with the scene among them.
  size_t byte_count() const;

  const CornerAttribute<Vec3>& normals() const { return normals_; }
  const CornerAttribute<Vec3>& uv(int set) const { return uv_[set]; }
  const CornerAttribute<Vec3>& tangents() const { return tangents_; }
  const float* tangent_signs() const { return tangent_signs_; }  // per vertex, or null
  const CornerAttribute<Color>& colors() const { return colors_; }
  const float* color_alphas() const { return color_alphas_; }  // per vertex, or null

  void Corners(uint32_t triangle, Vec3 corners[3]) const {
    for (int i = 0; i < 3; ++i) corners[i] = positions_[arrays_.faces[3 * size_t{triangle} + i]];
  }

 private:
  void BindAttributes(std::vector<std::string>* warnings);
  void ComputeNormals();

  MeshArrays arrays_;
  size_t vertex_count_ = 0;
  std::vector<Vec3> positions_;
  std::vector<Vec3> computed_normals_;
  Bounds3 bounds_;
  CornerAttribute<Vec3> normals_, uv_[kMaxUvSets], tangents_;
  CornerAttribute<Color> colors_;
  const float* tangent_signs_ = nullptr;
  const float* color_alphas_ = nullptr;
};

// What the geometry role of a plugin class makes.
class GeometrySource {
 public:
  explicit GeometrySource(std::unique_ptr<Mesh> mesh) : mesh_(std::move(mesh)) {}
  virtual ~GeometrySource() = default;
  const Mesh& mesh() const { return *mesh_; }

 private:
  std::unique_ptr<Mesh> mesh_;
};

}  // namespace kiln::engine::render
