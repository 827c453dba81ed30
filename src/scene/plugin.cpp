#include "scene/plugin.h"

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "scene/plugin_class.h"
#include "scene/plugin_fields.h"
#include "scene/plugin_wrappers.h"
#include "scene/property_meta.h"

namespace KilnNodeWrapper {
namespace {

void DeleteThis(const Arguments& info) {
  const LivePlugin plugin(info.This());
  if (!plugin) return;
  plugin.record->pluginCache.Erase(plugin.id);
  const int32_t status =
      sdk.Kiln_KilnRenderer_deletePluginByID(plugin.renderer, plugin.id, plugin.record->autoCommit);
  if (status == 0) SetBitsField(info.This(), kIdField, 0);
  info.GetReturnValue().Set(status == 0);
}

void GetIntegerID(const Arguments& info) {
  if (const LivePlugin plugin(info.This()); plugin) info.GetReturnValue().Set(NumberOf(plugin.id));
}

void GetName(const Arguments& info) {
  if (const LivePlugin plugin(info.This()); plugin) {
    ReturnText(info, sdk.Kiln_KilnRenderer_getPluginName(plugin.renderer, plugin.id));
  }
}

void SetName(const Arguments& info) {
  if (!LivePlugin(info.This()) || info.Length() < 1) return;
  Text name;
  if (!name.Read(info.GetIsolate()->GetCurrentContext(), info[0])) return;
  // Only now: the conversion may have closed the renderer.
  const LivePlugin plugin(info.This());
  if (!plugin) return;
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_renamePluginByID(plugin.renderer, plugin.id, name.c_str()) == 0);
}

const char* TypeOf(const LivePlugin& plugin) {
  return plugin ? sdk.Kiln_KilnRenderer_getPluginTypeByID(plugin.renderer, plugin.id) : nullptr;
}

void GetType(const Arguments& info) {
  ReturnText(info, TypeOf(LivePlugin(info.This())));
}

void GetClass(const Arguments& info) {
  const char* type = TypeOf(LivePlugin(info.This()));
  v8::Local<v8::Object> object;
  if (type && getClassObject(EnvironmentOf(info), RendererObjectOf(info.This()), type).ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

// The one member that throws on a plugin that has been deleted.
void GetMeta(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  const LivePlugin plugin(info.This());
  if (!plugin.renderer) return;
  if (!plugin) return ThrowError(isolate, kMetaArgumentError);
  ReturnMeta(info, {plugin.renderer, TypeOf(plugin), plugin.id});
}

// What stands in for the plugin: an ID, all ones for nothing. False with an exception pending.
bool ReadTarget(const Arguments& info, const LivePlugin& plugin, KilnPluginId* target) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  *target = KILN_NO_PLUGIN;
  if (info.Length() == 1) {
    v8::Local<v8::Value> value = info[0];
    if (value->IsNullOrUndefined()) return true;
    if (value->IsStringObject()) value = value.As<v8::StringObject>()->ValueOf();
    if (value->IsString()) {
      const Text name(isolate, value.As<v8::String>());
      *target = sdk.Kiln_KilnRenderer_getPluginID(plugin.renderer, name.c_str());
      if (*target != 0 && *target != KILN_NO_PLUGIN) return true;
      ThrowError(isolate, "No plugin with the given name in the scene.");
      return false;
    }
    if (isPlugin(environment, value)) {
      *target = pluginIdOf(environment, value);
      return true;
    }
  }
  ThrowError(isolate, "One argument, plugin instance, plugin name or null is expected.");
  return false;
}

void ReplaceWith(const Arguments& info) {
  const LivePlugin plugin(info.This());
  KilnPluginId target = 0;
  if (!plugin || !ReadTarget(info, plugin, &target)) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_replacePluginByID(plugin.renderer, plugin.id, target,
                                                                    plugin.record->autoCommit) == 0);
}

void GetOutputName(const Arguments& info) {
  const LivePlugin plugin(info.This());
  if (!plugin) return;
  const uint32_t output = OutputFieldOf(info.This());
  if (output == 0) return info.GetReturnValue().SetNull();
  ReturnText(info, sdk.Kiln_KilnRenderer_getPropertyNameFromIndexByID(plugin.renderer, plugin.id,
                                                                      static_cast<int32_t>(output)));
}

void ReturnPlugin(const Arguments& info, KilnPluginId id, int32_t output) {
  v8::Local<v8::Object> object;
  if (wrapPlugin(EnvironmentOf(info), RendererObjectOf(info.This()), id, output).ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

void GetReference(const Arguments& info) {
  if (!LivePlugin(info.This())) return;
  if (info.Length() == 0) return info.GetReturnValue().Set(info.This());
  Text name;
  if (!name.Read(info.GetIsolate()->GetCurrentContext(), info[0])) return;
  const LivePlugin plugin(info.This());
  if (!plugin) return;
  const int32_t output =
      sdk.Kiln_KilnRenderer_getPropertyIndexFromNameByID(plugin.renderer, plugin.id, name.c_str());
  if (output >= 0) ReturnPlugin(info, plugin.id, output);
}

// Answers on a closed renderer, and on a dead object with a plugin that has no ID.
void GetPlugin(const Arguments& info) {
  if (RecordOf(info.This())) ReturnPlugin(info, IdFieldOf(info.This()), 0);
}

void IsValid(const Arguments& info) {
  const LivePlugin plugin(info.This());
  info.GetReturnValue().Set(plugin && plugin.id != KILN_NO_PLUGIN &&
                            sdk.Kiln_KilnRenderer_pluginExistsByID(plugin.renderer, plugin.id) != 0);
}

// Near the surface the object itself, whose properties the inspector goes through; below, its name.
void Inspect(const Arguments& info) {
  v8::Local<v8::Object> self = info.This();
  std::string name;
  if (InspectDepth(info) < 2) {
    const char* type = TypeOf(LivePlugin(self));
    std::string text = "Plugin";
    if (type) text += std::string(" ") + type;
    if (DisplayNameOf(self, &name)) text += " " + name;
    ReturnText(info, text);
  } else if (!isPluginRef(EnvironmentOf(info), self)) {
    info.GetReturnValue().Set(self);
  } else if (DisplayNameOf(self, &name)) {
    ReturnText(info, name);
  }
}

constexpr Method kMethods[] = {
    {"deleteThis", DeleteThis, kHidden},
    {"getIntegerID", GetIntegerID, kHidden},
    {"getName", GetName, kHidden},
    {"setName", SetName, kHidden},
    {"toString", GetName, kHidden},
    {"getType", GetType, kHidden},
    {"getClass", GetClass, kHidden},
    {"getRenderer", GetRenderer, kHidden},
    {"getMeta", GetMeta, kHidden},
    {"getValue", GetPropertyValue, kHidden},
    {"setValue", SetPropertyValue, kHidden},
    {"getValueAsString", GetPropertyValueAsString, kHidden},
    {"getValueAsBinaryBuffer", GetPropertyValueAsBinaryBuffer, kHidden},
    {"isPropertyAnimated", IsPropertyAnimated, kHidden},
    {"getKeyframeTimes", GetPropertyKeyframeTimes, kHidden},
    {"replaceWith", ReplaceWith, kHidden},
    {"getOutputName", GetOutputName, kHidden},
    {"getReference", GetReference, kHidden},
    {"getPlugin", GetPlugin, kHidden},
    {"isValid", IsValid, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildPlugin(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> plugin =
      NewClass(isolate, external, "Plugin", nullptr, PhysicalFieldCount(kPluginFields));
  plugin->InstanceTemplate()->SetHandler(PluginProperties(external));
  DefineMethods(isolate, external, plugin, kMethods);
  definePrototypeMethodByKey(isolate, external, plugin, InspectSymbol(isolate), Inspect, kHidden);
  return plugin;
}

}  // namespace

v8::Local<v8::FunctionTemplate> PluginTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.pluginTemplate, BuildPlugin);
}

void RegisterPlugin(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<PluginTemplate>>(isolate, external, exports, "Plugin");
  ExportLazily<FunctionOf<PluginRefTemplate>>(isolate, external, exports, "PluginRef");
}

}  // namespace KilnNodeWrapper
