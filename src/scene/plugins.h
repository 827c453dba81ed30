// The plugin collection: a live view of a scene's plugins by name, iterable, and callable for a view of one
// class.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

// renderer.plugins; empty when it can't be made.
v8::MaybeLocal<v8::Object> NewPlugins(Environment& environment, v8::Local<v8::Object> renderer_object);

}  // namespace KilnNodeWrapper
