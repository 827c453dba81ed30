// Reading of files, and the choice of the reader for what is in them.
#include "engine/formats/loader.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "engine/formats/load_stage.h"

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

std::string_view AsText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Without a byte order mark and leading white space.
std::string_view SkipBlank(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  return text;
}

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

Format FormatOfContent(std::span<const std::byte> bytes) {
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

void AddNotes(std::string* notes, const std::string& more) {
  if (!notes->empty() && !more.empty()) *notes += '\n';
  *notes += more;
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

LoadResult ReadSceneFile(const fs::path& file, std::vector<std::byte>* bytes) {
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

Format FormatOf(const fs::path& file, std::span<const std::byte> bytes) {
  const std::string extension = ExtensionOf(file);
  if (extension == "toml") return Format::kText;
  if (extension == "gltf" || extension == "glb") return Format::kGltf;
  return FormatOfContent(bytes);
}

LoadResult StageContent(LoadStage& stage, Format format, std::span<const std::byte> bytes,
                        const fs::path& file, const std::string& label) {
  switch (format) {
    case Format::kText:
      return StageText(stage, AsText(bytes), file.parent_path(), file, label);
    case Format::kGltf:
      return StageGltf(stage, bytes, file.parent_path(), label);
    default:
      return StageModel(stage, bytes, file, ExtensionOf(file));
  }
}

LoadResult CommitStage(LoadStage& stage, const scene::LoadFilter& filter, LoadResult staged) {
  const scene::CommitReport report = stage.batch.CommitTo(stage.scene, filter);
  switch (report.status) {
    case scene::CreateStatus::kDuplicateName:
      return Failure(LoadError::kDuplicateName, report.why);
    case scene::CreateStatus::kInvalidName:
      return Failure(LoadError::kInvalidName, report.why);
    default:
      if (!report.ok()) return Failure(LoadError::kParser, report.why);
  }
  AddNotes(&staged.text, report.notes);
  return staged;
}

Loader::Loader(scene::Scene& scene, std::vector<fs::path> include_paths)
    : stage_(new LoadStage{scene, std::move(include_paths)}) {}
Loader::~Loader() = default;

template <class Read>
LoadResult Loader::Add(const std::string& label, const Read& read) {
  if (!result_.ok()) return result_;
  LoadResult added = Guarded(label, read);
  if (added.ok()) AddNotes(&result_.text, added.text);
  if (!added.ok()) result_ = added;
  return added;
}

LoadResult Loader::AddFile(const fs::path& file) {
  return Add(file.string(), [&]() -> LoadResult {
    std::vector<std::byte> bytes;
    if (LoadResult result = ReadSceneFile(file, &bytes); !result.ok()) return result;
    // Absolute, so that file names still mean the same after the working directory has changed.
    return StageContent(*stage_, FormatOf(file, bytes), bytes, fs::absolute(file), file.string());
  });
}

LoadResult Loader::AddText(std::string_view text, const fs::path& base) {
  return Add({}, [&] {
    return StageText(*stage_, text, base.empty() ? fs::current_path() : fs::absolute(base), {}, {});
  });
}

LoadResult Loader::AddBuffer(std::span<const std::byte> bytes) {
  return Add({}, [&]() -> LoadResult {
    if (bytes.empty()) return Failure(LoadError::kUnknownFormat, "the buffer is empty");
    switch (FormatOfContent(bytes)) {
      case Format::kText:
        return StageText(*stage_, AsText(bytes), fs::current_path(), {}, {});
      case Format::kGltf:
        return StageGltf(*stage_, bytes, {}, {});
      default:
        return StageModel(*stage_, bytes, {}, {});
    }
  });
}

void Loader::Refuse(const std::string& reason) {
  if (result_.ok()) result_ = Failure(LoadError::kFileNotFound, reason);
}

LoadResult Loader::Commit(const scene::LoadFilter& filter) {
  if (!result_.ok()) return result_;
  result_ = Guarded({}, [&] { return CommitStage(*stage_, filter, std::move(result_)); });
  return result_;
}

LoadResult LoadFile(scene::Scene& scene, const fs::path& file, const scene::LoadFilter& filter) {
  Loader loader(scene);
  loader.AddFile(file);
  return loader.Commit(filter);
}

LoadResult LoadText(scene::Scene& scene, std::string_view text, const fs::path& base,
                    const scene::LoadFilter& filter) {
  Loader loader(scene);
  loader.AddText(text, base);
  return loader.Commit(filter);
}

LoadResult LoadBuffer(scene::Scene& scene, std::span<const std::byte> bytes,
                      const scene::LoadFilter& filter) {
  Loader loader(scene);
  loader.AddBuffer(bytes);
  return loader.Commit(filter);
}

}  // namespace kiln::engine::formats
