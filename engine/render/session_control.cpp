// Asking, waiting, and the changes of state.
#include "engine/render/session_control.h"

#include <algorithm>

namespace kiln::engine::render {
namespace {

// Whether both make the same picture, however far it is refined.
bool SamePicture(const RenderOptions& a, const RenderOptions& b) {
  return a.width == b.width && a.height == b.height && a.region == b.region && a.crop == b.crop &&
         a.camera == b.camera && a.time == b.time && a.scene_folder == b.scene_folder;
}

}  // namespace

uint64_t SessionControl::Start(const RenderOptions& options) {
  const std::scoped_lock lock(mutex_);
  pending_ = options;
  if (working_) stop_ = true;
  UpdateInterrupt();
  changed_.notify_all();
  return ++starts_;
}

RenderError SessionControl::WaitPrepared(uint64_t start) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return prepared_ >= start || EndedLocked(); });
  return prepare_error_;
}

void SessionControl::RequestStop() {
  const std::scoped_lock lock(mutex_);
  pending_.reset();
  stop_ = true;
  UpdateInterrupt();
  if (!working_ && state_ == State::kIdleFrameDone) SetStateLocked(State::kIdleStopped);
  changed_.notify_all();
}

bool SessionControl::Wait(std::chrono::milliseconds timeout, bool sequence) {
  std::unique_lock lock(mutex_);
  const auto over = [&] { return sequence ? SequenceEndedLocked() : EndedLocked(); };
  if (timeout.count() < 0) {
    changed_.wait(lock, over);
    return true;
  }
  return changed_.wait_for(lock, timeout, over);
}

bool SessionControl::SetPaused(bool paused) {
  const std::scoped_lock lock(mutex_);
  if (!working_ || options_.mode != Mode::kInteractive) return false;
  paused_ = paused;
  UpdateInterrupt();
  changed_.notify_all();
  return true;
}

void SessionControl::SceneChanged() {
  const std::scoped_lock lock(mutex_);
  if (!working_ || options_.mode != Mode::kInteractive) return;
  scene_changed_ = true;
  UpdateInterrupt();
  changed_.notify_all();
}

void SessionControl::SetOptions(const RenderOptions& options) {
  const std::scoped_lock lock(mutex_);
  if (!working_ || options_.mode != Mode::kInteractive) return;
  if (!SamePicture(options, options_)) scene_changed_ = true;
  RenderOptions changed = options;
  changed.mode = options_.mode;
  changed.threads = options_.threads;
  changed.more_frames = options_.more_frames;
  options_ = std::move(changed);
  limits_changed_ = true;
  timed_out_ = false;
  UpdateInterrupt();
  changed_.notify_all();
}

void SessionControl::Quit() {
  const std::scoped_lock lock(mutex_);
  pending_.reset();
  stop_ = quit_ = true;
  UpdateInterrupt();
  changed_.notify_all();
}

State SessionControl::state() const {
  const std::scoped_lock lock(mutex_);
  return state_;
}

bool SessionControl::ended() const {
  const std::scoped_lock lock(mutex_);
  return EndedLocked();
}

bool SessionControl::sequence_ended() const {
  const std::scoped_lock lock(mutex_);
  return SequenceEndedLocked();
}

bool SessionControl::interactive() const {
  const std::scoped_lock lock(mutex_);
  return working_ && options_.mode == Mode::kInteractive;
}

RenderError SessionControl::last_error() const {
  const std::scoped_lock lock(mutex_);
  return error_;
}

RenderStatistics SessionControl::statistics() const {
  const std::scoped_lock lock(mutex_);
  return statistics_;
}

bool SessionControl::Next(uint64_t* start, RenderOptions* options) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return quit_ || pending_; });
  if (quit_) return false;
  options_ = *pending_;
  pending_.reset();
  working_ = true;
  stop_ = paused_ = scene_changed_ = limits_changed_ = hold_changes_ = timed_out_ = false;
  paused_for_ = {};
  error_ = RenderError::kNone;
  statistics_ = {};
  UpdateInterrupt();
  *options = options_;
  *start = starts_;
  return true;
}

void SessionControl::Prepared(uint64_t start, RenderError error) {
  const std::scoped_lock lock(mutex_);
  prepared_ = std::max(prepared_, start);
  prepare_error_ = error;
  changed_.notify_all();
}

void SessionControl::SetStateLocked(State to) {
  if (state_ == to) return;
  const State from = state_;
  state_ = to;
  // With the lock, so that states are told in their order.
  listener_.OnState(from, to);
  changed_.notify_all();
}

void SessionControl::SetState(State to) {
  const std::scoped_lock lock(mutex_);
  SetStateLocked(to);
}

void SessionControl::SetError(RenderError error) {
  const std::scoped_lock lock(mutex_);
  error_ = error;
}

// The end of the work and its state come at once: who is told of the state finds the render ended.
void SessionControl::Finish(uint64_t start, State end) {
  const std::scoped_lock lock(mutex_);
  working_ = false;
  if (prepared_ < start) {
    prepared_ = start;
    prepare_error_ = error_;
  }
  // A stop that came with the last bucket ends the sequence none the less.
  SetStateLocked(stop_ && end == State::kIdleFrameDone ? State::kIdleStopped : end);
  changed_.notify_all();
}

void SessionControl::UpdateInterrupt() {
  interrupt_ = stop_ || paused_ || timed_out_ || limits_changed_ || (scene_changed_ && !hold_changes_);
}

Verdict SessionControl::Settle() {
  std::unique_lock lock(mutex_);
  const auto begin = std::chrono::steady_clock::now();
  bool waited = false;
  while (paused_ && !stop_) {
    SetStateLocked(State::kRenderingPaused);
    waited = true;
    changed_.wait(lock);
  }
  if (waited) paused_for_ += std::chrono::steady_clock::now() - begin;
  if (stop_) return Verdict::kStopped;
  if (waited) SetStateLocked(State::kRendering);
  // After a pause nobody wants the picture that was begun before it.
  if (scene_changed_ && (waited || !hold_changes_)) return Verdict::kChanged;
  limits_changed_ = false;
  UpdateInterrupt();
  return timed_out_ ? Verdict::kOutOfTime : Verdict::kGoOn;
}

Verdict SessionControl::AwaitChange() {
  std::unique_lock lock(mutex_);
  while (true) {
    if (stop_) return Verdict::kStopped;
    if (!paused_ && (scene_changed_ || limits_changed_)) break;
    SetStateLocked(paused_ ? State::kRenderingPaused : State::kRenderingAwaitingChanges);
    changed_.wait(lock);
  }
  if (scene_changed_) return Verdict::kChanged;
  limits_changed_ = timed_out_ = false;
  UpdateInterrupt();
  return Verdict::kGoOn;
}

RenderOptions SessionControl::options() const {
  const std::scoped_lock lock(mutex_);
  return options_;
}

RenderOptions SessionControl::TakeOver() {
  const std::scoped_lock lock(mutex_);
  scene_changed_ = limits_changed_ = timed_out_ = false;
  UpdateInterrupt();
  return options_;
}

void SessionControl::HoldChanges(bool hold) {
  const std::scoped_lock lock(mutex_);
  hold_changes_ = hold;
  UpdateInterrupt();
}

void SessionControl::TimeOut() {
  const std::scoped_lock lock(mutex_);
  timed_out_ = true;
  UpdateInterrupt();
}

std::chrono::steady_clock::duration SessionControl::paused_for() const {
  const std::scoped_lock lock(mutex_);
  return paused_for_;
}

}  // namespace kiln::engine::render
