#include "renderer/filter_exchange.h"

#include <cstring>

#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/scene_sources.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

void FilterExchange::Ask(const char* name1, const char* name2) {
  const std::lock_guard lock(mutex_);
  name1_ = name1;
  name2_ = name2;
  answer_ = nullptr;
  asked_ = true;
}

const char* FilterExchange::Take() {
  const std::lock_guard lock(mutex_);
  asked_ = false;
  return answer_;
}

// Under the lock, so that a loader that is woken meanwhile does not take the names away.
FilterExchange::Question FilterExchange::Read(v8::Isolate* isolate, v8::Local<v8::Value>* names) {
  const std::lock_guard lock(mutex_);
  if (!asked_) return Question::kNone;
  v8::Local<v8::String> first;
  v8::Local<v8::String> second;
  if (!name1_ || !name2_ || !NewText(isolate, name1_).ToLocal(&first) ||
      !NewText(isolate, name2_).ToLocal(&second)) {
    return Question::kUnreadable;
  }
  names[0] = first;
  names[1] = second;
  return Question::kOpen;
}

// A falsy answer leaves the plugin out, a text names it, anything else keeps it.
void FilterExchange::Answer(v8::Isolate* isolate, v8::MaybeLocal<v8::Value> value,
                            v8::Local<v8::Value> name) {
  v8::Local<v8::Value> answer;
  v8::Local<v8::String> text;
  if (!value.ToLocal(&answer) || !answer->BooleanValue(isolate)) return;
  if (IsText(answer) && answer->ToString(isolate->GetCurrentContext()).ToLocal(&text) &&
      !text->StrictEquals(name)) {
    Rename(isolate, text);
  } else {
    Keep();
  }
}

void FilterExchange::Keep() {
  const std::lock_guard lock(mutex_);
  if (asked_) answer_ = name2_;
}

void FilterExchange::Rename(v8::Isolate* isolate, v8::Local<v8::String> name) {
  const Text text(isolate, name);
  const std::lock_guard lock(mutex_);
  if (!asked_) return;
  auto* copy = static_cast<char*>(sdk.C_memory_alloc(text.length() + 1));
  // Without memory the plugin is kept as it is.
  answer_ = copy ? std::strcpy(copy, text.c_str()) : name2_;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
