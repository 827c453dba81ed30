// Reading of mesh files and of models as mesh files, with what the reader asks for applied.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "engine/formats/mesh_file.h"

namespace kiln::engine::formats {

// The numbers are those that cross the boundary.
enum class MeshNormals : int32_t { kOfFile = 0, kWhereMissing = 1, kAlways = 2 };
enum class MeshAxis : int32_t { kAsIs = 0, kYUpToZUp = 1, kZUpToYUp = 2 };
enum class MeshPlayback : int32_t { kLoop = 0, kOnce = 1, kPingPong = 2, kStill = 3 };

struct MeshReadOptions {
  std::filesystem::path file;
  std::string object_path{};  // one object alone; empty: all of them
  bool full_names = false;    // else the part behind the last '/' or '|' names an object as well
  MeshNormals normals = MeshNormals::kWhereMissing;
  float smooth_angle = 30;  // degrees; faces that meet at a larger angle have an edge
  MeshAxis axis = MeshAxis::kAsIs;
  MeshPlayback playback = MeshPlayback::kLoop;
  float speed = 1;
  float offset = 0;  // frames
  // In frames; without one the file's first frame is meant.
  std::optional<double> time{};
  float hair_width_factor = 1;
  float particle_width_factor = 1;
};

// The frames of a mesh file; a model has the one frame 0. Throws MeshFileFailure.
MeshFrames ReadFrames(const std::filesystem::path& file);
// The frame of the file that is shown.
double FrameOf(const MeshReadOptions& options, const MeshFrames& frames);

// A mesh file, looked at and not yet read. One thread at a time.
class MeshReading {
 public:
  // Throws MeshFileFailure, or std::bad_alloc. `normals`: whether any are asked for; computing them takes
  // time.
  MeshReading(const MeshReadOptions& options, bool normals);
  // The previews in place of the geometry, hair and particles.
  static MeshReading OfPreviews(const MeshReadOptions& options);

  const MeshListCounts& counts() const { return counts_; }
  // The first `elements` of a list, at most as many as it has. Throws MeshFileFailure.
  void Read(MeshList list, void* to, uint64_t elements);
  // The same for several lists, by two threads where there is much to read.
  void Read(std::span<const MeshListRoom> rooms);

 private:
  explicit MeshReading(MeshContent content);

  // One of the two: the file itself, when nothing about it is to be changed, or what was made of it.
  std::unique_ptr<MeshFileReader> reader_;
  MeshContent content_;
  MeshListCounts counts_{};
};

// All lists; a model has no previews. Throws MeshFileFailure.
MeshContent ReadMesh(const MeshReadOptions& options);
// The preview lists alone, with no more than so many faces, strands or particles; a mesh that is small enough
// is its own preview. Throws MeshFileFailure.
MeshContent ReadPreview(const MeshReadOptions& options, uint64_t most);

// Normals per corner, each the mean of the faces around its vertex that lie within the angle.
void ComputeNormals(MeshContent& content, float angle);

}  // namespace kiln::engine::formats
