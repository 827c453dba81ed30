// The container of mesh files: a header, a directory of lists by frame, and the lists, each with a checksum.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <future>
#include <span>
#include <system_error>

#include "engine/formats/mesh_file.h"
#include "engine/image/file_output.h"

namespace kiln::engine::formats {
namespace {

static_assert(std::endian::native == std::endian::little, "lists are read as they stand in the file");
static_assert(sizeof(Vec3) == 12);

constexpr char kMark[8] = {'K', 'I', 'L', 'N', 'M', 'E', 'S', 'H'};
constexpr uint32_t kVersion = 1;
// From so many bytes on, a second thread saves more than its start takes.
constexpr uint64_t kWorthAThread = uint64_t{4} << 20;

struct Header {
  char mark[8];
  uint32_t version;
  uint32_t chunks;
  uint64_t file_bytes;
  int32_t first_frame;
  int32_t last_frame;
  uint64_t directory_checksum;
  uint64_t header_checksum;  // of all before it
};
static_assert(sizeof(Header) == 48);

struct Entry {
  uint32_t list;
  int32_t frame;
  uint64_t offset;
  uint64_t bytes;
  uint64_t checksum;
};
static_assert(sizeof(Entry) == 32);

// Four sums in turn over words of eight bytes, as fast as memory gives them. Each step is one-to-one in both
// the sum and the word, so that a change within one word always shows. Bytes come in pieces whose length is a
// multiple of 32, but for the last.
class Checksum {
 public:
  void Add(const std::byte* bytes, size_t count) {
    total_ += count;
    // Four variables stay in registers. A loop over an array of four goes through memory at -O2, which takes
    // three times as long.
    auto [a, b, c, d] = lanes_;
    for (; count >= 32; bytes += 32, count -= 32) {
      a = Mixed(a, Word(bytes, 8));
      b = Mixed(b, Word(bytes + 8, 8));
      c = Mixed(c, Word(bytes + 16, 8));
      d = Mixed(d, Word(bytes + 24, 8));
    }
    lanes_ = {a, b, c, d};
    for (uint64_t& lane : lanes_) {
      if (count == 0) break;
      const size_t part = std::min<size_t>(count, 8);
      lane = Mixed(lane, Word(bytes, part));
      bytes += part;
      count -= part;
    }
  }
  uint64_t Value() const {
    uint64_t value = total_;
    for (const uint64_t lane : lanes_) value = Mixed(value, lane);
    return value ^ value >> 32;
  }

 private:
  static constexpr uint64_t kFactor = 0x9E3779B97F4A7C15;
  static uint64_t Word(const std::byte* bytes, size_t count) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, count);
    return word;
  }
  static uint64_t Mixed(uint64_t sum, uint64_t word) { return std::rotl(sum ^ word, 29) * kFactor; }

  std::array<uint64_t, 4> lanes_ = {1, 2, 3, 4};
  uint64_t total_ = 0;
};

uint64_t ChecksumOf(const void* bytes, size_t count) {
  Checksum sum;
  sum.Add(static_cast<const std::byte*>(bytes), count);
  return sum.Value();
}

constexpr uint64_t Padded(uint64_t bytes) {
  return (bytes + 15) / 16 * 16;
}

template <class T>
std::span<const std::byte> BytesOf(const T& list) {
  return std::as_bytes(std::span(list.data(), list.size()));
}
std::span<const std::byte> BytesOf(MeshContent& content, MeshList list) {
  return std::visit([](const auto* elements) { return BytesOf(*elements); }, ListOf(content, list));
}

bool SameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

[[noreturn]] void Damaged(const std::string& why) {
  throw MeshFileFailure("the mesh file is damaged: " + why);
}

}  // namespace

void MeshFileWriter::AddFrame(int32_t frame, MeshContent content) {
  if (const std::string wrong = CheckLengths(CountLists(content)); !wrong.empty())
    throw MeshFileFailure(wrong);
  for (size_t i = 0; i < kMeshLists; ++i) {
    const auto list = static_cast<MeshList>(i);
    const std::span<const std::byte> bytes = BytesOf(content, list);
    if (any_ ? SameBytes(bytes, BytesOf(previous_, list)) : bytes.empty()) continue;
    chunks_.push_back({list, frame, data_.size(), bytes.size(), ChecksumOf(bytes.data(), bytes.size())});
    data_.insert(data_.end(), bytes.begin(), bytes.end());
    data_.resize(Padded(data_.size()));
  }
  previous_ = std::move(content);
  any_ = true;
}

void MeshFileWriter::Write(const std::filesystem::path& file) {
  const uint64_t start = Padded(sizeof(Header) + chunks_.size() * sizeof(Entry));
  std::vector<Entry> directory;
  for (const Chunk& chunk : chunks_) {
    directory.push_back(
        {static_cast<uint32_t>(chunk.list), chunk.frame, start + chunk.offset, chunk.bytes, chunk.checksum});
  }
  Header header{};
  std::memcpy(header.mark, kMark, sizeof(kMark));
  header.version = kVersion;
  header.chunks = static_cast<uint32_t>(chunks_.size());
  header.file_bytes = start + data_.size();
  header.first_frame = frames_.first;
  header.last_frame = frames_.last;
  header.directory_checksum = ChecksumOf(directory.data(), directory.size() * sizeof(Entry));
  header.header_checksum = ChecksumOf(&header, offsetof(Header, header_checksum));
  std::vector<std::byte> front(start);
  std::memcpy(front.data(), &header, sizeof(header));
  if (!directory.empty())
    std::memcpy(front.data() + sizeof(header), directory.data(), directory.size() * sizeof(Entry));
  data_.insert(data_.begin(), front.begin(), front.end());
  std::string error;
  if (!image::WriteFileWhole(file, data_, &error)) throw MeshFileFailure(error);
}

std::unique_ptr<MeshFileReader> MeshFileReader::Open(const std::filesystem::path& file) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0)
    throw MeshFileFailure(fmt::format("can't open \"{}\": {}", file.string(), std::strerror(errno)));
  std::unique_ptr<MeshFileReader> reader(new MeshFileReader(descriptor, 0));
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
    throw MeshFileFailure(fmt::format("\"{}\" is no regular file", file.string()));
  reader->size_ = static_cast<uint64_t>(status.st_size);
  Header header{};
  if (reader->size_ < sizeof(header.mark)) return nullptr;
  reader->ReadBytes(0, header.mark, sizeof(header.mark));
  if (std::memcmp(header.mark, kMark, sizeof(kMark)) != 0) return nullptr;
  if (reader->size_ < sizeof(header)) Damaged("it ends within its header");
  reader->ReadBytes(0, &header, sizeof(header));
  if (header.header_checksum != ChecksumOf(&header, offsetof(Header, header_checksum)))
    Damaged("its header was changed");
  if (header.version != kVersion)
    throw MeshFileFailure(fmt::format("the mesh file is of version {}, which is not known", header.version));
  if (header.file_bytes != reader->size_) Damaged("its length is not what it says");
  reader->frames_ = {header.first_frame, header.last_frame};
  reader->ReadDirectory(header.chunks, header.directory_checksum);
  return reader;
}

MeshFileReader::~MeshFileReader() {
  ::close(descriptor_);
}

void MeshFileReader::ReadBytes(uint64_t offset, void* to, uint64_t bytes) const {
  auto* next = static_cast<std::byte*>(to);
  while (bytes > 0) {
    const ssize_t got = ::pread(descriptor_, next, bytes, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) Damaged("it ends too early");
    next += got;
    offset += static_cast<uint64_t>(got);
    bytes -= static_cast<uint64_t>(got);
  }
}

void MeshFileReader::ReadDirectory(uint64_t chunks, uint64_t checksum) {
  if (chunks > (size_ - sizeof(Header)) / sizeof(Entry)) Damaged("its directory is longer than the file");
  std::vector<Entry> directory(chunks);
  ReadBytes(sizeof(Header), directory.data(), chunks * sizeof(Entry));
  if (ChecksumOf(directory.data(), chunks * sizeof(Entry)) != checksum) Damaged("its directory was changed");
  for (const Entry& entry : directory) {
    if (entry.offset > size_ || entry.bytes > size_ - entry.offset) Damaged("a list ends beyond the file");
    if (entry.list >= kMeshLists) continue;
    if (entry.bytes % ElementBytes(static_cast<MeshList>(entry.list)) != 0)
      Damaged("a list ends within an element");
    auto& frames = chunks_[entry.list];
    if (!frames.empty() && frames.back().frame >= entry.frame) Damaged("its frames are out of order");
    frames.push_back({entry.frame, entry.offset, entry.bytes, entry.checksum});
  }
  SelectFrame(frames_.first);
}

void MeshFileReader::SelectFrame(double frame) {
  for (size_t i = 0; i < kMeshLists; ++i) {
    selected_[i] = nullptr;
    counts_[i] = 0;
    for (const Chunk& chunk : chunks_[i]) {
      if (chunk.frame > frame && chunk.frame > frames_.first) break;
      selected_[i] = &chunk;
    }
    if (selected_[i] != nullptr) counts_[i] = selected_[i]->bytes / ElementBytes(static_cast<MeshList>(i));
  }
  if (const std::string wrong = CheckLengths(counts_); !wrong.empty()) Damaged(wrong);
}

void MeshFileReader::Read(MeshList list, void* to, uint64_t elements) const {
  const Chunk* chunk = selected_[static_cast<size_t>(list)];
  if (chunk == nullptr) return;
  uint64_t wanted = std::min(elements * ElementBytes(list), chunk->bytes);
  // Small enough that the sum finds in the cache what was just read.
  constexpr uint64_t kPiece = uint64_t{1} << 17;
  std::vector<std::byte> rest;
  Checksum sum;
  for (uint64_t done = 0; done < chunk->bytes; done += kPiece) {
    const uint64_t piece = std::min(kPiece, chunk->bytes - done);
    const uint64_t taken = std::min(piece, wanted);
    std::byte* into = static_cast<std::byte*>(to) + done;
    if (taken < piece) {
      rest.resize(kPiece);
      into = rest.data();
    }
    ReadBytes(chunk->offset + done, into, piece);
    sum.Add(into, piece);
    if (taken < piece && taken > 0) std::memcpy(static_cast<std::byte*>(to) + done, into, taken);
    wanted -= taken;
  }
  if (sum.Value() != chunk->checksum) Damaged("a list was changed");
}

void MeshFileReader::Read(std::span<const MeshListRoom> rooms) const {
  uint64_t bytes = 0;
  for (const MeshListRoom& room : rooms) bytes += room.elements * ElementBytes(room.list);
  std::atomic<size_t> next = 0;
  const auto read = [&] {
    for (size_t i; (i = next++) < rooms.size();) Read(rooms[i].list, rooms[i].to, rooms[i].elements);
  };
  std::future<void> helper;
  if (bytes >= kWorthAThread) {
    try {
      helper = std::async(std::launch::async, read);
    } catch (const std::system_error&) {
      // No thread is to be had, and one does as well.
    }
  }
  read();
  if (helper.valid()) helper.get();
}

MeshContent MeshFileReader::ReadFrom(MeshList first) const {
  MeshContent content;
  std::vector<MeshListRoom> rooms;
  for (auto i = static_cast<size_t>(first); i < kMeshLists; ++i) {
    const auto list = static_cast<MeshList>(i);
    std::visit(
        [&](auto* to) {
          to->resize(counts_[i]);
          rooms.push_back({list, to->data(), counts_[i]});
        },
        ListOf(content, list));
  }
  Read(rooms);
  return content;
}

MeshContent MeshFileReader::ReadAll() const {
  return ReadFrom(MeshList::kVertices);
}

MeshContent MeshFileReader::ReadPreviews() const {
  return ReadFrom(MeshList::kPreviewVertices);
}

}  // namespace kiln::engine::formats
