// The entry point of the box around a scene.
#include <cmath>
#include <map>
#include <shared_mutex>
#include <vector>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

using scene::PluginId;
using scene::Scene;
using scene::Value;

// A mesh where it stands; the list is shared with the scene.
struct Placed {
  PluginId mesh;
  scene::VectorArray vertices;
  Transform transform;
};

template <class T>
T ValueOf(const Scene& scene, PluginId id, std::string_view property, double time) {
  const Value value = scene.Get(id, property, time);
  const T* data = value.As<T>();
  return data ? *data : T{};
}

// What a render at the time would show.
std::vector<Placed> PlacedMeshes(const Scene& scene, double time) {
  std::vector<Placed> meshes;
  const scene::PluginClass* type = scene::FindClass("GeomInstance");
  if (!type) return meshes;
  const std::shared_lock lock(scene.mutex);
  for (const PluginId id : scene.Ids(type)) {
    if (!ValueOf<bool>(scene, id, "visible", time)) continue;
    const PluginId mesh = ValueOf<scene::PluginRef>(scene, id, "geometry", time).id;
    auto vertices = ValueOf<scene::VectorArray>(scene, mesh, "vertices", time);
    if (vertices.empty()) continue;
    meshes.push_back({mesh, std::move(vertices), ValueOf<Transform>(scene, id, "transform", time)});
  }
  return meshes;
}

bool IsFinite(Vec3 p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

Bounds3 BoundsOf(const scene::VectorArray& vertices) {
  Bounds3 bounds;
  for (const Vec3& vertex : vertices) {
    if (IsFinite(vertex)) bounds.Add(vertex);
  }
  return bounds;
}

// Of the corners, not of each vertex: a mesh that stands in a scene a thousand times is walked once.
void AddCorners(const Transform& transform, const Bounds3& local, Bounds3* bounds) {
  for (int corner = 0; corner < 8; ++corner) {
    const Vec3 p{corner & 1 ? local.upper.x : local.lower.x, corner & 2 ? local.upper.y : local.lower.y,
                 corner & 4 ? local.upper.z : local.lower.z};
    const Vec3 world = TransformPoint(transform, p);
    if (IsFinite(world)) bounds->Add(world);
  }
}

Bounds3 WorldBounds(const std::vector<Placed>& meshes) {
  Bounds3 world;
  std::map<PluginId, Bounds3> local;
  for (const Placed& placed : meshes) {
    const auto [entry, is_new] = local.try_emplace(placed.mesh);
    if (is_new) entry->second = BoundsOf(placed.vertices);
    if (!entry->second.Empty()) AddCorners(placed.transform, entry->second, &world);
  }
  return world;
}

}  // namespace

extern "C" {

// Non-zero, and the box, when anything stands in the scene. Lights and cameras have no extent.
int32_t Kiln_KilnRenderer_getBoundingBox(KilnRendererHandle renderer, KilnBox* box) {
  if (!box) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const double time = r.WithSettings([](const Settings& settings) { return settings.time; });
    const Bounds3 bounds = WorldBounds(PlacedMeshes(r.scene, time));
    if (bounds.Empty()) return 0;
    *box = {{bounds.lower.x, bounds.lower.y, bounds.lower.z},
            {bounds.upper.x, bounds.upper.y, bounds.upper.z}};
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
