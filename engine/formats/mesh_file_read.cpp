// Which frame is read, from which kind of file, and what is done to it.
#include "engine/formats/mesh_file_read.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/formats/mesh_file_build.h"
#include "engine/formats/mesh_file_scene.h"

namespace kiln::engine::formats {
namespace {

double Remainder(double value, double divisor) {
  return value - divisor * std::floor(value / divisor);
}

Vec3 Turned(Vec3 v, MeshAxis axis) {
  switch (axis) {
    case MeshAxis::kYUpToZUp:
      return {v.x, -v.z, v.y};
    case MeshAxis::kZUpToYUp:
      return {v.x, v.z, -v.y};
    default:
      return v;
  }
}

void Turn(MeshContent& c, MeshAxis axis) {
  if (Turned({0, 1, 2}, axis) == Vec3{0, 1, 2}) return;
  for (auto* list : {&c.vertices, &c.normals, &c.velocities, &c.hair_vertices, &c.particles,
                     &c.preview_vertices, &c.preview_hair_vertices, &c.preview_particles}) {
    for (Vec3& v : *list) v = Turned(v, axis);
  }
  for (auto* boxes : {&c.geometry_boxes, &c.hair_boxes, &c.particle_boxes}) {
    for (size_t i = 0; i + 1 < boxes->size(); i += 2) {
      Bounds3 bounds;
      bounds.Add(Turned((*boxes)[i], axis));
      bounds.Add(Turned((*boxes)[i + 1], axis));
      (*boxes)[i] = bounds.lower;
      (*boxes)[i + 1] = bounds.upper;
    }
  }
}

bool NeedsNormals(const MeshReadOptions& options, const MeshListCounts& counts) {
  if (counts[static_cast<size_t>(MeshList::kVertexIndices)] == 0) return false;
  return options.normals == MeshNormals::kAlways || (options.normals == MeshNormals::kWhereMissing &&
                                                     counts[static_cast<size_t>(MeshList::kNormals)] == 0);
}

void Change(MeshContent& content, const MeshReadOptions& options, bool normals) {
  if (normals && NeedsNormals(options, CountLists(content))) ComputeNormals(content, options.smooth_angle);
  Turn(content, options.axis);
  for (float& width : content.hair_widths) width *= options.hair_width_factor;
  for (float& width : content.particle_widths) width *= options.particle_width_factor;
}

bool LeavesAsIs(const MeshReadOptions& options, const MeshListCounts& counts, bool normals) {
  return options.object_path.empty() && Turned({0, 1, 2}, options.axis) == Vec3{0, 1, 2} &&
         !(normals && NeedsNormals(options, counts)) && options.hair_width_factor == 1 &&
         options.particle_width_factor == 1;
}

std::unique_ptr<MeshFileReader> OpenAtFrame(const MeshReadOptions& options) {
  if (options.file.empty()) throw MeshFileFailure("no mesh file is named");
  auto reader = MeshFileReader::Open(options.file);
  if (reader != nullptr) reader->SelectFrame(FrameOf(options, reader->frames()));
  return reader;
}

MeshContent OnlyObject(const MeshContent& content, const MeshReadOptions& options) {
  std::vector<VoxelPlan> plans;
  return BuildContent({ExtractObject(content, options.object_path, options.full_names)}, {}, &plans);
}

// `reader` is null for a model.
MeshContent Load(MeshFileReader* reader, const MeshReadOptions& options, bool normals) {
  MeshContent content = reader != nullptr ? reader->ReadAll() : ReadModel(options.file);
  if (!options.object_path.empty()) content = OnlyObject(content, options);
  Change(content, options, normals);
  return content;
}

// Each face around a vertex is held against each other. Where more than this meet, which no surface needs, a
// file of some megabytes would keep the host busy for hours: there every face keeps its own normal.
constexpr uint32_t kMostAround = 4096;

// Corners around each vertex, as ranges of one list.
struct Corners {
  std::vector<uint32_t> first;
  std::vector<uint32_t> corners;

  Corners(const std::vector<int32_t>& indices, size_t vertices)
      : first(vertices + 1), corners(indices.size()) {
    for (const int32_t index : indices) ++first[static_cast<size_t>(index) + 1];
    for (size_t i = 1; i < first.size(); ++i) first[i] += first[i - 1];
    std::vector<uint32_t> next(first.begin(), first.end() - 1);
    for (uint32_t c = 0; c < indices.size(); ++c) corners[next[indices[c]]++] = c;
  }
};

void CheckPreview(const MeshContent& content) {
  if (!InRange(content.preview_indices, content.preview_vertices.size()) ||
      !FitStrands(content.preview_strands, content.preview_hair_vertices.size()))
    throw MeshFileFailure("the mesh file's preview names vertices that it has not");
}

// Lists of one voxel each, for a reader that expects full data.
MeshContent PreviewAsMesh(MeshContent preview) {
  MeshObject object;
  object.vertices = std::move(preview.preview_vertices);
  object.faces = std::move(preview.preview_indices);
  object.hair_vertices = std::move(preview.preview_hair_vertices);
  object.strands = std::move(preview.preview_strands);
  object.particles = std::move(preview.preview_particles);
  CheckObject(object);
  std::vector<VoxelPlan> plans;
  return BuildContent({std::move(object)}, {}, &plans);
}

}  // namespace

MeshFrames ReadFrames(const std::filesystem::path& file) {
  const auto reader = MeshFileReader::Open(file);
  return reader != nullptr ? reader->frames() : MeshFrames{};
}

double FrameOf(const MeshReadOptions& options, const MeshFrames& frames) {
  const double first = frames.first;
  const double last = std::max(frames.first, frames.last);
  const double span = last - first + 1;
  double frame = (options.time ? *options.time * options.speed : first) + options.offset;
  if (options.playback == MeshPlayback::kStill) frame = first + options.offset;
  if (!std::isfinite(frame)) return first;
  if (options.playback == MeshPlayback::kLoop) return first + Remainder(frame - first, span);
  if (options.playback == MeshPlayback::kPingPong && last > first) {
    const double there = Remainder(frame - first, 2 * (last - first));
    return first + std::min(there, 2 * (last - first) - there);
  }
  return std::clamp(frame, first, last);
}

MeshReading::MeshReading(MeshContent content) : content_(std::move(content)) {
  counts_ = CountLists(content_);
}

MeshReading::MeshReading(const MeshReadOptions& options, bool normals) {
  reader_ = OpenAtFrame(options);
  if (reader_ != nullptr && LeavesAsIs(options, reader_->counts(), normals)) {
    counts_ = reader_->counts();
    return;
  }
  content_ = Load(reader_.get(), options, normals);
  reader_.reset();
  counts_ = CountLists(content_);
}

MeshReading MeshReading::OfPreviews(const MeshReadOptions& options) {
  return MeshReading(PreviewAsMesh(ReadPreview(options, UINT64_MAX)));
}

void MeshReading::Read(MeshList list, void* to, uint64_t elements) {
  const MeshListRoom room{list, to, elements};
  Read({&room, 1});
}

void MeshReading::Read(std::span<const MeshListRoom> rooms) {
  if (reader_ != nullptr) return reader_->Read(rooms);
  for (const MeshListRoom& room : rooms) {
    std::visit(
        [&](const auto* from) {
          const uint64_t count = std::min<uint64_t>(room.elements, from->size());
          if (count > 0) std::memcpy(room.to, from->data(), count * sizeof((*from)[0]));
        },
        ListOf(content_, room.list));
  }
}

MeshContent ReadMesh(const MeshReadOptions& options) {
  const auto reader = OpenAtFrame(options);
  return Load(reader.get(), options, true);
}

MeshContent ReadPreview(const MeshReadOptions& options, uint64_t most) {
  const auto reader = OpenAtFrame(options);
  MeshContent content;
  const auto count = [&](MeshList list) { return reader->counts()[static_cast<size_t>(list)]; };
  const auto small = [&] {
    return most != UINT64_MAX && count(MeshList::kVertexIndices) / 3 <= most &&
           count(MeshList::kStrands) <= most && count(MeshList::kParticles) <= most;
  };
  if (reader != nullptr && options.object_path.empty() && !small()) {
    content = reader->ReadPreviews();
    Turn(content, options.axis);
  } else {
    MeshReadOptions plain = options;
    plain.normals = MeshNormals::kOfFile;
    content = Load(reader.get(), plain, false);
    BuildOptions sizes;
    if (most != UINT64_MAX) {
      sizes.preview_faces = sizes.preview_strands = sizes.preview_particles =
          static_cast<int32_t>(std::min<uint64_t>(most, INT32_MAX));
    }
    if (!InRange(content.vertex_indices, content.vertices.size()) ||
        !FitStrands(content.strands, content.hair_vertices.size()))
      throw MeshFileFailure("the mesh file names vertices that it has not");
    AddPreviews(content, sizes);
  }
  CheckPreview(content);
  SampleFaces(content.preview_vertices, content.preview_indices, most);
  SampleStrands(content.preview_hair_vertices, content.preview_strands, most);
  SampleParticles(content.preview_particles, most);
  return content;
}

void ComputeNormals(MeshContent& content, float angle) {
  const std::vector<Vec3>& vertices = content.vertices;
  const std::vector<int32_t>& indices = content.vertex_indices;
  if (!InRange(indices, vertices.size()))
    throw MeshFileFailure("the faces name vertices that the mesh has not");
  std::vector<Vec3> weighted(indices.size() / 3);
  std::vector<Vec3> units(weighted.size());
  for (size_t f = 0; f < weighted.size(); ++f) {
    const Vec3 a = vertices[indices[3 * f]];
    weighted[f] = Cross(vertices[indices[3 * f + 1]] - a, vertices[indices[3 * f + 2]] - a);
    units[f] = Normalize(weighted[f]);
  }
  const Corners around(indices, vertices.size());
  const float least = std::cos(std::clamp(std::isfinite(angle) ? angle : 0.0f, 0.0f, 180.0f) * kPi / 180);
  content.normals.assign(indices.size(), {});
  content.normal_indices.resize(indices.size());
  for (size_t c = 0; c < indices.size(); ++c) {
    Vec3 sum = weighted[c / 3];
    const auto vertex = static_cast<size_t>(indices[c]);
    const uint32_t last = around.first[vertex + 1];
    const bool crowded = last - around.first[vertex] > kMostAround;
    for (uint32_t i = crowded ? last : around.first[vertex]; i < last; ++i) {
      const size_t other = around.corners[i] / 3;
      if (other != c / 3 && Dot(units[c / 3], units[other]) >= least) sum += weighted[other];
    }
    content.normals[c] = Normalize(sum);
    content.normal_indices[c] = static_cast<int32_t>(c);
  }
  content.voxel_first_normal = content.voxel_first_vertex_index;
  content.voxel_first_normal_index = content.voxel_first_vertex_index;
}

}  // namespace kiln::engine::formats
