// The binary description of a shader's parameters, as the SDK gives it: little-endian words, texts padded to
// whole words.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace KilnNodeWrapper {

enum class OslType : uint32_t {
  kUnsupported,
  kInt,
  kBoolean,
  kFloat,
  kString,
  kTexture,
  kColor,
  kVector,
  kClosureOutput,
  kColorOutput,
  kFloatOutput,
  kCount,
};

struct OslParameter {
  std::string_view name;
  OslType type = OslType::kUnsupported;
  int32_t integer = 0;             // kInt, kBoolean
  std::array<float, 3> numbers{};  // kFloat in the first; kColor, kVector
  std::string_view text;           // kString
};

// Reads all entries; those of an unknown type are left out. The texts point into the block. False when the
// block ends within an entry or a length lies. Any thread.
bool ReadOslDescription(const void* block, size_t size, std::vector<OslParameter>* parameters);

}  // namespace KilnNodeWrapper
