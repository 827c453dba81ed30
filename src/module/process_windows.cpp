// Priority classes and processor masks.
#include <windows.h>

#include "module/process.h"

namespace KilnNodeWrapper::process {
namespace {

class Process {
 public:
  explicit Process(int32_t pid)
      : handle_(OpenProcess(PROCESS_SET_INFORMATION | PROCESS_QUERY_INFORMATION, FALSE,
                            pid == 0 ? GetCurrentProcessId() : static_cast<DWORD>(pid))) {}
  ~Process() {
    if (handle_) CloseHandle(handle_);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  HANDLE handle() const { return handle_; }

 private:
  HANDLE handle_;
};

DWORD Class(Priority priority) {
  switch (priority) {
    case Priority::kIdle:
      return IDLE_PRIORITY_CLASS;
    case Priority::kBelowNormal:
      return BELOW_NORMAL_PRIORITY_CLASS;
    case Priority::kNormal:
      return NORMAL_PRIORITY_CLASS;
    case Priority::kAboveNormal:
      return ABOVE_NORMAL_PRIORITY_CLASS;
    case Priority::kHigh:
      return HIGH_PRIORITY_CLASS;
  }
  return NORMAL_PRIORITY_CLASS;
}

}  // namespace

bool SetPriority(int32_t pid, Priority priority) {
  const Process process(pid);
  if (!process.handle()) return false;
  SetPriorityClass(process.handle(), Class(priority));
  return true;
}

bool SetNumaNode(int32_t pid, uint8_t node) {
  ULONGLONG mask = 0;
  if (!GetNumaNodeProcessorMask(node, &mask)) return false;
  const Process process(pid);
  return process.handle() && SetProcessAffinityMask(process.handle(), static_cast<DWORD_PTR>(mask)) != 0;
}

}  // namespace KilnNodeWrapper::process
