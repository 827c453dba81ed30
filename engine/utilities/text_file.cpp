#include "engine/utilities/text_file.h"

#include <fstream>
#include <system_error>

namespace kiln::engine {

std::optional<std::string> ReadTextFile(const std::filesystem::path& path, size_t limit) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return {};
  const uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > limit) return {};
  std::ifstream file(path, std::ios::binary);
  std::string text(static_cast<size_t>(size), '\0');
  if (!file.read(text.data(), static_cast<std::streamsize>(size))) return {};
  return text;
}

}  // namespace kiln::engine
