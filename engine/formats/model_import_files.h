// Files and images that a scene names: only those in the scene's folder or below it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/scene/value.h"

namespace kiln::engine::formats {

// "%20" and its like replaced; a broken escape stays as it is.
std::string DecodeUri(std::string_view uri);

// The relative name, normalised and with forward slashes, when it stays within its folder: not absolute, no
// scheme, no way out through "..". Nothing otherwise.
std::optional<std::string> NameInFolder(std::string_view name);

// The whole file, or nothing when it can't be read, is no regular file, or is larger than `limit`.
std::optional<std::vector<std::byte>> ReadWholeFile(const std::filesystem::path& file,
                                                    uint64_t limit = uint64_t{1} << 40);

// The first bytes of a file, enough to tell its kind; nothing when it can't be read.
std::optional<std::vector<std::byte>> ReadHead(const std::filesystem::path& file);

// True for the image formats that the engine decodes, by their first bytes.
bool IsDecodableImage(std::span<const std::byte> bytes);
// The encoded bytes of an image as little-endian integers, the last one filled with zeros.
scene::IntArray PackBytes(std::span<const std::byte> bytes);

}  // namespace kiln::engine::formats
