#include "scene/sdk_strings.h"

#include <utility>
#include <vector>

#include "binding/text.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {

SdkStrings::~SdkStrings() {
  if (vector_) sdk.releaseVector(vector_);
}

int32_t SdkStrings::size() const {
  return vector_ ? sdk.getVectorSize(vector_) : 0;
}

const char* SdkStrings::operator[](int32_t index) const {
  return sdk.getVectorElement(vector_, index);
}

KilnStringVector SdkStrings::Take() {
  return std::exchange(vector_, nullptr);
}

v8::MaybeLocal<v8::Array> SdkStrings::ToArray(v8::Isolate* isolate) const {
  if (!vector_) return {};
  const int32_t count = size();
  std::vector<v8::Local<v8::Value>> strings;
  for (int32_t i = 0; i < count; i++) {
    const char* text = (*this)[i];
    v8::Local<v8::String> string;
    if (!text || !NewText(isolate, text).ToLocal(&string)) return {};
    strings.push_back(string);
  }
  return v8::Array::New(isolate, strings.data(), strings.size());
}

}  // namespace KilnNodeWrapper
