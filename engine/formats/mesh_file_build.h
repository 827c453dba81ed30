// From the objects that somebody wants in a mesh file to the lists of the file.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "engine/formats/mesh_file.h"

namespace kiln::engine::formats {

struct MapChannel {
  int32_t index = 0;
  std::string name;
  std::vector<Vec3> values;
  std::vector<int32_t> faces;  // an index into values per corner; empty: as the faces
};

// One object at one frame, in its own numbers.
struct MeshObject {
  std::string name;
  int32_t id = 0;
  std::vector<Vec3> vertices;
  std::vector<int32_t> faces;
  std::vector<Vec3> normals;
  std::vector<int32_t> face_normals;  // empty: as the faces
  std::vector<Vec3> velocities;
  std::vector<int32_t> material_ids;
  std::vector<int32_t> edge_visibility;
  std::vector<MapChannel> maps;
  std::vector<std::pair<int32_t, std::string>> shaders;
  std::vector<Vec3> hair_vertices;
  std::vector<int32_t> strands;
  std::vector<float> hair_widths;  // per vertex, or one for all
  std::vector<Vec3> particles;
  std::vector<float> particle_widths;  // per particle, or one for all
};

// Throws MeshFileFailure for an object whose lists don't fit each other; afterwards they do, with indices for
// all corners and a width for each vertex.
void CheckObject(MeshObject& object);
void ApplyTransform(MeshObject& object, const Transform& transform);

// The numbers are those that cross the boundary.
enum class PreviewKind : int32_t { kFaceSampling = 0, kClustering = 1, kEdgeCollapse = 2, kDefault = 3 };

struct BuildOptions {
  int32_t voxel_elements = 0;  // most faces, strands or particles of a voxel; 0: one voxel an object
  PreviewKind preview_kind = PreviewKind::kDefault;
  int32_t preview_faces = 10000;
  int32_t preview_strands = 1000;
  int32_t preview_particles = 20000;
};

// Which elements of an object each voxel holds.
using VoxelGroups = std::vector<std::vector<int32_t>>;
struct VoxelPlan {
  VoxelGroups faces, strands, particles;
};

// Objects that passed CheckObject, one after the other. `plans`, one an object, are made when they don't fit
// the objects, and followed when they do: so an animation keeps its voxels.
MeshContent BuildContent(const std::vector<MeshObject>& objects, const BuildOptions& options,
                         std::vector<VoxelPlan>* plans);
// The first object of the name, of each kind. Throws MeshFileFailure when there is none, or when the lists
// don't hold what they say. `whole`: else the part behind the last '/' or '|' may be the name as well.
MeshObject ExtractObject(const MeshContent& content, const std::string& name, bool whole);

// Fills the preview lists from the others.
void AddPreviews(MeshContent& content, const BuildOptions& options);
// At most `most` of the faces, evenly taken, and the vertices that they use.
void SampleFaces(std::vector<Vec3>& vertices, std::vector<int32_t>& indices, uint64_t most);
void SampleStrands(std::vector<Vec3>& vertices, std::vector<int32_t>& strands, uint64_t most);
void SampleParticles(std::vector<Vec3>& particles, uint64_t most);

// Whether each index is one of `count` elements.
bool InRange(const std::vector<int32_t>& indices, size_t count);
// Whether no strand is negative and all of them have no more than `vertices`.
bool FitStrands(const std::vector<int32_t>& strands, size_t vertices);

}  // namespace kiln::engine::formats
