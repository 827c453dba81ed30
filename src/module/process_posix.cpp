// Nice values stand for priorities.
#include <signal.h>
#include <sys/resource.h>

#include "module/process.h"

namespace KilnNodeWrapper::process {
namespace {

int Nice(Priority priority) {
  switch (priority) {
    case Priority::kIdle:
      return 19;
    case Priority::kBelowNormal:
      return 10;
    case Priority::kNormal:
      return 0;
    case Priority::kAboveNormal:
      return -5;
    case Priority::kHigh:
      return -10;
  }
  return 0;
}

}  // namespace

bool SetPriority(int32_t pid, Priority priority) {
  if (pid < 0 || (pid != 0 && kill(pid, 0) != 0)) return false;
  setpriority(PRIO_PROCESS, static_cast<id_t>(pid), Nice(priority));
  return true;
}

}  // namespace KilnNodeWrapper::process
