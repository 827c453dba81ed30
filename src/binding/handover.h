// A handle of the SDK's on its way into a constructor that JavaScript may call too: the constructor is given
// an External, and takes the handle only from the one that is being handed over just now.
#pragma once

#include <utility>

#include "binding/v8_compat.h"

namespace KilnNodeWrapper {

// Class: tells the constructors apart, since all handles are plain pointers.
template <class Class>
class Handover {
 public:
  explicit Handover(void* handle) : handle_(handle), outer_(std::exchange(current, this)) {}
  Handover(const Handover&) = delete;
  Handover& operator=(const Handover&) = delete;
  ~Handover() { current = outer_; }

  v8::Local<v8::External> External(v8::Isolate* isolate) { return compat::NewExternal(isolate, this); }

  // The one that the External stands for; null for any other External.
  static Handover* Of(v8::Local<v8::Value> external) {
    return current && compat::ExternalPointer(external) == current ? current : nullptr;
  }
  // The handle is the caller's from here on.
  void* Take() { return std::exchange(handle_, nullptr); }

 private:
  static inline thread_local Handover* current = nullptr;

  void* handle_;
  Handover* outer_;
};

}  // namespace KilnNodeWrapper
