// What the members of a kvw object share: the way to the renderer, and the members by file.
#pragma once

#include "binding/members.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper {

// The renderer behind the kvw object that a member is called on, and its handle, which is null once it is
// closed. Throws and is false for an object that is no kvw object.
struct KvwReceiver {
  KvwReceiver(Environment& environment, v8::Local<v8::Object> kvw);
  explicit operator bool() const { return record != nullptr; }
  // Asked for behind the conversions, since a conversion may close the renderer.
  KilnRendererHandle handle() const { return record->renderer; }

  v8::Local<v8::Object> renderer;
  KilnRendererNodeWrapper::RendererWrapper* record = nullptr;
};
inline KvwReceiver KvwOf(const Arguments& info) {
  return {EnvironmentOf(info), info.This()};
}

void KvwLoadImage(const Arguments& info);  // kvw_images.cpp
void KvwLoadImageSync(const Arguments& info);
void KvwSaveImage(const Arguments& info);
void KvwSaveImageSync(const Arguments& info);
void KvwGetState(const Arguments& info);  // kvw_state.cpp
void KvwSetState(const Arguments& info);
void KvwGetPersistentState(const Arguments& info);
void KvwSetPersistentState(const Arguments& info);
void KvwGetSettings(const Arguments& info);
void KvwSetSettings(const Arguments& info);
void KvwGetLayers(const Arguments& info);
void KvwSetLayers(const Arguments& info);

}  // namespace KilnNodeWrapper
