// Columns of a mesh file's record: typed arrays where they lie, and texts. JavaScript is run while they are
// collected, so the addresses are only taken at the end, when nothing can change an array any more.
#pragma once

#include <v8.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace KilnNodeWrapper {

// No mesh has as many frames, channels or objects; a longer array is as unreadable as one that throws.
inline constexpr uint32_t kMaxEntries = 1u << 24;

// Takes an element; false ends the walk.
using ElementVisitor = std::function<bool(uint32_t index, v8::Local<v8::Value> element)>;
// Walks the first `count` elements, which may have gone meanwhile. False when the walk ended early or the
// count is above kMaxEntries; what an element's getter threw stays pending.
bool EachElement(v8::Local<v8::Context> context, v8::Local<v8::Array> array, uint32_t count,
                 const ElementVisitor& visitor);

enum class ElementKind : uint8_t { kVector, kFloat, kInt };
bool IsListOf(v8::Local<v8::Value> value, ElementKind kind);

// Where an array's numbers lie, which is nowhere for an empty one. Valid until JavaScript runs.
const void* MemoryOf(v8::Local<v8::TypedArray> array);

class ArrayColumn {
 public:
  void Resize(size_t entries);
  size_t size() const { return arrays_.size(); }
  void Hold(v8::Isolate* isolate, size_t entry, v8::Local<v8::Value> array);

  // Takes the addresses and counts. False when a count is above what the record can hold.
  bool Point(v8::Isolate* isolate, ElementKind kind);
  // Valid after Point and until JavaScript runs. Entries without an array are null and 0.
  const int32_t* counts() const { return counts_.data(); }
  template <class Number>
  const Number* const* addresses() const {
    return reinterpret_cast<const Number* const*>(addresses_.data());
  }

 private:
  std::vector<v8::Global<v8::TypedArray>> arrays_;
  std::vector<const void*> addresses_;
  std::vector<int32_t> counts_;
};

class TextColumn {
 public:
  void Resize(size_t entries);
  size_t size() const { return texts_.size(); }
  void Hold(v8::Isolate* isolate, size_t entry, v8::Local<v8::String> text);

  // Valid as long as nothing is held or resized. Entries without a text are null and 0.
  const char* const* addresses() const { return addresses_.data(); }
  const int32_t* lengths() const { return lengths_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<const char*> addresses_;
  std::vector<int32_t> lengths_;
};

}  // namespace KilnNodeWrapper
