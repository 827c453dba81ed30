// The KilnImage class as other rooms use it.
#pragma once

#include "binding/environment.h"
#include "image.h"

namespace KilnNodeWrapper {

void RegisterKilnImage(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

bool isImage(Environment& environment, v8::Local<v8::Value> value);
// The SDK handle of a KilnImage; null when it is closed.
KilnImageHandle imageHandleOf(v8::Local<v8::Object> image);

// A KilnImage over a handle, which it takes over, also when it can't be made. x and y become properties when
// neither is negative, host when it is not null.
v8::MaybeLocal<v8::Object> wrapImageHandle(Environment& environment, KilnImageHandle handle, int32_t x,
                                           int32_t y, const char* host);

}  // namespace KilnNodeWrapper
