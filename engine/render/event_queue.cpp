// Queueing and delivery.
#include "engine/render/event_queue.h"

namespace kiln::engine::render {

EventQueue::~EventQueue() {
  {
    const std::scoped_lock lock(mutex_);
    ending_ = true;
  }
  arrived_.notify_all();
  left_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void EventQueue::Push(Event event) {
  {
    const std::scoped_lock lock(mutex_);
    events_.push_back(std::move(event));
    if (!thread_.joinable()) thread_ = std::thread([this] { Deliver(); });
  }
  arrived_.notify_one();
}

void EventQueue::WaitForRoom(size_t limit, const std::function<bool()>& abandoned) {
  std::unique_lock lock(mutex_);
  left_.wait(lock, [&] { return ending_ || events_.size() < limit || abandoned(); });
}

void EventQueue::Flush() {
  std::unique_lock lock(mutex_);
  left_.wait(lock, [this] { return ending_ || (events_.empty() && !calling_); });
}

void EventQueue::Wake() {
  // Taken so that nobody is between looking and waiting.
  { const std::scoped_lock lock(mutex_); }
  left_.notify_all();
}

void EventQueue::Deliver() {
  while (true) {
    Event event;
    {
      std::unique_lock lock(mutex_);
      calling_ = false;
      if (events_.empty()) left_.notify_all();
      arrived_.wait(lock, [this] { return ending_ || !events_.empty(); });
      if (ending_) return;
      event = std::move(events_.front());
      events_.pop_front();
      calling_ = true;
    }
    left_.notify_all();
    Call(std::move(event));
  }
}

void EventQueue::Call(Event event) {
  switch (event.kind) {
    case Event::Kind::kState:
      return listener_.OnState(event.from, event.to);
    case Event::Kind::kBucketInit:
      return listener_.OnBucketInit(event.bucket);
    case Event::Kind::kBucketReady:
      return listener_.OnBucketReady(event.bucket, event.image.release());
    case Event::Kind::kImage:
      return listener_.OnImageUpdated(event.image.release(), event.change_index, event.a);
    case Event::Kind::kProgress:
      return listener_.OnProgress(event.text, event.a, event.b);
    case Event::Kind::kLog:
      return listener_.OnLog(event.a, event.text);
  }
}

}  // namespace kiln::engine::render
