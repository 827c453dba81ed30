// An interactive render: a coarse picture at once, then pass after pass, and all over again when the scene
// changes.
#pragma once

#include <chrono>
#include <functional>

#include "engine/image/image.h"
#include "engine/render/pass_runner.h"
#include "engine/render/picture.h"
#include "engine/render/render_job.h"

namespace kiln::engine::render {

// Used by the coordinator, for one render.
class InteractiveRun {
 public:
  // `rebuild` freezes the scene again by the job's options, as BuildJob does.
  InteractiveRun(SessionControl& control, RenderListener& listener, Picture& picture, BucketQueue& queue,
                 RenderJob& job, std::function<RenderError()> rebuild);

  // From the prepared job to the state that the render ends in.
  State Run();

 private:
  using Clock = std::chrono::steady_clock;

  void Begin();
  void TakeOver();
  Verdict RunCoarse();
  Verdict RunPass();
  void FinishPass();
  // Whether the refinement has come as far as it should.
  bool Enough() const;
  int NextCount() const;
  int CoarseStep() const;
  PassRunner::Deadline GetDeadline() const;
  // Tells the listener of the picture, unless it is not yet another one and `pace` is set.
  void Tell(bool pace);
  bool WorthTelling();

  SessionControl& control_;
  RenderListener& listener_;
  Picture& picture_;
  RenderJob& job_;
  std::function<RenderError()> rebuild_;
  PassRunner passes_;
  bool usable_ = true;        // the scene can be rendered
  bool pass_begun_ = false;   // by passes_, and not done
  int done_ = 0;              // samples per pixel
  int count_ = 0;             // of the pass that is begun
  int coarse_step_ = 1;       // of the coarse picture that comes next; 1: none does
  double cost_ = 0;           // seconds of a sample of a pixel, on all workers; 0: not known
  double noise_ = INFINITY;   // relative error of a pixel
  Clock::time_point begun_;   // of the refinement; pauses before it left out
  image::ImagePtr previous_;  // before the pass, while there is a noise threshold
  image::ImagePtr told_;      // while updates are paced by the difference
  Clock::time_point told_at_;
  bool untold_ = false;  // there is more than was told
};

}  // namespace kiln::engine::render
