// renderer.kvw: the control surface of the frame-buffer window that every renderer owns inside the SDK.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

v8::MaybeLocal<v8::Object> NewKvw(Environment& environment, v8::Local<v8::Object> renderer_object);

}  // namespace KilnNodeWrapper
