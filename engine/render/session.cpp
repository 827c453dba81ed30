// The coordinator of a session's renders: preparation, passes, and what stops or pauses them.
#include "engine/render/session.h"

#include <fmt/format.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

#include "engine/render/bucket_queue.h"
#include "engine/render/event_queue.h"
#include "engine/render/film.h"
#include "engine/render/frame.h"
#include "engine/render/scene_builder.h"
#include "engine/render/threads.h"

namespace kiln::engine::render {
namespace {

using Clock = std::chrono::steady_clock;

// Queued events beyond which rendering waits for the listener.
constexpr size_t kBucketEvents = 64;
constexpr size_t kPassEvents = 4;
// Passes double up to this many samples, so that pictures keep coming.
constexpr int kLargestPass = 64;

Bucket Intersection(const Bucket& a, const Bucket& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  const int64_t right = std::min(int64_t{a.x} + a.width, int64_t{b.x} + b.width);
  const int64_t bottom = std::min(int64_t{a.y} + a.height, int64_t{b.y} + b.height);
  return {left, top, static_cast<int>(std::max<int64_t>(0, right - left)),
          static_cast<int>(std::max<int64_t>(0, bottom - top))};
}

bool Sound(const RegionF& crop) {
  return std::isfinite(crop.left) && std::isfinite(crop.top) && std::isfinite(crop.width) &&
         std::isfinite(crop.height) && crop.width > 0 && crop.height > 0;
}

}  // namespace

class Session::Impl {
 public:
  Impl(scene::Scene& scene, RenderListener& listener) : scene_(scene), events_(listener) {}
  ~Impl();

  uint64_t Start(const RenderOptions& options);
  RenderError WaitPrepared(uint64_t start);
  void RequestStop();
  bool Wait(std::chrono::milliseconds timeout);
  void Flush() { events_.Flush(); }
  bool SetPaused(bool paused);
  void SceneChanged();
  void RenderNearest(int x, int y) { queue_.Prefer(x, y); }
  RenderStatistics statistics() const;

  State state() const {
    const std::scoped_lock lock(mutex_);
    return state_;
  }
  bool ended() const {
    const std::scoped_lock lock(mutex_);
    return !running_;
  }
  RenderError last_error() const {
    const std::scoped_lock lock(mutex_);
    return error_;
  }
  image::Image* Snapshot() const { return film_.MakeImage(); }

 private:
  enum class PassEnd { kDone, kStopped, kChanged, kOutOfTime };

  // One render, as its options and the scene's settings make it.
  struct Job {
    RenderOptions options;
    std::shared_ptr<const RenderScene> scene;
    std::unique_ptr<FrameRenderer> frame;
    Bucket area;
    int width = 0, height = 0, samples = 0, workers = 1;
    double time_limit = 0;
    Clock::time_point started;  // moved on by pauses
  };

  void Coordinate();
  void Run(uint64_t start, const RenderOptions& options);
  RenderError Prepare(Job* job);
  RenderError BuildScene(Job* job);
  State Produce(Job& job);
  State Refine(Job& job);
  PassEnd RunPass(Job& job, int first, int count, bool report_buckets);
  void Work(const Job& job, int first, int count, bool report_buckets, std::atomic<int>* finished, int total);
  PassEnd WaitWhilePaused(Job& job);
  bool AwaitChange();

  void SetState(State to);
  void SetStateLocked(State to);
  void Prepared(uint64_t start, RenderError error);
  void Interrupt();
  bool StopAsked() const;
  void Log(int level, std::string_view text);
  void Progress(std::string_view text, int done, int total);
  void PushImage(const Job& job, int samples);

  scene::Scene& scene_;
  SceneBuilder builder_;
  Film film_;
  BucketQueue queue_;
  // Set for any reason to leave a pass; the fields below say which.
  std::atomic<bool> interrupt_{false};
  std::atomic<bool> over_time_{false};

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  State state_ = State::kIdleInitialized;
  RenderError error_ = RenderError::kNone;
  std::optional<RenderOptions> pending_;
  uint64_t starts_ = 0;    // renders asked for
  uint64_t prepared_ = 0;  // the last one whose preparation is over
  RenderError prepare_error_ = RenderError::kNone;
  bool running_ = false;  // a coordinator is at work or about to be
  bool stop_ = false;
  bool paused_ = false;
  bool scene_changed_ = false;
  bool interactive_ = false;  // the render in progress
  RenderStatistics statistics_;
  std::thread coordinator_;
  EventQueue events_;  // last: it ends first
};

Session::Impl::~Impl() {
  RequestStop();
  if (coordinator_.joinable()) coordinator_.join();
}

void Session::Impl::Interrupt() {
  interrupt_ = true;
  changed_.notify_all();
}

uint64_t Session::Impl::Start(const RenderOptions& options) {
  std::thread finished;
  uint64_t start = 0;
  {
    const std::scoped_lock lock(mutex_);
    pending_ = options;
    start = ++starts_;
    if (running_) {
      stop_ = true;
      Interrupt();
    } else {
      running_ = true;
      finished = std::move(coordinator_);
      // It has left its loop, so this takes no time, and it must not be joined with the mutex held by none
      // but us.
      coordinator_ = std::thread([this, previous = std::make_shared<std::thread>(std::move(finished))] {
        if (previous->joinable()) previous->join();
        Coordinate();
      });
    }
  }
  events_.Wake();
  return start;
}

RenderError Session::Impl::WaitPrepared(uint64_t start) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return prepared_ >= start || !running_; });
  return prepare_error_;
}

void Session::Impl::RequestStop() {
  {
    const std::scoped_lock lock(mutex_);
    pending_.reset();
    stop_ = true;
    Interrupt();
  }
  events_.Wake();
}

bool Session::Impl::Wait(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  const auto ended = [this] { return !running_; };
  if (timeout.count() < 0) {
    changed_.wait(lock, ended);
    return true;
  }
  return changed_.wait_for(lock, timeout, ended);
}

bool Session::Impl::SetPaused(bool paused) {
  const std::scoped_lock lock(mutex_);
  if (!running_ || !interactive_) return false;
  paused_ = paused;
  Interrupt();
  return true;
}

void Session::Impl::SceneChanged() {
  const std::scoped_lock lock(mutex_);
  if (!running_ || !interactive_) return;
  scene_changed_ = true;
  Interrupt();
}

RenderStatistics Session::Impl::statistics() const {
  const std::scoped_lock lock(mutex_);
  return statistics_;
}

bool Session::Impl::StopAsked() const {
  const std::scoped_lock lock(mutex_);
  return stop_;
}

void Session::Impl::SetStateLocked(State to) {
  if (state_ == to) return;
  Event event;
  event.from = state_;
  event.to = to;
  state_ = to;
  events_.Push(std::move(event));
  changed_.notify_all();
}

void Session::Impl::SetState(State to) {
  const std::scoped_lock lock(mutex_);
  SetStateLocked(to);
}

void Session::Impl::Log(int level, std::string_view text) {
  Event event;
  event.kind = Event::Kind::kLog;
  event.a = level;
  event.text = text;
  events_.Push(std::move(event));
}

void Session::Impl::Progress(std::string_view text, int done, int total) {
  Event event;
  event.kind = Event::Kind::kProgress;
  event.a = done;
  event.b = total;
  event.text = text;
  events_.Push(std::move(event));
}

void Session::Impl::PushImage(const Job& job, int samples) {
  RenderListener& listener = events_.listener();
  if (!listener.WantsImageUpdates()) return;
  events_.WaitForRoom(kPassEvents, [this] { return interrupt_.load(); });
  Event event;
  event.kind = Event::Kind::kImage;
  event.change_index = job.scene->change_index;
  event.a = samples;
  if (listener.WantsUpdatedImages()) event.image.reset(film_.MakeImage());
  events_.Push(std::move(event));
}

void Session::Impl::Coordinate() {
  while (true) {
    RenderOptions options;
    uint64_t start = 0;
    {
      const std::scoped_lock lock(mutex_);
      if (!pending_) {
        running_ = false;
        // Those who wait for a start that a stop took back.
        prepared_ = starts_;
        changed_.notify_all();
        return;
      }
      options = *pending_;
      pending_.reset();
      start = starts_;
      stop_ = paused_ = scene_changed_ = false;
      interrupt_ = over_time_ = false;
      interactive_ = options.mode == Mode::kInteractive;
      error_ = RenderError::kNone;
      statistics_ = {};
    }
    Run(start, options);
  }
}

void Session::Impl::Prepared(uint64_t start, RenderError error) {
  const std::scoped_lock lock(mutex_);
  prepared_ = std::max(prepared_, start);
  prepare_error_ = error;
  changed_.notify_all();
}

void Session::Impl::Run(uint64_t start, const RenderOptions& options) {
  SetState(State::kPreparing);
  Job job;
  job.options = options;
  State end = State::kIdleError;
  const RenderError error = Prepare(&job);
  if (error != RenderError::kNone) {
    {
      const std::scoped_lock lock(mutex_);
      error_ = error;
    }
    SetState(State::kIdleError);
    Prepared(start, error);
    return;
  }
  SetState(State::kRendering);
  Prepared(start, error);
  job.started = Clock::now();
  try {
    end = options.mode == Mode::kInteractive ? Refine(job) : Produce(job);
  } catch (const std::bad_alloc&) {
    Log(0, "The render ended because there is not enough memory");
    const std::scoped_lock lock(mutex_);
    error_ = RenderError::kOutOfMemory;
  } catch (const std::exception& failure) {
    Log(0, fmt::format("The render ended: {}", failure.what()));
    const std::scoped_lock lock(mutex_);
    error_ = RenderError::kBadScene;
  }
  if (const RenderStatistics s = statistics(); s.dropped_samples > 0) {
    Log(1, fmt::format("{} samples were not finite and are left out", s.dropped_samples));
  }
  SetState(end);
}

RenderError Session::Impl::BuildScene(Job* job) {
  const BuildRequest request{job->options.time, job->options.camera, job->options.scene_folder};
  std::shared_ptr<const RenderScene> built;
  RunInArena(job->workers, [&] {
    built = builder_.Build(scene_, request, [this](int level, std::string_view text) { Log(level, text); });
  });
  if (built->camera == nullptr) {
    Log(0, "There is no camera in the scene");
    return RenderError::kNoCamera;
  }
  const RenderSettings& settings = built->settings;
  const RenderOptions& options = job->options;
  job->width = options.width != 0 ? options.width : settings.width;
  job->height = options.height != 0 ? options.height : settings.height;
  job->samples = options.samples > 0 ? options.samples : settings.samples;
  job->time_limit = options.time_limit > 0 ? options.time_limit : settings.time_limit;
  const bool has_size =
      job->width > 0 && job->height > 0 && job->width <= image::kMaxSide && job->height <= image::kMaxSide;
  if (has_size) {
    job->area = {0, 0, job->width, job->height};
    if (options.region) job->area = Intersection(job->area, *options.region);
  }
  if (job->area.width <= 0 || job->area.height <= 0 || (options.crop && !Sound(*options.crop))) {
    Log(0, fmt::format("The image of {} x {} pixels, or the part of it to render, is empty", job->width,
                       job->height));
    return RenderError::kEmptyImage;
  }
  job->frame = std::make_unique<FrameRenderer>(built, job->width, job->height, options.crop);
  job->scene = std::move(built);
  const std::scoped_lock lock(mutex_);
  statistics_.meshes_built = builder_.meshes_built();
  return RenderError::kNone;
}

RenderError Session::Impl::Prepare(Job* job) {
  job->workers = WorkerCount(job->options.threads);
  Progress("Preparing", 0, 1000);
  try {
    const RenderError error = BuildScene(job);
    if (error != RenderError::kNone) return error;
    film_.Resize(job->width, job->height, job->options.region.has_value());
    film_.Clear(job->area);
    return RenderError::kNone;
  } catch (const std::bad_alloc&) {
    Log(0, "There is not enough memory for the scene or its image");
    return RenderError::kOutOfMemory;
  } catch (const std::exception& failure) {
    Log(0, fmt::format("The scene can't be prepared: {}", failure.what()));
    return RenderError::kBadScene;
  }
}

// Takes buckets until the queue is empty or an interrupt comes.
void Session::Impl::Work(const Job& job, int first, int count, bool report_buckets,
                         std::atomic<int>* finished, int total) {
  RenderListener& listener = events_.listener();
  const bool report = report_buckets && listener.WantsBuckets();
  const auto abandoned = [this] { return interrupt_.load(); };
  Bucket bucket;
  while (!interrupt_ && queue_.Next(&bucket)) {
    if (report) {
      events_.WaitForRoom(kBucketEvents, abandoned);
      Event event;
      event.kind = Event::Kind::kBucketInit;
      event.bucket = bucket;
      events_.Push(std::move(event));
    }
    TraceStatistics traced;
    const bool done = job.frame->RenderBucket(bucket, first, count, interrupt_, &film_, &traced);
    {
      const std::scoped_lock lock(mutex_);
      statistics_.rays += traced.rays;
      statistics_.dropped_samples += done ? traced.dropped : 0;
    }
    if (!done) {
      queue_.Return(bucket);
      return;
    }
    if (job.time_limit > 0 && first > 0 && job.options.mode == Mode::kInteractive &&
        std::chrono::duration<double>(Clock::now() - job.started).count() > job.time_limit) {
      over_time_ = true;
      interrupt_ = true;
    }
    const int now = ++*finished;
    if (!report_buckets) continue;
    if (report) {
      Event event;
      event.kind = Event::Kind::kBucketReady;
      event.bucket = bucket;
      if (listener.WantsBucketImages()) event.image.reset(film_.MakeImage(bucket));
      events_.Push(std::move(event));
    }
    Progress("Rendering", static_cast<int>(int64_t{1000} * now / total), 1000);
  }
}

Session::Impl::PassEnd Session::Impl::RunPass(Job& job, int first, int count, bool report_buckets) {
  std::vector<Bucket> buckets = SpiralBuckets(job.area, job.scene->settings.bucket_size);
  const int total = static_cast<int>(buckets.size());
  queue_.Fill(std::move(buckets));
  std::atomic<int> finished{0};
  while (true) {
    const Clock::time_point begin = Clock::now();
    if (!interrupt_) {
      RunWorkers(job.workers, [&](int) { Work(job, first, count, report_buckets, &finished, total); });
    }
    {
      const std::scoped_lock lock(mutex_);
      statistics_.seconds += std::chrono::duration<double>(Clock::now() - begin).count();
    }
    const PassEnd end = WaitWhilePaused(job);
    if (end != PassEnd::kDone) return end;
    if (queue_.Empty()) return PassEnd::kDone;
  }
}

// Looks at what interrupted; kDone says that rendering may go on.
Session::Impl::PassEnd Session::Impl::WaitWhilePaused(Job& job) {
  std::unique_lock lock(mutex_);
  const Clock::time_point begin = Clock::now();
  bool waited = false;
  while (paused_ && !stop_ && !scene_changed_) {
    SetStateLocked(State::kRenderingPaused);
    waited = true;
    changed_.wait(lock);
  }
  if (waited) job.started += Clock::now() - begin;
  if (stop_) return PassEnd::kStopped;
  if (waited && !paused_) SetStateLocked(State::kRendering);
  if (scene_changed_) return PassEnd::kChanged;
  interrupt_ = false;
  return over_time_ ? PassEnd::kOutOfTime : PassEnd::kDone;
}

State Session::Impl::Produce(Job& job) {
  const PassEnd end = RunPass(job, 0, job.samples, true);
  if (end == PassEnd::kDone) {
    const std::scoped_lock lock(mutex_);
    statistics_.samples = job.samples;
  }
  PushImage(job, job.samples);
  return end == PassEnd::kDone ? State::kIdleDone : State::kIdleStopped;
}

// Passes of 1, 1, 2, 4, ... samples.
State Session::Impl::Refine(Job& job) {
  int done = 0;
  while (true) {
    const int count = std::min({std::max(1, done), kLargestPass, job.samples - done});
    const PassEnd end = RunPass(job, done, count, false);
    if (end == PassEnd::kDone) {
      done += count;
      {
        const std::scoped_lock lock(mutex_);
        statistics_.samples = done;
      }
      Progress("Refining", done, job.samples);
    }
    if (end != PassEnd::kChanged) PushImage(job, done);
    if (end == PassEnd::kStopped) return State::kIdleStopped;
    bool changed = end == PassEnd::kChanged;
    if (end == PassEnd::kOutOfTime || (end == PassEnd::kDone && done >= job.samples)) {
      if (!job.options.keep_running) return State::kIdleDone;
      if (!AwaitChange()) return State::kIdleStopped;
      changed = true;
    }
    if (!changed) continue;
    {
      const std::scoped_lock lock(mutex_);
      scene_changed_ = false;
      interrupt_ = over_time_ = false;
    }
    const RenderError error = BuildScene(&job);
    if (error != RenderError::kNone) {
      const std::scoped_lock lock(mutex_);
      error_ = error;
      return State::kIdleError;
    }
    film_.Resize(job.width, job.height, true);
    film_.Clear(job.area);
    SetState(State::kRendering);
    done = 0;
    job.started = Clock::now();
  }
}

// False when a stop was asked for.
bool Session::Impl::AwaitChange() {
  std::unique_lock lock(mutex_);
  SetStateLocked(State::kRenderingAwaitingChanges);
  changed_.wait(lock, [this] { return stop_ || scene_changed_; });
  return !stop_;
}

Session::Session(scene::Scene& scene, RenderListener& listener)
    : impl_(std::make_unique<Impl>(scene, listener)) {}
Session::~Session() = default;
void Session::Start(const RenderOptions& options) {
  impl_->Start(options);
}
RenderError Session::StartAndPrepare(const RenderOptions& options) {
  return impl_->WaitPrepared(impl_->Start(options));
}
void Session::RequestStop() {
  impl_->RequestStop();
}
bool Session::Wait(std::chrono::milliseconds timeout) {
  return impl_->Wait(timeout);
}
void Session::Flush() {
  impl_->Flush();
}
bool Session::SetPaused(bool paused) {
  return impl_->SetPaused(paused);
}
void Session::RenderNearest(int x, int y) {
  impl_->RenderNearest(x, y);
}
State Session::state() const {
  return impl_->state();
}
bool Session::ended() const {
  return impl_->ended();
}
RenderError Session::last_error() const {
  return impl_->last_error();
}
RenderStatistics Session::statistics() const {
  return impl_->statistics();
}
image::Image* Session::Snapshot() const {
  return impl_->Snapshot();
}
void Session::SceneChanged() {
  impl_->SceneChanged();
}

}  // namespace kiln::engine::render
