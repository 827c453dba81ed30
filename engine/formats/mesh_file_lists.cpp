// Where a mesh's content has each list, and which lengths fit each other.
#include <fmt/format.h>

#include "engine/formats/mesh_file.h"

namespace kiln::engine::formats {
namespace {

MeshListPointer ObjectList(MeshObjects& objects, MeshList list, MeshList first) {
  switch (static_cast<uint32_t>(list) - static_cast<uint32_t>(first)) {
    case 0:
      return &objects.names;
    case 1:
      return &objects.ids;
    case 2:
      return &objects.begins;
    default:
      return &objects.ends;
  }
}

MeshListPointer VoxelList(MeshContent& c, MeshList list) {
  std::vector<int32_t>* const lists[] = {&c.voxel_first_vertex,      &c.voxel_first_vertex_index,
                                         &c.voxel_first_normal,      &c.voxel_first_normal_index,
                                         &c.voxel_first_material_id, &c.voxel_first_velocity,
                                         &c.voxel_first_uv_value,    &c.voxel_first_uv_value_index};
  return lists[static_cast<uint32_t>(list) - static_cast<uint32_t>(MeshList::kVoxelFirstVertex)];
}

}  // namespace

MeshListPointer ListOf(MeshContent& c, MeshList list) {
  using enum MeshList;
  if (list >= kObjectNames && list <= kObjectEnds) return ObjectList(c.objects, list, kObjectNames);
  if (list >= kHairObjectNames && list <= kHairObjectEnds)
    return ObjectList(c.hair_objects, list, kHairObjectNames);
  if (list >= kParticleObjectNames && list <= kParticleObjectEnds)
    return ObjectList(c.particle_objects, list, kParticleObjectNames);
  if (list >= kVoxelFirstVertex && list <= kVoxelFirstUvValueIndex) return VoxelList(c, list);
  switch (list) {
    case kVertices:
      return &c.vertices;
    case kVertexIndices:
      return &c.vertex_indices;
    case kNormals:
      return &c.normals;
    case kNormalIndices:
      return &c.normal_indices;
    case kMaterialIds:
      return &c.material_ids;
    case kEdgeVisibility:
      return &c.edge_visibility;
    case kVelocities:
      return &c.velocities;
    case kUvSetNames:
      return &c.uv_set_names;
    case kUvOriginalIndices:
      return &c.uv_original_indices;
    case kUvSetValues:
      return &c.uv_set_values;
    case kUvSetIndices:
      return &c.uv_set_indices;
    case kUvValues:
      return &c.uv_values;
    case kUvValueIndices:
      return &c.uv_value_indices;
    case kShaderNames:
      return &c.shader_names;
    case kShaderIds:
      return &c.shader_ids;
    case kHairVertices:
      return &c.hair_vertices;
    case kStrands:
      return &c.strands;
    case kHairWidths:
      return &c.hair_widths;
    case kParticles:
      return &c.particles;
    case kParticleWidths:
      return &c.particle_widths;
    case kGeometryBoxes:
      return &c.geometry_boxes;
    case kHairBoxes:
      return &c.hair_boxes;
    case kParticleBoxes:
      return &c.particle_boxes;
    case kHairVoxelFirstVertex:
      return &c.hair_voxel_first_vertex;
    case kHairVoxelFirstStrand:
      return &c.hair_voxel_first_strand;
    case kHairVoxelFirstWidth:
      return &c.hair_voxel_first_width;
    case kParticleVoxelFirstVertex:
      return &c.particle_voxel_first_vertex;
    case kParticleVoxelFirstWidth:
      return &c.particle_voxel_first_width;
    case kWireColors:
      return &c.wire_colors;
    case kSmoothed:
      return &c.smoothed;
    case kFlipNormals:
      return &c.flip_normals;
    case kPreviewVertices:
      return &c.preview_vertices;
    case kPreviewIndices:
      return &c.preview_indices;
    case kPreviewHairVertices:
      return &c.preview_hair_vertices;
    case kPreviewStrands:
      return &c.preview_strands;
    default:
      return &c.preview_particles;
  }
}

uint64_t ElementBytes(MeshList list) {
  MeshContent none;
  return std::visit([](auto* elements) { return sizeof((*elements)[0]); }, ListOf(none, list));
}

MeshListCounts CountLists(const MeshContent& content) {
  MeshListCounts counts;
  for (size_t i = 0; i < kMeshLists; ++i) {
    // Only looked at.
    counts[i] = std::visit([](const auto* elements) { return uint64_t{elements->size()}; },
                           ListOf(const_cast<MeshContent&>(content), static_cast<MeshList>(i)));
  }
  return counts;
}

std::string CheckLengths(const MeshListCounts& counts) {
  using enum MeshList;
  const auto of = [&](MeshList list) { return counts[static_cast<size_t>(list)]; };
  for (const uint64_t count : counts) {
    if (count > INT32_MAX) return "a list has more elements than an index can name";
  }
  const uint64_t corners = of(kVertexIndices);
  if (corners % 3 != 0 || of(kPreviewIndices) % 3 != 0) return "the faces have not three corners each";
  if (of(kNormalIndices) != 0 && of(kNormalIndices) != corners) return "the normals don't fit the faces";
  if (of(kMaterialIds) != 0 && of(kMaterialIds) != corners / 3)
    return "the material numbers don't fit the faces";
  if (of(kEdgeVisibility) != (of(kMaterialIds) + 9) / 10) return "the visible edges don't fit the faces";
  if (of(kGeometryBoxes) % 2 != 0 || of(kHairBoxes) % 2 != 0 || of(kParticleBoxes) % 2 != 0)
    return "a voxel's box lacks a corner";
  const uint64_t sets = of(kUvOriginalIndices);
  if (of(kUvSetValues) != sets || of(kUvSetIndices) != sets) return "the lists of the UV sets differ";
  struct Rule {
    MeshList list;
    uint64_t expected;
  };
  const uint64_t voxels = of(kGeometryBoxes) / 2;
  const uint64_t hair = of(kHairBoxes) / 2;
  const uint64_t particles = of(kParticleBoxes) / 2;
  const Rule rules[] = {
      {kVoxelFirstVertex, voxels},
      {kVoxelFirstVertexIndex, voxels},
      {kVoxelFirstNormal, voxels},
      {kVoxelFirstNormalIndex, voxels},
      {kVoxelFirstMaterialId, voxels},
      {kVoxelFirstVelocity, voxels},
      {kVoxelFirstUvValue, voxels * sets},
      {kVoxelFirstUvValueIndex, voxels * sets},
      {kHairVoxelFirstVertex, hair},
      {kHairVoxelFirstStrand, hair},
      {kHairVoxelFirstWidth, hair},
      {kParticleVoxelFirstVertex, particles},
      {kParticleVoxelFirstWidth, particles},
      {kShaderIds, of(kShaderIds)},
      {kObjectBegins, of(kObjectIds)},
      {kObjectEnds, of(kObjectIds)},
      {kHairObjectBegins, of(kHairObjectIds)},
      {kHairObjectEnds, of(kHairObjectIds)},
      {kParticleObjectBegins, of(kParticleObjectIds)},
      {kParticleObjectEnds, of(kParticleObjectIds)},
      {kSmoothed, of(kWireColors)},
      {kFlipNormals, of(kWireColors)},
  };
  for (const Rule& rule : rules) {
    if (of(rule.list) != rule.expected)
      return fmt::format("list {} has {} elements instead of {}", static_cast<uint32_t>(rule.list),
                         of(rule.list), rule.expected);
  }
  return {};
}

}  // namespace kiln::engine::formats
