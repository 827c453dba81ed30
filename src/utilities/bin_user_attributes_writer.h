// BinUserAttributesWriter: builds the compact binary form of user attributes. It does not need the SDK.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper {

void RegisterBinUserAttributesWriter(v8::Isolate* isolate, v8::Local<v8::External> external,
                                     v8::Local<v8::Object> exports);

}  // namespace KilnNodeWrapper
