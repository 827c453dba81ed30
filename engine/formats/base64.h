// Base64 with the standard alphabet (RFC 4648), for binary arrays within texts.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kiln::engine::formats {

// With padding, on one line.
std::string EncodeBase64(std::span<const std::byte> bytes);
// Blanks and line ends are skipped, padding may be missing. Nothing for any other character, for a length
// that no encoder makes, or for bits set behind the last byte.
std::optional<std::vector<std::byte>> DecodeBase64(std::string_view text);

}  // namespace kiln::engine::formats
