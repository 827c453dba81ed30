// What the recorder remembers.
#include "state.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <utility>

#include "rows.h"

namespace recorder {
namespace {

// Handles are no addresses, so that an access through one fails at once.
constexpr uint64_t kFirstHandle = 0x5D00000010;
constexpr uint64_t kFirstVector = 0x5E00000010;
constexpr uint64_t kHandleStep = 0x10;

struct Vector {
  std::vector<std::string> texts;
};

// Never destroyed: the recorder's threads may outlast the end of main.
struct State {
  std::mutex mutex;
  std::vector<Fault> faults;
  std::deque<std::shared_ptr<Call>> calls;
  std::vector<uint64_t> counts = std::vector<uint64_t>(Rows().size());
  std::set<int> ignored;
  Recording recording = Recording::kAll;
  uint64_t sequence = 0;
  uint64_t next_handle = kFirstHandle;
  uint64_t next_vector = kFirstVector;
  std::map<uint64_t, LiveHandle> handles;
  std::map<uint64_t, Vector> vectors;
  std::set<std::string, std::less<>> texts;
  std::vector<LibraryEvent> library_events;
};

State& The() {
  static auto* const state = new State;
  return *state;
}

void AddFaultLocked(State& state, const std::string& kind, const std::string& text) {
  state.faults.push_back({kind, text, state.sequence});
}

}  // namespace

std::string Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

void AddFault(const std::string& kind, const std::string& text) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  AddFaultLocked(state, kind, text);
}

std::vector<Fault> TakeFaults() {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  return std::exchange(state.faults, {});
}

void LogCall(const std::shared_ptr<Call>& call) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  call->sequence = ++state.sequence;
  ++state.counts[call->row];
  if (state.recording == Recording::kAll && state.ignored.count(call->row) == 0) state.calls.push_back(call);
}

void FinishCall(Call& call, uint64_t result, double milliseconds) {
  const std::lock_guard lock(The().mutex);
  call.result = result;
  call.milliseconds = milliseconds;
  call.done = true;
}

void AddFilterStep(Call& call, FilterStep step) {
  const std::lock_guard lock(The().mutex);
  call.filter.push_back(std::move(step));
}

std::vector<Call> Calls() {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  std::vector<Call> calls;
  calls.reserve(state.calls.size());
  for (const auto& call : state.calls) calls.push_back(*call);
  return calls;
}

std::vector<uint64_t> CallCounts() {
  const std::lock_guard lock(The().mutex);
  return The().counts;
}

uint64_t LastSequence() {
  const std::lock_guard lock(The().mutex);
  return The().sequence;
}

void ClearCalls() {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  state.calls.clear();
  std::fill(state.counts.begin(), state.counts.end(), 0);
}

void SetRecording(Recording recording) {
  const std::lock_guard lock(The().mutex);
  The().recording = recording;
}

void SetIgnored(int row, bool ignored) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  if (ignored) {
    state.ignored.insert(row);
  } else {
    state.ignored.erase(row);
  }
}

uint64_t NewHandle(const std::string& kind) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const uint64_t handle = state.next_handle;
  state.next_handle += kHandleStep;
  state.handles.emplace(handle, LiveHandle{handle, kind, 1});
  return handle;
}

void RetainHandle(uint64_t handle, const std::string& kind) {
  if (handle == 0) return;
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const auto found = state.handles.find(handle);
  if (found == state.handles.end() || found->second.kind != kind) {
    AddFaultLocked(state, "unknown handle", "A reference was taken on no live " + kind + ": " + Hex(handle));
    return;
  }
  ++found->second.references;
}

bool ReleaseHandle(uint64_t handle, const std::string& kind) {
  if (handle == 0) return false;
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const auto found = state.handles.find(handle);
  if (found == state.handles.end() || found->second.kind != kind) {
    AddFaultLocked(state, "unknown handle",
                   "A reference was given back on no live " + kind + ": " + Hex(handle));
    return false;
  }
  if (--found->second.references > 0) return false;
  state.handles.erase(found);
  return true;
}

bool WasHandle(uint64_t handle) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  return handle >= kFirstHandle && handle < state.next_handle && handle % kHandleStep == 0 &&
         state.handles.count(handle) == 0;
}

std::vector<LiveHandle> LiveHandles() {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  std::vector<LiveHandle> handles;
  for (const auto& [key, handle] : state.handles) handles.push_back(handle);
  return handles;
}

uint64_t NewVector(std::vector<std::string> texts) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const uint64_t vector = state.next_vector;
  state.next_vector += kHandleStep;
  state.vectors.emplace(vector, Vector{std::move(texts)});
  return vector;
}

int32_t VectorSize(uint64_t vector) {
  if (vector == 0) return 0;
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const auto found = state.vectors.find(vector);
  if (found != state.vectors.end()) return static_cast<int32_t>(found->second.texts.size());
  AddFaultLocked(state, "unknown vector", "The size of no live string vector was asked for: " + Hex(vector));
  return 0;
}

const char* VectorElement(uint64_t vector, int32_t index) {
  if (vector == 0) return nullptr;
  State& state = The();
  const std::lock_guard lock(state.mutex);
  const auto found = state.vectors.find(vector);
  if (found == state.vectors.end()) {
    AddFaultLocked(state, "unknown vector", "An element of no live string vector was read: " + Hex(vector));
    return nullptr;
  }
  const auto& texts = found->second.texts;
  if (index < 0 || static_cast<size_t>(index) >= texts.size()) {
    AddFaultLocked(state, "vector index",
                   "Element " + std::to_string(index) + " of a string vector of " +
                       std::to_string(texts.size()) + " was read");
    return nullptr;
  }
  return texts[index].c_str();
}

void ReleaseVector(uint64_t vector) {
  if (vector == 0) return;
  State& state = The();
  const std::lock_guard lock(state.mutex);
  if (state.vectors.erase(vector) == 0) {
    AddFaultLocked(state, "unknown vector", "No live string vector was released: " + Hex(vector));
  }
}

uint64_t LiveVectors() {
  const std::lock_guard lock(The().mutex);
  return The().vectors.size();
}

const char* Intern(std::string_view text) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  return state.texts.emplace(text).first->c_str();
}

void AddLibraryEvent(bool loaded, const std::string& path) {
  State& state = The();
  const std::lock_guard lock(state.mutex);
  state.library_events.push_back({loaded, path, state.sequence});
}

std::vector<LibraryEvent> LibraryEvents() {
  const std::lock_guard lock(The().mutex);
  return The().library_events;
}

int64_t ThreadId() {
  return static_cast<int64_t>(syscall(SYS_gettid));
}

}  // namespace recorder
