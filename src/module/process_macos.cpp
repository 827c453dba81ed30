// The system has no NUMA nodes to bind to.
#include "module/process.h"

namespace KilnNodeWrapper::process {

bool SetNumaNode(int32_t, uint8_t) {
  return false;
}

}  // namespace KilnNodeWrapper::process
