// A session's coordinator: the thread that prepares and runs one render after another.
#include "engine/render/session.h"

#include <fmt/format.h>

#include <mutex>
#include <new>
#include <thread>

#include "engine/render/interactive_run.h"
#include "engine/render/session_control.h"

namespace kiln::engine::render {

class Session::Impl {
 public:
  Impl(scene::Scene& scene, RenderListener& listener)
      : control(listener), scene_(scene), listener_(listener) {}
  ~Impl();

  uint64_t Start(const RenderOptions& options);
  image::Image* Snapshot() const { return picture_.MakeImage(); }
  const Film& film() const { return picture_.film; }
  void RenderNearest(int x, int y) { queue_.Prefer(x, y); }
  std::optional<SceneView> view() const;

  SessionControl control;

 private:
  void Coordinate();
  State Render(uint64_t start, const RenderOptions& options);
  RenderError Prepare(RenderJob* job);
  RenderError Build(RenderJob* job);
  State Produce(const RenderJob& job);
  State RunPrepared(RenderJob* job);
  State Fail(RenderError error, std::string_view text);

  scene::Scene& scene_;
  RenderListener& listener_;
  SceneBuilder builder_;
  Picture picture_;
  BucketQueue queue_;

  mutable std::mutex mutex_;  // guards what follows
  std::optional<SceneView> view_;
  std::thread coordinator_;
};

Session::Impl::~Impl() {
  control.Quit();
  if (coordinator_.joinable()) coordinator_.join();
}

uint64_t Session::Impl::Start(const RenderOptions& options) {
  {
    const std::scoped_lock lock(mutex_);
    if (!coordinator_.joinable()) coordinator_ = std::thread([this] { Coordinate(); });
  }
  return control.Start(options);
}

std::optional<SceneView> Session::Impl::view() const {
  const std::scoped_lock lock(mutex_);
  return view_;
}

void Session::Impl::Coordinate() {
  uint64_t start = 0;
  RenderOptions options;
  while (control.Next(&start, &options)) {
    control.SetState(State::kPreparing);
    const State end = Render(start, options);
    const RenderStatistics statistics = control.statistics();
    if (statistics.dropped_samples > 0) {
      listener_.OnLog(1,
                      fmt::format("{} samples were not finite and are left out", statistics.dropped_samples));
    }
    control.Finish(start, end);
  }
}

State Session::Impl::Render(uint64_t start, const RenderOptions& options) {
  RenderJob job;
  job.options = options;
  const RenderError error = Prepare(&job);
  if (error != RenderError::kNone) {
    control.SetError(error);
    return State::kIdleError;
  }
  control.SetState(State::kRendering);
  control.Prepared(start, error);
  return RunPrepared(&job);
}

RenderError Session::Impl::Build(RenderJob* job) {
  const RenderError error = BuildJob(scene_, builder_, listener_, job);
  if (error != RenderError::kNone) return error;
  control.Count([this](RenderStatistics& s) { s.meshes_built = builder_.meshes_built(); });
  const std::scoped_lock lock(mutex_);
  view_ = SceneView{job->scene, job->width, job->height, job->area, job->options};
  return error;
}

RenderError Session::Impl::Prepare(RenderJob* job) {
  listener_.OnProgress("Preparing", 0, 1000);
  queue_.Clear();
  try {
    const RenderError error = Build(job);
    if (error != RenderError::kNone) return error;
    picture_.film.Resize(job->width, job->height, job->options.region.has_value());
    picture_.film.Clear(job->area);
    picture_.ShowFilm();
    return RenderError::kNone;
  } catch (const std::bad_alloc&) {
    listener_.OnLog(0, "There is not enough memory for the scene or its image");
    return RenderError::kOutOfMemory;
  } catch (const std::exception& failure) {
    listener_.OnLog(0, fmt::format("The scene can't be prepared: {}", failure.what()));
    return RenderError::kBadScene;
  }
}

State Session::Impl::Fail(RenderError error, std::string_view text) {
  listener_.OnLog(0, text);
  control.SetError(error);
  return State::kIdleError;
}

State Session::Impl::RunPrepared(RenderJob* job) {
  try {
    if (job->options.mode != Mode::kInteractive) return Produce(*job);
    return InteractiveRun(control, listener_, picture_, queue_, *job, [&] { return Build(job); }).Run();
  } catch (const std::bad_alloc&) {
    return Fail(RenderError::kOutOfMemory, "The render ended because there is not enough memory");
  } catch (const std::exception& failure) {
    return Fail(RenderError::kBadScene, fmt::format("The render ended: {}", failure.what()));
  }
}

State Session::Impl::Produce(const RenderJob& job) {
  const int samples = SampleLimit(job.options, job.scene->settings);
  PassRunner runner(control, listener_, queue_);
  runner.Begin({.frame = job.frame.get(),
                .film = &picture_.film,
                .area = job.area,
                .bucket_size = job.scene->settings.bucket_size,
                .workers = job.workers,
                .first = 0,
                .count = samples,
                .report_buckets = true});
  const Verdict verdict = runner.Run([] { return PassRunner::Deadline(); });
  if (verdict == Verdict::kGoOn) {
    control.Count([samples](RenderStatistics& statistics) { statistics.samples = samples; });
  }
  if (listener_.WantsImageUpdates()) {
    listener_.OnImageUpdated(listener_.WantsUpdatedImages() ? Snapshot() : nullptr, job.scene->change_index,
                             samples);
  }
  if (verdict != Verdict::kGoOn) return State::kIdleStopped;
  return job.options.more_frames ? State::kIdleFrameDone : State::kIdleDone;
}

Session::Session(scene::Scene& scene, RenderListener& listener)
    : impl_(std::make_unique<Impl>(scene, listener)) {}
Session::~Session() = default;
void Session::Start(const RenderOptions& options) {
  impl_->Start(options);
}
RenderError Session::StartAndPrepare(const RenderOptions& options) {
  return impl_->control.WaitPrepared(impl_->Start(options));
}
void Session::RequestStop() {
  impl_->control.RequestStop();
}
bool Session::Wait(std::chrono::milliseconds timeout) {
  return impl_->control.Wait(timeout, false);
}
bool Session::WaitSequence(std::chrono::milliseconds timeout) {
  return impl_->control.Wait(timeout, true);
}
bool Session::SetPaused(bool paused) {
  return impl_->control.SetPaused(paused);
}
void Session::RenderNearest(int x, int y) {
  impl_->RenderNearest(x, y);
}
State Session::state() const {
  return impl_->control.state();
}
bool Session::ended() const {
  return impl_->control.ended();
}
bool Session::sequence_ended() const {
  return impl_->control.sequence_ended();
}
bool Session::interactive() const {
  return impl_->control.interactive();
}
RenderError Session::last_error() const {
  return impl_->control.last_error();
}
RenderStatistics Session::statistics() const {
  return impl_->control.statistics();
}
std::optional<SceneView> Session::view() const {
  return impl_->view();
}
image::Image* Session::Snapshot() const {
  return impl_->Snapshot();
}
const Film& Session::film() const {
  return impl_->film();
}
void Session::SceneChanged() {
  impl_->control.SceneChanged();
}
void Session::SetOptions(const RenderOptions& options) {
  impl_->control.SetOptions(options);
}

}  // namespace kiln::engine::render
