// Entry points that read mesh files: previews, and full data in two steps.
#include <cstring>
#include <map>
#include <mutex>
#include <shared_mutex>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/formats/mesh_file_read.h"
#include "engine/formats/mesh_file_scene.h"
#include "engine/utilities/memory.h"
#include "proxy.h"

namespace kiln::engine::api {
namespace {

using formats::MeshContent;
using formats::MeshList;
using formats::MeshReading;
using formats::MeshReadOptions;
using Record = ProxyDataRecord;

struct Source {
  MeshReadOptions options;
  int32_t preview_faces = 10000;
};

// Readings between their two steps. A host that never asks for the second step must not collect open files,
// so the oldest make room.
class Readings {
 public:
  uint64_t Add(MeshReading reading) {
    const std::lock_guard lock(mutex_);
    if (readings_.size() >= kMost) readings_.erase(readings_.begin());
    readings_.emplace(++last_, std::move(reading));
    return last_;
  }
  std::optional<MeshReading> Take(uint64_t token) {
    const std::lock_guard lock(mutex_);
    auto node = readings_.extract(token);
    if (node.empty()) return {};
    return std::move(node.mapped());
  }

 private:
  static constexpr size_t kMost = 64;
  std::mutex mutex_;
  std::map<uint64_t, MeshReading> readings_;
  uint64_t last_ = 0;
};

Readings& TheReadings() {
  static Readings readings;
  return readings;
}

Source SourceOf(const ProxyReadParams& p) {
  Source source;
  MeshReadOptions& o = source.options;
  if (p.file != nullptr) o.file = p.file;
  if (p.object_path != nullptr) o.object_path = p.object_path;
  o.full_names = p.use_full_names != 0;
  o.normals = static_cast<formats::MeshNormals>(p.compute_normals);
  o.smooth_angle = p.smooth_angle;
  o.axis = static_cast<formats::MeshAxis>(p.flip_axis);
  o.playback = static_cast<formats::MeshPlayback>(p.anim_type);
  o.speed = p.anim_speed;
  o.offset = p.anim_offset;
  o.hair_width_factor = p.hair_width_multiplier;
  o.particle_width_factor = p.particle_width_multiplier;
  source.preview_faces = p.num_preview_faces;
  return source;
}

Source SourceOf(Renderer& renderer, KilnPluginId plugin) {
  const double time = renderer.WithSettings([](const Settings& settings) { return settings.time; });
  const std::shared_lock lock(renderer.scene.mutex);
  const scene::Instance* instance = renderer.scene.Find(plugin);
  if (instance == nullptr || instance->type->name != "GeomMeshFile")
    throw formats::MeshFileFailure("mesh files are read through a GeomMeshFile");
  const auto get = [&](std::string_view property) { return renderer.scene.Get(plugin, property, time); };
  Source source;
  source.options = formats::OptionsOfProperties(get);
  source.options.time = time;
  const scene::Value file = get("file");
  if (const auto* name = file.As<std::string>()) source.options.file = scene::ResolveFile(*instance, *name);
  const scene::Value faces = get("num_preview_faces");
  if (const auto* most = faces.As<int32_t>()) source.preview_faces = *most;
  return source;
}

// A block of the caller's.
template <class T>
void* Block(const std::vector<T>& list) {
  void* block = AllocateShared(list.size() * sizeof(T));
  if (block == nullptr) throw std::bad_alloc();
  if (!list.empty()) std::memcpy(block, list.data(), list.size() * sizeof(T));
  return block;
}

int32_t ReadPreview(const Source& source, int32_t kind, void** first, void** second, int32_t* first_count,
                    int32_t* second_count, int32_t count_hint) {
  if (first == nullptr || first_count == nullptr || kind < 0 || kind > 2) return 0;
  if (kind != 2 && (second == nullptr || second_count == nullptr)) return 0;
  const int32_t most = count_hint > 0 ? count_hint : std::max(source.preview_faces, 0);
  const MeshContent preview = formats::ReadPreview(source.options, static_cast<uint64_t>(most));
  const auto& points = kind == 0   ? preview.preview_vertices
                       : kind == 1 ? preview.preview_hair_vertices
                                   : preview.preview_particles;
  const auto& others = kind == 0 ? preview.preview_indices : preview.preview_strands;
  std::unique_ptr<void, decltype(&FreeShared)> block(Block(points), &FreeShared);
  if (kind != 2) {
    *second = Block(others);
    *second_count = static_cast<int32_t>(kind == 0 ? others.size() / 3 : others.size());
  }
  *first = block.release();
  *first_count = static_cast<int32_t>(points.size());
  return 1;
}

struct CountRow {
  MeshList list;
  uint64_t Record::*count;
  uint64_t times = 1;
};
constexpr CountRow kCounts[] = {
    {MeshList::kVertices, &Record::vertices_floats, 3},
    {MeshList::kVertexIndices, &Record::vertex_indices_count},
    {MeshList::kNormals, &Record::normals_floats, 3},
    {MeshList::kNormalIndices, &Record::normal_indices_count},
    {MeshList::kMaterialIds, &Record::material_ids_count},
    {MeshList::kVelocities, &Record::velocities_floats, 3},
    {MeshList::kUvOriginalIndices, &Record::uv_sets_count},
    {MeshList::kUvSetNames, &Record::uv_set_names_size},
    {MeshList::kShaderIds, &Record::shaders_count},
    {MeshList::kShaderNames, &Record::shader_names_size},
    {MeshList::kObjectIds, &Record::object_info_count},
    {MeshList::kObjectNames, &Record::object_info_names_size},
    {MeshList::kHairObjectIds, &Record::hair_object_info_count},
    {MeshList::kHairObjectNames, &Record::hair_object_info_names_size},
    {MeshList::kParticleObjectIds, &Record::particle_object_info_count},
    {MeshList::kParticleObjectNames, &Record::particle_object_info_names_size},
    {MeshList::kHairVertices, &Record::hair_vertices_floats, 3},
    {MeshList::kStrands, &Record::vertices_per_strand_count},
    {MeshList::kHairWidths, &Record::hair_widths_count},
    {MeshList::kParticles, &Record::particle_vertices_floats, 3},
    {MeshList::kParticleWidths, &Record::particle_widths_count},
    {MeshList::kWireColors, &Record::voxel_infos_count},
};
struct BoxRow {
  MeshList list;
  uint64_t Record::*count;
};
constexpr BoxRow kBoxes[] = {{MeshList::kGeometryBoxes, &Record::geometry_voxels_count},
                             {MeshList::kHairBoxes, &Record::hair_voxels_count},
                             {MeshList::kParticleBoxes, &Record::particle_voxels_count}};

struct FloatRow {
  MeshList list;
  float* Record::*to;
};
constexpr FloatRow kFloats[] = {
    {MeshList::kVertices, &Record::vertices},
    {MeshList::kNormals, &Record::normals},
    {MeshList::kVelocities, &Record::velocities},
    {MeshList::kUvValues, &Record::uv_values},
    {MeshList::kHairVertices, &Record::hair_vertices},
    {MeshList::kHairWidths, &Record::hair_widths},
    {MeshList::kParticles, &Record::particle_vertices},
    {MeshList::kParticleWidths, &Record::particle_widths},
    {MeshList::kGeometryBoxes, &Record::geometry_voxel_boxes},
    {MeshList::kHairBoxes, &Record::hair_voxel_boxes},
    {MeshList::kParticleBoxes, &Record::particle_voxel_boxes},
    {MeshList::kWireColors, &Record::voxel_info_wire_color},
};
struct IntRow {
  MeshList list;
  int32_t* Record::*to;
};
constexpr IntRow kInts[] = {
    {MeshList::kVertexIndices, &Record::vertex_indices},
    {MeshList::kNormalIndices, &Record::normal_indices},
    {MeshList::kMaterialIds, &Record::material_ids},
    {MeshList::kEdgeVisibility, &Record::edge_visibility},
    {MeshList::kUvValueIndices, &Record::uv_value_indices},
    {MeshList::kShaderIds, &Record::shader_ids},
    {MeshList::kObjectIds, &Record::object_info_ids},
    {MeshList::kObjectBegins, &Record::object_info_v_begins},
    {MeshList::kObjectEnds, &Record::object_info_v_ends},
    {MeshList::kHairObjectIds, &Record::hair_object_info_ids},
    {MeshList::kHairObjectBegins, &Record::hair_object_info_v_begins},
    {MeshList::kHairObjectEnds, &Record::hair_object_info_v_ends},
    {MeshList::kParticleObjectIds, &Record::particle_object_info_ids},
    {MeshList::kParticleObjectBegins, &Record::particle_object_info_v_begins},
    {MeshList::kParticleObjectEnds, &Record::particle_object_info_v_ends},
    {MeshList::kStrands, &Record::vertices_per_strand},
    {MeshList::kVoxelFirstVertex, &Record::voxel_first_vertex},
    {MeshList::kVoxelFirstVertexIndex, &Record::voxel_first_vertex_index},
    {MeshList::kVoxelFirstNormal, &Record::voxel_first_normal},
    {MeshList::kVoxelFirstNormalIndex, &Record::voxel_first_normal_index},
    {MeshList::kVoxelFirstMaterialId, &Record::voxel_first_material_id},
    {MeshList::kVoxelFirstVelocity, &Record::voxel_first_velocity},
    {MeshList::kVoxelFirstUvValue, &Record::voxel_first_uv_value},
    {MeshList::kVoxelFirstUvValueIndex, &Record::voxel_first_uv_value_index},
    {MeshList::kHairVoxelFirstVertex, &Record::hair_voxel_first_vertex},
    {MeshList::kHairVoxelFirstStrand, &Record::hair_voxel_first_strand},
    {MeshList::kHairVoxelFirstWidth, &Record::hair_voxel_first_width},
    {MeshList::kParticleVoxelFirstVertex, &Record::particle_voxel_first_vertex},
    {MeshList::kParticleVoxelFirstWidth, &Record::particle_voxel_first_width},
    {MeshList::kSmoothed, &Record::voxel_info_smoothed},
    {MeshList::kFlipNormals, &Record::voxel_info_flip_normals},
};
struct NameRow {
  MeshList list;
  char* Record::*to;
};
constexpr NameRow kNames[] = {
    {MeshList::kUvSetNames, &Record::uv_set_names},
    {MeshList::kShaderNames, &Record::shader_names},
    {MeshList::kObjectNames, &Record::object_info_names},
    {MeshList::kHairObjectNames, &Record::hair_object_info_names},
    {MeshList::kParticleObjectNames, &Record::particle_object_info_names},
};

uint64_t CountOf(const MeshReading& reading, MeshList list) {
  return reading.counts()[static_cast<size_t>(list)];
}

size_t SetsShown(const MeshReading& reading) {
  return std::min<uint64_t>(CountOf(reading, MeshList::kUvOriginalIndices), KILN_PROXY_MAX_UV_SETS);
}

// What each UV set has of a list. False when the sets have more than the list, or less than nothing.
bool CountSets(MeshReading& reading, MeshList lengths, MeshList list, uint64_t times,
               uint64_t (&counts)[KILN_PROXY_MAX_UV_SETS]) {
  std::vector<int32_t> sets(CountOf(reading, lengths));
  reading.Read(lengths, sets.data(), sets.size());
  uint64_t total = 0;
  for (size_t i = 0; i < sets.size(); ++i) {
    if (sets[i] < 0) return false;
    total += static_cast<uint64_t>(sets[i]);
    if (i < KILN_PROXY_MAX_UV_SETS) counts[i] = static_cast<uint64_t>(sets[i]) * times;
  }
  return total == CountOf(reading, list);
}

// As many elements as the host made room for: it takes no more than so many UV sets.
uint64_t Room(const MeshReading& reading, const Record& record, MeshList list) {
  const size_t sets = SetsShown(reading);
  uint64_t total = 0;
  switch (list) {
    case MeshList::kUvValues:
      for (size_t i = 0; i < sets; ++i) total += record.uv_set_floats[i] / 3;
      break;
    case MeshList::kUvValueIndices:
      for (size_t i = 0; i < sets; ++i) total += record.uv_set_indices[i];
      break;
    case MeshList::kVoxelFirstUvValue:
    case MeshList::kVoxelFirstUvValueIndex:
      return sets * (CountOf(reading, MeshList::kGeometryBoxes) / 2);
    default:
      return CountOf(reading, list);
  }
  return std::min(total, CountOf(reading, list));
}

bool Count(MeshReading& reading, Record* record) {
  for (const CountRow& row : kCounts) record->*row.count = CountOf(reading, row.list) * row.times;
  for (const BoxRow& row : kBoxes) record->*row.count = CountOf(reading, row.list) / 2;
  reading.Read(MeshList::kUvOriginalIndices, record->uv_original_indices, SetsShown(reading));
  return CountSets(reading, MeshList::kUvSetValues, MeshList::kUvValues, 3, record->uv_set_floats) &&
         CountSets(reading, MeshList::kUvSetIndices, MeshList::kUvValueIndices, 1, record->uv_set_indices);
}

void Fill(MeshReading& reading, Record* record) {
  std::vector<formats::MeshListRoom> rooms;
  const auto add = [&](const auto& rows) {
    for (const auto& row : rows) {
      if (record->*row.to != nullptr)
        rooms.push_back({row.list, record->*row.to, Room(reading, *record, row.list)});
    }
  };
  add(kFloats);
  add(kInts);
  add(kNames);
  reading.Read(rooms);
}

int32_t Prepare(MeshReading reading, Record* record, uint64_t* token) {
  if (!Count(reading, record)) return 0;
  *token = TheReadings().Add(std::move(reading));
  return 1;
}

int32_t PrepareFull(const MeshReadOptions& options, Record* record, uint64_t* token) {
  const bool normals = (record->flags[0] & KILN_PROXY_NORMALS) != 0;
  return Prepare(MeshReading(options, normals), record, token);
}

// The token ends here, whatever comes of it.
int32_t Finish(Record* record, uint64_t token) {
  std::optional<MeshReading> reading = TheReadings().Take(token);
  if (!reading || record == nullptr) return 0;
  Fill(*reading, record);
  return 1;
}

// What the body makes of the source, or 0; why not goes to the renderer's log.
template <class F>
int32_t WithSource(KilnRendererHandle renderer, KilnPluginId plugin, F&& body) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    try {
      return body(SourceOf(r, plugin));
    } catch (const formats::MeshFileFailure& failure) {
      r.events.OnLog(0, failure.what());
      return 0;
    }
  });
}

}  // namespace

extern "C" {

int32_t Kiln_ProxyCommon_readProxyPreview(const ProxyReadParams* params, int32_t kind, void** first,
                                          void** second, int32_t* first_count, int32_t* second_count,
                                          int32_t count_hint) {
  if (!params) return 0;
  return Guarded<int32_t>(0, [&] {
    return ReadPreview(SourceOf(*params), kind, first, second, first_count, second_count, count_hint);
  });
}

int32_t Kiln_ProxyCommon_readProxyPrepare(const ProxyReadParams* params, int32_t, ProxyDataRecord* record,
                                          uint64_t* token) {
  if (!params || !record || !token) return 0;
  return Guarded<int32_t>(
      0, [&] { return Prepare(MeshReading::OfPreviews(SourceOf(*params).options), record, token); });
}

int32_t Kiln_ProxyCommon_readProxyFinalize(int32_t, ProxyDataRecord* record, uint64_t token) {
  return Guarded<int32_t>(0, [&] { return Finish(record, token); });
}

int32_t Kiln_ProxyCommon_readProxyFullPrepare(const ProxyReadParams* params, ProxyDataRecord* record,
                                              uint64_t* token) {
  if (!params || !record || !token) return 0;
  return Guarded<int32_t>(0, [&] { return PrepareFull(SourceOf(*params).options, record, token); });
}

int32_t Kiln_ProxyCommon_readProxyFullFinalize(ProxyDataRecord* record, uint64_t token) {
  return Guarded<int32_t>(0, [&] { return Finish(record, token); });
}

int32_t Kiln_KilnRenderer_readProxyPreview(KilnRendererHandle renderer, int32_t kind, KilnPluginId plugin,
                                           void** first, void** second, int32_t* first_count,
                                           int32_t* second_count, int32_t count_hint) {
  return WithSource(renderer, plugin, [&](const Source& source) {
    return ReadPreview(source, kind, first, second, first_count, second_count, count_hint);
  });
}

int32_t Kiln_KilnRenderer_readProxyPrepare(KilnRendererHandle renderer, KilnPluginId plugin, int32_t,
                                           ProxyDataRecord* record, uint64_t* token) {
  if (!record || !token) return 0;
  return WithSource(renderer, plugin, [&](const Source& source) {
    return Prepare(MeshReading::OfPreviews(source.options), record, token);
  });
}

int32_t Kiln_KilnRenderer_readProxyFinalize(KilnRendererHandle, int32_t, ProxyDataRecord* record,
                                            uint64_t token) {
  return Guarded<int32_t>(0, [&] { return Finish(record, token); });
}

int32_t Kiln_KilnRenderer_readProxyFullPrepare(KilnRendererHandle renderer, KilnPluginId plugin,
                                               ProxyDataRecord* record, uint64_t* token) {
  if (!record || !token) return 0;
  return WithSource(renderer, plugin,
                    [&](const Source& source) { return PrepareFull(source.options, record, token); });
}

int32_t Kiln_KilnRenderer_readProxyFullFinalize(KilnRendererHandle, ProxyDataRecord* record, uint64_t token) {
  return Guarded<int32_t>(0, [&] { return Finish(record, token); });
}

}  // extern "C"
}  // namespace kiln::engine::api
