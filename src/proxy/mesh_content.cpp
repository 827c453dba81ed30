#include "proxy/mesh_content.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "binding/object_builder.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "values/typed_lists.h"

namespace KilnNodeWrapper {
namespace {

using KilnValuesNodeWrapper::ListKind;
using KilnValuesNodeWrapper::NewList;
using KilnValuesNodeWrapper::SetListPrototype;
using Record = ProxyDataRecord;
using Count = uint64_t Record::*;
using UvCounts = uint64_t (Record::*)[KILN_PROXY_MAX_UV_SETS];

// Beyond it no names were written; a script could not hold them either.
constexpr uint64_t kMostNames = uint64_t{1} << 24;

uint64_t UvSets(const Record& record) {
  return std::min<uint64_t>(record.uv_sets_count, KILN_PROXY_MAX_UV_SETS);
}

// Elements of an array; false when they can't be counted.
using Length = bool (*)(const Record&, uint64_t* elements);

template <Count kCount, uint64_t kTimes = 1>
bool Times(const Record& record, uint64_t* elements) {
  return !__builtin_mul_overflow(record.*kCount, kTimes, elements);
}
// One int tells the visible edges of ten faces.
bool EdgeWords(const Record& record, uint64_t* elements) {
  *elements = record.material_ids_count / 10 + (record.material_ids_count % 10 != 0 ? 1 : 0);
  return true;
}
bool VoxelUvSets(const Record& record, uint64_t* elements) {
  return !__builtin_mul_overflow(record.geometry_voxels_count, UvSets(record), elements);
}

struct Row {
  const char* key;
  uint32_t flag;  // 0: always
  Count group;    // left out when it is 0
  Length length;
  ListKind kind;
  int32_t* Record::*ints;
  float* Record::*floats;
  UvCounts sets;  // an array of lists, one for each UV set, on one memory

  constexpr Row(const char* key, uint32_t flag, Count group, int32_t* Record::*field, Length length,
                UvCounts sets = nullptr)
      : key(key),
        flag(flag),
        group(group),
        length(length),
        kind(ListKind::kInt),
        ints(field),
        floats(nullptr),
        sets(sets) {}
  constexpr Row(const char* key, uint32_t flag, Count group, ListKind kind, float* Record::*field,
                Length length, UvCounts sets = nullptr)
      : key(key),
        flag(flag),
        group(group),
        length(length),
        kind(kind),
        ints(nullptr),
        floats(field),
        sets(sets) {}
};

constexpr Length kGeometryVoxels = Times<&Record::geometry_voxels_count>;
constexpr Length kHairVoxels = Times<&Record::hair_voxels_count>;
constexpr Length kParticleVoxels = Times<&Record::particle_voxels_count>;
constexpr Length kUvFloats = Times<&Record::uv_floats_total>;
constexpr Length kUvIndices = Times<&Record::uv_indices_total>;

constexpr Row kRows[] = {
    {"vertices", KILN_PROXY_VERTICES, &Record::vertices_floats, ListKind::kVector, &Record::vertices,
     Times<&Record::vertices_floats>},
    {"vertexIndices", KILN_PROXY_VERTICES, &Record::vertices_floats, &Record::vertex_indices,
     Times<&Record::vertex_indices_count>},
    {"voxelVerticesStartIndices", KILN_PROXY_VERTICES, &Record::vertices_floats, &Record::voxel_first_vertex,
     kGeometryVoxels},
    {"voxelVertexIndicesStartIndices", KILN_PROXY_VERTICES, &Record::vertices_floats,
     &Record::voxel_first_vertex_index, kGeometryVoxels},
    {"normals", KILN_PROXY_NORMALS, &Record::normals_floats, ListKind::kVector, &Record::normals,
     Times<&Record::normals_floats>},
    {"normalIndices", KILN_PROXY_NORMALS, &Record::normals_floats, &Record::normal_indices,
     Times<&Record::normal_indices_count>},
    {"voxelNormalsStartIndices", KILN_PROXY_NORMALS, &Record::normals_floats, &Record::voxel_first_normal,
     kGeometryVoxels},
    {"voxelNormalIndicesStartIndices", KILN_PROXY_NORMALS, &Record::normals_floats,
     &Record::voxel_first_normal_index, kGeometryVoxels},
    {"materialIDs", KILN_PROXY_MATERIAL_IDS, &Record::material_ids_count, &Record::material_ids,
     Times<&Record::material_ids_count>},
    {"edgeVisibility", KILN_PROXY_MATERIAL_IDS, &Record::material_ids_count, &Record::edge_visibility,
     EdgeWords},
    {"voxelMaterialIDsStartIndices", KILN_PROXY_MATERIAL_IDS, &Record::material_ids_count,
     &Record::voxel_first_material_id, kGeometryVoxels},
    {"velocities", KILN_PROXY_VELOCITIES, &Record::velocities_floats, ListKind::kVector, &Record::velocities,
     Times<&Record::velocities_floats>},
    {"voxelVelocitiesStartIndices", KILN_PROXY_VELOCITIES, &Record::velocities_floats,
     &Record::voxel_first_velocity, kGeometryVoxels},
    {"voxelUVValuesStartIndices", KILN_PROXY_UVS, &Record::uv_sets_count, &Record::voxel_first_uv_value,
     VoxelUvSets},
    {"voxelUVValueIndicesStartIndices", KILN_PROXY_UVS, &Record::uv_sets_count,
     &Record::voxel_first_uv_value_index, VoxelUvSets},
    {"uvValues", KILN_PROXY_UVS, &Record::uv_sets_count, ListKind::kVector, &Record::uv_values, kUvFloats,
     &Record::uv_set_floats},
    {"uvValueIndices", KILN_PROXY_UVS, &Record::uv_sets_count, &Record::uv_value_indices, kUvIndices,
     &Record::uv_set_indices},
    {"shaderIDs", KILN_PROXY_SHADERS, &Record::shaders_count, &Record::shader_ids,
     Times<&Record::shaders_count>},
    {"objectInfoIDs", KILN_PROXY_OBJECT_INFOS, &Record::object_info_count, &Record::object_info_ids,
     Times<&Record::object_info_count>},
    {"objectInfoVBegins", KILN_PROXY_OBJECT_INFOS, &Record::object_info_count, &Record::object_info_v_begins,
     Times<&Record::object_info_count>},
    {"objectInfoVEnds", KILN_PROXY_OBJECT_INFOS, &Record::object_info_count, &Record::object_info_v_ends,
     Times<&Record::object_info_count>},
    {"hairObjectInfoIDs", KILN_PROXY_HAIR_OBJECT_INFOS, &Record::hair_object_info_count,
     &Record::hair_object_info_ids, Times<&Record::hair_object_info_count>},
    {"hairObjectInfoVBegins", KILN_PROXY_HAIR_OBJECT_INFOS, &Record::hair_object_info_count,
     &Record::hair_object_info_v_begins, Times<&Record::hair_object_info_count>},
    {"hairObjectInfoVEnds", KILN_PROXY_HAIR_OBJECT_INFOS, &Record::hair_object_info_count,
     &Record::hair_object_info_v_ends, Times<&Record::hair_object_info_count>},
    {"particleObjectInfoIDs", KILN_PROXY_PARTICLE_OBJECT_INFOS, &Record::particle_object_info_count,
     &Record::particle_object_info_ids, Times<&Record::particle_object_info_count>},
    {"particleObjectInfoVBegins", KILN_PROXY_PARTICLE_OBJECT_INFOS, &Record::particle_object_info_count,
     &Record::particle_object_info_v_begins, Times<&Record::particle_object_info_count>},
    {"particleObjectInfoVEnds", KILN_PROXY_PARTICLE_OBJECT_INFOS, &Record::particle_object_info_count,
     &Record::particle_object_info_v_ends, Times<&Record::particle_object_info_count>},
    {"hairVertices", KILN_PROXY_HAIR, &Record::hair_vertices_floats, ListKind::kVector,
     &Record::hair_vertices, Times<&Record::hair_vertices_floats>},
    {"hairVerticesPerStrand", KILN_PROXY_HAIR, &Record::hair_vertices_floats, &Record::vertices_per_strand,
     Times<&Record::vertices_per_strand_count>},
    {"hairVerticesStartIndices", KILN_PROXY_HAIR, &Record::hair_vertices_floats,
     &Record::hair_voxel_first_vertex, kHairVoxels},
    {"hairVerticesPerStrandStartIndices", KILN_PROXY_HAIR, &Record::hair_vertices_floats,
     &Record::hair_voxel_first_strand, kHairVoxels},
    {"hairWidths", KILN_PROXY_HAIR, &Record::hair_widths_count, ListKind::kFloat, &Record::hair_widths,
     Times<&Record::hair_widths_count>},
    {"hairWidthsStartIndices", KILN_PROXY_HAIR, &Record::hair_widths_count, &Record::hair_voxel_first_width,
     kHairVoxels},
    {"particleVertices", KILN_PROXY_PARTICLES, &Record::particle_vertices_floats, ListKind::kVector,
     &Record::particle_vertices, Times<&Record::particle_vertices_floats>},
    {"particleVerticesStartIndices", KILN_PROXY_PARTICLES, &Record::particle_vertices_floats,
     &Record::particle_voxel_first_vertex, kParticleVoxels},
    {"particleWidths", KILN_PROXY_PARTICLES, &Record::particle_widths_count, ListKind::kFloat,
     &Record::particle_widths, Times<&Record::particle_widths_count>},
    {"particleWidthsStartIndices", KILN_PROXY_PARTICLES, &Record::particle_widths_count,
     &Record::particle_voxel_first_width, kParticleVoxels},
    {"geometryVoxelsBBoxes", KILN_PROXY_GEOMETRY_VOXELS_BOXES, &Record::geometry_voxels_count,
     ListKind::kVector, &Record::geometry_voxel_boxes, Times<&Record::geometry_voxels_count, 6>},
    {"hairVoxelsBBoxes", KILN_PROXY_HAIR_VOXELS_BOXES, &Record::hair_voxels_count, ListKind::kVector,
     &Record::hair_voxel_boxes, Times<&Record::hair_voxels_count, 6>},
    {"particleVoxelsBBoxes", KILN_PROXY_PARTICLE_VOXELS_BOXES, &Record::particle_voxels_count,
     ListKind::kVector, &Record::particle_voxel_boxes, Times<&Record::particle_voxels_count, 6>},
    {"voxelInfoWireColor", 0, &Record::voxel_infos_count, ListKind::kColor, &Record::voxel_info_wire_color,
     Times<&Record::voxel_infos_count, 3>},
    {"voxelInfoSmoothed", 0, &Record::voxel_infos_count, &Record::voxel_info_smoothed,
     Times<&Record::voxel_infos_count>},
    {"voxelInfoFlipNormals", 0, &Record::voxel_infos_count, &Record::voxel_info_flip_normals,
     Times<&Record::voxel_infos_count>},
};

struct NameRow {
  const char* key;
  uint32_t flag;
  Count count;
  char* Record::*names;
  Count size;  // in bytes, all names with their NULs
};
constexpr NameRow kNameRows[] = {
    {"uvSetNames", KILN_PROXY_UVS, &Record::uv_sets_count, &Record::uv_set_names, &Record::uv_set_names_size},
    {"shaderNames", KILN_PROXY_SHADERS, &Record::shaders_count, &Record::shader_names,
     &Record::shader_names_size},
    {"objectInfoNames", KILN_PROXY_OBJECT_INFOS, &Record::object_info_count, &Record::object_info_names,
     &Record::object_info_names_size},
    {"hairObjectInfoNames", KILN_PROXY_HAIR_OBJECT_INFOS, &Record::hair_object_info_count,
     &Record::hair_object_info_names, &Record::hair_object_info_names_size},
    {"particleObjectInfoNames", KILN_PROXY_PARTICLE_OBJECT_INFOS, &Record::particle_object_info_count,
     &Record::particle_object_info_names, &Record::particle_object_info_names_size},
};

uint32_t FlagsOf(const Record& record) {
  return record.flags[0] | record.flags[1] << 8 | record.flags[2] << 16;
}
bool IsWanted(const Record& record, uint32_t flag, Count group) {
  return (flag == 0 || (FlagsOf(record) & flag) != 0) && record.*group != 0;
}
uint64_t NamesOf(const Record& record, const NameRow& row) {
  return row.count == &Record::uv_sets_count ? UvSets(record) : record.*row.count;
}

v8::Local<v8::Object> MakeList(Environment& environment, v8::Local<v8::ArrayBuffer> memory, ListKind kind,
                               size_t offset, size_t elements) {
  v8::Local<v8::Object> list;
  if (kind == ListKind::kInt) {
    list = v8::Int32Array::New(memory, offset, elements);
  } else {
    list = v8::Float32Array::New(memory, offset, elements);
  }
  SetListPrototype(environment, list, kind);
  return list;
}

v8::Local<v8::Array> MakeSets(Environment& environment, v8::Local<v8::ArrayBuffer> memory, const Row& row,
                              const Record& record) {
  v8::Local<v8::Value> sets[KILN_PROXY_MAX_UV_SETS];
  size_t offset = 0;
  const size_t count = UvSets(record);
  for (size_t i = 0; i < count; i++) {
    const uint64_t elements = (record.*row.sets)[i];
    sets[i] = MakeList(environment, memory, row.kind, offset, elements);
    offset += elements * 4;
  }
  return v8::Array::New(environment.isolate(), sets, count);
}

// As many texts as the file says, whatever the bytes hold: empty ones where they end early, and nothing
// without any bytes at all.
v8::MaybeLocal<v8::Array> MakeNames(v8::Isolate* isolate, const char* names, uint64_t size, uint64_t count) {
  if (!names) return v8::Array::New(isolate, static_cast<int>(count));
  std::vector<v8::Local<v8::Value>> elements;
  elements.reserve(count);
  std::string_view left(names, size);
  for (uint64_t i = 0; i < count; i++) {
    const std::string_view name = left.substr(0, left.find('\0'));
    left.remove_prefix(std::min(left.size(), name.size() + 1));
    v8::Local<v8::String> text;
    if (!NewText(isolate, name).ToLocal(&text)) return {};
    elements.push_back(text);
  }
  return v8::Array::New(isolate, elements.data(), elements.size());
}

}  // namespace

MeshContent::MeshContent(uint32_t flags) : record_(std::make_unique<Record>()) {
  record_->version = 4;
  record_->flags[0] = static_cast<uint8_t>(flags);
  record_->flags[1] = static_cast<uint8_t>(flags >> 8);
  record_->flags[2] = static_cast<uint8_t>(flags >> 16);
}

// Counts that overflow a sum make it one that no memory holds.
void MeshContent::SumUvSets() {
  const auto sum = [this](UvCounts sets) {
    uint64_t total = 0;
    for (size_t i = 0; i < UvSets(*record_); i++) {
      if (__builtin_add_overflow(total, (*record_.*sets)[i], &total)) return UINT64_MAX;
    }
    return total;
  };
  record_->uv_floats_total = sum(&Record::uv_set_floats);
  record_->uv_indices_total = sum(&Record::uv_set_indices);
}

bool MeshContent::Provide() {
  if (IsWanted(*record_, KILN_PROXY_UVS, &Record::uv_sets_count)) SumUvSets();
  return ProvideArrays() && ProvideNames();
}

bool MeshContent::ProvideArrays() {
  for (const Row& row : kRows) {
    Block& block = arrays_.emplace_back();
    uint64_t elements = 0;
    if (!IsWanted(*record_, row.flag, row.group)) continue;
    if (!row.length(*record_, &elements) || elements > compat::MaxListLength()) return false;
    if (elements == 0) continue;
    block.reset(std::calloc(elements, 4));
    if (!block) return false;
    if (row.ints) {
      *record_.*row.ints = static_cast<int32_t*>(block.get());
    } else {
      *record_.*row.floats = static_cast<float*>(block.get());
    }
  }
  return true;
}

bool MeshContent::ProvideNames() {
  for (const NameRow& row : kNameRows) {
    Block& block = names_.emplace_back();
    if (!IsWanted(*record_, row.flag, row.count)) continue;
    if (NamesOf(*record_, row) > kMostNames || *record_.*row.size >= compat::MaxListLength()) return false;
    block.reset(std::calloc(*record_.*row.size + 1, 1));
    if (!block) return false;
    *record_.*row.names = static_cast<char*>(block.get());
  }
  return true;
}

v8::MaybeLocal<v8::Object> MeshContent::MakeObject(Environment& environment, bool filled) {
  v8::Isolate* isolate = environment.isolate();
  ObjectBuilder object(isolate);
  if (IsWanted(*record_, KILN_PROXY_UVS, &Record::uv_sets_count)) {
    v8::Local<v8::Object> indices;
    if (!NewList(environment, ListKind::kInt, record_->uv_original_indices, UvSets(*record_))
             .ToLocal(&indices)) {
      return {};
    }
    object.Value("uvOriginalIndices", indices);
  }
  for (size_t i = 0; i < std::size(kRows); i++) {
    const Row& row = kRows[i];
    uint64_t elements = 0;
    if (!IsWanted(*record_, row.flag, row.group) || !row.length(*record_, &elements)) continue;
    v8::Local<v8::ArrayBuffer> memory;
    if (!AdoptHeapBlock(isolate, arrays_[i].release(), elements * 4).ToLocal(&memory)) return {};
    if (row.sets) {
      object.Value(row.key, MakeSets(environment, memory, row, *record_));
    } else {
      object.Value(row.key, MakeList(environment, memory, row.kind, 0, elements));
    }
  }
  for (size_t i = 0; filled && i < std::size(kNameRows); i++) {
    const NameRow& row = kNameRows[i];
    if (!IsWanted(*record_, row.flag, row.count)) continue;
    v8::Local<v8::Array> names;
    if (!MakeNames(isolate, static_cast<char*>(names_[i].get()), *record_.*row.size, NamesOf(*record_, row))
             .ToLocal(&names)) {
      return {};
    }
    object.Value(row.key, names);
  }
  return object.Take();
}

}  // namespace KilnNodeWrapper
