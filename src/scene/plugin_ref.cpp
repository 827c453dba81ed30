// PluginRef: a plugin seen through one of its outputs. It does what a Plugin does, on the same plugin.
#include "binding/lazy_class.h"
#include "scene/plugin.h"
#include "scene/plugin_fields.h"

namespace KilnNodeWrapper {
namespace {

void ToString(const Arguments& info) {
  std::string name;
  if (DisplayNameOf(info.This(), &name)) ReturnText(info, name);
}

constexpr Method kMethods[] = {
    {"toString", ToString, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildPluginRef(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> result =
      NewClass(isolate, external, "PluginRef", nullptr, PhysicalFieldCount(kPluginFields));
  result->Inherit(PluginTemplate(Environment::Of(external)));
  result->InstanceTemplate()->SetHandler(PluginProperties(external));
  DefineMethods(isolate, external, result, kMethods);
  return result;
}

}  // namespace

bool DisplayNameOf(v8::Local<v8::Object> object, std::string* name) {
  const LivePlugin plugin(object);
  if (!plugin) return false;
  const char* plugin_name = sdk.Kiln_KilnRenderer_getPluginName(plugin.renderer, plugin.id);
  if (!plugin_name) return false;
  *name = plugin_name;
  const uint32_t output = OutputFieldOf(object);
  if (output == 0) return true;
  const char* output_name = sdk.Kiln_KilnRenderer_getPropertyNameFromIndexByID(plugin.renderer, plugin.id,
                                                                               static_cast<int32_t>(output));
  if (output_name) *name = *name + "::" + output_name;
  return true;
}

v8::Local<v8::FunctionTemplate> PluginRefTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.pluginRefTemplate, BuildPluginRef);
}

}  // namespace KilnNodeWrapper
