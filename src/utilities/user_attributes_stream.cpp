#include "utilities/user_attributes_stream.h"

#include <cmath>
#include <cstring>

namespace KilnNodeWrapper {
namespace {

constexpr uint8_t kInt = 0x00;
constexpr uint8_t kFloat = 0x01;
constexpr uint8_t kVector = 0x02;
constexpr uint8_t kColor = 0x03;
constexpr uint8_t kText = 0x04;
constexpr uint8_t kAsByte = 0x80;

bool FitsByte(float value) {
  const float whole = std::round(value);
  return std::fabs(value - whole) < 1e-6F && whole >= -128 && whole <= 127;
}

}  // namespace

void UserAttributesStream::Append(const void* bytes, size_t count) {
  const auto* first = static_cast<const uint8_t*>(bytes);
  bytes_.insert(bytes_.end(), first, first + count);
}

void UserAttributesStream::AppendText(std::string_view text) {
  Append(text.data(), text.size());
  AppendByte(0);
}

void UserAttributesStream::AppendFloat(float value, bool as_byte) {
  if (as_byte) {
    AppendByte(static_cast<uint8_t>(static_cast<int8_t>(std::round(value))));
  } else {
    Append(&value, sizeof(value));
  }
}

void UserAttributesStream::AddInt(std::string_view name, int32_t value) {
  AppendText(name);
  if (value >= -128 && value <= 127) {
    AppendByte(kInt | kAsByte);
    AppendByte(static_cast<uint8_t>(static_cast<int8_t>(value)));
  } else {
    AppendByte(kInt);
    Append(&value, sizeof(value));
  }
}

void UserAttributesStream::AddFloat(std::string_view name, float value) {
  const bool as_byte = FitsByte(value);
  AppendText(name);
  AppendByte(as_byte ? kFloat | kAsByte : kFloat);
  AppendFloat(value, as_byte);
}

void UserAttributesStream::AddText(std::string_view name, std::string_view value) {
  AppendText(name);
  AppendByte(kText);
  AppendText(value);
}

void UserAttributesStream::AddComponents(std::string_view name, std::span<const float> components) {
  uint8_t tag = components.size() == 3 ? kVector : kColor;
  for (size_t i = 0; i < components.size(); i++) {
    if (FitsByte(components[i])) tag |= kAsByte >> i;
  }
  AppendText(name);
  AppendByte(tag);
  for (float component : components) AppendFloat(component, FitsByte(component));
}

std::vector<int32_t> UserAttributesStream::Take() {
  AppendByte(0);
  std::vector<int32_t> words((bytes_.size() + sizeof(int32_t) - 1) / sizeof(int32_t));
  std::memcpy(words.data(), bytes_.data(), bytes_.size());
  bytes_ = {};
  return words;
}

std::string UserAttributesStream::Text() const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(3 * bytes_.size() + 2);
  for (uint8_t byte : bytes_) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
    text += ' ';
  }
  return text + "00";
}

}  // namespace KilnNodeWrapper
