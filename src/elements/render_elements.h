// The collection of a renderer's render elements: makes and finds them, and lists their vocabulary.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

// renderer.renderElements; empty when it can't be made.
v8::MaybeLocal<v8::Object> NewRenderElements(Environment& environment, v8::Local<v8::Object> renderer_object);

}  // namespace KilnNodeWrapper
