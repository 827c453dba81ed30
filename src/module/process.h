// Priority and processors of a process. An implementation file per platform, and one of what the POSIX ones
// share.
#pragma once

#include <cstdint>

namespace KilnNodeWrapper::process {

enum class Priority { kIdle, kBelowNormal, kNormal, kAboveNormal, kHigh };

// A pid of 0 is the current process. False when the process can't be reached; whether the setting itself
// worked, which may need rights, does not count.
bool SetPriority(int32_t pid, Priority priority);
// Binds the process to the processors of a NUMA node. False when there is no such node or process, or it did
// not work.
bool SetNumaNode(int32_t pid, uint8_t node);

}  // namespace KilnNodeWrapper::process
