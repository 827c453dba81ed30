// From the lists of a mesh file to one mesh, and the files that are in use.
#include "engine/render/mesh_file_geometry.h"

#include <fmt/format.h>

#include <cmath>
#include <map>
#include <mutex>

#include "engine/formats/mesh_file_build.h"
#include "engine/formats/mesh_file_read.h"
#include "engine/formats/mesh_file_scene.h"
#include "engine/render/inputs.h"
#include "engine/render/tessellate.h"

namespace kiln::engine::render {
namespace {

using formats::MeshContent;
using formats::MeshReadOptions;

constexpr int kHairSides = 4;
constexpr float kHairWidth = 0.001f;
constexpr float kParticleWidth = 0.02f;
constexpr size_t kMostTriangles = size_t{1} << 27;

// A file's lists while something shows them. Any thread.
class ContentCache {
 public:
  std::shared_ptr<const MeshContent> Read(const MeshReadOptions& o, const formats::MeshFrames& frames) {
    std::error_code error;
    const auto changed = std::filesystem::last_write_time(o.file, error);
    const std::string key =
        fmt::format("{}\n{}\n{} {} {} {} {} {} {} {}", o.file.string(), o.object_path, o.full_names,
                    error ? 0 : changed.time_since_epoch().count(), static_cast<int>(o.normals),
                    o.smooth_angle, static_cast<int>(o.axis), std::floor(formats::FrameOf(o, frames)),
                    o.hair_width_factor, o.particle_width_factor);
    {
      const std::lock_guard lock(mutex_);
      if (auto found = contents_.find(key); found != contents_.end()) {
        if (auto content = found->second.lock()) return content;
      }
    }
    auto content = std::make_shared<const MeshContent>(formats::ReadMesh(o));
    const std::lock_guard lock(mutex_);
    std::erase_if(contents_, [](const auto& entry) { return entry.second.expired(); });
    contents_[key] = content;
    return content;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::weak_ptr<const MeshContent>> contents_;
};

ContentCache& TheCache() {
  static ContentCache cache;
  return cache;
}

template <class T>
scene::Array<T> Share(const std::shared_ptr<const MeshContent>& content, const std::vector<T>& list) {
  return scene::Array<T>(std::shared_ptr<const T>(content, list.data()), list.size());
}

// The first UV sets of the file, as far as each fits all faces.
void AddUvSets(const std::shared_ptr<const MeshContent>& content, MeshArrays* arrays) {
  const MeshContent& c = *content;
  size_t values = 0;
  size_t indices = 0;
  int shown = 0;
  for (size_t set = 0; set < c.uv_set_values.size() && shown < kMaxUvSets; ++set) {
    if (c.uv_set_values[set] < 0 || c.uv_set_indices[set] < 0) return;
    const auto own_values = static_cast<size_t>(c.uv_set_values[set]);
    const auto own_indices = static_cast<size_t>(c.uv_set_indices[set]);
    if (own_values > c.uv_values.size() - values || own_indices > c.uv_value_indices.size() - indices) return;
    if (own_indices == c.vertex_indices.size()) {
      arrays->uv[shown] =
          scene::VectorArray(std::shared_ptr<const Vec3>(content, c.uv_values.data() + values), own_values);
      arrays->face_uv[shown++] = scene::IntArray(
          std::shared_ptr<const int32_t>(content, c.uv_value_indices.data() + indices), own_indices);
    }
    values += own_values;
    indices += own_indices;
  }
}

MeshArrays Geometry(const std::shared_ptr<const MeshContent>& content) {
  MeshArrays arrays;
  arrays.vertices = Share(content, content->vertices);
  arrays.faces = Share(content, content->vertex_indices);
  arrays.normals = Share(content, content->normals);
  arrays.face_normals = Share(content, content->normal_indices);
  AddUvSets(content, &arrays);
  return arrays;
}

float WidthAt(const std::vector<float>& widths, size_t i, float otherwise) {
  return i < widths.size() && widths[i] > 0 ? widths[i] : otherwise;
}

MeshArrays Hair(const MeshContent& c) {
  TubeBuilder tubes(kHairSides);
  if (!formats::FitStrands(c.strands, c.hair_vertices.size()))
    throw formats::MeshFileFailure("the mesh file's strands have more vertices than there are");
  if (c.hair_vertices.size() > kMostTriangles / (2 * kHairSides))
    throw formats::MeshFileFailure("the mesh file has more hair than can be rendered");
  std::vector<float> widths(c.hair_vertices.size());
  for (size_t i = 0; i < widths.size(); ++i) widths[i] = WidthAt(c.hair_widths, i, kHairWidth);
  size_t first = 0;
  for (const int32_t strand : c.strands) {
    const auto count = static_cast<size_t>(strand);
    tubes.Add({c.hair_vertices.data() + first, count}, widths.data() + first, kHairWidth, nullptr);
    first += count;
  }
  return tubes.empty() ? MeshArrays{} : tubes.Take();
}

MeshArrays Particles(const MeshContent& c) {
  const BallMesh ball = MakeIcosphere(1);
  if (c.particles.size() > kMostTriangles / (ball.faces.size() / 3))
    throw formats::MeshFileFailure("the mesh file has more particles than can be rendered");
  std::vector<Vec3> vertices;
  std::vector<Vec3> normals;
  std::vector<int32_t> faces;
  for (size_t i = 0; i < c.particles.size(); ++i) {
    const float radius = WidthAt(c.particle_widths, i, kParticleWidth) / 2;
    const auto first = static_cast<int32_t>(vertices.size());
    for (const Vec3& n : ball.normals) vertices.push_back(c.particles[i] + n * radius);
    normals.insert(normals.end(), ball.normals.begin(), ball.normals.end());
    for (const int32_t corner : ball.faces) faces.push_back(first + corner);
  }
  MeshArrays arrays;
  arrays.vertices = scene::VectorArray(std::move(vertices));
  arrays.normals = scene::VectorArray(std::move(normals));
  arrays.faces = scene::IntArray(std::move(faces));
  return arrays;
}

// Adds values and an index per corner; a part without them gets `otherwise` everywhere.
void AddCorners(const scene::VectorArray& from, const scene::IntArray& own, const scene::IntArray& faces,
                Vec3 otherwise, std::vector<Vec3>* values, std::vector<int32_t>* indices) {
  const auto first = static_cast<int32_t>(values->size());
  if (from.empty()) {
    values->push_back(otherwise);
    indices->insert(indices->end(), faces.size(), first);
    return;
  }
  values->insert(values->end(), from.begin(), from.end());
  for (const int32_t index : own.empty() ? faces : own) indices->push_back(first + index);
}

MeshArrays Join(const std::vector<MeshArrays>& parts) {
  std::vector<Vec3> vertices, normals, uv;
  std::vector<int32_t> faces, face_normals, face_uv;
  for (const MeshArrays& part : parts) {
    const auto first = static_cast<int32_t>(vertices.size());
    vertices.insert(vertices.end(), part.vertices.begin(), part.vertices.end());
    for (const int32_t corner : part.faces) faces.push_back(first + corner);
    AddCorners(part.normals, part.face_normals, part.faces, {0, 1, 0}, &normals, &face_normals);
    AddCorners(part.uv[0], part.face_uv[0], part.faces, {}, &uv, &face_uv);
  }
  MeshArrays joined;
  joined.vertices = scene::VectorArray(std::move(vertices));
  joined.faces = scene::IntArray(std::move(faces));
  joined.normals = scene::VectorArray(std::move(normals));
  joined.face_normals = scene::IntArray(std::move(face_normals));
  joined.uv[0] = scene::VectorArray(std::move(uv));
  joined.face_uv[0] = scene::IntArray(std::move(face_uv));
  return joined;
}

}  // namespace

std::unique_ptr<GeometrySource> MeshFileGeometry(const Inputs& in, const std::filesystem::path& file) {
  if (file.empty()) return nullptr;
  MeshReadOptions options =
      formats::OptionsOfProperties([&](std::string_view property) { return in.Get(property); });
  options.file = file;
  const formats::MeshFrames frames = formats::ReadFrames(file);
  // What never moves is not made anew for every frame.
  if (frames.last > frames.first) options.time = in.Time();
  const auto content = TheCache().Read(options, frames);
  if (!formats::InRange(content->vertex_indices, content->vertices.size()) ||
      !formats::InRange(content->normal_indices, content->normals.size()))
    throw formats::MeshFileFailure("the mesh file names vertices that it has not");
  std::vector<MeshArrays> parts;
  if (!content->vertex_indices.empty()) {
    // Where the file's own normals are wanted and it has none, its faces are flat.
    parts.push_back(Geometry(content));
  }
  if (!content->strands.empty()) parts.push_back(Hair(*content));
  if (!content->particles.empty()) parts.push_back(Particles(*content));
  std::erase_if(parts, [](const MeshArrays& part) { return part.faces.empty(); });
  if (parts.empty()) {
    in.Warn("the mesh file holds nothing to see");
    return nullptr;
  }
  return FinishGeometry(in, parts.size() == 1 ? std::move(parts.front()) : Join(parts));
}

}  // namespace kiln::engine::render
