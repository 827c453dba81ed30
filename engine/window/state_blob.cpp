// Packing and checking of state.
#include "engine/window/state_blob.h"

#include <array>
#include <string>

namespace kiln::engine::window {
namespace {

constexpr uint32_t kMagic = 0x5357564b;  // "KVWS"
constexpr uint32_t kVersion = 1;
constexpr size_t kPlain = 16;  // the head without its checksum
constexpr size_t kHead = kPlain + 8;

void Append(std::vector<std::byte>* out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out->push_back(static_cast<std::byte>(value >> (8 * i)));
}

uint64_t Read(std::span<const std::byte> bytes) {
  uint64_t value = 0;
  for (size_t i = 0; i < bytes.size(); ++i) value |= std::to_integer<uint64_t>(bytes[i]) << (8 * i);
  return value;
}

// FNV-1a, 64 bits (draft-eastlake-fnv).
uint64_t Checksum(std::span<const std::byte> head, std::span<const std::byte> text) {
  uint64_t hash = 0xcbf29ce484222325;
  for (const auto part : {head, text}) {
    for (const std::byte b : part) hash = (hash ^ std::to_integer<uint64_t>(b)) * 0x100000001b3;
  }
  return hash;
}

}  // namespace

std::vector<std::byte> PackState(StateKind kind, const Json& document) {
  const std::string json = document.dump();
  const auto text = std::as_bytes(std::span(json));
  std::vector<std::byte> out;
  out.reserve(kHead + text.size());
  for (const uint64_t word :
       {uint64_t{kMagic}, uint64_t{kVersion}, static_cast<uint64_t>(kind), text.size()}) {
    Append(&out, word, 4);
  }
  Append(&out, Checksum(out, text), 8);
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

std::optional<Json> UnpackState(StateKind kind, std::span<const std::byte> bytes) {
  if (bytes.size() < kHead) return std::nullopt;
  const auto text = bytes.subspan(kHead);
  const auto word = [&](size_t index) { return Read(bytes.subspan(index * 4, 4)); };
  if (word(0) != kMagic || word(1) != kVersion || word(2) != static_cast<uint64_t>(kind) ||
      word(3) != text.size()) {
    return std::nullopt;
  }
  if (Read(bytes.subspan(kPlain, 8)) != Checksum(bytes.first(kPlain), text)) return std::nullopt;
  return ParseDocument({reinterpret_cast<const char*>(text.data()), text.size()});
}

}  // namespace kiln::engine::window
