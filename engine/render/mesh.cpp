// Checking of mesh lists, and vertex normals for meshes that ask for them.
#include "engine/render/mesh.h"

#include <fmt/format.h>

namespace kiln::engine::render {
namespace {

bool IndicesFit(const scene::IntArray& indices, size_t count) {
  return std::all_of(indices.begin(), indices.end(),
                     [count](int32_t i) { return i >= 0 && static_cast<size_t>(i) < count; });
}

bool Finite(Vec3 v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// An attribute whose lists fit the faces, else an empty one and a warning.
template <class T>
CornerAttribute<T> Bind(const scene::Array<T>& values, const scene::IntArray& indices,
                        const scene::IntArray& faces, size_t vertex_count, const char* name,
                        std::vector<std::string>* warnings) {
  if (values.empty()) return {};
  const bool own = !indices.empty();
  const bool fits = own ? indices.size() == faces.size() && IndicesFit(indices, values.size())
                        : values.size() >= vertex_count;
  if (!fits) {
    if (warnings != nullptr)
      warnings->push_back(fmt::format("{} don't fit the faces and are left out", name));
    return {};
  }
  return {values.data(), own ? indices.data() : faces.data()};
}

}  // namespace

std::unique_ptr<Mesh> Mesh::Create(MeshArrays arrays, std::string* error,
                                   std::vector<std::string>* warnings) {
  const auto fail = [error](std::string text) -> std::unique_ptr<Mesh> {
    if (error != nullptr) *error = std::move(text);
    return nullptr;
  };
  const size_t vertex_count = arrays.vertices.size();
  if (vertex_count == 0 || arrays.faces.empty()) return fail("the mesh has no triangles");
  if (arrays.faces.size() % 3 != 0) return fail("the length of faces is not a multiple of three");
  if (!IndicesFit(arrays.faces, vertex_count)) {
    return fail(fmt::format("faces has an index outside the {} vertices", vertex_count));
  }
  auto mesh = std::make_unique<Mesh>();
  mesh->positions_.reserve(vertex_count + 1);
  for (const Vec3& p : arrays.vertices) {
    if (!Finite(p)) return fail("a vertex is not finite");
    mesh->positions_.push_back(p);
    mesh->bounds_.Add(p);
  }
  mesh->positions_.push_back({});
  mesh->vertex_count_ = vertex_count;
  mesh->arrays_ = std::move(arrays);
  mesh->BindAttributes(warnings);
  return mesh;
}

void Mesh::BindAttributes(std::vector<std::string>* warnings) {
  const MeshArrays& a = arrays_;
  const scene::IntArray none;
  normals_ = Bind(a.normals, a.face_normals, a.faces, vertex_count_, "normals", warnings);
  uv_[0] = Bind(a.uv[0], a.face_uv[0], a.faces, vertex_count_, "uv", warnings);
  uv_[1] = Bind(a.uv[1], a.face_uv[1], a.faces, vertex_count_, "uv2", warnings);
  tangents_ = Bind(a.tangents, none, a.faces, vertex_count_, "tangents", warnings);
  colors_ = Bind(a.colors, none, a.faces, vertex_count_, "colors", warnings);
  if (tangents_ && a.tangent_signs.size() >= vertex_count_) tangent_signs_ = a.tangent_signs.data();
  if (a.color_alphas.size() >= vertex_count_) color_alphas_ = a.color_alphas.data();
  if (!normals_ && a.smooth_normals) ComputeNormals();
}

void Mesh::ComputeNormals() {
  computed_normals_.assign(vertex_count_, Vec3{});
  for (size_t i = 0; i < arrays_.faces.size(); i += 3) {
    Vec3 p[3];
    Corners(static_cast<uint32_t>(i / 3), p);
    // The cross product's length is twice the area, which is the weight.
    const Vec3 n = Cross(p[1] - p[0], p[2] - p[0]);
    for (int k = 0; k < 3; ++k) computed_normals_[arrays_.faces[i + k]] += n;
  }
  for (Vec3& n : computed_normals_) n = Normalize(n);
  normals_ = {computed_normals_.data(), arrays_.faces.data()};
}

size_t Mesh::byte_count() const {
  const auto bytes = [](const auto&... lists) {
    return (size_t{0} + ... + (lists.size() * sizeof(*lists.data())));
  };
  const MeshArrays& a = arrays_;
  return bytes(a.vertices, a.faces, a.normals, a.face_normals, a.uv[0], a.uv[1], a.face_uv[0], a.face_uv[1],
               a.tangents, a.tangent_signs, a.colors, a.color_alphas, positions_, computed_normals_);
}

}  // namespace kiln::engine::render
