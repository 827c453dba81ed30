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
  bool operator==(const Bucket&) const = default;
};

struct RegionF {
  float left = 0, top = 0, width = 0, height = 0;
  bool operator==(const RegionF&) const = default;
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
  // Frames of a sequence are to follow: a finished render waits in kIdleFrameDone, not kIdleDone.
  bool more_frames = false;

  // Of interactive renders.
  // A finished refinement stays in kRenderingAwaitingChanges until the scene changes or a stop is asked for.
  // Without it the render ends.
  bool keep_running = false;
  bool endless = false;       // no number of samples ends the refinement
  float noise_threshold = 0;  // ends it at this error of a pixel relative to its brightness; 0: off
  // A pass is told only when the picture differs this much from the one told last, or when that was longer
  // ago than the timeout. 0: every pass is told; no timeout.
  float update_difference = 0;
  double update_timeout = 0;  // seconds
};

// Of the render in progress, or the last one.
struct RenderStatistics {
  uint64_t rays = 0;             // traced, shadow rays included
  uint64_t dropped_samples = 0;  // not finite, left out of the picture
  int samples = 0;       // per pixel, of finished passes; in production: of the whole picture once it is done
  double seconds = 0;    // of rendering, preparation and pauses left out
  int meshes_built = 0;  // by the last preparation; meshes that did not change are used again
};

class RenderScene;
class Film;

// What a picture shows: the frozen scene, and what its pixels are of.
struct SceneView {
  std::shared_ptr<const RenderScene> scene;
  int width = 0, height = 0;
  Bucket area;  // the pixels that are rendered
  RenderOptions options{};
};

// Called by the session's threads, several at once, and with the session locked: an implementation hands the
// event on and returns, and calls nothing of the session. Whoever carries the events to a slow receiver may
// hold a bucket or image event back until there is room; that paces the render. It must let go when a stop
// is asked for.
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
  // After progressive passes, and once at the end. image: the whole frame, owned by the listener; or null.
  // change_index: the scene's when the pass was frozen; samples: per pixel so far, 0 for a coarse picture.
  virtual void OnImageUpdated(image::Image* image, uint64_t change_index, int samples) = 0;
  // done and total: in per mille of the whole render, or samples, with a total of 0 where there is no end;
  // text names the stage.
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
  // Begins a render and returns when it is prepared: kNone once the first bucket or pass is under way.
  RenderError StartAndPrepare(const RenderOptions& options);
  // Asks the render, and the sequence that it belongs to, to end; takes effect within one bucket or pass.
  // Does not wait.
  void RequestStop();
  // True when the render has ended within the time; a negative timeout waits for ever.
  bool Wait(std::chrono::milliseconds timeout);
  // The same for the sequence, which lasts through kIdleFrameDone.
  bool WaitSequence(std::chrono::milliseconds timeout);
  // False when no interactive render runs. Nothing is rendered while it is paused; what changes meanwhile is
  // taken over when it goes on.
  bool SetPaused(bool paused);
  // Buckets near the pixel come next, for this render.
  void RenderNearest(int x, int y);

  State state() const;
  bool ended() const;              // no render runs
  bool sequence_ended() const;     // nor is another frame awaited
  bool interactive() const;        // an interactive render runs
  RenderError last_error() const;  // of the last render that ended or failed; kNone after a good one
  RenderStatistics statistics() const;
  // Of the render in progress or the last one; nothing before the first.
  std::optional<SceneView> view() const;
  // A copy of the picture as far as it is rendered; null when nothing was. The caller owns it.
  image::Image* Snapshot() const;
  // To be read by its own rules, for the session's life.
  const Film& film() const;
  // Interactive mode: takes the scene's changes over and begins again. The first picture after a change is
  // always finished, so that pictures keep coming however fast changes do. Production: nothing.
  void SceneChanged();
  // Interactive mode: takes these options over, and begins again when they make another picture; those that
  // say how far and how often apply to the refinement in progress. Mode, threads and more_frames stay.
  // Production: nothing.
  void SetOptions(const RenderOptions& options);

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
