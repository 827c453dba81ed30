// Refinement, and starting over.
#include "engine/render/interactive_run.h"

#include <algorithm>
#include <cmath>

#include "engine/render/image_difference.h"

namespace kiln::engine::render {
namespace {

// Passes double up to this many samples and this many seconds, so that pictures keep coming.
constexpr int kLargestPass = 64;
constexpr double kLongestPass = 1;
// Pictures up to this many pixels need no coarse one before them.
constexpr double kSmallPicture = 128 * 128;
// The first picture after a change takes about this many seconds.
constexpr double kFirstPicture = 0.03;
constexpr int kUsualStep = 8;
constexpr int kLargestStep = 16;
// Samples before which an estimate of the noise says little.
constexpr int kFewSamples = 16;

// The blocks that cover the area.
Bucket CoarseArea(const Bucket& area, int step) {
  const int left = area.x / step;
  const int top = area.y / step;
  return {left, top, (area.x + area.width + step - 1) / step - left,
          (area.y + area.height + step - 1) / step - top};
}

// The whole blocks that cover the frame show a little more than the frame.
RegionF CoarseWindow(const RenderJob& job, int step, int width, int height) {
  RegionF window = job.options.crop.value_or(RegionF{0, 0, 1, 1});
  window.width *= static_cast<float>(width * step) / static_cast<float>(job.width);
  window.height *= static_cast<float>(height * step) / static_cast<float>(job.height);
  return window;
}

double Pixels(const Bucket& area) {
  return static_cast<double>(area.width) * area.height;
}

}  // namespace

InteractiveRun::InteractiveRun(SessionControl& control, RenderListener& listener, Picture& picture,
                               BucketQueue& queue, RenderJob& job, std::function<RenderError()> rebuild)
    : control_(control),
      listener_(listener),
      picture_(picture),
      job_(job),
      rebuild_(std::move(rebuild)),
      passes_(control, listener, queue) {}

State InteractiveRun::Run() {
  Begin();
  while (true) {
    Verdict verdict = Verdict::kGoOn;
    if (usable_ && !Enough()) verdict = coarse_step_ > 1 ? RunCoarse() : RunPass();
    if (verdict == Verdict::kGoOn && usable_ && !Enough()) continue;
    if (verdict == Verdict::kGoOn || verdict == Verdict::kOutOfTime) {
      Tell(false);
      const RenderOptions options = control_.options();
      if (!usable_ && !options.keep_running) return State::kIdleError;
      if (!options.keep_running) return options.more_frames ? State::kIdleFrameDone : State::kIdleDone;
      verdict = control_.AwaitChange();
      if (verdict == Verdict::kGoOn) control_.SetState(State::kRendering);
    }
    if (verdict == Verdict::kStopped) {
      Tell(false);
      return State::kIdleStopped;
    }
    if (verdict == Verdict::kChanged) TakeOver();
  }
}

// The picture that is to be made first is finished even when the next change has come.
void InteractiveRun::Begin() {
  done_ = 0;
  pass_begun_ = false;
  noise_ = INFINITY;
  previous_.reset();
  told_.reset();
  untold_ = false;
  coarse_step_ = CoarseStep();
  begun_ = Clock::now() - control_.paused_for();
  control_.HoldChanges(true);
}

void InteractiveRun::TakeOver() {
  job_.options = control_.TakeOver();
  const RenderError error = rebuild_();
  usable_ = error == RenderError::kNone;
  if (!usable_) {
    control_.SetError(error);
    return;
  }
  control_.SetError(RenderError::kNone);
  picture_.film.Resize(job_.width, job_.height, true);
  Begin();
  // The old picture stays to be seen until there is a coarse one.
  if (coarse_step_ == 1) {
    picture_.ShowFilm();
    picture_.film.Clear(job_.area);
  }
  control_.SetState(State::kRendering);
}

int InteractiveRun::CoarseStep() const {
  const double pixels = Pixels(job_.area);
  if (pixels <= kSmallPicture) return 1;
  if (cost_ == 0) return kUsualStep;
  int step = 1;
  while (step < kLargestStep && cost_ * pixels / (step * step) > kFirstPicture) step *= 2;
  return step;
}

Verdict InteractiveRun::RunCoarse() {
  const int step = coarse_step_;
  const int width = (job_.width + step - 1) / step;
  const int height = (job_.height + step - 1) / step;
  const FrameRenderer frame(job_.scene, width, height, CoarseWindow(job_, step, width, height));
  Film film;
  film.Resize(width, height, false);
  BucketQueue queue;
  PassRunner runner(control_, listener_, queue);
  const Bucket area = CoarseArea(job_.area, step);
  runner.Begin({.frame = &frame, .film = &film, .area = area, .bucket_size = 16, .workers = job_.workers});
  const Verdict verdict = runner.Run([] { return PassRunner::Deadline(); });
  if (verdict != Verdict::kGoOn) return verdict;
  cost_ = runner.seconds() / Pixels(area);
  picture_.ShowCoarse(image::ImagePtr(film.MakeImage()), step, job_.area);
  picture_.film.Clear(job_.area);
  untold_ = true;
  Tell(false);
  coarse_step_ = step == kLargestStep ? step / 4 : 1;
  control_.HoldChanges(false);
  return Verdict::kGoOn;
}

bool InteractiveRun::Enough() const {
  const RenderOptions options = control_.options();
  if (done_ >= SampleLimit(options, job_.scene->settings)) return true;
  return options.noise_threshold > 0 && done_ >= kFewSamples && noise_ <= options.noise_threshold;
}

int InteractiveRun::NextCount() const {
  int count = std::min(std::max(1, done_), kLargestPass);
  const double seconds = cost_ * Pixels(job_.area);
  if (seconds > 0) count = std::clamp(static_cast<int>(std::min(kLongestPass / seconds, 1e6)), 1, count);
  return std::max(1, std::min(count, SampleLimit(control_.options(), job_.scene->settings) - done_));
}

PassRunner::Deadline InteractiveRun::GetDeadline() const {
  const double limit = TimeLimit(control_.options(), job_.scene->settings);
  // The first pass is always finished.
  if (limit <= 0 || done_ == 0) return {};
  return begun_ + control_.paused_for() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limit));
}

Verdict InteractiveRun::RunPass() {
  if (!pass_begun_) {
    count_ = NextCount();
    if (control_.options().noise_threshold > 0 && done_ > 0) previous_.reset(picture_.film.MakeImage());
    passes_.Begin({.frame = job_.frame.get(),
                   .film = &picture_.film,
                   .area = job_.area,
                   .bucket_size = job_.scene->settings.bucket_size,
                   .workers = job_.workers,
                   .first = done_,
                   .count = count_});
    pass_begun_ = true;
  }
  untold_ = true;
  const Verdict verdict = passes_.Run([this] { return GetDeadline(); });
  if (verdict == Verdict::kGoOn) FinishPass();
  return verdict;
}

void InteractiveRun::FinishPass() {
  pass_begun_ = false;
  cost_ = passes_.seconds() / (Pixels(job_.area) * count_);
  if (previous_) {
    // Of n samples and m more: the picture moves by sqrt(m / n) of what its error is afterwards, and a
    // normal error is 1.25 times its mean size.
    const image::ImagePtr now(picture_.film.MakeImage());
    const double moved = now ? RelativeDifference(*previous_, *now, job_.area) : INFINITY;
    noise_ = 1.25 * moved * std::sqrt(static_cast<double>(done_) / count_);
    previous_.reset();
  }
  done_ += count_;
  control_.Count([this](RenderStatistics& statistics) { statistics.samples = done_; });
  picture_.ShowFilm();
  const RenderOptions options = control_.options();
  listener_.OnProgress("Refining", done_, options.endless ? 0 : SampleLimit(options, job_.scene->settings));
  Tell(!Enough());
  control_.HoldChanges(false);
}

bool InteractiveRun::WorthTelling() {
  const RenderOptions options = control_.options();
  if (options.update_difference <= 0 || !told_) return true;
  const double waited = std::chrono::duration<double>(Clock::now() - told_at_).count();
  if (options.update_timeout > 0 && waited >= options.update_timeout) return true;
  const image::ImagePtr now(picture_.MakeImage());
  return !now || RelativeDifference(*told_, *now, job_.area) >= options.update_difference;
}

void InteractiveRun::Tell(bool pace) {
  if (!untold_ || !listener_.WantsImageUpdates() || (pace && !WorthTelling())) return;
  untold_ = false;
  told_at_ = Clock::now();
  told_.reset(control_.options().update_difference > 0 ? picture_.MakeImage() : nullptr);
  image::Image* const image = listener_.WantsUpdatedImages() ? picture_.MakeImage() : nullptr;
  listener_.OnImageUpdated(image, job_.scene->change_index, done_);
}

}  // namespace kiln::engine::render
