// Reads a small file whole.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kiln::engine {

// The bytes of a regular file of up to `limit` bytes; nothing for one that is larger or cannot be read. Any
// thread. Throws std::bad_alloc.
std::optional<std::string> ReadTextFile(const std::filesystem::path& path, size_t limit = size_t{64} << 20);

}  // namespace kiln::engine
