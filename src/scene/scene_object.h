// What the objects of a scene have in common: the renderer that each keeps, and how they are printed.
#pragma once

#include <memory>

#include "binding/internal_fields.h"
#include "binding/members.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper {

// The internal field of every scene object that holds its KilnRenderer object. `new Plugin()` and the like
// make objects whose fields are empty; no other field may be read before this one has been seen to hold an
// object.
inline constexpr int kRendererField = 1;

// The record of an object's renderer; null for an object whose fields are empty.
inline KilnRendererNodeWrapper::RendererWrapper* RecordOf(v8::Local<v8::Object> object) {
  v8::Local<v8::Value> renderer = GetObjectField(object, kRendererField);
  if (!renderer->IsObject()) return nullptr;
  return &KilnRendererNodeWrapper::WrapperOf(renderer.As<v8::Object>());
}
// The renderer's handle; null when it is closed too.
inline KilnRendererHandle HandleOf(v8::Local<v8::Object> object) {
  const KilnRendererNodeWrapper::RendererWrapper* record = RecordOf(object);
  return record ? record->renderer : nullptr;
}
inline v8::Local<v8::Object> RendererObjectOf(v8::Local<v8::Object> object) {
  return GetObjectField(object, kRendererField).As<v8::Object>();
}

// A block of the SDK's that is used within one call.
struct FreeBlock {
  void operator()(void* block) const { sdk.C_memory_free(block); }
};
template <class T>
using SdkBlock = std::unique_ptr<T, FreeBlock>;

// getRenderer(): the field as it stands.
void GetRenderer(const Arguments& info);

// The depth with which Node's inspector calls.
int32_t InspectDepth(const Arguments& info);

// The handler of objects whose named properties are read and listed, nothing else. It sees string keys only.
template <compat::NamedGetter kGetter, compat::NamedEnumerator kEnumerator>
v8::NamedPropertyHandlerConfiguration ReadOnlyNames(v8::Local<v8::External> external) {
  // By name: newer V8 has the constructor explicit.
  return v8::NamedPropertyHandlerConfiguration(compat::OnNamedGet<kGetter>, nullptr, nullptr, nullptr,
                                               compat::OnNamedEnumerate<kEnumerator>, external,
                                               v8::PropertyHandlerFlags::kOnlyInterceptStrings);
}

}  // namespace KilnNodeWrapper
