// Entry points of the shared memory.
#include "engine/utilities/memory.h"

#include <cstdint>

#include "entry_points.h"

namespace kiln::engine {

// A size above this is a negative number that lost its sign.
constexpr uint64_t kMaxBlock = PTRDIFF_MAX;

extern "C" {

void C_memory_free(void* block) {
  FreeShared(block);
}

void* C_memory_alloc(uint64_t size) {
  return size > kMaxBlock ? nullptr : AllocateShared(size);
}

void* C_memory_realloc(void* block, uint64_t size) {
  return size > kMaxBlock ? nullptr : ReallocateShared(block, size);
}

}  // extern "C"
}  // namespace kiln::engine
