// Internal fields of classes that have several of them.
//
// From Node.js 20 on the collector reads field 0 of every object with two fields or more as a pointer, from
// another thread. So such an object keeps a pointer to an immortal class tag in its physical field 0, and the
// class's own fields follow behind it; the functions here map the numbers. Raw bits may stand in any of the
// class's own fields.
#pragma once

#include <v8.h>

#include <array>
#include <bit>
#include <cstdint>
#include <utility>

#include "binding/v8_compat.h"

namespace KilnNodeWrapper {

// One per class, at namespace scope. The first word must not be what a collector looks for in a type record.
struct alignas(8) ClassTag {
  uint64_t marker = 0;
};

// What a template is given for a class with that many fields of its own.
constexpr int PhysicalFieldCount(int fields) {
  return fields + 1;
}

inline void SetClassTag(v8::Local<v8::Object> object, const ClassTag& tag) {
  compat::SetPointer(object, 0, const_cast<ClassTag*>(&tag));
}
// Null for an object that has none; what it gives is only good for comparing.
inline const void* ClassTagOf(v8::Local<v8::Object> object) {
  return object->InternalFieldCount() > 1 ? compat::GetPointer(object, 0) : nullptr;
}
inline bool HasClassTag(v8::Local<v8::Object> object, const ClassTag& tag) {
  return ClassTagOf(object) == &tag;
}

inline void SetObjectField(v8::Local<v8::Object> object, int field, v8::Local<v8::Value> value) {
  object->SetInternalField(field + 1, value);
}
inline v8::Local<v8::Value> GetObjectField(v8::Local<v8::Object> object, int field) {
  return compat::GetField(object, field + 1);
}
inline void SetPointerField(v8::Local<v8::Object> object, int field, void* pointer) {
  compat::SetPointer(object, field + 1, pointer);
}
inline void* GetPointerField(v8::Local<v8::Object> object, int field) {
  return compat::GetPointer(object, field + 1);
}

// 64 bits over two fields, as halves shifted left by one: an aligned pointer has a clear low bit.
inline void SetBitsField(v8::Local<v8::Object> object, int field, uint64_t bits) {
  const auto low = static_cast<uintptr_t>(static_cast<uint32_t>(bits)) << 1;
  const auto high = static_cast<uintptr_t>(bits >> 32) << 1;
  SetPointerField(object, field, reinterpret_cast<void*>(low));
  SetPointerField(object, field + 1, reinterpret_cast<void*>(high));
}
inline uint64_t GetBitsField(v8::Local<v8::Object> object, int field) {
  const auto low = reinterpret_cast<uintptr_t>(GetPointerField(object, field)) >> 1;
  const auto high = reinterpret_cast<uintptr_t>(GetPointerField(object, field + 1)) >> 1;
  return static_cast<uint64_t>(low) | static_cast<uint64_t>(high) << 32;
}
inline void SetDoubleField(v8::Local<v8::Object> object, int field, double value) {
  SetBitsField(object, field, std::bit_cast<uint64_t>(value));
}
inline double GetDoubleField(v8::Local<v8::Object> object, int field) {
  return std::bit_cast<double>(GetBitsField(object, field));
}

// Doubles from a field on, read and written together. `raw` says that the slots of such objects have been
// seen to be plain words (RawFieldsWork).
template <size_t kCount>
[[gnu::always_inline]] inline std::array<double, kCount> GetDoubleFields(v8::Local<v8::Object> object,
                                                                         int field, bool raw) {
  if (raw) {
    const uintptr_t* slots = compat::FieldSlots(object) + field + 1;
    return [slots]<size_t... kIndex>(std::index_sequence<kIndex...>) {
      return std::array<double, kCount>{std::bit_cast<double>(uint64_t{slots[2 * kIndex]} >> 1 |
                                                              uint64_t{slots[2 * kIndex + 1]} >> 1 << 32)...};
    }
    (std::make_index_sequence<kCount>{});
  }
  std::array<double, kCount> values;
  for (size_t i = 0; i < kCount; i++) values[i] = GetDoubleField(object, field + static_cast<int>(2 * i));
  return values;
}
template <size_t kCount>
[[gnu::always_inline]] inline void SetDoubleFields(v8::Local<v8::Object> object, int field,
                                                   const std::array<double, kCount>& values, bool raw) {
  if (raw) {
    uintptr_t* slots = compat::FieldSlots(object) + field + 1;
    for (size_t i = 0; i < kCount; i++) {
      const auto bits = std::bit_cast<uint64_t>(values[i]);
      slots[2 * i] = static_cast<uintptr_t>(static_cast<uint32_t>(bits)) << 1;
      slots[2 * i + 1] = static_cast<uintptr_t>(bits >> 32) << 1;
    }
  } else {
    for (size_t i = 0; i < kCount; i++) SetDoubleField(object, field + static_cast<int>(2 * i), values[i]);
  }
}

// Whether the slots of an object show the tag and the bits that were written through the API.
inline bool RawFieldsWork(v8::Local<v8::Object> object, const ClassTag& tag, int field) {
  const uintptr_t* slots = compat::FieldSlots(object);
  if (!slots) return false;
  const uint64_t pattern = 0x1234567889ABCDEF;
  const uint64_t before = GetBitsField(object, field);
  SetBitsField(object, field, pattern);
  const bool work = slots[0] == reinterpret_cast<uintptr_t>(&tag) &&
                    slots[field + 1] == static_cast<uintptr_t>(static_cast<uint32_t>(pattern)) << 1 &&
                    slots[field + 2] == static_cast<uintptr_t>(pattern >> 32) << 1;
  SetBitsField(object, field, before);
  return work;
}

}  // namespace KilnNodeWrapper
