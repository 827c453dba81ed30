// A renderer's sequences: one render after another, each at its own frame, when the host says so.
#include <algorithm>
#include <climits>
#include <cmath>
#include <shared_mutex>
#include <string>
#include <utility>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

using render::FrameRange;

int ToFrame(double time) {
  return static_cast<int>(std::clamp<double>(time, INT_MIN, INT_MAX));
}

// The frames that the key frames of the scene span; the current one where nothing is animated. Takes the
// scene's lock.
FrameRange AnimatedFrames(const scene::Scene& scene, double current) {
  double first = INFINITY;
  double last = -INFINITY;
  const std::shared_lock lock(scene.mutex);
  for (const scene::PluginId id : scene.Ids()) {
    for (const auto& [property, state] : scene.Find(id)->values) {
      if (state.keys.empty()) continue;
      first = std::min(first, state.keys.begin()->first);
      last = std::max(last, state.keys.rbegin()->first);
    }
  }
  if (first > last) first = last = std::floor(current);
  return {ToFrame(std::floor(first)), ToFrame(std::ceil(last)), 1};
}

}  // namespace

int32_t Renderer::StartSequence(std::vector<FrameRange> ranges) {
  const std::lock_guard start_lock(start_mutex_);
  Stop();
  if (ranges.empty()) {
    const double current = WithSettings([](const Settings& settings) { return settings.time; });
    ranges.push_back(AnimatedFrames(scene, current));
  }
  sequence_ = render::FrameSequence(std::move(ranges));
  return BeginNextFrame();
}

bool Renderer::ContinueSequence() {
  const std::lock_guard start_lock(start_mutex_);
  if (state() != render::State::kIdleFrameDone || sequence_.AtEnd()) return false;
  return BeginNextFrame() == 0;
}

int32_t Renderer::BeginNextFrame() {
  const int64_t total = sequence_.size();
  const int frame = sequence_.Next().value_or(0);
  WithSettings([&](Settings& settings) { settings.time = frame; });
  events.OnLog(static_cast<int>(LogLevel::kInfo), "Frame " + std::to_string(frame) + " (" +
                                                      std::to_string(sequence_.taken()) + " of " +
                                                      std::to_string(total) + ")");
  return Begin(false, sequence_.AtEnd() ? Frame::kLast : Frame::kOneOfMany);
}

bool Renderer::WaitSequence(int32_t timeout) {
  const SessionPtr running = session();
  return !running || running->WaitSequence(std::chrono::milliseconds(timeout));
}

bool Renderer::sequence_ended() const {
  const SessionPtr running = session();
  return !running || running->sequence_ended();
}

extern "C" {

int32_t Kiln_KilnRenderer_renderSequence(KilnRendererHandle renderer, const KilnSubSequence* sequences,
                                         int32_t count) {
  if (count < 0 || (count > 0 && !sequences)) return 1;
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    std::vector<FrameRange> ranges;
    for (const KilnSubSequence* s = sequences; s != sequences + count; ++s) {
      ranges.push_back({s->start, s->end, s->step});
    }
    return r.StartSequence(std::move(ranges));
  });
}

int32_t Kiln_KilnRenderer_continueSequence(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) { return !r.ContinueSequence(); });
}

int32_t Kiln_KilnRenderer_isSequenceEnded(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](const Renderer& r) { return r.sequence_ended(); });
}

int32_t Kiln_KilnRenderer_waitSequenceEnd(KilnRendererHandle renderer, int32_t timeout) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) { return r.WaitSequence(timeout); });
}

}  // extern "C"
}  // namespace kiln::engine::api
