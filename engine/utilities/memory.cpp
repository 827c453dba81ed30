#include "engine/utilities/memory.h"

#include <cstdlib>

namespace kiln::engine {

void* AllocateShared(size_t bytes) noexcept {
  return std::malloc(bytes ? bytes : 1);
}
void* ReallocateShared(void* block, size_t bytes) noexcept {
  return std::realloc(block, bytes ? bytes : 1);
}
void FreeShared(void* block) noexcept {
  std::free(block);
}

}  // namespace kiln::engine
