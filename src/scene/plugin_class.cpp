#include "scene/plugin_class.h"

#include <string>

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "scene/category.h"
#include "scene/plugin_wrappers.h"
#include "scene/property_meta.h"
#include "scene/scene_object.h"
#include "scene/sdk_strings.h"

namespace KilnNodeWrapper {
namespace {

using compat::Intercepted;
using compat::InterceptorCall;
using KilnRendererNodeWrapper::RendererWrapper;

const ClassTag kClassTag;
constexpr int kNameField = 0;  // and kRendererField
constexpr int kClassFields = 2;
constexpr auto kReadOnlyHidden = static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontEnum);

// The environment's own copy of the name: the SDK's goes with its library. Only for an object that has a
// renderer.
const std::string& NameOf(v8::Local<v8::Object> object) {
  return *static_cast<const std::string*>(GetPointerField(object, kNameField));
}

// A class that the SDK can be asked about: none for an object with empty fields or with a closed renderer.
struct LiveClass {
  explicit LiveClass(v8::Local<v8::Object> object) : renderer(HandleOf(object)) {
    if (renderer) name = NameOf(object).c_str();
  }
  explicit operator bool() const { return renderer != nullptr; }

  KilnRendererHandle renderer;
  const char* name = nullptr;
};

void GetName(const Arguments& info) {
  ReturnText(info, LiveClass(info.This()).name);
}

void GetMeta(const Arguments& info) {
  if (const LiveClass self(info.This()); self) ReturnMeta(info, {self.renderer, self.name});
}

void ReturnTextOrNull(const Arguments& info, const char* text) {
  if (!text) return info.GetReturnValue().SetNull();
  ReturnText(info, text);
}

void GetDescription(const Arguments& info) {
  const LiveClass self(info.This());
  const SdkBlock<char> text(self ? sdk.Kiln_KilnRenderer_getPluginDescription(self.renderer, self.name)
                                 : nullptr);
  ReturnTextOrNull(info, text.get());
}

void GetDeprecation(const Arguments& info) {
  const LiveClass self(info.This());
  ReturnTextOrNull(info,
                   self ? sdk.Kiln_KilnRenderer_getPluginDeprecation(self.renderer, self.name) : nullptr);
}

void GetGPUSupport(const Arguments& info) {
  static constexpr const char* kTexts[] = {"Full", "Partial", "Bake", "None"};
  const LiveClass self(info.This());
  if (!self) return;
  const int32_t code = sdk.Kiln_KilnRenderer_getPluginGpuSupport(self.renderer, self.name);
  ReturnText(info, code >= 0 && code < 4 ? kTexts[code] : "Unknown");
}

// An ID that gives no plugin is tried again in place of the next one, so that the last ones are not reached.
void GetInstances(const Arguments& info) {
  const LiveClass self(info.This());
  if (!self) return;
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  int32_t count = 0;
  const SdkBlock<KilnPluginId> ids(
      sdk.Kiln_KilnRenderer_getPluginIDsOfType(self.renderer, self.name, &count));
  v8::Local<v8::Array> instances = v8::Array::New(isolate);
  uint32_t stored = 0;
  for (int32_t i = 0; ids && i < count; i++) {
    v8::HandleScope scope(isolate);
    v8::Local<v8::Value> plugin =
        wrapPluginById(EnvironmentOf(info), RendererObjectOf(info.This()), ids.get()[stored], 0);
    if (!plugin->IsNull() && instances->Set(context, stored, plugin).FromMaybe(false)) stored++;
  }
  info.GetReturnValue().Set(instances);
}

// Makes a plugin with the name of argument 0, or one of the SDK's choice. False with an exception pending.
// A closed renderer is the SDK's to refuse.
bool CreateInstance(const Arguments& info, v8::Local<v8::Object> self, KilnPluginId* id) {
  v8::Isolate* isolate = info.GetIsolate();
  Text name;
  const bool has_name = info.Length() > 0;
  if (has_name && !name.Read(isolate->GetCurrentContext(), info[0])) return false;
  const RendererWrapper& record = *RecordOf(self);
  const int32_t status = sdk.Kiln_KilnRenderer_newPlugin(record.renderer, has_name ? name.c_str() : nullptr,
                                                         NameOf(self).c_str(), record.autoCommit, id);
  if (status == 0) return true;
  switch (status) {
    case -2:
      ThrowError(isolate, "Plugin with the same name already exists.");
      break;
    case -3:
      ThrowError(isolate, "Invalid plugin name. Allowed characters are A-Z a-z 0-9 @ | _");
      break;
    default:
      ThrowError(isolate, "Plugin creation error");
  }
  return false;
}

// Which instance is there says nothing about the name: any will do, and the last is taken.
void GetInstanceOrCreate(const Arguments& info) {
  const LiveClass self(info.This());
  if (!self) return;
  KilnPluginId id = 0;
  {
    int32_t count = 0;
    const SdkBlock<KilnPluginId> ids(
        sdk.Kiln_KilnRenderer_getPluginIDsOfType(self.renderer, self.name, &count));
    if (ids && count > 0) {
      id = ids.get()[count - 1];
    } else if (!CreateInstance(info, info.This(), &id)) {
      return;
    }
  }
  info.GetReturnValue().Set(wrapPluginById(EnvironmentOf(info), RendererObjectOf(info.This()), id, 0));
}

// SomeClass([name]).
void Call(const Arguments& info) {
  v8::Local<v8::Object> self = info.This();
  KilnPluginId id = 0;
  if (!HasClassTag(self, kClassTag) || !CreateInstance(info, self, &id)) return;
  info.GetReturnValue().Set(wrapPluginById(EnvironmentOf(info), RendererObjectOf(self), id, 0));
}

void GetCategories(const Arguments& info) {
  const LiveClass self(info.This());
  if (!self) return;
  const uint64_t mask = sdk.Kiln_KilnRenderer_getPluginClassCategories(self.renderer, self.name);
  if (mask == 0) return;
  info.GetReturnValue().Set(NewCategories(EnvironmentOf(info), RendererObjectOf(info.This()), mask));
}

void Inspect(const Arguments& info) {
  v8::Local<v8::Object> self = info.This();
  if (InspectDepth(info) >= 2) return info.GetReturnValue().Set(self);
  ReturnText(info, RecordOf(self) ? "Class " + NameOf(self) : "Class ");
}

Intercepted DescribeProperty(v8::Local<v8::Name> key, const InterceptorCall& call,
                             v8::Local<v8::Value>* result) {
  const LiveClass self(call.holder);
  if (!self) return Intercepted::kNo;
  Environment& environment = Environment::Of(call.data);
  const KeyText name = KeyText::OfKey(call.isolate, environment.property_names, key);
  v8::Local<v8::Object> meta;
  if (!NewPropertyMeta(environment, {self.renderer, self.name}, name.c_str()).ToLocal(&meta)) {
    return Intercepted::kNo;
  }
  *result = meta;
  return Intercepted::kYes;
}

bool ListProperties(const InterceptorCall& call, v8::Local<v8::Array>* names) {
  const LiveClass self(call.holder);
  if (!self) return false;
  return SdkStrings(sdk.Kiln_KilnRenderer_getClassPropertyNames(self.renderer, self.name))
      .ToArray(call.isolate)
      .ToLocal(names);
}

constexpr Method kMethods[] = {
    {"getName", GetName, kHidden},
    {"getRenderer", GetRenderer, kHidden},
    {"getMeta", GetMeta, kReadOnlyHidden},
    {"getDescription", GetDescription, kReadOnlyHidden},
    {"getDeprecation", GetDeprecation, kReadOnlyHidden},
    {"getGPUSupport", GetGPUSupport, kReadOnlyHidden},
    {"getInstances", GetInstances, kReadOnlyHidden},
    {"getInstanceOrCreate", GetInstanceOrCreate, kReadOnlyHidden},
    {"getCategories", GetCategories, kReadOnlyHidden},
    {"toString", GetName, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildClass(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> target =
      NewClass(isolate, external, "Class", nullptr, PhysicalFieldCount(kClassFields));
  target->InstanceTemplate()->SetHandler(ReadOnlyNames<DescribeProperty, ListProperties>(external));
  target->InstanceTemplate()->SetCallAsFunctionHandler(Call, external);
  DefineMethods(isolate, external, target, kMethods);
  definePrototypeMethodByKey(isolate, external, target, InspectSymbol(isolate), Inspect, kHidden);
  return target;
}

v8::MaybeLocal<v8::Function> PluginClassFunction(Environment& environment) {
  return KeptFunction(environment, environment.classFunction, BuildClass);
}

}  // namespace

void RegisterPluginClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                         v8::Local<v8::Object> exports) {
  ExportLazily<KeptFunctionOf<PluginClassFunction>>(isolate, external, exports, "Class");
}

v8::MaybeLocal<v8::Object> getClassObject(Environment& environment, v8::Local<v8::Object> renderer_object,
                                          const char* class_name) {
  v8::Isolate* isolate = environment.isolate();
  RendererWrapper& record = KilnRendererNodeWrapper::WrapperOf(renderer_object);
  v8::Local<v8::Object> object = record.classCache.Find(isolate, class_name);
  if (!object.IsEmpty()) return object;
  if (!record.renderer) return {};
  const char* known = sdk.Kiln_KilnRenderer_pluginClassExists(record.renderer, class_name);
  if (!known) return {};
  const std::string& name = *environment.class_names.emplace(known).first;
  // This may run the collector, which erases from the cache; the insertion looks for its place afterwards.
  v8::Local<v8::Function> function;
  if (!PluginClassFunction(environment).ToLocal(&function) ||
      !function->NewInstance(isolate->GetCurrentContext()).ToLocal(&object)) {
    return {};
  }
  SetClassTag(object, kClassTag);
  SetPointerField(object, kNameField, const_cast<std::string*>(&name));
  SetObjectField(object, kRendererField, renderer_object);
  record.classCache.Insert(isolate, name, object);
  return object;
}

}  // namespace KilnNodeWrapper
