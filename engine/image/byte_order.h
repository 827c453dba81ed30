// Little-endian numbers in byte strings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kiln::engine::image {

inline uint8_t ByteAt(std::span<const std::byte> bytes, size_t at) {
  return std::to_integer<uint8_t>(bytes[at]);
}
inline uint16_t Little16(std::span<const std::byte> bytes, size_t at) {
  return static_cast<uint16_t>(ByteAt(bytes, at) | ByteAt(bytes, at + 1) << 8);
}
inline uint32_t Little32(std::span<const std::byte> bytes, size_t at) {
  return Little16(bytes, at) | static_cast<uint32_t>(Little16(bytes, at + 2)) << 16;
}

// Appends the lowest `count` bytes of a value.
template <class Container>
void AppendLittle(Container& out, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) out.push_back(static_cast<std::byte>(value >> (8 * i) & 0xff));
}

}  // namespace kiln::engine::image
