// The callbacks of the host, and the threads that call them.
#include "callbacks.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "rows.h"
#include "state.h"

namespace recorder {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kLongestRelease = std::chrono::seconds(10);
constexpr int kScribble = 0xDD;

thread_local bool on_own_thread = false;

struct Entry {
  CallbackDescriptor descriptor{};
  bool set = false;
  uint32_t times = 0;
  uint64_t order = 0;
};

using Key = std::pair<uint64_t, int>;  // handle, row of the setter

struct Callbacks {
  std::mutex mutex;
  std::condition_variable changed;
  std::map<Key, Entry> entries;
  std::map<uint64_t, int> running;  // callbacks in progress by handle
  std::map<uint64_t, std::shared_ptr<std::mutex>> turns;
  uint64_t order = 0;
  int threads = 0;
  bool join_on_unload = false;
};

Callbacks& The() {
  static auto* const callbacks = new Callbacks;
  return *callbacks;
}

double Since(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// With the lock held.
std::optional<uint64_t> FindHandle(const Callbacks& all, const RaiseRequest& request) {
  if (request.handle != 0) return request.handle;
  std::optional<uint64_t> handle;
  uint64_t latest = 0;
  for (const auto& [key, entry] : all.entries) {
    if (key.second != request.row || entry.order < latest || (!entry.set && !request.stale)) continue;
    latest = entry.order;
    handle = key.first;
  }
  return handle;
}

// Begins a callback: its descriptor, counted as running; none when it is not registered.
std::optional<CallbackDescriptor> Begin(const RaiseRequest& request, uint64_t handle) {
  Callbacks& all = The();
  const std::lock_guard lock(all.mutex);
  const auto found = all.entries.find({handle, request.row});
  if (found == all.entries.end() || found->second.times == 0 || (!found->second.set && !request.stale))
    return {};
  ++all.running[handle];
  return found->second.descriptor;
}

void End(uint64_t handle) {
  Callbacks& all = The();
  const std::lock_guard lock(all.mutex);
  --all.running[handle];
  all.changed.notify_all();
}

// The event's memory lives as long as the callback, and is spoilt and freed behind it.
int32_t CallWith(const RaiseRequest& request, const CallbackDescriptor& descriptor, std::string& after) {
  if (request.null_record) return descriptor.function(nullptr);
  const size_t size = request.record.bytes.size();
  auto* const memory = static_cast<char*>(std::malloc(size));
  Place(request.record, memory);
  std::memcpy(memory + offsetof(KilnEventHead, user_data), &descriptor.user_data, sizeof(void*));
  const int32_t result = descriptor.function(memory);
  after.assign(memory, size);
  std::memset(memory, kScribble, size);
  std::free(memory);
  return result;
}

bool DeliverOne(const RaiseRequest& request, RaiseResult& total, std::mutex& total_mutex) {
  std::shared_ptr<std::mutex> turn;
  uint64_t handle;
  {
    const std::lock_guard lock(The().mutex);
    const std::optional<uint64_t> found = FindHandle(The(), request);
    if (!found) return false;
    handle = *found;
    auto& slot = The().turns[handle];
    if (!slot) slot = std::make_shared<std::mutex>();
    turn = slot;
  }
  std::unique_lock<std::mutex> serial(*turn, std::defer_lock);
  if (request.serial) serial.lock();
  const std::optional<CallbackDescriptor> descriptor = Begin(request, handle);
  if (!descriptor) return false;
  std::string after;
  const int32_t result = CallWith(request, *descriptor, after);
  End(handle);
  const std::lock_guard lock(total_mutex);
  ++total.delivered;
  total.result = result;
  total.sum += result;
  total.after = std::move(after);
  return true;
}

}  // namespace

void SetCallback(int row, uint64_t handle, const CallbackDescriptor* descriptor) {
  Callbacks& all = The();
  const std::lock_guard lock(all.mutex);
  Entry& entry = all.entries[{handle, row}];
  entry.set = descriptor != nullptr;
  if (descriptor == nullptr) return;
  entry.descriptor = *descriptor;
  entry.order = ++all.order;
  ++entry.times;
}

void CloseCallbacks(uint64_t handle) {
  Callbacks& all = The();
  std::unique_lock lock(all.mutex);
  for (auto entry = all.entries.lower_bound({handle, 0});
       entry != all.entries.end() && entry->first.first == handle; ++entry) {
    entry->second.set = false;
  }
  const bool quiet = all.changed.wait_for(lock, kLongestRelease, [&] { return all.running[handle] == 0; });
  if (!quiet) {
    AddFault("parked callback",
             "The release of " + Hex(handle) + " waited in vain for a callback that nobody served");
  }
}

std::vector<Registration> Registrations() {
  const std::lock_guard lock(The().mutex);
  std::vector<Registration> all;
  for (const auto& [key, entry] : The().entries) {
    all.push_back({key.second, key.first, reinterpret_cast<uint64_t>(entry.descriptor.function),
                   reinterpret_cast<uint64_t>(entry.descriptor.user_data), entry.set, entry.times});
  }
  return all;
}

void Raise(const RaiseRequest& request, std::function<void(const RaiseResult&)> done) {
  struct Work {
    RaiseRequest request;
    std::function<void(const RaiseResult&)> done;
    std::mutex mutex;
    RaiseResult total;
    std::atomic<int> left;
    std::atomic<int> threads;
    Clock::time_point start = Clock::now();
  };
  auto work = std::make_shared<Work>();
  work->request = request;
  work->done = std::move(done);
  work->left = request.count;
  const int threads = std::max(request.threads, 1);
  work->threads = threads;
  for (int i = 0; i < threads; ++i) {
    RunOnThread([work] {
      while (work->left.fetch_sub(1) > 0 && DeliverOne(work->request, work->total, work->mutex)) {
      }
      if (work->threads.fetch_sub(1) > 1) return;
      work->total.milliseconds = Since(work->start);
      if (work->done) work->done(work->total);
    });
  }
}

RaiseResult RaiseAndWait(const RaiseRequest& request) {
  struct Wait {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<RaiseResult> result;
  };
  auto wait = std::make_shared<Wait>();
  Raise(request, [wait](const RaiseResult& result) {
    const std::lock_guard lock(wait->mutex);
    wait->result = result;
    wait->changed.notify_all();
  });
  std::unique_lock lock(wait->mutex);
  wait->changed.wait(lock, [&] { return wait->result.has_value(); });
  return *wait->result;
}

void RunOnThread(std::function<void()> work) {
  {
    const std::lock_guard lock(The().mutex);
    ++The().threads;
  }
  std::thread([work = std::move(work)]() mutable {
    on_own_thread = true;
    work();
    work = nullptr;
    const std::lock_guard lock(The().mutex);
    --The().threads;
    The().changed.notify_all();
  }).detach();
}

int RunningThreads() {
  const std::lock_guard lock(The().mutex);
  return The().threads;
}

int RunningCallbacks() {
  const std::lock_guard lock(The().mutex);
  int sum = 0;
  for (const auto& [handle, count] : The().running) sum += count;
  return sum;
}

void SetJoinOnUnload(bool join) {
  const std::lock_guard lock(The().mutex);
  The().join_on_unload = join;
}

void JoinIfWanted() {
  Callbacks& all = The();
  std::unique_lock lock(all.mutex);
  // A thread of the recorder that unloads the library itself does not wait for its own end.
  const int others = on_own_thread ? 1 : 0;
  if (all.join_on_unload) all.changed.wait(lock, [&] { return all.threads <= others; });
}

}  // namespace recorder
