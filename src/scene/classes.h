// The class collection: all plugin classes that the SDK knows, by name and iterable.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

// renderer.classes; empty when it can't be made.
v8::MaybeLocal<v8::Object> NewClasses(Environment& environment, v8::Local<v8::Object> renderer_object);

}  // namespace KilnNodeWrapper
