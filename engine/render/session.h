// One render of one scene: freezes the scene, renders in buckets or progressive passes on the engine's
// threads, and reports to a listener. The same seed gives the same image, bit for bit, on any number of
// threads.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "engine/image/image.h"
#include "engine/scene/scene.h"

namespace kiln::engine::render {

// The numbers are those that cross the boundary.
enum class State : int32_t {
  kFatalError = -1,
  kIdleInitialized = 0,
  kIdleStopped = 1,
  kIdleError = 2,
  kIdleFrameDone = 3,
  kIdleDone = 4,
  kPreparing = 5,
  kRendering = 6,
  kRenderingPaused = 7,
  kRenderingAwaitingChanges = 8,
};
constexpr bool IsRendering(State s) {
  return s >= State::kPreparing;
}

enum class Mode : int32_t { kProduction = -1, kInteractive = 0 };  // buckets, or progressive passes

enum class RenderError : int32_t {
  kNone = 0,
  kNoCamera = 20,
  kEmptyImage = 21,
  kOutOfMemory = 22,
  kBadScene = 23,
};

struct Bucket {
  int x = 0, y = 0, width = 0, height = 0;  // pixels, from the top left of the image
};

struct RegionF {
  float left = 0, top = 0, width = 0, height = 0;
};

// What a render needs to know beside the scene. What is 0 or absent here comes from the scene's settings
// instances, or their defaults.
struct RenderOptions {
  Mode mode = Mode::kProduction;
  int width = 0, height = 0;       // pixels
  int samples = 0;                 // per pixel
  double time_limit = 0;           // seconds; ends an interactive refinement
  int threads = 0;                 // 0: one per core
  std::optional<Bucket> region{};  // render only this part of the image; the rest keeps its pixels
  std::optional<RegionF> crop{};   // a window into the full camera image, 0..1 of it, that fills the frame
  scene::PluginId camera = scene::kNoPlugin;  // none: the scene's first camera
  double time = 0;                            // frames
  std::string scene_folder{};
  // Interactive: a finished refinement stays in kRenderingAwaitingChanges until the scene changes or a stop
  // is asked for. Without it the render ends in kIdleDone.
  bool keep_running = false;
};

// Of the render in progress, or the last one.
struct RenderStatistics {
  uint64_t rays = 0;             // traced, shadow rays included
  uint64_t dropped_samples = 0;  // not finite, left out of the picture
  int samples = 0;       // per pixel, of finished passes; in production: of the whole picture once it is done
  double seconds = 0;    // of rendering, preparation and pauses left out
  int meshes_built = 0;  // by the last preparation; meshes that did not change are used again
};

// Called by one thread of the session, never by the thread that called into the session. The events stand in
// a queue, so that neither a start nor a stop waits for a listener that takes long, even one that waits for
// the very thread that called. Rendering goes on until a few pictures are queued, then waits: a listener
// paces it. When the session ends what is still queued is dropped; a call in progress is waited for.
class RenderListener {
 public:
  virtual ~RenderListener() = default;
  virtual void OnState(State from, State to) = 0;
  // Whether anyone wants these events at all, so that no image is made for nobody.
  virtual bool WantsBuckets() const = 0;
  virtual bool WantsBucketImages() const = 0;
  virtual bool WantsImageUpdates() const = 0;
  virtual bool WantsUpdatedImages() const = 0;
  virtual void OnBucketInit(const Bucket& bucket) = 0;
  // image: the bucket's pixels, owned by the listener from here on; null when no images are wanted.
  virtual void OnBucketReady(const Bucket& bucket, image::Image* image) = 0;
  // After each progressive pass, and once at the end. image: the whole frame, owned by the listener; or null.
  // change_index: the scene's when the pass was frozen; samples: per pixel so far.
  virtual void OnImageUpdated(image::Image* image, uint64_t change_index, int samples) = 0;
  // done and total: in per mille of the whole render, or samples; text names the stage.
  virtual void OnProgress(std::string_view text, int done, int total) = 0;
  // level: 0 error, 1 warning, 2 info, 3 debug.
  virtual void OnLog(int level, std::string_view text) = 0;
};

// All methods may be called from any thread.
class Session {
 public:
  // scene and listener outlive the session.
  Session(scene::Scene& scene, RenderListener& listener);
  ~Session();  // stops and waits
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Begins a render and returns at once; a render in progress is stopped first.
  void Start(const RenderOptions& options);
  // Begins a render and returns when it is prepared: kNone once the first bucket or pass is under way. Does
  // not wait for the listener.
  RenderError StartAndPrepare(const RenderOptions& options);
  // Asks the render to end; takes effect within one bucket or pass. Does not wait.
  void RequestStop();
  // True when the render has ended within the time; a negative timeout waits for ever.
  bool Wait(std::chrono::milliseconds timeout);
  // Waits until the listener has had every event so far. Not from the listener.
  void Flush();
  // False when no interactive render runs.
  bool SetPaused(bool paused);
  // Production: buckets near the pixel come next.
  void RenderNearest(int x, int y);

  State state() const;
  bool ended() const;              // no render runs
  RenderError last_error() const;  // of the last render that ended or failed; kNone after a good one
  RenderStatistics statistics() const;
  // A copy of the frame as far as it is rendered; null when nothing was. The caller owns it.
  image::Image* Snapshot() const;
  // Interactive mode: takes the scene's changes over and begins again with pass 1. Production: nothing.
  void SceneChanged();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// Starts and ends the engine's threads. Init when the first renderer is made; Shutdown joins every thread and
// must run before the library is unloaded. False when another user of the thread library holds it: then the
// library must stay.
void InitThreads(int threads);
bool ShutdownThreads();

}  // namespace kiln::engine::render
