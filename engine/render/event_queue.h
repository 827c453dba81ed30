// The events of a session on their way to its listener, delivered one by one by a thread of their own.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "engine/render/session.h"
#include "engine/utilities/memory.h"

namespace kiln::engine::render {

struct ImageDeleter {
  void operator()(image::Image* image) const { FreeShared(image); }
};
using ImagePtr = std::unique_ptr<image::Image, ImageDeleter>;

struct Event {
  enum class Kind { kState, kBucketInit, kBucketReady, kImage, kProgress, kLog };
  Kind kind = Kind::kState;
  State from{}, to{};
  Bucket bucket{};
  ImagePtr image{};
  uint64_t change_index = 0;
  int a = 0, b = 0;  // samples; done and total; level
  std::string text{};
};

// Push and WaitForRoom from any thread.
class EventQueue {
 public:
  explicit EventQueue(RenderListener& listener) : listener_(listener) {}
  ~EventQueue();  // waits for a call in progress and drops the rest
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  RenderListener& listener() { return listener_; }
  // Starts the thread with the first event.
  void Push(Event event);
  // Returns when fewer than `limit` events are queued, or once `abandoned` says so (see Wake).
  void WaitForRoom(size_t limit, const std::function<bool()>& abandoned);
  // Returns when the listener has had everything that was pushed. Not from the listener.
  void Flush();
  // Has the waiting ones look again.
  void Wake();

 private:
  void Deliver();
  void Call(Event event);

  RenderListener& listener_;
  std::mutex mutex_;
  std::condition_variable arrived_, left_;
  std::deque<Event> events_;
  bool calling_ = false;  // the listener has an event
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace kiln::engine::render
