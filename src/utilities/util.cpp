#include "utilities/util.h"

#include <vector>

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "binding/object_builder.h"
#include "module/module.h"
#include "scene/plugin_fields.h"
#include "scene/plugin_wrappers.h"
#include "scene/scene_object.h"
#include "utilities.h"

namespace KilnNodeWrapper {
namespace {

using FindLinks = int32_t (*SdkTable::*)(KilnRendererHandle, KilnPluginId, int32_t, PluginLink**);

v8::MaybeLocal<v8::Object> MakeLink(Environment& environment, const LivePlugin& plugin,
                                    v8::Local<v8::Object> renderer_object, const PluginLink& link) {
  const char* property =
      sdk.Kiln_KilnRenderer_getPropertyNameFromIndexByID(plugin.renderer, link.from, link.property_index);
  ObjectBuilder object(environment.isolate());
  object.Value("fromPlugin", wrapPluginById(environment, renderer_object, link.from, 0));
  object.Text("fromProperty", property ? property : "");
  object.Value("toPlugin", wrapPluginById(environment, renderer_object, link.to, link.output_index));
  return object.Take();
}

void ReturnLinks(const Arguments& info, FindLinks find, bool recursive) {
  Environment& environment = EnvironmentOf(info);
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Object> object = info[0].As<v8::Object>();
  const LivePlugin plugin(object);
  if (!plugin) return;
  PluginLink* links = nullptr;
  const int32_t count = (sdk.*find)(plugin.renderer, plugin.id, recursive ? 1 : 0, &links);
  const SdkBlock<PluginLink> owner(links);
  const int length = count > 0 ? count : 0;
  if (!links) return info.GetReturnValue().Set(v8::Array::New(isolate, length));
  std::vector<v8::Local<v8::Value>> elements;
  for (int i = 0; i < length; i++) {
    v8::Local<v8::Object> link;
    if (!MakeLink(environment, plugin, RendererObjectOf(object), links[i]).ToLocal(&link)) return;
    elements.push_back(link);
  }
  info.GetReturnValue().Set(v8::Array::New(isolate, elements.data(), elements.size()));
}

void GetChildPlugins(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 2 || !isPlugin(EnvironmentOf(info), info[0])) {
    return ThrowError(isolate, "Argument 0 must be a Plugin. Argument 1 is a boolean.");
  }
  ReturnLinks(info, &SdkTable::Util_getChildPlugins, info[1]->BooleanValue(isolate));
}

void GetParentPlugins(const Arguments& info) {
  if (!isPlugin(EnvironmentOf(info), info[0])) {
    return ThrowError(info.GetIsolate(), "Argument 0 must be a Plugin.");
  }
  ReturnLinks(info, &SdkTable::Util_getParentPlugins, false);
}

// A name that can't be converted counts as none; what the conversion threw is forgotten.
void GetIESPrescribedIntensity(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  v8::TryCatch try_catch(isolate);
  Text file;
  const bool named = info.Length() > 0 && file.Read(isolate->GetCurrentContext(), info[0]);
  info.GetReturnValue().Set(
      static_cast<double>(sdk.Util_getIESPrescribedIntensity(named ? file.c_str() : nullptr)));
}

constexpr Method kFunctions[] = {
    {"getChildPlugins", GetChildPlugins},
    {"getParentPlugins", GetParentPlugins},
    {"getIESPrescribedIntensity", GetIESPrescribedIntensity},
};

v8::MaybeLocal<v8::Value> NewUtil(Environment& environment) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> util;
  if (!v8::ObjectTemplate::New(isolate)->NewInstance(isolate->GetCurrentContext()).ToLocal(&util)) return {};
  for (const Method& function : kFunctions) defineFunction(isolate, environment.external(), util, function);
  return util;
}

}  // namespace

void RegisterUtil(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportLazily<NewUtil>(isolate, external, exports, "Util");
}

}  // namespace KilnNodeWrapper
