#include "binding/text.h"

#include <algorithm>
#include <limits>

#include "binding/v8_compat.h"

namespace KilnNodeWrapper {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

v8::MaybeLocal<v8::String> Make(v8::Isolate* isolate, std::string_view text, v8::NewStringType type) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
  return v8::String::NewFromUtf8(isolate, text.data(), type, static_cast<int>(text.size()));
}

}  // namespace

Text::Text(v8::Isolate* isolate, v8::Local<v8::String> text) {
  Assign(isolate, text);
}

bool Text::Read(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  v8::Local<v8::String> text;
  if (!value->ToString(context).ToLocal(&text)) return false;
  Assign(v8::Isolate::GetCurrent(), text);
  return true;
}

void Text::Assign(v8::Isolate* isolate, v8::Local<v8::String> text) {
  // Three bytes hold any UTF-16 unit, so a short string needs no second pass for its length.
  size_t capacity = sizeof(inline_) - 1;
  char* buffer = inline_;
  heap_.reset();
  if (static_cast<size_t>(text->Length()) * 3 > capacity) {
    capacity = compat::Utf8Length(isolate, text);
    heap_ = std::make_unique<char[]>(capacity + 1);
    buffer = heap_.get();
  }
  length_ = compat::WriteUtf8(isolate, text, buffer, capacity);
  buffer[length_] = '\0';
}

bool ReadString(v8::Local<v8::Context> context, v8::Local<v8::Value> value, std::string* text) {
  v8::Local<v8::String> string;
  if (!value->ToString(context).ToLocal(&string)) return false;
  *text = StringOf(v8::Isolate::GetCurrent(), string);
  return true;
}

std::string StringOf(v8::Isolate* isolate, v8::Local<v8::String> text) {
  std::string result(compat::Utf8Length(isolate, text), '\0');
  result.resize(compat::WriteUtf8(isolate, text, result.data(), result.size()));
  return result;
}

v8::MaybeLocal<v8::String> NewText(v8::Isolate* isolate, std::string_view text) {
  return Make(isolate, text, v8::NewStringType::kNormal);
}

v8::MaybeLocal<v8::String> NewName(v8::Isolate* isolate, std::string_view text) {
  return Make(isolate, text, v8::NewStringType::kInternalized);
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

}  // namespace KilnNodeWrapper
