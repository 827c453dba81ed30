// Walks a value stream to find its length and the lists that it only points to.
#include <cstring>

#include "capture.h"
#include "values.h"

namespace recorder {
namespace {

// The walk follows the stream's own counts, as the SDK has to.
class Walk {
 public:
  explicit Walk(const char* start) : start_(start) {}

  void Value() {
    const uint32_t tag = Word();
    switch (tag) {
      case KILN_VALUE_STRING:
        return Text();
      case KILN_VALUE_LIST:
        return Repeat(&Walk::Value);
      case KILN_VALUE_STRING_LIST:
        return Repeat(&Walk::Text);
      case KILN_VALUE_STRING_POINTER:
        return TextPointer();
      default:
        break;
    }
    if (const uint64_t size = FixedSize(tag); size != 0) {
      position_ += size;
    } else if (const uint64_t inline_element = InlineElement(tag); inline_element != 0) {
      position_ += Word() * inline_element;
    } else if (const uint64_t element = PointedElement(tag); element != 0) {
      List(element, tag >= KILN_VALUE_KEPT_INT_LIST);
    }
  }

  Item Finish() && { return {std::string(start_, position_), std::move(nested_)}; }

 private:
  static uint64_t FixedSize(uint32_t tag) {
    switch (tag) {
      case KILN_VALUE_INT:
      case KILN_VALUE_FLOAT:
      case KILN_VALUE_BOOLEAN:
        return 4;
      case KILN_VALUE_DOUBLE:
      case KILN_VALUE_PLUGIN:
        return 8;
      case KILN_VALUE_VECTOR:
      case KILN_VALUE_COLOR:
      case KILN_VALUE_PLUGIN_OUTPUT:
        return 12;
      case KILN_VALUE_ACOLOR:
        return 16;
      case KILN_VALUE_MATRIX:
        return 36;
      case KILN_VALUE_TRANSFORM_FLOAT:
        return 48;
      case KILN_VALUE_TRANSFORM:
        return 60;
      default:
        return 0;
    }
  }

  static uint64_t InlineElement(uint32_t tag) {
    switch (tag) {
      case KILN_VALUE_INT_LIST:
      case KILN_VALUE_FLOAT_LIST:
      case KILN_VALUE_BOOLEAN_LIST:
        return 4;
      case KILN_VALUE_DOUBLE_LIST:
        return 8;
      case KILN_VALUE_VECTOR_LIST:
      case KILN_VALUE_COLOR_LIST:
        return 12;
      default:
        return 0;
    }
  }

  static uint64_t PointedElement(uint32_t tag) {
    switch (tag) {
      case KILN_VALUE_BORROWED_INT_LIST:
      case KILN_VALUE_BORROWED_FLOAT_LIST:
      case KILN_VALUE_KEPT_INT_LIST:
      case KILN_VALUE_KEPT_FLOAT_LIST:
        return 4;
      case KILN_VALUE_BORROWED_DOUBLE_LIST:
        return 8;
      case KILN_VALUE_BORROWED_VECTOR_LIST:
      case KILN_VALUE_BORROWED_COLOR_LIST:
      case KILN_VALUE_KEPT_VECTOR_LIST:
      case KILN_VALUE_KEPT_COLOR_LIST:
        return 12;
      default:
        return 0;
    }
  }

  uint32_t Word() {
    uint32_t word;
    std::memcpy(&word, start_ + position_, sizeof(word));
    position_ += sizeof(word);
    return word;
  }

  uint64_t Wide() {
    uint64_t wide;
    std::memcpy(&wide, start_ + position_, sizeof(wide));
    position_ += sizeof(wide);
    return wide;
  }

  void Repeat(void (Walk::*step)()) {
    const uint32_t count = Word();
    for (uint32_t i = 0; i < count; ++i) (this->*step)();
  }

  // At least one zero byte stands behind the text, so a whole number of words takes one word more.
  void Text() {
    const uint64_t length = Word();
    position_ += (length / 4 + 1) * 4;
  }

  void TextPointer() {
    const uint64_t at = position_;
    const auto* const text = reinterpret_cast<const char*>(Wide());
    if (text != nullptr) nested_.push_back({at, 't', text, {}});
  }

  void List(uint64_t element, bool kept) {
    const uint64_t count = Word();
    const uint64_t at = position_;
    const auto* const elements = reinterpret_cast<const char*>(Wide());
    nested_.push_back({at, 'a', elements == nullptr ? "" : std::string(elements, count * element), {}});
    if (kept) position_ += 16;
  }

  const char* start_;
  uint64_t position_ = 0;
  std::vector<Nested> nested_;
};

}  // namespace

Item CaptureStream(const void* stream) {
  Walk walk(static_cast<const char*>(stream));
  walk.Value();
  return std::move(walk).Finish();
}

}  // namespace recorder
