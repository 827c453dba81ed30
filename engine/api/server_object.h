// A render server as far as the engine has one: it keeps its hosts and callbacks, and serves nobody.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "engine/api/event_queue.h"
#include "engine/api/guard.h"
#include "engine/utilities/host_list.h"
#include "entry_points.h"

namespace kiln::engine::api {

// All methods may be called from any thread, and from inside a callback.
class Server {
 public:
  EventQueue events;
  HostList hosts;

  // Says in the log that it serves nobody, and raises the start. False when it runs or is closed.
  bool Start();
  // Starts and returns when it is stopped; false as Start.
  bool Run();
  // False when it does not run.
  bool Stop();
  // Stops, raises the end, and waits until what was raised is delivered, but from inside a callback. Later
  // calls do nothing.
  void Close();
  // The same for the end of the process: gives up a callback that does not return within the limit.
  void Abandon(std::chrono::milliseconds limit);

  // False, and null, for a number that no slot has.
  bool SetUserData(int32_t index, void* data);
  void* UserData(int32_t index) const;

 private:
  static constexpr int32_t kSlots = 16;

  bool End();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool running_ = false;
  bool closed_ = false;
  uint64_t stops_ = 0;
  void* user_data_[kSlots] = {};
};

// The servers of the process, by handle: numbers as those of renderers. Null when the process ends.
KilnServerHandle AddServer(std::shared_ptr<Server> server);
std::shared_ptr<Server> FindServer(KilnServerHandle handle) noexcept;
// Ends the handle; the server comes back for the caller to close.
std::shared_ptr<Server> TakeServer(KilnServerHandle handle) noexcept;

// What the body makes of the server, or the failure when there is none or the body throws.
template <class R, class F>
R WithServer(KilnServerHandle handle, R failure, F&& body) noexcept {
  return Guarded<R>(failure, [&]() -> R {
    const std::shared_ptr<Server> server = FindServer(handle);
    return server ? static_cast<R>(body(*server)) : failure;
  });
}

}  // namespace kiln::engine::api
