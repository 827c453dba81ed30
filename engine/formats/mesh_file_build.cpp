// Joins objects into the lists of a mesh file, and divides them into voxels.
#include "engine/formats/mesh_file_build.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>

namespace kiln::engine::formats {
namespace {

int32_t Int(size_t n) {
  if (n > INT32_MAX) throw MeshFileFailure("the mesh has more elements than an index can name");
  return static_cast<int32_t>(n);
}

float Axis(Vec3 v, int axis) {
  const float value = axis == 0 ? v.x : axis == 1 ? v.y : v.z;
  return std::isfinite(value) ? value : 0;
}

// Halves at the median of the longest side until no part has more than `most`.
void Split(const std::vector<Vec3>& centers, std::span<int32_t> elements, size_t most, VoxelGroups* groups) {
  if (elements.size() <= most) {
    groups->emplace_back(elements.begin(), elements.end());
    std::sort(groups->back().begin(), groups->back().end());
    return;
  }
  int longest = 0;
  float length = -1;
  for (int axis = 0; axis < 3; ++axis) {
    float low = INFINITY;
    float high = -INFINITY;
    for (const int32_t e : elements) {
      low = std::min(low, Axis(centers[e], axis));
      high = std::max(high, Axis(centers[e], axis));
    }
    if (high - low > length) {
      length = high - low;
      longest = axis;
    }
  }
  const size_t half = elements.size() / 2;
  std::nth_element(elements.begin(), elements.begin() + static_cast<ptrdiff_t>(half), elements.end(),
                   [&](int32_t a, int32_t b) {
                     const float left = Axis(centers[a], longest);
                     const float right = Axis(centers[b], longest);
                     return left != right ? left < right : a < b;
                   });
  Split(centers, elements.first(half), most, groups);
  Split(centers, elements.subspan(half), most, groups);
}

VoxelGroups Group(const std::vector<Vec3>& centers, int32_t most) {
  VoxelGroups groups;
  if (centers.empty()) return groups;
  std::vector<int32_t> all(centers.size());
  std::iota(all.begin(), all.end(), 0);
  Split(centers, all, most > 0 ? static_cast<size_t>(most) : all.size(), &groups);
  return groups;
}

std::vector<Vec3> FaceCenters(const MeshObject& o) {
  std::vector<Vec3> centers(o.faces.size() / 3);
  for (size_t i = 0; i < centers.size(); ++i) {
    centers[i] =
        (o.vertices[o.faces[3 * i]] + o.vertices[o.faces[3 * i + 1]] + o.vertices[o.faces[3 * i + 2]]) / 3;
  }
  return centers;
}

// The root of each strand stands for it.
std::vector<Vec3> StrandCenters(const MeshObject& o) {
  std::vector<Vec3> centers;
  size_t first = 0;
  for (const int32_t count : o.strands) {
    centers.push_back(count > 0 ? o.hair_vertices[first] : Vec3{});
    first += static_cast<size_t>(count);
  }
  return centers;
}

size_t Elements(const VoxelGroups& groups) {
  size_t count = 0;
  for (const auto& group : groups) count += group.size();
  return count;
}

bool Fits(const VoxelPlan& plan, const MeshObject& o) {
  return Elements(plan.faces) == o.faces.size() / 3 && Elements(plan.strands) == o.strands.size() &&
         Elements(plan.particles) == o.particles.size();
}

VoxelPlan MakePlan(const MeshObject& o, int32_t most) {
  return {Group(FaceCenters(o), most), Group(StrandCenters(o), most), Group(o.particles, most)};
}

void AddBox(std::vector<Vec3>& boxes, std::span<const Vec3> points) {
  Bounds3 bounds;
  for (const Vec3& p : points) bounds.Add(p);
  if (bounds.Empty()) bounds = {{0, 0, 0}, {0, 0, 0}};
  boxes.push_back(bounds.lower);
  boxes.push_back(bounds.upper);
}

// Adds what a voxel's corners use of a list. A voxel of the whole object takes the list as it is, unused
// elements too.
class Renumber {
 public:
  Renumber(const std::vector<int32_t>& corners, const std::vector<int32_t>& faces, size_t count, bool whole)
      : corners_(corners), faces_(faces), to_(whole ? 0 : count, -1), whole_(whole), count_(count) {}

  // The elements, in order of their new numbers; the new indices are added to `indices`.
  std::vector<int32_t> Take(size_t first, std::vector<int32_t>& indices) {
    std::vector<int32_t> used;
    Int(first + count_);
    if (whole_) {
      used.resize(count_);
      std::iota(used.begin(), used.end(), 0);
      for (const int32_t corner : corners_) indices.push_back(corner + static_cast<int32_t>(first));
      return used;
    }
    for (const int32_t face : faces_) {
      for (size_t c = 3 * static_cast<size_t>(face); c < 3 * static_cast<size_t>(face) + 3; ++c) {
        int32_t& number = to_[corners_[c]];
        if (number < 0) {
          number = static_cast<int32_t>(used.size());
          used.push_back(corners_[c]);
        }
        indices.push_back(number + static_cast<int32_t>(first));
      }
    }
    return used;
  }

 private:
  const std::vector<int32_t>& corners_;
  const std::vector<int32_t>& faces_;
  std::vector<int32_t> to_;
  bool whole_;
  size_t count_;
};

void Append(std::vector<Vec3>& to, const std::vector<Vec3>& from, const std::vector<int32_t>& elements) {
  for (const int32_t e : elements) to.push_back(from[e]);
}

struct UvSet {
  int32_t index = 0;
  std::string name;
  std::vector<Vec3> values;
  std::vector<int32_t> indices, first_value, first_index;
};

class Builder {
 public:
  explicit Builder(const std::vector<MeshObject>& objects) {
    for (const MeshObject& o : objects) {
      has_normals_ |= !o.normals.empty();
      has_velocities_ |= !o.velocities.empty();
      has_materials_ |= !o.material_ids.empty() || !o.edge_visibility.empty();
      has_hair_widths_ |= !o.hair_widths.empty();
      has_particle_widths_ |= !o.particle_widths.empty();
      for (const MapChannel& map : o.maps) SetOf(map);
      for (const auto& shader : o.shaders) AddShader(shader);
    }
  }

  void Add(const MeshObject& o, const VoxelPlan& plan) {
    const bool nothing = o.vertices.empty() && o.strands.empty() && o.particles.empty();
    if (!o.vertices.empty() || nothing) {
      Begin(c_.objects, o, c_.geometry_boxes);
      for (const auto& faces : plan.faces) AddFaces(o, faces, plan.faces.size() == 1);
      if (plan.faces.empty() && !o.vertices.empty()) AddFaces(o, {}, true);
      c_.objects.ends.push_back(Int(c_.geometry_boxes.size() / 2));
    }
    if (!o.strands.empty()) {
      Begin(c_.hair_objects, o, c_.hair_boxes);
      for (const auto& strands : plan.strands) AddStrands(o, strands);
      c_.hair_objects.ends.push_back(Int(c_.hair_boxes.size() / 2));
    }
    if (!o.particles.empty()) {
      Begin(c_.particle_objects, o, c_.particle_boxes);
      for (const auto& particles : plan.particles) AddParticles(o, particles);
      c_.particle_objects.ends.push_back(Int(c_.particle_boxes.size() / 2));
    }
  }

  MeshContent Take() {
    for (UvSet& set : sets_) {
      c_.uv_set_names.append(set.name).push_back('\0');
      c_.uv_original_indices.push_back(set.index);
      c_.uv_set_values.push_back(Int(set.values.size()));
      c_.uv_set_indices.push_back(Int(set.indices.size()));
      c_.uv_values.insert(c_.uv_values.end(), set.values.begin(), set.values.end());
      c_.uv_value_indices.insert(c_.uv_value_indices.end(), set.indices.begin(), set.indices.end());
      auto& values = c_.voxel_first_uv_value;
      values.insert(values.end(), set.first_value.begin(), set.first_value.end());
      auto& indices = c_.voxel_first_uv_value_index;
      indices.insert(indices.end(), set.first_index.begin(), set.first_index.end());
    }
    return std::move(c_);
  }

 private:
  UvSet& SetOf(const MapChannel& map) {
    for (UvSet& set : sets_) {
      if (set.index == map.index && set.name == map.name) return set;
    }
    sets_.push_back({map.index, map.name, {}, {}, {}, {}});
    return sets_.back();
  }
  void AddShader(const std::pair<int32_t, std::string>& shader) {
    if (std::find(shaders_.begin(), shaders_.end(), shader) != shaders_.end()) return;
    shaders_.push_back(shader);
    c_.shader_ids.push_back(shader.first);
    c_.shader_names.append(shader.second).push_back('\0');
  }
  static void Begin(MeshObjects& objects, const MeshObject& o, const std::vector<Vec3>& boxes) {
    objects.names.append(o.name).push_back('\0');
    objects.ids.push_back(o.id);
    objects.begins.push_back(Int(boxes.size() / 2));
  }

  void AddFaces(const MeshObject& o, const std::vector<int32_t>& faces, bool whole) {
    const size_t first = c_.vertices.size();
    c_.voxel_first_vertex.push_back(Int(first));
    c_.voxel_first_vertex_index.push_back(Int(c_.vertex_indices.size()));
    c_.voxel_first_velocity.push_back(Int(c_.velocities.size()));
    const auto used = Renumber(o.faces, faces, o.vertices.size(), whole).Take(first, c_.vertex_indices);
    Append(c_.vertices, o.vertices, used);
    if (has_velocities_ && o.velocities.empty()) c_.velocities.resize(c_.vertices.size());
    if (!o.velocities.empty()) Append(c_.velocities, o.velocities, used);
    AddBox(c_.geometry_boxes, std::span(c_.vertices).subspan(first));
    AddNormals(o, faces, whole);
    AddMaterials(o, faces);
    for (UvSet& set : sets_) {
      set.first_value.push_back(Int(set.values.size()));
      set.first_index.push_back(Int(set.indices.size()));
    }
    for (const MapChannel& map : o.maps) {
      UvSet& set = SetOf(map);
      const auto values =
          Renumber(map.faces, faces, map.values.size(), whole).Take(set.values.size(), set.indices);
      Append(set.values, map.values, values);
    }
  }
  // Where only some objects have normals, the others get those of their faces.
  void AddNormals(const MeshObject& o, const std::vector<int32_t>& faces, bool whole) {
    c_.voxel_first_normal.push_back(Int(c_.normals.size()));
    c_.voxel_first_normal_index.push_back(Int(c_.normal_indices.size()));
    if (!o.normals.empty()) {
      const auto used =
          Renumber(o.face_normals, faces, o.normals.size(), whole).Take(c_.normals.size(), c_.normal_indices);
      Append(c_.normals, o.normals, used);
    } else if (has_normals_) {
      for (const int32_t face : faces) {
        const int32_t* corners = &o.faces[3 * static_cast<size_t>(face)];
        c_.normal_indices.insert(c_.normal_indices.end(), 3, Int(c_.normals.size()));
        const Vec3 a = o.vertices[corners[0]];
        c_.normals.push_back(Normalize(Cross(o.vertices[corners[1]] - a, o.vertices[corners[2]] - a)));
      }
    }
  }
  void AddMaterials(const MeshObject& o, const std::vector<int32_t>& faces) {
    c_.voxel_first_material_id.push_back(Int(c_.material_ids.size()));
    if (!has_materials_) return;
    for (const int32_t face : faces) {
      const size_t to = c_.material_ids.size();
      const auto from = static_cast<size_t>(face);
      c_.material_ids.push_back(o.material_ids.empty() ? 0 : o.material_ids[from]);
      if (to % 10 == 0) c_.edge_visibility.push_back(0);
      const int32_t bits =
          o.edge_visibility.empty() ? 7 : o.edge_visibility[from / 10] >> (from % 10 * 3) & 7;
      c_.edge_visibility[to / 10] |= bits << (to % 10 * 3);
    }
  }
  void AddStrands(const MeshObject& o, const std::vector<int32_t>& strands) {
    const size_t first = c_.hair_vertices.size();
    c_.hair_voxel_first_vertex.push_back(Int(first));
    c_.hair_voxel_first_strand.push_back(Int(c_.strands.size()));
    c_.hair_voxel_first_width.push_back(Int(c_.hair_widths.size()));
    std::vector<size_t> starts(o.strands.size() + 1, 0);
    for (size_t i = 0; i < o.strands.size(); ++i)
      starts[i + 1] = starts[i] + static_cast<size_t>(o.strands[i]);
    for (const int32_t strand : strands) {
      c_.strands.push_back(o.strands[strand]);
      for (size_t v = starts[strand]; v < starts[static_cast<size_t>(strand) + 1]; ++v) {
        c_.hair_vertices.push_back(o.hair_vertices[v]);
        if (has_hair_widths_) c_.hair_widths.push_back(o.hair_widths.empty() ? 0 : o.hair_widths[v]);
      }
    }
    AddBox(c_.hair_boxes, std::span(c_.hair_vertices).subspan(first));
  }
  void AddParticles(const MeshObject& o, const std::vector<int32_t>& particles) {
    const size_t first = c_.particles.size();
    c_.particle_voxel_first_vertex.push_back(Int(first));
    c_.particle_voxel_first_width.push_back(Int(c_.particle_widths.size()));
    Append(c_.particles, o.particles, particles);
    for (const int32_t p : particles) {
      if (has_particle_widths_)
        c_.particle_widths.push_back(o.particle_widths.empty() ? 0 : o.particle_widths[p]);
    }
    AddBox(c_.particle_boxes, std::span(c_.particles).subspan(first));
  }

  bool has_normals_ = false, has_velocities_ = false, has_materials_ = false;
  bool has_hair_widths_ = false, has_particle_widths_ = false;
  std::vector<UvSet> sets_;
  std::vector<std::pair<int32_t, std::string>> shaders_;
  MeshContent c_;
};

}  // namespace

MeshContent BuildContent(const std::vector<MeshObject>& objects, const BuildOptions& options,
                         std::vector<VoxelPlan>* plans) {
  plans->resize(objects.size());
  Builder builder(objects);
  for (size_t i = 0; i < objects.size(); ++i) {
    VoxelPlan& plan = (*plans)[i];
    if (!Fits(plan, objects[i])) plan = MakePlan(objects[i], options.voxel_elements);
    builder.Add(objects[i], plan);
  }
  return builder.Take();
}

}  // namespace kiln::engine::formats
