// Util: the references between the plugins of a scene, and a value out of an IES light file.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper {

void RegisterUtil(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

}  // namespace KilnNodeWrapper
