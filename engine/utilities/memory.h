// The one allocator of memory that crosses the boundary: what the host frees or hands over comes from here.
#pragma once

#include <cstddef>

namespace kiln::engine {

// A block of at least `bytes` bytes, aligned to 16; null when there is none. Any thread.
void* AllocateShared(size_t bytes) noexcept;
// The block in another size, its content kept as far as it fits; a new one for null. Null, and the block as
// it was, when there is no memory. Any thread.
void* ReallocateShared(void* block, size_t bytes) noexcept;
// Gives a block back; null is allowed. Any thread.
void FreeShared(void* block) noexcept;

}  // namespace kiln::engine
