// Objects on their way into a mesh file and out of it.
#include <fmt/format.h>

#include <algorithm>

#include "engine/formats/mesh_file_build.h"

namespace kiln::engine::formats {
namespace {

void Require(bool fits, const MeshObject& object, const char* what) {
  if (!fits) throw MeshFileFailure(fmt::format("{} of the object \"{}\" don't fit", what, object.name));
}

// One for all becomes one each.
void SpreadWidths(std::vector<float>& widths, size_t count) {
  if (widths.size() == 1 && count > 0) widths.assign(count, widths.front());
}

// From the first element of a voxel to that of another, or to the end.
struct Range {
  size_t begin = 0;
  size_t end = 0;
};

[[noreturn]] void Lies(const std::string& name) {
  throw MeshFileFailure(fmt::format("the object \"{}\" is no part of the mesh file's lists", name));
}

class Extractor {
 public:
  Extractor(const MeshContent& content, const std::string& name) : content_(content), name_(name) {}

  void Geometry(int32_t begin, int32_t end, MeshObject* out) const {
    const MeshContent& c = content_;
    const Range vertices = Of(c.voxel_first_vertex, begin, end, c.vertices.size());
    const Range normals = Of(c.voxel_first_normal, begin, end, c.normals.size());
    out->vertices = Slice(c.vertices, vertices);
    out->faces = Indices(c.vertex_indices,
                         Of(c.voxel_first_vertex_index, begin, end, c.vertex_indices.size()), vertices);
    out->normals = Slice(c.normals, normals);
    out->face_normals = Indices(c.normal_indices,
                                Of(c.voxel_first_normal_index, begin, end, c.normal_indices.size()), normals);
    const Range faces = Of(c.voxel_first_material_id, begin, end, c.material_ids.size());
    out->material_ids = Slice(c.material_ids, faces);
    Edges(faces, out);
    out->velocities = Slice(c.velocities, Of(c.voxel_first_velocity, begin, end, c.velocities.size()));
    Maps(begin, end, out);
  }
  void Hair(int32_t begin, int32_t end, MeshObject* out) const {
    const MeshContent& c = content_;
    out->hair_vertices =
        Slice(c.hair_vertices, Of(c.hair_voxel_first_vertex, begin, end, c.hair_vertices.size()));
    out->strands = Slice(c.strands, Of(c.hair_voxel_first_strand, begin, end, c.strands.size()));
    out->hair_widths = Slice(c.hair_widths, Of(c.hair_voxel_first_width, begin, end, c.hair_widths.size()));
  }
  void Particles(int32_t begin, int32_t end, MeshObject* out) const {
    const MeshContent& c = content_;
    out->particles = Slice(c.particles, Of(c.particle_voxel_first_vertex, begin, end, c.particles.size()));
    out->particle_widths =
        Slice(c.particle_widths, Of(c.particle_voxel_first_width, begin, end, c.particle_widths.size()));
  }

 private:
  Range Of(const std::vector<int32_t>& firsts, int32_t begin, int32_t end, size_t size, size_t base = 0,
           size_t voxels = SIZE_MAX) const {
    voxels = std::min(voxels, firsts.size());
    if (size == 0) return {};
    if (begin < 0 || end < begin || static_cast<size_t>(end) > voxels) Lies(name_);
    const auto at = [&](int32_t voxel) {
      const int64_t first = static_cast<size_t>(voxel) < voxels ? firsts[base + static_cast<size_t>(voxel)]
                                                                : static_cast<int64_t>(size);
      if (first < 0 || static_cast<size_t>(first) > size) Lies(name_);
      return static_cast<size_t>(first);
    };
    const Range range{at(begin), at(end)};
    if (range.end < range.begin) Lies(name_);
    return range;
  }
  template <class T>
  std::vector<T> Slice(const std::vector<T>& list, Range range) const {
    return {list.begin() + static_cast<ptrdiff_t>(range.begin),
            list.begin() + static_cast<ptrdiff_t>(range.end)};
  }
  std::vector<int32_t> Indices(const std::vector<int32_t>& list, Range range, Range values) const {
    std::vector<int32_t> indices = Slice(list, range);
    for (int32_t& index : indices) {
      if (index < 0 || static_cast<size_t>(index) < values.begin || static_cast<size_t>(index) >= values.end)
        Lies(name_);
      index -= static_cast<int32_t>(values.begin);
    }
    return indices;
  }
  void Edges(Range faces, MeshObject* out) const {
    out->edge_visibility.assign((faces.end - faces.begin + 9) / 10, 0);
    for (size_t face = faces.begin; face < faces.end; ++face) {
      const int32_t bits = content_.edge_visibility[face / 10] >> (face % 10 * 3) & 7;
      const size_t to = face - faces.begin;
      out->edge_visibility[to / 10] |= bits << (to % 10 * 3);
    }
  }
  void Maps(int32_t begin, int32_t end, MeshObject* out) const {
    const MeshContent& c = content_;
    const size_t voxels = c.geometry_boxes.size() / 2;
    size_t values_before = 0;
    size_t indices_before = 0;
    const char* name = c.uv_set_names.c_str();
    const char* const names_end = name + c.uv_set_names.size();
    for (size_t set = 0; set < c.uv_original_indices.size(); ++set) {
      const int32_t values = c.uv_set_values[set];
      const int32_t indices = c.uv_set_indices[set];
      if (values < 0 || indices < 0 || static_cast<size_t>(values) > c.uv_values.size() - values_before ||
          static_cast<size_t>(indices) > c.uv_value_indices.size() - indices_before)
        Lies(name_);
      Range v = Of(c.voxel_first_uv_value, begin, end, static_cast<size_t>(values), set * voxels, voxels);
      Range i =
          Of(c.voxel_first_uv_value_index, begin, end, static_cast<size_t>(indices), set * voxels, voxels);
      const Range local = v;
      v = {v.begin + values_before, v.end + values_before};
      i = {i.begin + indices_before, i.end + indices_before};
      MapChannel map{c.uv_original_indices[set], name, Slice(c.uv_values, v),
                     Indices(c.uv_value_indices, i, local)};
      if (!map.values.empty()) out->maps.push_back(std::move(map));
      values_before += static_cast<size_t>(values);
      indices_before += static_cast<size_t>(indices);
      if (name < names_end) name += std::char_traits<char>::length(name) + 1;
      if (name > names_end) name = names_end;
    }
  }

  const MeshContent& content_;
  const std::string& name_;
};

// The number of the object of the name; negative when there is none.
int FindObject(const MeshObjects& objects, const std::string& wanted, bool whole) {
  size_t start = 0;
  for (size_t i = 0; i < objects.ids.size() && start < objects.names.size(); ++i) {
    const std::string name = objects.names.c_str() + start;
    start += name.size() + 1;
    const size_t part = name.find_last_of("/|");
    if (name == wanted) return static_cast<int>(i);
    if (!whole && part != std::string::npos && name.substr(part + 1) == wanted) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

bool InRange(const std::vector<int32_t>& indices, size_t count) {
  return std::all_of(indices.begin(), indices.end(),
                     [&](int32_t i) { return i >= 0 && static_cast<size_t>(i) < count; });
}

bool FitStrands(const std::vector<int32_t>& strands, size_t vertices) {
  return std::all_of(strands.begin(), strands.end(), [&](int32_t count) {
    if (count < 0 || static_cast<size_t>(count) > vertices) return false;
    vertices -= static_cast<size_t>(count);
    return true;
  });
}

void CheckObject(MeshObject& o) {
  const size_t faces = o.faces.size() / 3;
  Require(o.faces.size() % 3 == 0 && InRange(o.faces, o.vertices.size()), o, "the faces");
  if (o.normals.empty()) o.face_normals.clear();
  if (!o.normals.empty() && o.face_normals.empty()) o.face_normals = o.faces;
  Require(o.normals.empty() ||
              (o.face_normals.size() == o.faces.size() && InRange(o.face_normals, o.normals.size())),
          o, "the normals");
  Require(o.velocities.empty() || o.velocities.size() == o.vertices.size(), o, "the velocities");
  Require(o.material_ids.empty() || o.material_ids.size() == faces, o, "the material numbers");
  Require(o.edge_visibility.empty() || o.edge_visibility.size() == (faces + 9) / 10, o, "the visible edges");
  for (MapChannel& map : o.maps) {
    if (map.faces.empty() && !map.values.empty()) map.faces = o.faces;
    Require((map.values.empty() && map.faces.empty()) ||
                (map.faces.size() == o.faces.size() && InRange(map.faces, map.values.size())),
            o, "the map channels");
  }
  Require(FitStrands(o.strands, o.hair_vertices.size()), o, "the strands");
  SpreadWidths(o.hair_widths, o.hair_vertices.size());
  SpreadWidths(o.particle_widths, o.particles.size());
  Require(o.hair_widths.empty() || o.hair_widths.size() == o.hair_vertices.size(), o, "the hair's widths");
  Require(o.particle_widths.empty() || o.particle_widths.size() == o.particles.size(), o,
          "the particles' widths");
}

void ApplyTransform(MeshObject& object, const Transform& transform) {
  for (auto* points : {&object.vertices, &object.hair_vertices, &object.particles}) {
    for (Vec3& p : *points) p = TransformPoint(transform, p);
  }
  for (Vec3& v : object.velocities) v = TransformDirection(transform, v);
  const Matrix normal = Transpose(Inverse(transform.matrix));
  for (Vec3& n : object.normals) n = Normalize(normal * n);
}

MeshObject ExtractObject(const MeshContent& content, const std::string& name, bool whole) {
  const Extractor extractor(content, name);
  const int geometry = FindObject(content.objects, name, whole);
  const int hair = FindObject(content.hair_objects, name, whole);
  const int particles = FindObject(content.particle_objects, name, whole);
  if (geometry < 0 && hair < 0 && particles < 0)
    throw MeshFileFailure(fmt::format("the mesh file has no object \"{}\"", name));
  MeshObject object;
  object.name = name;
  if (geometry >= 0) {
    object.id = content.objects.ids[geometry];
    extractor.Geometry(content.objects.begins[geometry], content.objects.ends[geometry], &object);
  }
  if (hair >= 0) {
    object.id = content.hair_objects.ids[hair];
    extractor.Hair(content.hair_objects.begins[hair], content.hair_objects.ends[hair], &object);
  }
  if (particles >= 0) {
    object.id = content.particle_objects.ids[particles];
    extractor.Particles(content.particle_objects.begins[particles], content.particle_objects.ends[particles],
                        &object);
  }
  size_t start = 0;
  for (const int32_t id : content.shader_ids) {
    if (start >= content.shader_names.size()) break;
    object.shaders.emplace_back(id, content.shader_names.c_str() + start);
    start += object.shaders.back().second.size() + 1;
  }
  CheckObject(object);
  return object;
}

}  // namespace kiln::engine::formats
