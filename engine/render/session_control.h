// What a session's callers asked for and where its render stands: the state machine that both sides look at.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "engine/render/session.h"

namespace kiln::engine::render {

// What a render does after it was interrupted, or looked whether it is.
enum class Verdict { kGoOn, kStopped, kChanged, kOutOfTime };

// Any thread, with two sides: callers ask, and return at once unless they wait; the coordinator is the one
// thread that renders.
class SessionControl {
 public:
  explicit SessionControl(RenderListener& listener) : listener_(listener) {}

  // Callers. Start gives the number that WaitPrepared takes.
  uint64_t Start(const RenderOptions& options);
  RenderError WaitPrepared(uint64_t start);
  void RequestStop();
  bool Wait(std::chrono::milliseconds timeout, bool sequence);
  bool SetPaused(bool paused);
  void SceneChanged();
  void SetOptions(const RenderOptions& options);
  void Quit();

  State state() const;
  bool ended() const;
  bool sequence_ended() const;
  bool interactive() const;
  RenderError last_error() const;
  RenderStatistics statistics() const;

  // The coordinator. Next waits for a start; false when the session ends. Every start that it gives is ended
  // by Finish.
  bool Next(uint64_t* start, RenderOptions* options);
  void Prepared(uint64_t start, RenderError error);
  void SetState(State to);
  void SetError(RenderError error);
  void Finish(uint64_t start, State end);

  // Set for any reason to leave a pass; Settle says which.
  const std::atomic<bool>& interrupt() const { return interrupt_; }
  // Waits while the render is paused.
  Verdict Settle();
  // Waits until there is something to do again: never kOutOfTime.
  Verdict AwaitChange();
  // The options as they are now.
  RenderOptions options() const;
  // The same, and all changes so far count as taken over.
  RenderOptions TakeOver();
  // Changes of the scene do not interrupt from now on, or do again.
  void HoldChanges(bool hold);
  // Any thread of the coordinator's: the time of an interactive render is over.
  void TimeOut();
  // How long the render has been paused.
  std::chrono::steady_clock::duration paused_for() const;

  // Runs the body with the statistics under the lock.
  template <class F>
  void Count(F&& body) {
    const std::scoped_lock lock(mutex_);
    body(statistics_);
  }

 private:
  bool EndedLocked() const { return !working_ && !pending_; }
  bool SequenceEndedLocked() const { return EndedLocked() && state_ != State::kIdleFrameDone; }
  void SetStateLocked(State to);
  void UpdateInterrupt();

  RenderListener& listener_;
  std::atomic<bool> interrupt_{false};

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  State state_ = State::kIdleInitialized;
  RenderError error_ = RenderError::kNone;
  RenderStatistics statistics_;
  std::optional<RenderOptions> pending_;
  RenderOptions options_;  // of the render in progress
  uint64_t starts_ = 0;    // renders asked for
  uint64_t prepared_ = 0;  // the last one whose preparation is over
  RenderError prepare_error_ = RenderError::kNone;
  std::chrono::steady_clock::duration paused_for_{};
  bool working_ = false;  // the coordinator has a render
  bool quit_ = false;
  bool stop_ = false;
  bool paused_ = false;
  bool scene_changed_ = false;
  bool limits_changed_ = false;
  bool hold_changes_ = false;
  bool timed_out_ = false;
};

}  // namespace kiln::engine::render
