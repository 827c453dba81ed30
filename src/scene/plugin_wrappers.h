// One JavaScript object per plugin and output while it is reachable, and the ways between an ID and its
// object.
#pragma once

#include "binding/environment.h"
#include "values.h"

namespace KilnNodeWrapper {

// The wrapper of an ID and output index (negative counts as 0) of a KilnRenderer object; empty when it can't
// be made.
v8::MaybeLocal<v8::Object> wrapPlugin(Environment& environment, v8::Local<v8::Object> renderer_object,
                                      KilnPluginId id, int32_t output_index);
// null for an ID that is no plugin, or when the wrapper can't be made.
v8::Local<v8::Value> wrapPluginById(Environment& environment, v8::Local<v8::Object> renderer_object,
                                    KilnPluginId id, int32_t output_index);
// Empty for an unknown name.
v8::MaybeLocal<v8::Object> wrapPluginByName(Environment& environment, v8::Local<v8::Object> renderer_object,
                                            const char* name);

// A PluginRef is a Plugin too.
bool isPlugin(Environment& environment, v8::Local<v8::Value> value);
bool isPluginRef(Environment& environment, v8::Local<v8::Value> value);
// The ID of a Plugin; all ones for any other value.
KilnPluginId pluginIdOf(Environment& environment, v8::Local<v8::Value> value);
// The output index of a Plugin or PluginRef.
uint32_t outputIndexOf(v8::Local<v8::Object> plugin);
v8::Local<v8::Value> rendererObjectOf(v8::Local<v8::Object> plugin);
// Whether the value is a Plugin of a live renderer whose class is exactly that.
bool isPluginOfClass(Environment& environment, v8::Local<v8::Value> value, const char* class_name);

}  // namespace KilnNodeWrapper
