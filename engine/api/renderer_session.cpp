// A renderer's renders: start, stop, wait, and the end of everything.
#include <shared_mutex>
#include <utility>

#include "engine/api/render_overrides.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

using std::chrono::milliseconds;

// How often a stop is asked for again: another thread may have begun a new render in the meantime.
constexpr milliseconds kStopInterval{50};
// Not the largest number: compared with finer durations it would overflow.
constexpr milliseconds kForever = std::chrono::hours(24 * 365);

render::RegionF Normalise(const KilnCropRegion& crop) {
  const auto width = static_cast<float>(crop.srcWidth);
  const auto height = static_cast<float>(crop.srcHeight);
  return {crop.rgnLeft / width, crop.rgnTop / height, crop.rgnWidth / width, crop.rgnHeight / height};
}

}  // namespace

render::RenderOptions Renderer::MakeRenderOptions() const {
  render::RenderOptions options;
  const ImageSize size = GetImageSize();
  options.camera = CurrentCamera();
  options.width = size.width;
  options.height = size.height;
  const std::lock_guard lock(mutex_);
  options.mode = settings_.mode;
  options.threads = settings_.threads;
  options.time = settings_.time;
  options.more_frames = frame_ == Frame::kOneOfMany;
  if (options.mode == render::Mode::kInteractive) {
    options.samples = settings_.interactive_samples.value_or(0);
    options.time_limit = settings_.interactive_seconds;
    options.noise_threshold = settings_.noise_threshold;
    options.update_difference = settings_.update_difference;
    options.update_timeout = settings_.update_timeout / 1000.0;
    // A frame of a sequence must end for the next one to begin.
    options.endless = settings_.interactive_samples == 0 && frame_ == Frame::kSingle;
    options.keep_running = settings_.keep_running && frame_ == Frame::kSingle;
  }
  if (const auto& region = settings_.region) {
    options.region = render::Bucket{region->left, region->top, region->width, region->height};
  }
  if (settings_.crop) options.crop = Normalise(*settings_.crop);
  return options;
}

Renderer::SessionPtr Renderer::session() const {
  const std::lock_guard lock(mutex_);
  return session_;
}

int32_t Renderer::Start(bool prepare) {
  const std::lock_guard start_lock(start_mutex_);
  sequence_ = {};
  Stop();
  return Begin(prepare, Frame::kSingle);
}

// A render in progress has been stopped.
int32_t Renderer::Begin(bool prepare, Frame frame) {
  SessionPtr session;
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return static_cast<int32_t>(ApiError::kInternal);
    if (!session_) session_ = std::make_shared<render::Session>(scene, events);
    session = session_;
    error_ = {};
    session_error_cleared_ = false;
    uncommitted_ = false;
    frame_ = frame;
  }
  render::RenderOptions options = MakeRenderOptions();
  if (!ApplyOverrides(scene, &options)) {
    SetError(static_cast<int32_t>(ApiError::kNoSuchCamera));
    return static_cast<int32_t>(ApiError::kNoSuchCamera);
  }
  events.BeginPacing();
  if (!prepare) {
    session->Start(options);
    return 0;
  }
  const auto code = static_cast<int32_t>(session->StartAndPrepare(options));
  if (code != 0) SetError(code);
  return code;
}

// Without pacing the render's threads wait for no callback, so that this ends however long a host parks one.
bool Renderer::EndRender(render::Session& session, milliseconds limit) {
  const auto start = std::chrono::steady_clock::now();
  while (!session.sequence_ended()) {
    events.EndPacing();
    session.RequestStop();
    if (session.WaitSequence(kStopInterval)) break;
    if (std::chrono::steady_clock::now() - start > limit) return false;
  }
  return true;
}

std::shared_ptr<const render::Film> Renderer::Film() const {
  const SessionPtr running = session();
  return running ? std::shared_ptr<const render::Film>(running, &running->film()) : nullptr;
}

void Renderer::Stop() {
  denoiser.Interrupt();
  if (const SessionPtr running = session()) EndRender(*running, kForever);
}

bool Renderer::Wait(int32_t timeout) {
  const SessionPtr running = session();
  return !running || running->Wait(milliseconds(timeout));
}

bool Renderer::rendering() const {
  const SessionPtr running = session();
  return running && !running->ended();
}

render::State Renderer::state() const {
  const SessionPtr running = session();
  return running ? running->state() : render::State::kIdleInitialized;
}

bool Renderer::SetPaused(bool paused) {
  const SessionPtr running = session();
  return running && running->SetPaused(paused);
}

void Renderer::RenderNearest(int x, int y) {
  if (const SessionPtr running = session()) running->RenderNearest(x, y);
}

std::optional<render::RenderStatistics> Renderer::Statistics() const {
  const SessionPtr running = session();
  return running ? std::optional(running->statistics()) : std::nullopt;
}

image::ImagePtr Renderer::Snapshot() const {
  const SessionPtr running = session();
  return image::ImagePtr(running ? running->Snapshot() : nullptr);
}

void Renderer::SceneChanged(bool commit) {
  SessionPtr running;
  {
    const std::lock_guard lock(mutex_);
    uncommitted_ = !commit;
    if (commit) running = session_;
  }
  if (!running || !running->interactive()) return;
  running->SceneChanged();
  // The size of the image and the camera may stand in the scene.
  SettingsChanged();
}

void Renderer::SettingsChanged() {
  const SessionPtr running = session();
  if (!running || !running->interactive()) return;
  render::RenderOptions options = MakeRenderOptions();
  if (ApplyOverrides(scene, &options)) running->SetOptions(options);
}

uint64_t Renderer::Commit(bool force) {
  bool changed;
  {
    const std::lock_guard lock(mutex_);
    changed = uncommitted_;
  }
  if (changed || force) SceneChanged(true);
  return ChangeIndex();
}

uint64_t Renderer::ChangeIndex() const {
  const std::shared_lock lock(scene.mutex);
  return scene.change_index();
}

void Renderer::Close() {
  denoiser.Close();
  Stop();
  SessionPtr last;
  {
    // Another thread may be in the middle of a start; the stop above has made it end soon.
    const std::lock_guard start_lock(start_mutex_);
    const std::lock_guard lock(mutex_);
    if (closed_) return;
    closed_ = true;
    last = std::move(session_);
  }
  events.EndPacing();
  last.reset();
  events.OnRendererClosed();
  events.Close();
}

void Renderer::Abandon(milliseconds render_limit, milliseconds callback_limit) {
  SessionPtr last;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    last = std::move(session_);
  }
  denoiser.Close();
  // A session that does not end in time is left to the system, with the process.
  if (last && !EndRender(*last, render_limit)) static_cast<void>(new SessionPtr(last));
  events.EndPacing();
  last.reset();
  events.Close(callback_limit);
}

}  // namespace kiln::engine::api
