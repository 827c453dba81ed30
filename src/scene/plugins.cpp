#include "scene/plugins.h"

#include <optional>
#include <vector>

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "scene/plugin_wrappers.h"
#include "scene/scene_object.h"
#include "scene/snapshot_iterator.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper {
namespace {

using compat::Intercepted;
using compat::InterceptorCall;
using KilnRendererNodeWrapper::RendererWrapper;
using KilnValuesNodeWrapper::PropertyStore;
using KilnValuesNodeWrapper::TimeDirect;

const ClassTag kPluginsTag;
constexpr int kFilterField = 0;  // and kRendererField
constexpr int kPluginsFields = 2;

// The class that a view is limited to; null for all.
class Filter {
 public:
  Filter(v8::Isolate* isolate, v8::Local<v8::Object> collection) {
    v8::Local<v8::Value> filter = GetObjectField(collection, kFilterField);
    if (filter->IsString()) text_.emplace(isolate, filter.As<v8::String>());
  }
  const char* c_str() const { return text_ ? text_->c_str() : nullptr; }

 private:
  std::optional<Text> text_;
};

v8::MaybeLocal<v8::Object> NewView(Environment& environment, v8::Local<v8::Object> renderer_object,
                                   v8::Local<v8::Value> filter);

// The getter, the setter and the deleter reach every plugin of the scene, whatever the view is limited to.
Intercepted GetByName(v8::Local<v8::Name> key, const InterceptorCall& call, v8::Local<v8::Value>* result) {
  const Text name(call.isolate, key.As<v8::String>());
  v8::Local<v8::Object> plugin;
  if (!wrapPluginByName(Environment::Of(call.data), RendererObjectOf(call.holder), name.c_str())
           .ToLocal(&plugin)) {
    return Intercepted::kNo;
  }
  *result = plugin;
  return Intercepted::kYes;
}

// One property of the named plugin. What the store throws is kept for later; false when the execution ends.
bool Assign(const InterceptorCall& call, RendererWrapper& record, const Text& plugin, const Text& property,
            v8::Local<v8::Value> value, v8::Local<v8::Value>* error) {
  v8::TryCatch try_catch(call.isolate);
  PropertyStore(Environment::Of(call.data), record, {KILN_NO_PLUGIN, plugin.c_str()}, property.c_str(), value,
                TimeDirect);
  if (!try_catch.HasCaught()) return true;
  if (!try_catch.HasTerminated()) {
    *error = try_catch.Exception();
    return true;
  }
  try_catch.ReThrow();
  return false;
}

// Assigns the value's properties to those of the named plugin. One that can't be written does not hold up the
// others, and its error is thrown behind the last; a read that fails ends the assignment.
Intercepted AssignByName(v8::Local<v8::Name> key, v8::Local<v8::Value> value, const InterceptorCall& call) {
  v8::Local<v8::Context> context = call.isolate->GetCurrentContext();
  RendererWrapper& record = *RecordOf(call.holder);
  const Text name(call.isolate, key.As<v8::String>());
  v8::Local<v8::Object> source;
  v8::Local<v8::Array> properties;
  if (!value->ToObject(context).ToLocal(&source) || !source->GetPropertyNames(context).ToLocal(&properties)) {
    return Intercepted::kNo;
  }
  v8::Local<v8::Value> error;
  for (uint32_t i = 0; i < properties->Length(); i++) {
    v8::Local<v8::Value> property;
    v8::Local<v8::Value> assigned;
    Text property_name;
    if (!properties->Get(context, i).ToLocal(&property) || property->IsNullOrUndefined() ||
        !source->Get(context, property).ToLocal(&assigned) || !property_name.Read(context, property)) {
      return Intercepted::kNo;
    }
    // A getter may have closed the renderer.
    if (record.renderer && !Assign(call, record, name, property_name, assigned, &error)) {
      return Intercepted::kNo;
    }
  }
  if (!error.IsEmpty()) call.isolate->ThrowException(error);
  return Intercepted::kYes;
}

Intercepted DeleteByName(v8::Local<v8::Name> key, const InterceptorCall& call, bool* deleted) {
  *deleted = false;
  RendererWrapper& record = *RecordOf(call.holder);
  if (!record.renderer) return Intercepted::kYes;
  const Text name(call.isolate, key.As<v8::String>());
  const KilnPluginId id = sdk.Kiln_KilnRenderer_getPluginID(record.renderer, name.c_str());
  if (id == 0 || id == KILN_NO_PLUGIN) return Intercepted::kYes;
  record.pluginCache.Erase(id);
  *deleted = sdk.Kiln_KilnRenderer_deletePluginByID(record.renderer, id, record.autoCommit) == 0;
  return Intercepted::kYes;
}

bool ListNames(const InterceptorCall& call, v8::Local<v8::Array>* names) {
  KilnRendererHandle renderer = HandleOf(call.holder);
  if (!renderer) return false;
  int32_t count = 0;
  const SdkBlock<KilnPluginId> ids(
      sdk.Kiln_KilnRenderer_getPluginIDsOfType(renderer, Filter(call.isolate, call.holder).c_str(), &count));
  std::vector<v8::Local<v8::Value>> list;
  for (int32_t i = 0; ids && i < count; i++) {
    const char* name = sdk.Kiln_KilnRenderer_getPluginName(renderer, ids.get()[i]);
    v8::Local<v8::String> text;
    if (!name || !NewText(call.isolate, name).ToLocal(&text)) break;
    list.push_back(text);
  }
  *names = v8::Array::New(call.isolate, list.data(), list.size());
  return true;
}

void GetLength(v8::Local<v8::Name>, const GetterInfo& info) {
  v8::Local<v8::Object> view = compat::Holder(info);
  KilnRendererHandle renderer = HandleOf(view);
  const Filter filter(info.GetIsolate(), view);
  info.GetReturnValue().Set(renderer ? sdk.Kiln_KilnRenderer_getPluginsCountOfType(renderer, filter.c_str())
                                     : 0);
}

// plugins("ClassName").
void CallForClass(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Object> view = info.This();
  v8::Local<v8::String> filter;
  if (info.Length() == 0 || !HasClassTag(view, kPluginsTag) ||
      !info[0]->ToString(isolate->GetCurrentContext()).ToLocal(&filter)) {
    return;
  }
  KilnRendererHandle renderer = HandleOf(view);
  if (!renderer || !sdk.Kiln_KilnRenderer_pluginClassExists(renderer, Text(isolate, filter).c_str())) return;
  v8::Local<v8::Object> filtered;
  if (NewView(EnvironmentOf(info), RendererObjectOf(view), filter).ToLocal(&filtered)) {
    info.GetReturnValue().Set(filtered);
  }
}

// A plugin that was deleted since the snapshot is still visited.
void Next(const Arguments& info) {
  v8::Local<v8::Object> iterator = info.This();
  Snapshot* snapshot = SnapshotOf(iterator);
  if (!snapshot) return ReturnStep(info, {});
  const auto* ids = static_cast<const KilnPluginId*>(snapshot->memory());
  while (ids && snapshot->is_valid() && snapshot->index < snapshot->count) {
    const KilnPluginId id = ids[snapshot->index++];
    v8::Local<v8::Value> plugin = wrapPluginById(EnvironmentOf(info), RendererObjectOf(iterator), id, 0);
    if (!plugin->IsNull()) return ReturnStep(info, plugin);
  }
  ReleaseSnapshot(iterator);
  ReturnStep(info, {});
}

void Values(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  v8::Local<v8::Object> view = info.This();
  if (!HasClassTag(view, kPluginsTag)) return ThrowTypeError(isolate, "Illegal invocation");
  v8::Local<v8::Object> iterator;
  KilnRendererHandle renderer = HandleOf(view);
  if (!renderer || !NewIterator(environment, &ModuleContext::pluginsIteratorTemplate, "Plugins Iterator",
                                Next, RendererObjectOf(view))
                        .ToLocal(&iterator)) {
    return;
  }
  int32_t count = 0;
  KilnPluginId* ids =
      sdk.Kiln_KilnRenderer_getPluginIDsOfType(renderer, Filter(isolate, view).c_str(), &count);
  SetSnapshot(iterator,
              new Snapshot(environment, iterator, ids, count, [](void* block) { sdk.C_memory_free(block); }));
  info.GetReturnValue().Set(iterator);
}

v8::Local<v8::ObjectTemplate> BuildPlugins(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::ObjectTemplate> plugins = v8::ObjectTemplate::New(isolate);
  plugins->SetInternalFieldCount(PhysicalFieldCount(kPluginsFields));
  plugins->SetHandler(v8::NamedPropertyHandlerConfiguration(
      compat::OnNamedGet<GetByName>, compat::OnNamedSet<AssignByName>, nullptr,
      compat::OnNamedDelete<DeleteByName>, compat::OnNamedEnumerate<ListNames>, external,
      v8::PropertyHandlerFlags::kOnlyInterceptStrings));
  plugins->SetCallAsFunctionHandler(CallForClass, external);
  defineTemplateAccessor(isolate, external, plugins, {"length", GetLength, nullptr, kHidden});
  return plugins;
}

v8::MaybeLocal<v8::Object> NewView(Environment& environment, v8::Local<v8::Object> renderer_object,
                                   v8::Local<v8::Value> filter) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> view;
  if (!KeptTemplate(environment, environment.pluginsTemplate, BuildPlugins)
           ->NewInstance(isolate->GetCurrentContext())
           .ToLocal(&view)) {
    return {};
  }
  SetClassTag(view, kPluginsTag);
  SetObjectField(view, kFilterField, filter);
  SetObjectField(view, kRendererField, renderer_object);
  if (!DefineValues(environment, view, Values)) return {};
  return view;
}

}  // namespace

v8::MaybeLocal<v8::Object> NewPlugins(Environment& environment, v8::Local<v8::Object> renderer_object) {
  return NewView(environment, renderer_object, v8::Undefined(environment.isolate()));
}

}  // namespace KilnNodeWrapper
