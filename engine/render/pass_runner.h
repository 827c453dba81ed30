// Works a pass off: every bucket of an area, on all workers, with what interrupts it on the way.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

#include "engine/render/bucket_queue.h"
#include "engine/render/frame.h"
#include "engine/render/session_control.h"

namespace kiln::engine::render {

// What a pass renders: the samples [first, first + count) of each pixel of the area.
struct Pass {
  const FrameRenderer* frame = nullptr;
  Film* film = nullptr;
  Bucket area;
  int bucket_size = 32;
  int workers = 1;
  int first = 0, count = 1;
  bool report_buckets = false;
};

// Called by the coordinator alone.
class PassRunner {
 public:
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;

  PassRunner(SessionControl& control, RenderListener& listener, BucketQueue& queue)
      : control_(control), listener_(listener), queue_(queue) {}

  void Begin(const Pass& pass);
  // Until the pass is done (kGoOn), or something comes between: calling it again goes on where it was left.
  // The deadline is asked for again after each interruption.
  Verdict Run(const std::function<Deadline()>& deadline);
  // Rendering the pass so far.
  double seconds() const { return seconds_; }

 private:
  void Work(Deadline deadline);
  void ReportReady(const Bucket& bucket);

  SessionControl& control_;
  RenderListener& listener_;
  BucketQueue& queue_;
  Pass pass_;
  int total_ = 0;
  std::atomic<int> finished_{0};
  double seconds_ = 0;
};

}  // namespace kiln::engine::render
