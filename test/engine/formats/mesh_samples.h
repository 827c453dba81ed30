// Small objects that use every list of a mesh file, and damage that its checksums do not show.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "engine/formats/mesh_file_build.h"

namespace kiln::engine::formats {

inline MeshObject Square(const std::string& name, float z) {
  MeshObject o;
  o.name = name;
  o.vertices = {{0, 0, z}, {1, 0, z}, {1, 1, z}, {0, 1, z}};
  o.faces = {0, 1, 2, 0, 2, 3};
  o.normals = {{0, 0, 1}};
  o.face_normals = {0, 0, 0, 0, 0, 0};
  o.velocities = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}};
  o.material_ids = {7, 8};
  o.edge_visibility = {0b011'101};
  o.maps = {{3, "map", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {0, 1, 2, 0, 2, 1}}};
  o.shaders = {{7, "red"}, {8, "blue"}};
  return o;
}

inline MeshObject Fur(const std::string& name) {
  MeshObject o;
  o.name = name;
  o.hair_vertices = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}, {1, 2, 0}};
  o.strands = {2, 3};
  o.hair_widths = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f};
  o.particles = {{5, 5, 5}, {6, 6, 6}};
  o.particle_widths = {0.5f, 0.25f};
  return o;
}

inline MeshContent Content(std::vector<MeshObject> objects, const BuildOptions& options = {}) {
  for (size_t i = 0; i < objects.size(); ++i) {
    objects[i].id = static_cast<int32_t>(10 + i);
    CheckObject(objects[i]);
  }
  std::vector<VoxelPlan> plans;
  MeshContent content = BuildContent(objects, options, &plans);
  content.wire_colors.assign(objects.size(), {0.5f, 0.25f, 1});
  content.smoothed.assign(objects.size(), 1);
  content.flip_normals.assign(objects.size(), 0);
  AddPreviews(content, options);
  return content;
}

// The checksum as docs/mesh-files.md has it.
inline uint64_t MeshSum(std::span<const std::byte> bytes) {
  const auto take = [](uint64_t sum, uint64_t word) {
    return std::rotl(sum ^ word, 29) * 0x9E3779B97F4A7C15;
  };
  uint64_t sums[4] = {1, 2, 3, 4};
  for (size_t at = 0; at < bytes.size(); at += 8) {
    uint64_t word = 0;
    std::memcpy(&word, bytes.data() + at, std::min<size_t>(8, bytes.size() - at));
    sums[at / 8 % 4] = take(sums[at / 8 % 4], word);
  }
  uint64_t value = bytes.size();
  for (const uint64_t sum : sums) value = take(value, sum);
  return value ^ value >> 32;
}

// Makes the length and the checksums of a changed file right again, so that what stands behind them is
// reached.
inline void Seal(std::span<std::byte> file) {
  constexpr size_t kHeader = 48;
  constexpr size_t kEntry = 32;
  if (file.size() < kHeader) return;
  const auto put = [&](size_t at, uint64_t value) { std::memcpy(file.data() + at, &value, sizeof(value)); };
  const auto get = [&](size_t at) {
    uint64_t value;
    std::memcpy(&value, file.data() + at, sizeof(value));
    return value;
  };
  const uint64_t entries = get(8) >> 32;
  const bool fits = entries <= (file.size() - kHeader) / kEntry;
  for (size_t at = kHeader; fits && at < kHeader + entries * kEntry; at += kEntry) {
    const uint64_t offset = get(at + 8);
    const uint64_t bytes = get(at + 16);
    if (offset <= file.size() && bytes <= file.size() - offset)
      put(at + 24, MeshSum(file.subspan(offset, bytes)));
  }
  put(16, file.size());
  if (fits) put(32, MeshSum(file.subspan(kHeader, entries * kEntry)));
  put(40, MeshSum(file.first(40)));
}

}  // namespace kiln::engine::formats
