// Blocks of shared memory that the host gives back: texts, arrays and string vectors.
#pragma once

#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/utilities/memory.h"
#include "entry_points.h"

namespace kiln::engine::api {

// A block of `count` elements for the caller to fill, and one for a count of 0 as well. Throws
// std::bad_alloc.
template <class T>
T* NewBlock(size_t count = 1) {
  static_assert(std::is_trivially_copyable_v<T>);
  if (count > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
  void* block = AllocateShared(count * sizeof(T));
  if (!block) throw std::bad_alloc();
  return static_cast<T*>(block);
}

// A copy of the elements. Throws std::bad_alloc.
template <class T>
T* CopyToBlock(const std::vector<T>& elements) {
  T* block = NewBlock<T>(elements.size());
  if (!elements.empty()) std::memcpy(block, elements.data(), elements.size() * sizeof(T));
  return block;
}

// A NUL-terminated copy. Throws std::bad_alloc.
inline char* CopyToBlock(std::string_view text) {
  char* block = NewBlock<char>(text.size() + 1);
  text.copy(block, text.size());
  block[text.size()] = 0;
  return block;
}

// What a KilnStringVector points to; releaseVector deletes it.
using StringVector = std::vector<std::string>;

inline KilnStringVector NewStringVector(StringVector texts) {
  return new StringVector(std::move(texts));
}

}  // namespace kiln::engine::api
