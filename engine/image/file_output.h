// Writing files whole or not at all.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace kiln::engine::image {

// Writes a temporary file beside the target and renames it, so that nobody sees half a file and a failure
// leaves the old one. A link is followed; what is no regular file (a pipe, a device) is written directly.
// False with a sentence without a full stop in *error when given. Any thread.
bool WriteFileWhole(const std::filesystem::path& file, std::span<const std::byte> bytes,
                    std::string* error = nullptr);

}  // namespace kiln::engine::image
