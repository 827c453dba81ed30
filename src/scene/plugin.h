// The Plugin class, whose named properties are those of a plugin instance in the SDK, and its subclass
// PluginRef for one output of an instance.
#pragma once

#include <span>
#include <string>

#include "binding/environment.h"
#include "binding/members.h"

namespace KilnNodeWrapper {

// Plugin and PluginRef, in this order.
void RegisterPlugin(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

// The templates of both.
v8::Local<v8::FunctionTemplate> PluginTemplate(Environment& environment);
v8::Local<v8::FunctionTemplate> PluginRefTemplate(Environment& environment);

// The members that read and write properties (plugin_properties.cpp).
void GetPropertyValue(const Arguments& info);
void SetPropertyValue(const Arguments& info);
void GetPropertyValueAsString(const Arguments& info);
void GetPropertyValueAsBinaryBuffer(const Arguments& info);
void IsPropertyAnimated(const Arguments& info);
void GetPropertyKeyframeTimes(const Arguments& info);

// The named handler of both classes.
v8::NamedPropertyHandlerConfiguration PluginProperties(v8::Local<v8::External> external);

// PluginRef's own side (plugin_ref.cpp).
// The plugin's name, and behind it, for an output with a name, "::" and that. False when the plugin has no
// name.
bool DisplayNameOf(v8::Local<v8::Object> plugin, std::string* name);

}  // namespace KilnNodeWrapper
