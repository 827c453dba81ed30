// The Class class: one plugin class of the SDK. Called, it makes a plugin; its named properties describe
// those of its plugins; its methods find its instances.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

void RegisterPluginClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                         v8::Local<v8::Object> exports);

// The one Class object of a name while it is reachable, for a KilnRenderer object; empty when the class does
// not exist or the renderer is closed.
v8::MaybeLocal<v8::Object> getClassObject(Environment& environment, v8::Local<v8::Object> renderer_object,
                                          const char* class_name);

}  // namespace KilnNodeWrapper
