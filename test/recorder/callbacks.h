// The callbacks that the host has registered, and the threads of the "SDK" that call them.
#ifndef KILN_TEST_RECORDER_CALLBACKS_H_
#define KILN_TEST_RECORDER_CALLBACKS_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "memory.h"
#include "renderer.h"

namespace recorder {

// A setter was called: with a descriptor, or with null, which clears.
void SetCallback(int row, uint64_t handle, const CallbackDescriptor* descriptor);

// The last reference to the handle was given back: no callback of it begins from now on, and those that are
// running are waited for. Waits ten seconds at most; then it is a fault, since an SDK would hang there.
void CloseCallbacks(uint64_t handle);

struct Registration {
  int row;
  uint64_t handle;
  uint64_t function;
  uint64_t user_data;
  bool set;        // not cleared
  uint32_t times;  // how often a descriptor was given
};
std::vector<Registration> Registrations();

struct RaiseRequest {
  int row = 0;          // of the setter
  uint64_t handle = 0;  // 0: the one whose callback was set last
  Memory record;        // the event; the user data is filled in
  bool null_record = false;
  int count = 1;  // in all
  int threads = 1;
  bool stale = false;  // also after it was cleared or the renderer closed
  bool serial = true;  // one callback at a time for each handle, as the SDK promises
};

struct RaiseResult {
  int delivered = 0;
  int32_t result = 0;  // of the last callback
  int64_t sum = 0;     // of all results
  std::string after;   // the event's memory as the last callback left it
  double milliseconds = 0;
};

// Raises from new threads and returns at once; `done` is called on one of them.
void Raise(const RaiseRequest& request, std::function<void(const RaiseResult&)> done);

// Raises from new threads and waits for them.
RaiseResult RaiseAndWait(const RaiseRequest& request);

// Runs the work on a thread of the recorder, which an unload that joins waits for.
void RunOnThread(std::function<void()> work);
int RunningThreads();
// How many callbacks have begun and not returned.
int RunningCallbacks();

// Whether the unload of a library joins the recorder's threads.
void SetJoinOnUnload(bool join);
void JoinIfWanted();

}  // namespace recorder

#endif
