// Texts between JavaScript and the SDK: UTF-8 with a terminator, names without a heap allocation.
#pragma once

#include <v8.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace KilnNodeWrapper {

// The UTF-8 form of a string as a C text. Short texts stay inside the object.
class Text {
 public:
  Text() = default;
  Text(v8::Isolate* isolate, v8::Local<v8::String> text);
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  // ToString on any value; false leaves its exception pending.
  bool Read(v8::Local<v8::Context> context, v8::Local<v8::Value> value);

  const char* c_str() const { return heap_ ? heap_.get() : inline_; }
  size_t length() const { return length_; }
  std::string_view view() const { return {c_str(), length_}; }

 private:
  void Assign(v8::Isolate* isolate, v8::Local<v8::String> text);

  size_t length_ = 0;
  std::unique_ptr<char[]> heap_;
  char inline_[104] = {};
};

// The UTF-8 form as a string of our own, for what outlives the call. ToString; false leaves its exception
// pending.
bool ReadString(v8::Local<v8::Context> context, v8::Local<v8::Value> value, std::string* text);
std::string StringOf(v8::Isolate* isolate, v8::Local<v8::String> text);

// A JavaScript string of UTF-8; empty when it can't be made. text is not null.
v8::MaybeLocal<v8::String> NewText(v8::Isolate* isolate, std::string_view text);
// The same for property and event names, which are internalized.
v8::MaybeLocal<v8::String> NewName(v8::Isolate* isolate, std::string_view text);

// The text as the result of a handler, or nothing when it can't be made; null leaves undefined.
template <class Info>
void ReturnText(const Info& info, const char* text) {
  v8::Local<v8::String> result;
  if (text && NewText(info.GetIsolate(), text).ToLocal(&result)) info.GetReturnValue().Set(result);
}
template <class Info>
void ReturnText(const Info& info, const std::string& text) {
  v8::Local<v8::String> result;
  if (NewText(info.GetIsolate(), text).ToLocal(&result)) info.GetReturnValue().Set(result);
}

// ASCII comparison without regard to case, as all type strings and option keys are compared.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace KilnNodeWrapper
