// Whole blocks of bytes, deflated (RFC 1951) and back.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace kiln::engine::formats {

std::vector<std::byte> Deflate(std::span<const std::byte> bytes);
// Exactly `size` bytes; nothing when the data is damaged or says another size.
std::optional<std::vector<std::byte>> Inflate(std::span<const std::byte> deflated, size_t size);

}  // namespace kiln::engine::formats
