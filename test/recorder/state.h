// What the recorder remembers: the calls, the faults, the handles that it gave out, the loads of its
// libraries.
#ifndef KILN_TEST_RECORDER_STATE_H_
#define KILN_TEST_RECORDER_STATE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "capture.h"

namespace recorder {

std::string Hex(uint64_t value);

// A misuse of the boundary: the kind in two words, and a sentence.
struct Fault {
  std::string kind;
  std::string text;
  uint64_t sequence;  // of the last call recorded before it
};
void AddFault(const std::string& kind, const std::string& text);
std::vector<Fault> TakeFaults();

// One answer of the host's plugin filter.
struct FilterStep {
  std::string first;
  std::string second;
  char outcome;  // 'l' left out, 'k' kept, 'r' renamed
  std::string name;
};

struct Call {
  uint64_t sequence = 0;
  int row = 0;
  int64_t thread = 0;
  bool stale_handle = false;  // the first argument is a handle that has been released
  bool done = false;
  uint64_t result = 0;
  double milliseconds = 0;
  std::vector<Argument> arguments;
  std::vector<FilterStep> filter;
};

enum class Recording { kAll, kCounts };

// Puts the call into the log, unless only counts are wanted of it. The call may still be running.
void LogCall(const std::shared_ptr<Call>& call);
void FinishCall(Call& call, uint64_t result, double milliseconds);
void AddFilterStep(Call& call, FilterStep step);

std::vector<Call> Calls();
std::vector<uint64_t> CallCounts();
uint64_t LastSequence();
void ClearCalls();
void SetRecording(Recording recording);
void SetIgnored(int row, bool ignored);

// Handles that are no memory: renderers, servers, scans.
uint64_t NewHandle(const std::string& kind);
void RetainHandle(uint64_t handle, const std::string& kind);
// True when that was the last reference; an unknown handle is a fault.
bool ReleaseHandle(uint64_t handle, const std::string& kind);
bool WasHandle(uint64_t handle);
struct LiveHandle {
  uint64_t handle;
  std::string kind;
  int references;
};
std::vector<LiveHandle> LiveHandles();

// String vectors: made from texts, read by element, released once.
uint64_t NewVector(std::vector<std::string> texts);
int32_t VectorSize(uint64_t vector);
const char* VectorElement(uint64_t vector, int32_t index);
void ReleaseVector(uint64_t vector);
uint64_t LiveVectors();

// A copy of the text that stays for the life of the process.
const char* Intern(std::string_view text);

struct LibraryEvent {
  bool loaded;
  std::string path;
  uint64_t sequence;
};
void AddLibraryEvent(bool loaded, const std::string& path);
std::vector<LibraryEvent> LibraryEvents();

int64_t ThreadId();

}  // namespace recorder

#endif
