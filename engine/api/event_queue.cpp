// The queue between a render and the host's callbacks, and the thread that empties it.
#include "engine/api/event_queue.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "engine/api/event.h"
#include "engine/api/guard.h"

namespace kiln::engine::api {
namespace {

// How many undelivered events of a kind make the sender wait: enough that buckets of all cores overlap with
// their delivery, and few whole frames, which are large.
constexpr size_t kMaxBuckets = 32;
constexpr size_t kMaxFrames = 1;
// From this many undelivered events on, progress replaces the progress that is last in the queue.
constexpr size_t kCrowded = 16;

std::atomic<int> thread_count{0};

bool IsBucket(EventKind kind) {
  return kind == EventKind::kBucketInit || kind == EventKind::kBucketReady ||
         kind == EventKind::kBucketFailed;
}

}  // namespace

class EventQueue::Delivery {
 public:
  // The fields that the events of one kind go by.
  struct Route {
    CallbackDescriptor callback{};
    bool images_wanted = true;
    bool images_kept = false;
  };

  // Starts the thread that `self` is shared with, unless it runs.
  static void Start(const std::shared_ptr<Delivery>& self);
  void Push(Event event);
  void Close(std::optional<std::chrono::milliseconds> limit);

  // Runs the body with the lock and tells everybody who waits.
  template <class F>
  void Change(F&& body) {
    {
      const std::lock_guard lock(mutex_);
      body();
    }
    changed_.notify_all();
  }
  Route GetRoute(EventKind kind) const {
    const std::lock_guard lock(mutex_);
    return routes_[static_cast<size_t>(kind)];
  }
  Route& RouteOf(EventKind kind) { return routes_[static_cast<size_t>(kind)]; }

  const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  std::atomic<int32_t> message_level{static_cast<int32_t>(LogLevel::kInfo)};
  bool pacing = false;

 private:
  void Run();
  void DeliverNext(std::unique_lock<std::mutex>& lock);
  bool HasRoom(EventKind kind) const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::array<Route, static_cast<size_t>(EventKind::kCount)> routes_;
  std::deque<Event> events_;
  size_t buckets_ = 0;
  size_t frames_ = 0;
  std::thread thread_;
  bool closed_ = false;
  bool ended_ = false;
};

void EventQueue::Delivery::Start(const std::shared_ptr<Delivery>& self) {
  const std::lock_guard lock(self->mutex_);
  if (self->closed_ || self->thread_.joinable()) return;
  ++thread_count;
  try {
    self->thread_ = std::thread([self] {
      self->Run();
      --thread_count;
    });
  } catch (...) {
    --thread_count;
    throw;
  }
}

void EventQueue::Delivery::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return closed_ || !events_.empty(); });
    if (events_.empty()) break;
    DeliverNext(lock);
  }
  ended_ = true;
  changed_.notify_all();
}

void EventQueue::Delivery::DeliverNext(std::unique_lock<std::mutex>& lock) {
  Event event = std::move(events_.front());
  events_.pop_front();
  buckets_ -= IsBucket(event.kind);
  frames_ -= event.kind == EventKind::kImageUpdated;
  const Route route = routes_[static_cast<size_t>(event.kind)];
  lock.unlock();
  changed_.notify_all();
  if (route.callback.function) {
    if (!route.images_wanted) event.image.reset();
    Deliver(std::move(event), route.callback, route.images_kept);
  }
  lock.lock();
}

bool EventQueue::Delivery::HasRoom(EventKind kind) const {
  if (!pacing || closed_ || !routes_[static_cast<size_t>(kind)].callback.function) return true;
  if (IsBucket(kind)) return buckets_ < kMaxBuckets;
  return kind != EventKind::kImageUpdated || frames_ < kMaxFrames;
}

void EventQueue::Delivery::Push(Event event) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return HasRoom(event.kind); });
  if (closed_ || !routes_[static_cast<size_t>(event.kind)].callback.function) return;
  const bool replaces = event.kind == EventKind::kProgress && events_.size() >= kCrowded &&
                        events_.back().kind == EventKind::kProgress;
  if (replaces) {
    events_.back() = std::move(event);
    return;
  }
  const EventKind kind = event.kind;
  events_.push_back(std::move(event));
  buckets_ += IsBucket(kind);
  frames_ += kind == EventKind::kImageUpdated;
  lock.unlock();
  changed_.notify_all();
}

void EventQueue::Delivery::Close(std::optional<std::chrono::milliseconds> limit) {
  std::thread thread;
  std::deque<Event> dropped;
  {
    std::unique_lock lock(mutex_);
    closed_ = true;
    const bool caller_is_callback = thread_.get_id() == std::this_thread::get_id();
    // Nothing comes after this call: a host that closes from its callback has no use for the rest either.
    if (limit || caller_is_callback) dropped.swap(events_);
    changed_.notify_all();
    if (!thread_.joinable()) return;
    thread = std::move(thread_);
    if (limit && !caller_is_callback) changed_.wait_for(lock, *limit, [this] { return ended_; });
    if (caller_is_callback || (limit && !ended_)) return thread.detach();
  }
  thread.join();
}

template <class Fill>
void EventQueue::Send(EventKind kind, Fill&& fill) noexcept {
  Guarded([&] {
    Event event;
    event.kind = kind;
    event.time = Now();
    fill(event);
    delivery_->Push(std::move(event));
  });
}

EventQueue::EventQueue() : delivery_(std::make_shared<Delivery>()) {}

EventQueue::~EventQueue() {
  Close();
}

void EventQueue::SetCallback(EventKind kind, const CallbackDescriptor* callback) {
  const CallbackDescriptor descriptor = callback ? *callback : CallbackDescriptor{};
  if (descriptor.function) Delivery::Start(delivery_);
  delivery_->Change([&] { delivery_->RouteOf(kind).callback = descriptor; });
}

void EventQueue::SetMessageLevel(int32_t level) {
  delivery_->message_level = level;
}

void EventQueue::SetImagesWanted(EventKind kind, bool wanted) {
  delivery_->Change([&] { delivery_->RouteOf(kind).images_wanted = wanted; });
}

bool EventQueue::ImagesWanted(EventKind kind) const {
  return delivery_->GetRoute(kind).images_wanted;
}

void EventQueue::SetImagesKept(EventKind kind, bool kept) {
  delivery_->Change([&] { delivery_->RouteOf(kind).images_kept = kept; });
}

double EventQueue::Now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - delivery_->start).count();
}

void EventQueue::BeginPacing() {
  delivery_->Change([&] { delivery_->pacing = true; });
}

void EventQueue::EndPacing() {
  delivery_->Change([&] { delivery_->pacing = false; });
}

void EventQueue::Close(std::optional<std::chrono::milliseconds> limit) {
  delivery_->Close(limit);
}

int EventQueue::ThreadCount() {
  return thread_count;
}

void EventQueue::AwaitThreads(std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds kStep{1};
  for (auto waited = 0 * kStep; thread_count > 0 && waited < limit; waited += kStep) {
    std::this_thread::sleep_for(kStep);
  }
}

void EventQueue::OnRendererClosed() {
  Send(EventKind::kRendererClosed, [](Event&) {});
}

void EventQueue::OnServerStarted() {
  Send(EventKind::kServerStarted, [](Event&) {});
}

void EventQueue::OnState(render::State from, render::State to) {
  Send(EventKind::kStateChanged, [&](Event& event) {
    event.numbers[0] = static_cast<int32_t>(from);
    event.numbers[1] = static_cast<int32_t>(to);
  });
}

bool EventQueue::WantsBuckets() const {
  return delivery_->GetRoute(EventKind::kBucketInit).callback.function ||
         delivery_->GetRoute(EventKind::kBucketReady).callback.function;
}

bool EventQueue::WantsBucketImages() const {
  const auto route = delivery_->GetRoute(EventKind::kBucketReady);
  return route.callback.function && route.images_wanted;
}

bool EventQueue::WantsImageUpdates() const {
  return delivery_->GetRoute(EventKind::kImageUpdated).callback.function;
}

bool EventQueue::WantsUpdatedImages() const {
  const auto route = delivery_->GetRoute(EventKind::kImageUpdated);
  return route.callback.function && route.images_wanted;
}

void EventQueue::OnBucketInit(const render::Bucket& bucket) {
  Send(EventKind::kBucketInit, [&](Event& event) {
    event.numbers[0] = bucket.x;
    event.numbers[1] = bucket.y;
    event.numbers[2] = bucket.width;
    event.numbers[3] = bucket.height;
  });
}

void EventQueue::OnBucketReady(const render::Bucket& bucket, image::Image* image) {
  image::ImagePtr owned(image);
  Send(EventKind::kBucketReady, [&](Event& event) {
    event.numbers[0] = bucket.x;
    event.numbers[1] = bucket.y;
    event.numbers[2] = bucket.width;
    event.numbers[3] = bucket.height;
    event.image = std::move(owned);
  });
}

void EventQueue::OnImageUpdated(image::Image* image, uint64_t change_index, int samples) {
  image::ImagePtr owned(image);
  Send(EventKind::kImageUpdated, [&](Event& event) {
    if (owned) {
      event.numbers[0] = owned->width;
      event.numbers[1] = owned->height;
    }
    event.image = std::move(owned);
    event.change_index = change_index;
    event.extra = samples;
  });
}

void EventQueue::OnProgress(std::string_view text, int done, int total) {
  Send(EventKind::kProgress, [&](Event& event) {
    event.text = text;
    event.numbers[0] = done;
    event.numbers[1] = total;
  });
}

void EventQueue::OnLog(int level, std::string_view text) {
  if (level > delivery_->message_level) return;
  Send(EventKind::kMessage, [&](Event& event) {
    event.text = text;
    event.numbers[0] = level;
  });
}

}  // namespace kiln::engine::api
