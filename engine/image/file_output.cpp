// Writing files whole or not at all.
#include "engine/image/file_output.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "engine/image/codec_failure.h"

namespace kiln::engine::image {
namespace {

namespace fs = std::filesystem;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Closing is part of writing: a full disk may show only then.
bool WriteAll(FilePtr file, std::span<const std::byte> bytes) {
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  return std::fclose(file.release()) == 0 && written;
}

std::string Reason(int code) {
  return std::string(std::strerror(code));
}

bool Refuse(const fs::path& file, const std::string& reason, std::string* error) {
  return Fail(error, "the file \"" + file.string() + "\" cannot be written: " + reason);
}

// A new file beside the target. Exclusive, so that two writers, in one process or in many, never share one.
FilePtr OpenBeside(const fs::path& target, fs::path* name) {
  static std::atomic<unsigned> counter{0};
  constexpr int kAttempts = 1000;
  for (int i = 0; i < kAttempts; ++i) {
    *name = target.parent_path() / (".kiln-" + std::to_string(counter++) + ".part");
    FilePtr file(std::fopen(name->string().c_str(), "wbx"));
    if (file || errno != EEXIST) return file;
  }
  return nullptr;
}

}  // namespace

bool WriteFileWhole(const fs::path& file, std::span<const std::byte> bytes, std::string* error) {
  if (file.empty()) return Fail(error, "a file name is missing");
  std::error_code failure;
  fs::path target = fs::weakly_canonical(file, failure);
  if (failure || target.empty()) target = file;

  const fs::file_status status = fs::status(target, failure);
  if (fs::is_directory(status)) return Refuse(file, "it is a directory", error);
  const bool existed = fs::exists(status);
  if (existed && !fs::is_regular_file(status)) {
    FilePtr device(std::fopen(target.string().c_str(), "wb"));
    if (!device || !WriteAll(std::move(device), bytes)) return Refuse(file, Reason(errno), error);
    return true;
  }
  // A rename needs no leave of the file itself, so a write-protected one has to be asked.
  if (existed && !FilePtr(std::fopen(target.string().c_str(), "r+b")))
    return Refuse(file, Reason(errno), error);

  fs::path part;
  FilePtr stream = OpenBeside(target, &part);
  if (!stream) return Refuse(file, Reason(errno), error);
  errno = 0;
  std::string reason;
  if (!WriteAll(std::move(stream), bytes)) {
    reason = Reason(errno);
  } else {
    if (existed) fs::permissions(part, status.permissions(), failure);
    fs::rename(part, target, failure);
    if (!failure) return true;
    reason = failure.message();
  }
  fs::remove(part, failure);
  return Refuse(file, reason, error);
}

}  // namespace kiln::engine::image
