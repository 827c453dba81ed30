// Reading of files, and the choice of the reader for what is in them.
#include "engine/formats/loader.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "engine/formats/importers.h"
#include "engine/formats/scene_text.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;

// More than any scene needs in one file; a sparse or a wrong file ends here and not in the machine's memory.
constexpr uintmax_t kMaxFileBytes = uintmax_t{16} << 30;

LoadResult Failure(LoadError error, std::string text) {
  return {error, {}, 0, std::move(text)};
}

std::string NameOf(const fs::path& file) {
  return "\"" + file.string() + "\"";
}

LoadResult ReadWholeFile(const fs::path& file, std::vector<std::byte>* bytes) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) return Failure(LoadError::kFileNotFound, "there is no file " + NameOf(file));
  if (fs::is_directory(status)) return Failure(LoadError::kFileNotFound, NameOf(file) + " is a directory");
  // A pipe or a device would block until somebody writes to it.
  if (!fs::is_regular_file(status))
    return Failure(LoadError::kFileNotFound, NameOf(file) + " is no regular file");
  const uintmax_t size = fs::file_size(file, error);
  if (error) return Failure(LoadError::kFileNotFound, NameOf(file) + " can't be read");
  if (size == 0) return Failure(LoadError::kUnknownFormat, NameOf(file) + " is empty");
  if (size > kMaxFileBytes) return Failure(LoadError::kOutOfMemory, NameOf(file) + " is too large");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return Failure(LoadError::kFileNotFound, NameOf(file) + " can't be read");
  bytes->resize(static_cast<size_t>(size));
  stream.read(reinterpret_cast<char*>(bytes->data()), static_cast<std::streamsize>(size));
  if (static_cast<uintmax_t>(stream.gcount()) != size) {
    return Failure(LoadError::kFileNotFound, NameOf(file) + " ended before its size");
  }
  return {};
}

std::string_view AsText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Without a byte order mark and leading white space.
std::string_view SkipBlank(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  return text;
}

enum class Format { kText, kGltf, kModel };

// TOML starts with a table or a key; other formats with a word, a number or a mark of their own.
bool LooksLikeSceneText(std::string_view text) {
  text = SkipBlank(text);
  while (text.starts_with('#')) {
    text.remove_prefix(std::min(text.find('\n'), text.size()));
    text = SkipBlank(text);
  }
  if (text.empty() || text.front() == '[') return true;
  const std::string_view line = text.substr(0, text.find('\n'));
  const size_t key =
      line.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.\"'@| ");
  return key != std::string_view::npos && key > 0 && line[key] == '=';
}

Format FormatOf(std::span<const std::byte> bytes) {
  const std::string_view text = AsText(bytes);
  if (text.starts_with("glTF") || SkipBlank(text).starts_with('{')) return Format::kGltf;
  return LooksLikeSceneText(text) ? Format::kText : Format::kModel;
}

// In lower case, without the dot.
std::string ExtensionOf(const fs::path& file) {
  std::string extension = file.extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return std::tolower(c); });
  return extension;
}

Format FormatOf(const std::string& extension, std::span<const std::byte> bytes) {
  if (extension == "toml") return Format::kText;
  if (extension == "gltf" || extension == "glb") return Format::kGltf;
  return FormatOf(bytes);
}

// What the readers below throw when memory ends, or their libraries on content that they did not foresee.
template <class Read>
LoadResult Guarded(const std::string& label, const Read& read) {
  try {
    return read();
  } catch (const std::bad_alloc&) {
    return Failure(LoadError::kOutOfMemory, "there is not enough memory for the scene");
  } catch (const std::length_error&) {
    return Failure(LoadError::kOutOfMemory, "there is not enough memory for the scene");
  } catch (const std::exception& error) {
    return {LoadError::kParser, label, 0, error.what()};
  }
}

}  // namespace

LoadResult LoadFile(scene::Scene& scene, const fs::path& file, const scene::LoadFilter& filter) {
  const std::string label = file.string();
  return Guarded(label, [&]() -> LoadResult {
    std::vector<std::byte> bytes;
    if (LoadResult result = ReadWholeFile(file, &bytes); !result.ok()) return result;
    const std::string extension = ExtensionOf(file);
    // Absolute, so that file names still mean the same after the working directory has changed.
    const fs::path absolute = fs::absolute(file);
    switch (FormatOf(extension, bytes)) {
      case Format::kText:
        return ReadSceneText(scene, AsText(bytes), absolute.parent_path(), label, filter);
      case Format::kGltf:
        return ImportGltf(scene, bytes, absolute.parent_path(), label, filter);
      default:
        return ImportModel(scene, bytes, absolute, extension, filter);
    }
  });
}

LoadResult LoadText(scene::Scene& scene, std::string_view text, const fs::path& base,
                    const scene::LoadFilter& filter) {
  return Guarded({}, [&] {
    const fs::path folder = base.empty() ? fs::current_path() : fs::absolute(base);
    return ReadSceneText(scene, text, folder, {}, filter);
  });
}

LoadResult LoadBuffer(scene::Scene& scene, std::span<const std::byte> bytes,
                      const scene::LoadFilter& filter) {
  return Guarded({}, [&]() -> LoadResult {
    if (bytes.empty()) return Failure(LoadError::kUnknownFormat, "the buffer is empty");
    switch (FormatOf(bytes)) {
      case Format::kText:
        return LoadText(scene, AsText(bytes), {}, filter);
      case Format::kGltf:
        return ImportGltf(scene, bytes, {}, {}, filter);
      default:
        return ImportModel(scene, bytes, {}, {}, filter);
    }
  });
}

}  // namespace kiln::engine::formats
