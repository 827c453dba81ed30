// Memory of the host that the "SDK" has kept: scene buffers and kept lists, each with its release function.
#ifndef KILN_TEST_RECORDER_KEPT_H_
#define KILN_TEST_RECORDER_KEPT_H_

#include <cstdint>
#include <string>
#include <vector>

#include "capture.h"

namespace recorder {

struct Kept {
  uint64_t id;
  std::string entry;  // the entry point that it came through
  uint64_t data;
  uint64_t size;
  uint64_t release;
  uint64_t user;
};

// Takes in all that a call handed over for keeping. Without `keep` it is released at once, on this thread.
void KeepMemory(const Row& row, const std::vector<Argument>& arguments, bool keep);

std::vector<Kept> KeptMemory();

// Calls the release functions of those that are kept under these numbers, on this thread; of all for an empty
// list. Answers how many.
int ReleaseKept(const std::vector<uint64_t>& ids);

}  // namespace recorder

#endif
