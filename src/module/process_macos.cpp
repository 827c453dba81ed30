// Nice values stand for priorities; the system has no NUMA nodes to bind to.
#include <signal.h>
#include <sys/resource.h>

#include "module/process.h"

namespace KilnNodeWrapper::process {

bool SetPriority(int32_t pid, Priority priority) {
  static constexpr int kNice[] = {19, 10, 0, -5, -10};
  if (pid < 0 || (pid != 0 && kill(pid, 0) != 0)) return false;
  setpriority(PRIO_PROCESS, static_cast<id_t>(pid), kNice[static_cast<int>(priority)]);
  return true;
}

bool SetNumaNode(int32_t, uint8_t) {
  return false;
}

}  // namespace KilnNodeWrapper::process
