// String vectors of the SDK, and what becomes of them in JavaScript.
#pragma once

#include <v8.h>

#include "values.h"

namespace KilnNodeWrapper {

// Owns a string vector that the SDK handed over, which may be null. JavaScript thread; not to be kept across
// an unload of the library.
class SdkStrings {
 public:
  explicit SdkStrings(KilnStringVector vector) : vector_(vector) {}
  SdkStrings(const SdkStrings&) = delete;
  SdkStrings& operator=(const SdkStrings&) = delete;
  ~SdkStrings();

  explicit operator bool() const { return vector_ != nullptr; }
  int32_t size() const;
  // The vector's own text, which may be null.
  const char* operator[](int32_t index) const;
  // Hands the vector over.
  KilnStringVector Take();
  // All of them; empty when there is no vector, or when a string can't be made.
  v8::MaybeLocal<v8::Array> ToArray(v8::Isolate* isolate) const;

 private:
  KilnStringVector vector_;
};

}  // namespace KilnNodeWrapper
