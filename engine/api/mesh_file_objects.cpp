// Copies lists of the host's records, which may lie, into objects.
#include "engine/api/mesh_file_objects.h"

#include <cstring>

namespace kiln::engine::api {
namespace {

using formats::MeshFileFailure;
using formats::MeshObject;

// A list's three columns, an entry a frame.
template <class Pointer>
struct Column {
  const Pointer* data;
  const int32_t* counts;
  const int32_t* frames;
  int32_t size;
};
template <class Pointer>
Column(const Pointer*, const int32_t*, const int32_t*, int32_t) -> Column<Pointer>;

template <class T, class U>
std::vector<T> Copy(const U* data, int32_t count) {
  static_assert(sizeof(T) % sizeof(U) == 0);
  if (count < 0 || (count > 0 && data == nullptr)) throw MeshFileFailure("an array of the mesh is missing");
  std::vector<T> list(static_cast<size_t>(count));
  if (count > 0) std::memcpy(static_cast<void*>(list.data()), data, list.size() * sizeof(T));
  return list;
}

template <class Pointer>
bool Complete(const Column<Pointer>& column) {
  return column.data != nullptr && column.counts != nullptr && column.frames != nullptr;
}

template <class T, class Pointer>
std::vector<T> At(const Column<Pointer>& column, int32_t frame) {
  if (column.size <= 0) return {};
  if (!Complete(column)) throw MeshFileFailure("an array of the mesh is missing");
  int32_t best = 0;
  for (int32_t i = 0; i < column.size; ++i) {
    const bool reached = column.frames[i] <= frame;
    const bool best_reached = column.frames[best] <= frame;
    const bool later = column.frames[i] > column.frames[best];
    if (reached ? !best_reached || later : !best_reached && !later) best = i;
  }
  return Copy<T>(column.data[best], column.counts[best]);
}

template <class Pointer>
void AddColumn(const Column<Pointer>& column, std::set<int32_t>* frames) {
  if (column.size > 0 && column.frames != nullptr) frames->insert(column.frames, column.frames + column.size);
}

// Calls the function with the column of each list, and where an object has it.
template <class Function>
void ForEachColumn(const ProxyMeshData& d, Function f) {
  using O = MeshObject;
  f(Column{d.vertices, d.verticesCounts, d.verticesFrameNumbers, d.verticesFrames}, &O::vertices);
  f(Column{d.faces, d.facesCounts, d.facesFrameNumbers, d.facesFrames}, &O::faces);
  f(Column{d.normals, d.normalsCounts, d.normalsFrameNumbers, d.normalsFrames}, &O::normals);
  f(Column{d.faceNormals, d.faceNormalsCounts, d.faceNormalsFrameNumbers, d.faceNormalsFrames},
    &O::face_normals);
  f(Column{d.velocities, d.velocitiesCounts, d.velocitiesFrameNumbers, d.velocitiesFrames}, &O::velocities);
  f(Column{d.faceMtlIDs, d.faceMtlIDsCounts, d.faceMtlIDsFrameNumbers, d.faceMtlIDsFrames}, &O::material_ids);
  f(Column{d.edgeVisibility, d.edgeVisibilityCounts, d.edgeVisibilityFrameNumbers, d.edgeVisibilityFrames},
    &O::edge_visibility);
  f(Column{d.hairVertices, d.hairVerticesCounts, d.hairVerticesFrameNumbers, d.hairVerticesFrames},
    &O::hair_vertices);
  f(Column{d.hairVerticesPerStrand, d.hairVerticesPerStrandCounts, d.hairVerticesPerStrandFrameNumbers,
           d.hairVerticesPerStrandFrames},
    &O::strands);
  f(Column{d.hairWidths, d.hairWidthsCounts, d.hairWidthsFrameNumbers, d.hairWidthsFrames}, &O::hair_widths);
  f(Column{d.particleVertices, d.particleVerticesCounts, d.particleVerticesFrameNumbers,
           d.particleVerticesFrames},
    &O::particles);
  f(Column{d.particleWidths, d.particleWidthsCounts, d.particleWidthsFrameNumbers, d.particleWidthsFrames},
    &O::particle_widths);
}

// Lengths come beside the texts; a text without one is empty.
std::string NameAt(const char* const* names, const int32_t* lengths, int32_t count, int32_t i) {
  if (names == nullptr || lengths == nullptr || i >= count || names[i] == nullptr || lengths[i] <= 0)
    return {};
  const std::string name(names[i], static_cast<size_t>(lengths[i]));
  return name.substr(0, name.find('\0'));
}

void AddMaps(const ProxyMeshData& d, MeshObject* out) {
  if (d.mapChannelsCount <= 0) return;
  if (!d.mapChannelIndices || !d.mapChannelVertices || !d.mapChannelFaces || !d.mapChannelVertexCounts ||
      !d.mapChannelFaceCounts)
    throw MeshFileFailure("an array of the map channels is missing");
  for (int32_t i = 0; i < d.mapChannelsCount; ++i) {
    out->maps.push_back({d.mapChannelIndices[i],
                         NameAt(d.mapChNames, d.mapChNameLengths, d.mapChNamesCount, i),
                         Copy<Vec3>(d.mapChannelVertices[i], d.mapChannelVertexCounts[i]),
                         Copy<int32_t>(d.mapChannelFaces[i], d.mapChannelFaceCounts[i])});
  }
}

Transform TransformOf(const ProxyTransform& t) {
  return {{{t.m[0], t.m[1], t.m[2]}, {t.m[3], t.m[4], t.m[5]}, {t.m[6], t.m[7], t.m[8]}},
          {t.offset[0], t.offset[1], t.offset[2]}};
}

ProxyTransform Mix(const ProxyTransform& a, const ProxyTransform& b, float t) {
  ProxyTransform mixed;
  for (int i = 0; i < 9; ++i) mixed.m[i] = a.m[i] + (b.m[i] - a.m[i]) * t;
  for (int i = 0; i < 3; ++i) mixed.offset[i] = a.offset[i] + (b.offset[i] - a.offset[i]) * t;
  return mixed;
}

}  // namespace

MeshObject ObjectOfData(const ProxyMeshData& data, int32_t frame) {
  MeshObject object;
  ForEachColumn(data, [&](const auto& column, auto member) {
    using List = std::remove_reference_t<decltype(object.*member)>;
    object.*member = At<typename List::value_type>(column, frame);
  });
  AddMaps(data, &object);
  for (int32_t i = 0; i < data.shadersCount && data.shaderIDs != nullptr; ++i) {
    object.shaders.emplace_back(data.shaderIDs[i],
                                NameAt(data.shaderNames, data.shaderNameLengths, data.shadersCount, i));
  }
  return object;
}

void AddFrames(const ProxyMeshData& data, std::set<int32_t>* frames) {
  ForEachColumn(data, [&](const auto& column, auto) { AddColumn(column, frames); });
}

std::optional<Transform> PlaceAt(const ProxyTransform* transform, const AnimatedTransforms* animation,
                                 int32_t frame) {
  const bool moves = animation != nullptr && animation->count > 0 && animation->transforms != nullptr &&
                     animation->key_frames != nullptr;
  if (!moves) return transform != nullptr ? std::optional(TransformOf(*transform)) : std::nullopt;
  int32_t before = -1;
  int32_t after = -1;
  const int32_t* keys = animation->key_frames;
  for (int32_t i = 0; i < animation->count; ++i) {
    if (keys[i] <= frame && (before < 0 || keys[i] >= keys[before])) before = i;
    if (keys[i] >= frame && (after < 0 || keys[i] < keys[after])) after = i;
  }
  if (before < 0) before = after;
  if (after < 0) after = before;
  const double span = static_cast<double>(keys[after]) - keys[before];
  const auto t = static_cast<float>(span > 0 ? (static_cast<double>(frame) - keys[before]) / span : 0);
  return TransformOf(Mix(animation->transforms[before], animation->transforms[after], t));
}

}  // namespace kiln::engine::api
