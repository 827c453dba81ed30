// What the tests of the entry points share: a renderer that goes away by itself, and a host that writes down
// events.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "entry_points.h"

namespace kiln::engine::test {

using namespace std::chrono_literals;

// A rectangle of light in front of a camera; the sampler keeps a render short.
inline constexpr char kScene[] = R"(
[camera]
class = "CameraPerspective"

[lamp]
class = "LightRectangle"
transform = { translate = [0, 0, -2] }
doubleSided = true

[sampler]
class = "SettingsSampler"
samples = 4
bucketSize = 16
)";

class ScopedRenderer {
 public:
  ScopedRenderer() : handle_(Kiln_KilnRenderer_create(nullptr, nullptr)) {}
  ~ScopedRenderer() { Release(); }
  ScopedRenderer(const ScopedRenderer&) = delete;
  ScopedRenderer& operator=(const ScopedRenderer&) = delete;

  operator KilnRendererHandle() const { return handle_; }  // NOLINT: it stands for the handle
  void Release() { Kiln_KilnRenderer_release(std::exchange(handle_, nullptr)); }
  // With the scene above, at a size.
  int32_t Load(int32_t side = 64) {
    const int32_t result = Kiln_KilnRenderer_loadAsText(handle_, kScene);
    Kiln_KilnRenderer_setImageSize(handle_, side, side);
    return result;
  }

 private:
  KilnRendererHandle handle_;
};

struct ImageFree {
  void operator()(void* image) const { C_memory_free(image); }
};
using ImageHandle = std::unique_ptr<void, ImageFree>;

// Writes down what the callbacks get, and stays inside them while it is told to.
struct Host {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::string> log;
  std::vector<KilnBucketReadyEvent> buckets;
  std::thread::id thread;
  int inside = 0;
  int most_inside = 0;
  bool hold = false;

  void Enter(std::string text) {
    std::unique_lock lock(mutex);
    most_inside = std::max(most_inside, ++inside);
    thread = std::this_thread::get_id();
    log.push_back(std::move(text));
    changed.notify_all();
    changed.wait(lock, [this] { return !hold; });
    --inside;
  }
  void Hold(bool held) {
    const std::lock_guard lock(mutex);
    hold = held;
    changed.notify_all();
  }
  // True when an event with this text came, or comes within the time.
  bool WaitFor(const std::string& text, std::chrono::seconds limit = 30s) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [&] { return Has(text); });
  }
  bool Has(const std::string& text) const { return std::find(log.begin(), log.end(), text) != log.end(); }
  std::vector<std::string> Log() {
    const std::lock_guard lock(mutex);
    return log;
  }
};

template <class Record>
Host& HostOf(const Record& event) {
  return *static_cast<Host*>(event.head.user_data);
}

inline int32_t OnState(void* record) {
  const auto& event = *static_cast<KilnStateChangedEvent*>(record);
  HostOf(event).Enter("state " + std::to_string(event.first) + " " + std::to_string(event.second));
  return 0;
}

inline int32_t OnBucketInit(void* record) {
  HostOf(*static_cast<KilnBucketEvent*>(record)).Enter("bucket");
  return 0;
}

inline int32_t OnBucketReady(void* record) {
  const auto& event = *static_cast<KilnBucketReadyEvent*>(record);
  Host& host = HostOf(event);
  {
    const std::lock_guard lock(host.mutex);
    host.buckets.push_back(event);
  }
  host.Enter("ready");
  return 0;
}

inline int32_t OnImage(void* record) {
  const auto& event = *static_cast<KilnImageUpdatedEvent*>(record);
  HostOf(event).Enter("image " + std::to_string(event.number));
  return 0;
}

inline int32_t OnMessage(void* record) {
  const auto& event = *static_cast<KilnMessageEvent*>(record);
  HostOf(event).Enter("log " + std::to_string(event.level) + " " + event.message);
  return 0;
}

inline CallbackDescriptor Callback(KilnCallback function, Host& host) {
  return {function, &host, {0, 0}};
}

}  // namespace kiln::engine::test
