// Makes render scenes from a scene, again and again: what did not change since the last build is used again.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/render/render_scene.h"
#include "engine/render/scene_snapshot.h"
#include "engine/render/texture_cache.h"

namespace kiln::engine::render {

// What a cached object was made from: instances with their revisions (0: there was none), files with their
// times.
struct Dependencies {
  struct File {
    std::filesystem::path path;
    std::filesystem::file_time_type time;
  };
  std::vector<std::pair<scene::PluginId, uint64_t>> instances;
  std::vector<File> files;
  bool animated = false;
  std::vector<std::shared_ptr<const void>> parts;  // objects that it points to
};

struct BuildRequest {
  double time = 0;
  scene::PluginId camera = scene::kNoPlugin;  // none: the settings' camera, or the first one
  std::string scene_folder{};                 // for file names of instances without a folder of their own
};

// Single-threaded, though a build uses the engine's threads when it is called inside an arena.
class SceneBuilder {
 public:
  using Log = std::function<void(int level, std::string_view text)>;

  SceneBuilder();
  ~SceneBuilder();
  SceneBuilder(const SceneBuilder&) = delete;
  SceneBuilder& operator=(const SceneBuilder&) = delete;

  // Freezes the scene at the time and builds. A part that can't be made is left out with a warning; a scene
  // without a camera has a null camera. The render scene is independent of builder and scene from then on.
  std::shared_ptr<const RenderScene> Build(const scene::Scene& scene, const BuildRequest& request,
                                           const Log& log);

  // The box of a geometry in its own space at the request's time; empty where there is none.
  Bounds3 GeometryBounds(const scene::Scene& scene, const BuildRequest& request, scene::PluginId geometry);

  // How many meshes the last build built anew.
  int meshes_built() const { return meshes_built_; }

 private:
  friend class InstanceInputs;

  template <class T>
  struct Cached {
    std::shared_ptr<const T> object;
    Dependencies dependencies;
    double time = 0;
    uint64_t used_in = 0;  // the last build that asked for it
  };
  template <class T>
  using Cache = std::unordered_map<scene::PluginId, Cached<T>>;

  // The cached or newly made object of an instance for one of the roles of its class.
  template <class T>
  std::shared_ptr<const T> Get(Cache<T>& cache, scene::PluginId id,
                               std::unique_ptr<T> (*scene::Evaluation::*role)(const Inputs&));
  bool UpToDate(const Dependencies& dependencies, double time) const;
  template <class T>
  void Evict(Cache<T>& cache);
  // Calls the function with each cache.
  template <class Function>
  void ForEachCache(Function function);

  RTCDevice Device();
  void Begin(const scene::Scene& scene, const BuildRequest& request, const Log& log);
  void ReadSettings(RenderScene* out);
  void AddObject(const scene::Instance& instance, RenderScene* out);
  std::shared_ptr<const MeshAccel> GetMesh(scene::PluginId id);
  void ChooseCamera(RenderScene* out);
  void Measure(RenderScene* out) const;
  void Warn(std::string_view text) const;

  // Records what the object being made depends on.
  void Depend(scene::PluginId id);

  DevicePtr device_;
  SceneSnapshot snapshot_;
  const BuildRequest* request_ = nullptr;
  const Log* log_ = nullptr;
  uint64_t build_ = 0;
  int meshes_built_ = 0;

  Cache<Texture> textures_;
  Cache<Material> materials_;
  Cache<GeometrySource> sources_;
  Cache<Light> lights_;
  Cache<Camera> cameras_;
  Cache<UvwGen> uvw_gens_;
  Cache<Bitmap> bitmaps_;
  Cache<Volume> volumes_;
  Cache<Channel> channels_;
  std::unordered_map<scene::PluginId, std::shared_ptr<const MeshAccel>> meshes_;
  std::shared_ptr<const Material> default_material_;
  std::vector<scene::PluginId> in_progress_;  // the chain of references being resolved, to see a cycle
  std::vector<Dependencies> recording_;
};

}  // namespace kiln::engine::render
