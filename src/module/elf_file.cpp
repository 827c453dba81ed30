#include "module/elf_file.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

namespace KilnNodeWrapper {
namespace {

class File {
 public:
  explicit File(const std::string& path)
      : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat info {};
    if (descriptor_ < 0 || fstat(descriptor_, &info) != 0) {
      error_ = errno;
    } else {
      regular_ = S_ISREG(info.st_mode);
      size_ = static_cast<uint64_t>(info.st_size);
    }
  }
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int error() const { return error_; }
  bool regular() const { return regular_; }
  bool Holds(uint64_t offset, uint64_t bytes) const { return offset <= size_ && bytes <= size_ - offset; }
  bool Read(uint64_t offset, void* target, uint64_t bytes) const {
    return Holds(offset, bytes) &&
           pread(descriptor_, target, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
  }
  // A NUL-terminated text; empty when there is none.
  std::string Text(uint64_t offset) const {
    char buffer[512];
    const uint64_t bytes = std::min<uint64_t>(sizeof(buffer), offset < size_ ? size_ - offset : 0);
    if (!Read(offset, buffer, bytes)) return {};
    const void* end = std::memchr(buffer, 0, bytes);
    return end ? std::string(buffer) : std::string();
  }

 private:
  int descriptor_;
  int error_ = 0;
  bool regular_ = false;
  uint64_t size_ = 0;
};

// Where an address of the loaded library stands in the file.
std::optional<uint64_t> FileOffset(const std::vector<Elf64_Phdr>& segments, uint64_t address) {
  for (const Elf64_Phdr& segment : segments) {
    if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
        address - segment.p_vaddr < segment.p_filesz) {
      return segment.p_offset + (address - segment.p_vaddr);
    }
  }
  return {};
}

std::vector<std::string> ReadNeeded(const File& file, const std::vector<Elf64_Phdr>& segments,
                                    const Elf64_Phdr& dynamic) {
  std::vector<uint64_t> names;
  std::optional<uint64_t> texts;
  for (uint64_t at = 0; at + sizeof(Elf64_Dyn) <= dynamic.p_filesz; at += sizeof(Elf64_Dyn)) {
    Elf64_Dyn entry{};
    if (!file.Read(dynamic.p_offset + at, &entry, sizeof(entry)) || entry.d_tag == DT_NULL) break;
    if (entry.d_tag == DT_NEEDED) names.push_back(entry.d_un.d_val);
    if (entry.d_tag == DT_STRTAB) texts = FileOffset(segments, entry.d_un.d_ptr);
  }
  std::vector<std::string> needed;
  if (!texts) return needed;
  for (const uint64_t name : names) {
    if (std::string text = file.Text(*texts + name); !text.empty()) needed.push_back(std::move(text));
  }
  return needed;
}

}  // namespace

ElfFile InspectElfFile(const std::string& path) {
  ElfFile result;
  const File file(path);
  if (file.error()) {
    result.error = path + ": " + std::strerror(file.error());
    return result;
  }
  Elf64_Ehdr header{};
  if (!file.regular() || !file.Read(0, &header, sizeof(header)) ||
      std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
    result.error = path + ": not a shared library";
    return result;
  }
  if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_phentsize != sizeof(Elf64_Phdr)) {
    result.error = path + ": a library for another machine";
    return result;
  }
  std::vector<Elf64_Phdr> segments(header.e_phnum);
  bool whole = file.Read(header.e_phoff, segments.data(), segments.size() * sizeof(Elf64_Phdr)) &&
               file.Holds(header.e_shoff, uint64_t{header.e_shnum} * header.e_shentsize);
  for (const Elf64_Phdr& segment : segments) whole = whole && file.Holds(segment.p_offset, segment.p_filesz);
  if (!whole) {
    result.error = path + ": the library is truncated";
    return result;
  }
  for (const Elf64_Phdr& segment : segments) {
    if (segment.p_type == PT_DYNAMIC) result.needed = ReadNeeded(file, segments, segment);
  }
  return result;
}

}  // namespace KilnNodeWrapper
