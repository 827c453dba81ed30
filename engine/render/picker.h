// What shows at a pixel: the instances that the ray through it meets.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "engine/render/scene_builder.h"
#include "engine/render/session.h"

namespace kiln::engine::render {

struct PickedInstance {
  scene::PluginId instance = scene::kNoPlugin;  // an object or a light
  double distance = 0;                          // along the ray, from where it starts
  scene::PluginId material = scene::kNoPlugin;  // of an object that has one
};

// When a search gives up; nothing: never.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

// The instances along the ray through a place of the picture, the nearest first and each once, at most
// `limit` of them (0: all). What the camera does not see, or sees through at the place, is not met. `pixel`:
// from the upper left, the centre of the first pixel at 0.5. Empty for a place that is not rendered. Any
// thread.
std::vector<PickedInstance> PickAlong(const SceneView& view, Vec2 pixel, size_t limit,
                                      const Deadline& deadline);

// Freezes a scene for picks when no render has done so. Any thread.
class Picker {
 public:
  explicit Picker(const scene::Scene& scene) : scene_(scene) {}  // which outlives it
  ~Picker();                                                     // waits for a build in progress
  Picker(const Picker&) = delete;
  Picker& operator=(const Picker&) = delete;

  // The scene as a render with these options would see it now. Nothing when it cannot be rendered, and when
  // it is not ready at the deadline: it is then made all the same, for the next one that asks.
  std::optional<SceneView> View(const RenderOptions& options, const Deadline& deadline);

 private:
  void Build(RenderOptions options);

  const scene::Scene& scene_;
  SceneBuilder builder_;  // used by the thread alone
  std::mutex mutex_;
  std::condition_variable built_;
  std::thread thread_;
  bool building_ = false;
  RenderOptions wanted_;           // of the last build
  std::optional<SceneView> view_;  // its outcome
};

// Whether both make rays of the same scene for the same pixels.
bool ShowTheSame(const RenderOptions& a, const RenderOptions& b);

}  // namespace kiln::engine::render
