#include "scene/plugin_wrappers.h"

#include <cstring>

#include "binding/lazy_class.h"
#include "scene/plugin.h"
#include "scene/plugin_fields.h"

namespace KilnNodeWrapper {
namespace {

// An object with its class tag and empty fields, which no JavaScript has seen.
v8::MaybeLocal<v8::Object> NewWrapper(Environment& environment, bool is_ref) {
  v8::Isolate* isolate = environment.isolate();
  v8::Global<v8::Object>& pristine = environment.pristine_plugins[is_ref ? 1 : 0];
  if (pristine.IsEmpty()) {
    v8::Local<v8::FunctionTemplate> target =
        is_ref ? PluginRefTemplate(environment) : PluginTemplate(environment);
    v8::Local<v8::Object> first;
    if (!target->InstanceTemplate()->NewInstance(isolate->GetCurrentContext()).ToLocal(&first)) return {};
    SetClassTag(first, kPluginTag);
    pristine.Reset(isolate, first);
  }
  return compat::Clone(isolate, pristine.Get(isolate));
}

}  // namespace

v8::MaybeLocal<v8::Object> wrapPlugin(Environment& environment, v8::Local<v8::Object> renderer_object,
                                      KilnPluginId id, int32_t output_index) {
  v8::Isolate* isolate = environment.isolate();
  KilnRendererNodeWrapper::RendererWrapper& record = KilnRendererNodeWrapper::WrapperOf(renderer_object);
  PluginCache& cache = record.pluginCache;
  const uint32_t output = output_index < 0 ? 0 : static_cast<uint32_t>(output_index);
  v8::Local<v8::Object> plugin = cache.Find(isolate, id, output);
  if (!plugin.IsEmpty()) return plugin;
  // This may run the collector, which erases from the cache; the insertion looks for its place afterwards.
  if (!NewWrapper(environment, output > 0).ToLocal(&plugin)) return {};
  SetPointerField(plugin, kOutputField, reinterpret_cast<void*>(uintptr_t{output} << 1));
  SetObjectField(plugin, kRendererField, renderer_object);
  SetBitsField(plugin, kIdField, id);
  SetPointerField(plugin, kRecordField, &record);
  cache.Insert(isolate, id, output, plugin);
  return plugin;
}

v8::Local<v8::Value> wrapPluginById(Environment& environment, v8::Local<v8::Object> renderer_object,
                                    KilnPluginId id, int32_t output_index) {
  v8::Local<v8::Object> plugin;
  if (id != 0 && id != KILN_NO_PLUGIN &&
      wrapPlugin(environment, renderer_object, id, output_index).ToLocal(&plugin)) {
    return plugin;
  }
  return v8::Null(environment.isolate());
}

v8::MaybeLocal<v8::Object> wrapPluginByName(Environment& environment, v8::Local<v8::Object> renderer_object,
                                            const char* name) {
  KilnRendererHandle renderer = KilnRendererNodeWrapper::WrapperOf(renderer_object).renderer;
  if (!renderer) return {};
  const KilnPluginId id = sdk.Kiln_KilnRenderer_getPluginID(renderer, name);
  if (id == KILN_NO_PLUGIN) return {};
  return wrapPlugin(environment, renderer_object, id, 0);
}

bool isPlugin(Environment& environment, v8::Local<v8::Value> value) {
  return IsInstance(environment, environment.pluginTemplate, value);
}

bool isPluginRef(Environment& environment, v8::Local<v8::Value> value) {
  return IsInstance(environment, environment.pluginRefTemplate, value);
}

KilnPluginId pluginIdOf(Environment& environment, v8::Local<v8::Value> value) {
  if (!isPlugin(environment, value)) return KILN_NO_PLUGIN;
  v8::Local<v8::Object> plugin = value.As<v8::Object>();
  return RecordOf(plugin) ? IdFieldOf(plugin) : 0;
}

uint32_t outputIndexOf(v8::Local<v8::Object> plugin) {
  return RecordOf(plugin) ? OutputFieldOf(plugin) : 0;
}

v8::Local<v8::Value> rendererObjectOf(v8::Local<v8::Object> plugin) {
  return GetObjectField(plugin, kRendererField);
}

bool isPluginOfClass(Environment& environment, v8::Local<v8::Value> value, const char* class_name) {
  if (!isPlugin(environment, value)) return false;
  const LivePlugin plugin(value.As<v8::Object>());
  if (!plugin || plugin.id == KILN_NO_PLUGIN) return false;
  const char* type = sdk.Kiln_KilnRenderer_getPluginTypeByID(plugin.renderer, plugin.id);
  return type && std::strcmp(type, class_name) == 0;
}

}  // namespace KilnNodeWrapper
