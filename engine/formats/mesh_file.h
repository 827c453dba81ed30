// Mesh files: geometry, hair and particles of several objects in one file, which needs no scene.
// docs/mesh-files.md describes the container and what each list holds.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "engine/utilities/math.h"

namespace kiln::engine::formats {

// A mesh file that cannot be read or written; one sentence without a full stop.
class MeshFileFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The numbers are those of the container.
enum class MeshList : uint32_t {
  kVertices,
  kVertexIndices,
  kNormals,
  kNormalIndices,
  kMaterialIds,
  kEdgeVisibility,
  kVelocities,
  kUvSetNames,
  kUvOriginalIndices,
  kUvSetValues,
  kUvSetIndices,
  kUvValues,
  kUvValueIndices,
  kShaderNames,
  kShaderIds,
  kObjectNames,
  kObjectIds,
  kObjectBegins,
  kObjectEnds,
  kHairObjectNames,
  kHairObjectIds,
  kHairObjectBegins,
  kHairObjectEnds,
  kParticleObjectNames,
  kParticleObjectIds,
  kParticleObjectBegins,
  kParticleObjectEnds,
  kHairVertices,
  kStrands,
  kHairWidths,
  kParticles,
  kParticleWidths,
  kVoxelFirstVertex,
  kVoxelFirstVertexIndex,
  kVoxelFirstNormal,
  kVoxelFirstNormalIndex,
  kVoxelFirstMaterialId,
  kVoxelFirstVelocity,
  kVoxelFirstUvValue,
  kVoxelFirstUvValueIndex,
  kGeometryBoxes,
  kHairBoxes,
  kParticleBoxes,
  kHairVoxelFirstVertex,
  kHairVoxelFirstStrand,
  kHairVoxelFirstWidth,
  kParticleVoxelFirstVertex,
  kParticleVoxelFirstWidth,
  kWireColors,
  kSmoothed,
  kFlipNormals,
  kPreviewVertices,
  kPreviewIndices,
  kPreviewHairVertices,
  kPreviewStrands,
  kPreviewParticles,
  kCount,
};
inline constexpr size_t kMeshLists = static_cast<size_t>(MeshList::kCount);
// Elements of each list.
using MeshListCounts = std::array<uint64_t, kMeshLists>;

// One kind of thing in a file (geometry, hair or particles), object by object: names with a NUL each, and the
// voxels from begin to end that hold the object.
struct MeshObjects {
  std::string names;
  std::vector<int32_t> ids, begins, ends;
};

// All lists at one frame. Indices are of the whole list, whatever the voxel; voxels are ranges of the lists,
// from their first element to that of the next voxel.
struct MeshContent {
  std::vector<Vec3> vertices;
  std::vector<int32_t> vertex_indices;  // three a face, as all that is per corner
  std::vector<Vec3> normals;
  std::vector<int32_t> normal_indices;
  std::vector<int32_t> material_ids;     // per face
  std::vector<int32_t> edge_visibility;  // three bits a face, ten faces an int
  std::vector<Vec3> velocities;          // per vertex, per frame

  std::string uv_set_names;
  std::vector<int32_t> uv_original_indices;  // channel numbers
  std::vector<int32_t> uv_set_values;        // of uv_values, how many each set has
  std::vector<int32_t> uv_set_indices;       // of uv_value_indices
  std::vector<Vec3> uv_values;               // one set after the other
  std::vector<int32_t> uv_value_indices;     // into the set
  std::string shader_names;
  std::vector<int32_t> shader_ids;
  MeshObjects objects, hair_objects, particle_objects;

  std::vector<Vec3> hair_vertices;
  std::vector<int32_t> strands;  // how many vertices each has
  std::vector<float> hair_widths;
  std::vector<Vec3> particles;
  std::vector<float> particle_widths;

  std::vector<int32_t> voxel_first_vertex, voxel_first_vertex_index;
  std::vector<int32_t> voxel_first_normal, voxel_first_normal_index;
  std::vector<int32_t> voxel_first_material_id, voxel_first_velocity;
  std::vector<int32_t> voxel_first_uv_value, voxel_first_uv_value_index;  // all voxels of a set, set by set
  std::vector<Vec3> geometry_boxes, hair_boxes, particle_boxes;           // two corners a voxel
  std::vector<int32_t> hair_voxel_first_vertex, hair_voxel_first_strand, hair_voxel_first_width;
  std::vector<int32_t> particle_voxel_first_vertex, particle_voxel_first_width;

  std::vector<Vec3> wire_colors;  // per object, as are the next two
  std::vector<int32_t> smoothed, flip_normals;

  std::vector<Vec3> preview_vertices;
  std::vector<int32_t> preview_indices;
  std::vector<Vec3> preview_hair_vertices;
  std::vector<int32_t> preview_strands;
  std::vector<Vec3> preview_particles;
};

using MeshListPointer =
    std::variant<std::vector<Vec3>*, std::vector<float>*, std::vector<int32_t>*, std::string*>;
// Where the content has a list.
MeshListPointer ListOf(MeshContent& content, MeshList list);
uint64_t ElementBytes(MeshList list);
MeshListCounts CountLists(const MeshContent& content);

// What is wrong with the lists' lengths, as a sentence without a full stop; empty when nothing is.
std::string CheckLengths(const MeshListCounts& counts);

struct MeshFrames {
  int32_t first = 0;
  int32_t last = 0;
};

// Writes the container: lists that stay the same from a frame to the next are written once.
class MeshFileWriter {
 public:
  explicit MeshFileWriter(MeshFrames frames) : frames_(frames) {}
  // In rising order of frames. Throws MeshFileFailure for content that no reader would take.
  void AddFrame(int32_t frame, MeshContent content);
  // Whole or not at all. Throws MeshFileFailure.
  void Write(const std::filesystem::path& file);

 private:
  struct Chunk {
    MeshList list;
    int32_t frame;
    uint64_t offset, bytes, checksum;
  };
  MeshFrames frames_;
  MeshContent previous_;
  bool any_ = false;
  std::vector<Chunk> chunks_;
  std::vector<std::byte> data_;
};

// Where a list is to go, and how many of its elements.
struct MeshListRoom {
  MeshList list;
  void* to;
  uint64_t elements;
};

// An open container. What it reads stays the same when another file takes its name. Any thread, one at a
// time.
class MeshFileReader {
 public:
  // Null when the file is no container of this kind. Throws MeshFileFailure when there is no such file or it
  // is damaged.
  static std::unique_ptr<MeshFileReader> Open(const std::filesystem::path& file);
  ~MeshFileReader();
  MeshFileReader(const MeshFileReader&) = delete;
  MeshFileReader& operator=(const MeshFileReader&) = delete;

  const MeshFrames& frames() const { return frames_; }
  // The lists as they stand at a frame; the first frame before the first. Throws for lengths that do not fit.
  void SelectFrame(double frame);
  const MeshListCounts& counts() const { return counts_; }
  // The first `elements` of a list at the selected frame, at most as many as it has; the whole list is read
  // and checked. Throws MeshFileFailure.
  void Read(MeshList list, void* to, uint64_t elements) const;
  // The same for several lists, by two threads where there is much to read.
  void Read(std::span<const MeshListRoom> rooms) const;
  // All lists at the selected frame, or the previews alone.
  MeshContent ReadAll() const;
  MeshContent ReadPreviews() const;

 private:
  struct Chunk {
    int32_t frame = 0;
    uint64_t offset = 0, bytes = 0, checksum = 0;
  };
  MeshFileReader(int descriptor, uint64_t size) : descriptor_(descriptor), size_(size) {}
  void ReadDirectory(uint64_t chunks, uint64_t checksum);
  MeshContent ReadFrom(MeshList first) const;
  void ReadBytes(uint64_t offset, void* to, uint64_t bytes) const;

  int descriptor_;
  uint64_t size_;
  MeshFrames frames_;
  std::array<std::vector<Chunk>, kMeshLists> chunks_;  // of each list by frame
  std::array<const Chunk*, kMeshLists> selected_{};
  MeshListCounts counts_{};
};

}  // namespace kiln::engine::formats
