// The machine's processor and memory, as they are.
#pragma once

#include <cstdint>
#include <string>

namespace kiln::engine::api {

struct Processor {
  std::string name = "CPU";
  uint32_t frequency_mhz = 0;  // 0: the system does not say
};

struct MemoryState {  // MiB; 0: the system does not say
  float total = 0;
  float free = 0;  // what programs could have
};

// Read once. Any thread.
const Processor& TheProcessor();
MemoryState ReadMemoryState();
// How much of all the machine's processors this process has used since the last call, 0 to 1. Any thread.
float TakeUtilization();

}  // namespace kiln::engine::api
