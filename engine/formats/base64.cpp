// Base64 in both directions.
#include "engine/formats/base64.h"

#include <array>
#include <cstdint>

namespace kiln::engine::formats {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kSkip = 64;
constexpr uint8_t kPadding = 65;
constexpr uint8_t kInvalid = 66;

constexpr std::array<uint8_t, 256> MakeTable() {
  std::array<uint8_t, 256> table{};
  table.fill(kInvalid);
  for (size_t i = 0; i < kAlphabet.size(); ++i)
    table[static_cast<uint8_t>(kAlphabet[i])] = static_cast<uint8_t>(i);
  for (const char c : {' ', '\t', '\r', '\n'}) table[static_cast<uint8_t>(c)] = kSkip;
  table[static_cast<uint8_t>('=')] = kPadding;
  return table;
}
constexpr std::array<uint8_t, 256> kTable = MakeTable();

}  // namespace

std::string EncodeBase64(std::span<const std::byte> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t k = 0; k < 3; ++k)
      group = group << 8 | (k < count ? std::to_integer<uint32_t>(bytes[i + k]) : 0);
    for (size_t k = 0; k < 4; ++k) text += k <= count ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

std::optional<std::vector<std::byte>> DecodeBase64(std::string_view text) {
  std::vector<std::byte> bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  uint32_t group = 0;
  size_t digits = 0;
  size_t padding = 0;
  for (const char c : text) {
    const uint8_t digit = kTable[static_cast<uint8_t>(c)];
    if (digit == kSkip) continue;
    if (digit == kPadding) {
      ++padding;
      continue;
    }
    if (digit == kInvalid || padding > 0) return {};
    group = group << 6 | digit;
    if (++digits % 4 == 0) {
      for (const int shift : {16, 8, 0}) bytes.push_back(static_cast<std::byte>(group >> shift & 0xFF));
      group = 0;
    }
  }
  const size_t rest = digits % 4;
  if (rest == 1 || (padding > 0 && (rest == 0 || rest + padding != 4))) return {};
  if (rest == 2) {
    if ((group & 0xF) != 0) return {};
    bytes.push_back(static_cast<std::byte>(group >> 4 & 0xFF));
  }
  if (rest == 3) {
    if ((group & 0x3) != 0) return {};
    bytes.push_back(static_cast<std::byte>(group >> 10 & 0xFF));
    bytes.push_back(static_cast<std::byte>(group >> 2 & 0xFF));
  }
  return bytes;
}

}  // namespace kiln::engine::formats
