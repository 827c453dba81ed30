// RenderElement: one extra channel of a render, and its pixels as bytes, as an image or as text.
#pragma once

#include "binding/environment.h"
#include "elements.h"

namespace KilnNodeWrapper {

// The element of a plugin; empty when it can't be made.
v8::MaybeLocal<v8::Object> makeRenderElement(Environment& environment, v8::Local<v8::Object> renderer_object,
                                             KilnPluginId plugin, const RenderElementInfo& info);

}  // namespace KilnNodeWrapper
