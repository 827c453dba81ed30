// The KilnRenderer class and its factory.
#pragma once

#include <span>

#include "binding/environment.h"
#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

void RegisterKilnRenderer(v8::Isolate* isolate, v8::Local<v8::External> external,
                          v8::Local<v8::Object> exports);
// createKilnRenderer([options,] callback).
void CreateKilnRenderer(const Arguments& info);

// The handle of a KilnRenderer; null for any other value.
KilnRendererHandle RendererHandleOf(Environment& environment, v8::Local<v8::Value> value);

// The members, a table per file. Their order on the prototype is the class's own (kiln_renderer.cpp).
void Load(const Arguments& info);  // scene_loading.cpp
void LoadSync(const Arguments& info);
void LoadAsText(const Arguments& info);
void LoadAsTextSync(const Arguments& info);
void LoadFromBuffer(const Arguments& info);
void LoadFromBufferSync(const Arguments& info);
void Start(const Arguments& info);  // render_control.cpp
void StartSync(const Arguments& info);
void Stop(const Arguments& info);
void WaitForRenderEnd(const Arguments& info);
void Commit(const Arguments& info);
void GetImage(const Arguments& info);
void ClearScene(const Arguments& info);
extern const std::span<const Accessor> kRendererAccessors;  // renderer_properties.cpp

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
