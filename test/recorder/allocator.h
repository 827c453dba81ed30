// The recorder's own memory, as the SDK has its own: every block is known, so that one given back twice, or
// never, or by somebody who did not get it here, is seen.
#ifndef KILN_TEST_RECORDER_ALLOCATOR_H_
#define KILN_TEST_RECORDER_ALLOCATOR_H_

#include <cstdint>
#include <string>
#include <vector>

namespace recorder {

struct LiveBlock {
  uint64_t address;
  uint64_t size;
  std::string origin;
};

struct AllocatorCounts {
  uint64_t live;
  uint64_t live_bytes;
  uint64_t allocated;  // since the start or the last reset
  uint64_t freed;
};

// Zeroed memory on a 16-byte boundary, never null but for a failure asked for. Any thread, as all of these.
void* Allocate(uint64_t size, const std::string& origin);

// Null is allowed. A block that is not live is a fault and is left as it is.
void Free(void* block);

void* Reallocate(void* block, uint64_t size);

// Size of a live block, or 0 for any other pointer.
uint64_t LiveSize(const void* block);

AllocatorCounts Counts();
std::vector<LiveBlock> LiveBlocks();

// From now on each block has pages of its own that end at an unreadable one, and that can no longer be read
// or written once it is freed: a late access kills the process at the place where it happens.
void SetProtection(bool on);

// The next `skip` allocations by C_memory_alloc and C_memory_realloc succeed, the `count` behind them answer
// null.
void FailAllocations(uint64_t skip, uint64_t count);
bool TakeFailure();

void ResetCounts();

}  // namespace recorder

#endif
