// The vocabulary of render elements: types, binary formats and pixel formats, each a code and a text.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace KilnNodeWrapper {

struct ElementCode {
  int32_t code;
  const char* text;
};

// In the order in which JavaScript lists them.
extern const std::span<const ElementCode> kElementTypes;
extern const std::span<const ElementCode> kBinaryFormats;
extern const std::span<const ElementCode> kPixelFormats;

// The text of a code, "other" for one that is not in the table.
const char* TextOf(std::span<const ElementCode> table, uint32_t code);
// The code of a text in any case, 0 for one that is not in the table.
int32_t CodeOf(std::span<const ElementCode> table, std::string_view text);

// What the pixels of a binary format are asked for as, unless the script says otherwise.
const char* DefaultPixelFormat(uint32_t binary_format);

}  // namespace KilnNodeWrapper
