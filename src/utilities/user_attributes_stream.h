// The compact binary form of user attributes: named values one after the other, each in as few bytes as it
// needs. Little-endian, nothing aligned.
//
//   entry   the name as UTF-8 and a NUL, a tag byte, the payload
//   00      integer, 4 bytes         80  the same in one signed byte
//   01      float, 4 bytes           81  a whole float in one signed byte
//   02      vector, x y z            03  colour, r g b a; bits 80, 40, 20, 10 of the tag: the first, second,
//                                        third, fourth component is whole and stands in one signed byte
//   04      string, UTF-8 and a NUL
//
// One zero byte ends the stream.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KilnNodeWrapper {

class UserAttributesStream {
 public:
  void AddInt(std::string_view name, int32_t value);
  void AddFloat(std::string_view name, float value);
  void AddText(std::string_view name, std::string_view value);
  // Three components make a vector, four a colour.
  void AddComponents(std::string_view name, std::span<const float> components);

  // The stream with its end, filled up with zeros to whole words; the stream is empty afterwards.
  std::vector<int32_t> Take();
  // Each byte as two hexadecimal digits and a blank, then the end as "00".
  std::string Text() const;

 private:
  void Append(const void* bytes, size_t count);
  void AppendByte(uint8_t byte) { bytes_.push_back(byte); }
  void AppendText(std::string_view text);
  void AppendFloat(float value, bool as_byte);

  std::vector<uint8_t> bytes_;
};

}  // namespace KilnNodeWrapper
