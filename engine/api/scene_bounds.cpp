// The entry point of the box around a scene.
#include <cmath>
#include <map>
#include <shared_mutex>
#include <vector>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/render/scene_builder.h"

namespace kiln::engine::api {
namespace {

using scene::PluginId;
using scene::Scene;
using scene::Value;

// A geometry where it stands.
struct Placed {
  PluginId geometry;
  scene::VectorArray vertices;  // of a mesh that is a list of them, shared with the scene
  Transform transform;
};

template <class T>
T ValueOf(const Scene& scene, PluginId id, std::string_view property, double time) {
  const Value value = scene.Get(id, property, time);
  const T* data = value.As<T>();
  return data ? *data : T{};
}

// What a render at the time would show.
std::vector<Placed> PlacedObjects(const Scene& scene, double time) {
  const scene::PluginClass* mesh = scene::FindClass("GeomStaticMesh");
  std::vector<Placed> objects;
  const std::shared_lock lock(scene.mutex);
  for (const scene::PluginClass* type : scene::AllClasses()) {
    if (!type->is_object) continue;
    for (const PluginId id : scene.Ids(type)) {
      if (!ValueOf<bool>(scene, id, "visible", time)) continue;
      const PluginId geometry = ValueOf<scene::PluginRef>(scene, id, "geometry", time).id;
      const scene::Instance* source = scene.Find(geometry);
      if (!source) continue;
      auto vertices = source->type == mesh ? ValueOf<scene::VectorArray>(scene, geometry, "vertices", time)
                                           : scene::VectorArray();
      objects.push_back({geometry, std::move(vertices), ValueOf<Transform>(scene, id, "transform", time)});
    }
  }
  return objects;
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

Bounds3 WorldBounds(const Scene& scene, double time) {
  Bounds3 world;
  std::map<PluginId, Bounds3> local;
  render::SceneBuilder builder;
  for (const Placed& placed : PlacedObjects(scene, time)) {
    const auto [entry, is_new] = local.try_emplace(placed.geometry);
    if (is_new) {
      entry->second = placed.vertices.empty() ? builder.GeometryBounds(scene, {.time = time}, placed.geometry)
                                              : BoundsOf(placed.vertices);
    }
    if (!entry->second.Empty()) AddCorners(placed.transform, entry->second, &world);
  }
  return world;
}

}  // namespace

extern "C" {

// Non-zero, and the box, when anything stands in the scene. Lights that are no mesh and cameras have no
// extent.
int32_t Kiln_KilnRenderer_getBoundingBox(KilnRendererHandle renderer, KilnBox* box) {
  if (!box) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const double time = r.WithSettings([](const Settings& settings) { return settings.time; });
    const Bounds3 bounds = WorldBounds(r.scene, time);
    if (bounds.Empty()) return 0;
    *box = {{bounds.lower.x, bounds.lower.y, bounds.lower.z},
            {bounds.upper.x, bounds.upper.y, bounds.upper.z}};
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
