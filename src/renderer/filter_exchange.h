// One question of the SDK's loader to a script's filter, and the way of its answer back.
#pragma once

#include <v8.h>

#include <mutex>

#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// The loader's thread asks and, woken, takes the answer; the JavaScript thread serves in between. A loader
// that is woken without an answer leaves the plugin out, and an answer that comes later is dropped.
class FilterExchange {
 public:
  FilterExchange() = default;
  FilterExchange(const FilterExchange&) = delete;
  FilterExchange& operator=(const FilterExchange&) = delete;

  // The loader's thread. The names are the SDK's and are read until the answer is taken.
  void Ask(const char* name1, const char* name2);
  // What the SDK's filter function returns.
  const char* Take();

  // JavaScript thread: call_filter(names) runs the filter with two strings, and its answer is noted. False
  // when there is no question.
  template <class CallFilter>
  bool Serve(v8::Isolate* isolate, CallFilter&& call_filter) {
    v8::Local<v8::Value> names[2];
    switch (Read(isolate, names)) {
      case Question::kNone:
        return false;
      case Question::kUnreadable:
        Keep();
        break;
      case Question::kOpen:
        Answer(isolate, call_filter(names), names[1]);
        break;
    }
    return true;
  }

 private:
  enum class Question { kNone, kUnreadable, kOpen };
  Question Read(v8::Isolate* isolate, v8::Local<v8::Value>* names);
  void Answer(v8::Isolate* isolate, v8::MaybeLocal<v8::Value> value, v8::Local<v8::Value> name);
  void Keep();
  void Rename(v8::Isolate* isolate, v8::Local<v8::String> name);

  std::mutex mutex_;
  bool asked_ = false;
  const char* name1_ = nullptr;
  const char* name2_ = nullptr;
  const char* answer_ = nullptr;
};

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
