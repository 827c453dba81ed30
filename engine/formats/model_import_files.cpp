// Files and images that a scene names: only those in the scene's folder or below it.
#include "engine/formats/model_import_files.h"

#include <algorithm>
#include <charconv>
#include <fstream>

namespace kiln::engine::formats {

std::string DecodeUri(std::string_view uri) {
  std::string text;
  text.reserve(uri.size());
  for (size_t i = 0; i < uri.size(); ++i) {
    unsigned code = 0;
    if (uri[i] == '%' && i + 2 < uri.size()) {
      const char* digits = uri.data() + i + 1;
      if (std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2 && code != 0) {
        text += static_cast<char>(code);
        i += 2;
        continue;
      }
    }
    text += uri[i];
  }
  return text;
}

std::optional<std::string> NameInFolder(std::string_view name) {
  std::string forward(name);
  std::replace(forward.begin(), forward.end(), '\\', '/');
  // A colon before the first slash is a drive or a scheme.
  if (forward.empty() || forward.front() == '/' || forward.find('\0') != std::string::npos ||
      forward.substr(0, forward.find('/')).find(':') != std::string::npos) {
    return std::nullopt;
  }
  const std::filesystem::path normal = std::filesystem::path(forward).lexically_normal();
  if (normal.empty() || *normal.begin() == ".." || normal == ".") return std::nullopt;
  return normal.generic_string();
}

std::optional<std::vector<std::byte>> ReadWholeFile(const std::filesystem::path& file, uint64_t limit) {
  std::error_code error;
  // A pipe or a device would block or never end.
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  const uint64_t size = std::filesystem::file_size(file, error);
  if (error || size > limit) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  std::vector<std::byte> bytes(size);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (!stream) return std::nullopt;
  return bytes;
}

std::optional<std::vector<std::byte>> ReadHead(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) return std::nullopt;
  std::vector<std::byte> bytes(16);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(stream.gcount()));
  return bytes;
}

scene::IntArray PackBytes(std::span<const std::byte> bytes) {
  std::vector<int32_t> packed((bytes.size() + 3) / 4);
  for (size_t i = 0; i < bytes.size(); ++i) {
    const uint32_t shifted = std::to_integer<uint32_t>(bytes[i]) << (i % 4 * 8);
    packed[i / 4] = static_cast<int32_t>(static_cast<uint32_t>(packed[i / 4]) | shifted);
  }
  return scene::IntArray(std::move(packed));
}

bool IsDecodableImage(std::span<const std::byte> bytes) {
  const auto starts = [&](std::string_view magic) {
    return bytes.size() >= magic.size() &&
           std::string_view(reinterpret_cast<const char*>(bytes.data()), magic.size()) == magic;
  };
  using namespace std::string_view_literals;
  return starts("\x89PNG"sv) || starts("\xFF\xD8\xFF"sv) || starts("BM"sv) || starts("II*\0"sv) ||
         starts("MM\0*"sv) || starts("\x76\x2F\x31\x01"sv) || starts("#?"sv);
}

}  // namespace kiln::engine::formats
