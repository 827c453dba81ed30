// Smaller meshes that stand for large ones.
#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

#include "engine/formats/mesh_file_build.h"

namespace kiln::engine::formats {
namespace {

struct Surface {
  std::vector<Vec3> vertices;
  std::vector<int32_t> indices;
};

bool AllFinite(const std::vector<Vec3>& points) {
  return std::all_of(points.begin(), points.end(),
                     [](Vec3 p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); });
}

// Vertices in one cell of a grid become their mean, and faces that keep three corners stay (Rossignac and
// Borrel 1993, "Multi-resolution 3D approximations for rendering complex scenes").
Surface Cluster(const MeshContent& content, const Bounds3& bounds, float cell) {
  Surface out;
  std::unordered_map<uint64_t, int32_t> numbers;
  std::vector<int32_t> cells(content.vertices.size());
  std::vector<int32_t> members;
  for (size_t i = 0; i < cells.size(); ++i) {
    const Vec3 at = (content.vertices[i] - bounds.lower) / cell;
    const auto key =
        static_cast<uint64_t>(at.x) | static_cast<uint64_t>(at.y) << 20 | static_cast<uint64_t>(at.z) << 40;
    const auto [entry, is_new] = numbers.try_emplace(key, static_cast<int32_t>(members.size()));
    if (is_new) {
      members.push_back(0);
      out.vertices.emplace_back();
    }
    cells[i] = entry->second;
    ++members[entry->second];
    out.vertices[entry->second] += content.vertices[i];
  }
  for (size_t i = 0; i < members.size(); ++i)
    out.vertices[i] = out.vertices[i] / static_cast<float>(members[i]);
  std::vector<std::array<int32_t, 3>> faces;
  for (size_t i = 0; i + 2 < content.vertex_indices.size(); i += 3) {
    std::array<int32_t, 3> face{};
    for (size_t c = 0; c < 3; ++c) face[c] = cells[content.vertex_indices[i + c]];
    if (face[0] == face[1] || face[1] == face[2] || face[2] == face[0]) continue;
    std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    faces.push_back(face);
  }
  std::sort(faces.begin(), faces.end());
  faces.erase(std::unique(faces.begin(), faces.end()), faces.end());
  for (const auto& face : faces) out.indices.insert(out.indices.end(), face.begin(), face.end());
  return out;
}

// The finest grid of the row whose mesh has no more than `most` faces; nothing when none has.
Surface Simplify(const MeshContent& content, uint64_t most) {
  Bounds3 bounds;
  for (const Vec3& v : content.vertices) bounds.Add(v);
  const Vec3 size = bounds.upper - bounds.lower;
  const float longest = std::max({size.x, size.y, size.z});
  if (!(longest > 0) || !std::isfinite(longest) || !AllFinite(content.vertices)) return {};
  // A surface through n by n by n cells has a few times n * n faces.
  for (float cells = std::min(std::sqrt(static_cast<float>(most)), 4096.0f); cells >= 2; cells *= 0.7f) {
    Surface surface = Cluster(content, bounds, longest / cells);
    if (surface.indices.size() / 3 <= most) return surface;
  }
  return {};
}

}  // namespace

void SampleFaces(std::vector<Vec3>& vertices, std::vector<int32_t>& indices, uint64_t most) {
  const uint64_t faces = indices.size() / 3;
  if (faces <= most) return;
  std::vector<int32_t> number(vertices.size(), -1);
  Surface sampled;
  for (uint64_t i = 0; i < most; ++i) {
    const uint64_t face = i * faces / most;
    for (uint64_t c = 3 * face; c < 3 * face + 3; ++c) {
      int32_t& to = number[indices[c]];
      if (to < 0) {
        to = static_cast<int32_t>(sampled.vertices.size());
        sampled.vertices.push_back(vertices[indices[c]]);
      }
      sampled.indices.push_back(to);
    }
  }
  vertices = std::move(sampled.vertices);
  indices = std::move(sampled.indices);
}

void SampleStrands(std::vector<Vec3>& vertices, std::vector<int32_t>& strands, uint64_t most) {
  const uint64_t count = strands.size();
  if (count <= most) return;
  std::vector<uint64_t> starts{0};
  for (const int32_t strand : strands) starts.push_back(starts.back() + static_cast<uint64_t>(strand));
  std::vector<Vec3> sampled_vertices;
  std::vector<int32_t> sampled;
  for (uint64_t i = 0; i < most; ++i) {
    const uint64_t strand = i * count / most;
    sampled.push_back(strands[strand]);
    sampled_vertices.insert(sampled_vertices.end(), vertices.begin() + static_cast<ptrdiff_t>(starts[strand]),
                            vertices.begin() + static_cast<ptrdiff_t>(starts[strand + 1]));
  }
  vertices = std::move(sampled_vertices);
  strands = std::move(sampled);
}

void SampleParticles(std::vector<Vec3>& particles, uint64_t most) {
  const uint64_t count = particles.size();
  if (count <= most) return;
  for (uint64_t i = 0; i < most; ++i) particles[i] = particles[i * count / most];
  particles.resize(most);
}

void AddPreviews(MeshContent& content, const BuildOptions& options) {
  const auto most = static_cast<uint64_t>(std::max(options.preview_faces, 0));
  content.preview_vertices.clear();
  content.preview_indices.clear();
  if (options.preview_kind != PreviewKind::kFaceSampling && content.vertex_indices.size() / 3 > most &&
      most > 0) {
    Surface surface = Simplify(content, most);
    content.preview_vertices = std::move(surface.vertices);
    content.preview_indices = std::move(surface.indices);
  }
  if (content.preview_indices.empty()) {
    content.preview_vertices = content.vertices;
    content.preview_indices = content.vertex_indices;
    SampleFaces(content.preview_vertices, content.preview_indices, most);
  }
  content.preview_hair_vertices = content.hair_vertices;
  content.preview_strands = content.strands;
  SampleStrands(content.preview_hair_vertices, content.preview_strands,
                static_cast<uint64_t>(std::max(options.preview_strands, 0)));
  content.preview_particles = content.particles;
  SampleParticles(content.preview_particles, static_cast<uint64_t>(std::max(options.preview_particles, 0)));
}

}  // namespace kiln::engine::formats
