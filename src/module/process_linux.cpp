// A processor set stands for a NUMA node.
#include <sched.h>

#include <fstream>
#include <string>

#include "module/process.h"

namespace KilnNodeWrapper::process {
namespace {

// The node's processors from the kernel's list, such as "0-3,8"; false when there is no such node.
bool ReadProcessors(uint8_t node, cpu_set_t* processors) {
  std::ifstream file("/sys/devices/system/node/node" + std::to_string(node) + "/cpulist");
  CPU_ZERO(processors);
  unsigned first = 0;
  while (file >> first) {
    unsigned last = first;
    if (file.peek() == '-') file.ignore() >> last;
    for (unsigned cpu = first; cpu <= last && cpu < CPU_SETSIZE; cpu++) CPU_SET(cpu, processors);
    if (file.peek() == ',') file.ignore();
  }
  return CPU_COUNT(processors) > 0;
}

}  // namespace

bool SetNumaNode(int32_t pid, uint8_t node) {
  cpu_set_t processors;
  return pid >= 0 && ReadProcessors(node, &processors) &&
         sched_setaffinity(pid, sizeof(processors), &processors) == 0;
}

}  // namespace KilnNodeWrapper::process
