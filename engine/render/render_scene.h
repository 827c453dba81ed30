// The frozen scene that a render works on: rays, hits, materials and lights. Immutable, so any number of
// threads may ask it at once, and edits of the scene it was made from can't reach it.
#pragma once

#include <embree3/rtcore.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "engine/render/alias_table.h"
#include "engine/render/camera.h"
#include "engine/render/channel.h"
#include "engine/render/layers.h"
#include "engine/render/light.h"
#include "engine/render/mesh.h"
#include "engine/render/shading.h"
#include "engine/scene/value.h"

namespace kiln::engine::render {

class MeshLight;

// Settings instances, as read when the scene was frozen.
struct RenderSettings {
  int width = 640, height = 480;
  bool box_filter = false;
  float filter_radius = 1.5f;
  int samples = 64;
  float time_limit = 0;  // seconds; 0: none
  uint32_t seed = 0;
  int bucket_size = 32;
  int max_depth = 12;
  int min_depth = 3;
  float clamp = 0;  // 0: off
  Color background{};
};

// What a frozen scene takes, in bytes.
struct MemoryUse {
  uint64_t meshes = 0, hair = 0, particles = 0;  // their lists
  uint64_t acceleration = 0;                     // what finds the hits of rays, in the whole process
};

// Embree's handles, released with their owner.
struct DeviceDeleter {
  void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
};
struct SceneDeleter {
  void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
};
using DevicePtr = std::unique_ptr<RTCDeviceTy, DeviceDeleter>;
using ScenePtr = std::unique_ptr<RTCSceneTy, SceneDeleter>;

// A mesh with its acceleration structure, shared by the instances and by consecutive builds.
struct MeshAccel {
  std::shared_ptr<const GeometrySource> source;  // declared first: Embree reads its arrays
  ScenePtr scene;
};

// A mesh in the world.
struct SceneObject {
  std::shared_ptr<const MeshAccel> accel;
  const Mesh* mesh = nullptr;
  const Material* material = nullptr;
  const Volume* volume = nullptr;  // may be null
  Transform transform;
  Vec3 offset;
  Matrix normal_matrix;  // inverse transpose
  scene::PluginId id = scene::kNoPlugin;
  scene::PluginId material_id = scene::kNoPlugin;  // none: it has none, or is its own
  int32_t mesh_light = -1;                         // index into lights, of an emissive mesh
  float area_scale = 1;                            // lengths in the world per length of the mesh
  bool opaque = true;
  bool emissive = false;
  bool has_volume = false;
  bool reads_tangent = true;
  bool visible_to_camera = true;
  // What is left of light along a path inside the body.
  Color Transmittance(float distance) const {
    const Color body = material->Attenuation(distance);
    return volume != nullptr ? body * volume->Transmittance(distance) : body;
  }
};

struct Ray {
  Vec3 origin;
  float near = 0;
  Vec3 direction;
  float far = INFINITY;
};

struct Hit {
  float distance = INFINITY;
  uint32_t object = 0;
  uint32_t triangle = 0;
  float u = 0, v = 0;
};

// A hit with everything that shading needs. `offset` is how far a ray must start off the surface.
struct SurfacePoint : ShadingPoint {
  const SceneObject* object = nullptr;
  float offset = 0;
  // Where rays into `direction` start.
  Vec3 RayOrigin(Vec3 direction) const {
    return position + geometric_normal * (Dot(direction, geometric_normal) >= 0 ? offset : -offset);
  }
};

// How far rays must start off a point of the object, which lies at `local` in its mesh; grows with each
// coordinate.
float RayOffset(const SceneObject& object, Vec3 local, Vec3 world);

class RenderScene {
 public:
  RenderScene() = default;
  ~RenderScene();
  RenderScene(const RenderScene&) = delete;
  RenderScene& operator=(const RenderScene&) = delete;

  // Building: fill the fields below, then Finish, which builds the top level and the choice of lights.
  void Finish(RTCDevice device);

  bool Intersect(const Ray& ray, Hit* hit) const;
  // The same for up to kBundle rays that start near each other in similar directions, a hit for each; its
  // distance is infinite where there is none.
  static constexpr size_t kBundle = 16;
  void IntersectBundle(std::span<const Ray> rays, Hit* hits) const;
  // Whether an opaque object is in the way, which is told faster than what is nearest.
  bool Occluded(const Ray& ray) const;
  bool all_opaque() const { return all_opaque_; }
  // The nearest of the objects that are not opaque, of which there is one at least.
  bool IntersectClear(const Ray& ray, Hit* hit) const;
  // The point of a hit; `spread` is the angle of the ray's footprint and `travelled` its length so far.
  void MakeSurfacePoint(const Hit& hit, Vec3 direction, float spread, float travelled,
                        SurfacePoint* point) const;

  // Chooses a light by u, stretched again for another use; null when there is none.
  const Light* ChooseLight(float* u, float* probability) const;
  float LightProbability(uint32_t light) const { return light_choice_.Probability(light); }
  const MeshLight& mesh_light(const SceneObject& object) const;
  // Lights that a ray may pass through, and those at infinity: indices into lights.
  const std::vector<uint32_t>& shape_lights() const { return shape_lights_; }
  const std::vector<uint32_t>& infinite_lights() const { return infinite_lights_; }
  const Bounds3& bounds() const { return bounds_; }
  // How far the point of an object moves until the next frame, in the world.
  Vec3 VelocityAt(const SurfacePoint& point) const {
    if (motions.empty()) return {};
    return TransformPoint(motions[static_cast<size_t>(point.object - objects.data())], point.position);
  }

  RenderSettings settings;
  std::shared_ptr<const Camera> camera;
  std::string camera_name;
  std::shared_ptr<const Channel> channel;  // shown in place of the light; null for the light
  LayerMask layers = 0;                    // what the film is to keep beside the beauty
  std::vector<SceneObject> objects;
  // For each object, from a place to how far it moves until the next frame; empty when none is asked for.
  std::vector<Transform> motions;
  std::vector<std::shared_ptr<const Light>> lights;
  // The instances of the first lights; those behind them, of meshes and of the background, have none.
  std::vector<scene::PluginId> light_ids;
  std::vector<std::shared_ptr<const void>> keep_alive;  // materials and textures
  uint64_t change_index = 0;
  MemoryUse memory;

 private:
  void BuildTopLevel(RTCDevice device);
  void BuildLights();

  ScenePtr top_;
  ScenePtr opaque_, clear_;  // the two parts of it, where it has both or nothing opaque
  Bounds3 bounds_, clear_bounds_;
  AliasTable light_choice_;
  std::vector<uint32_t> shape_lights_, infinite_lights_;
  bool all_opaque_ = true;
};

}  // namespace kiln::engine::render
