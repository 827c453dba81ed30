#include "scene/classes.h"

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "scene/plugin_class.h"
#include "scene/scene_object.h"
#include "scene/sdk_strings.h"
#include "scene/snapshot_iterator.h"

namespace KilnNodeWrapper {
namespace {

using compat::Intercepted;
using compat::InterceptorCall;

const ClassTag kClassesTag;
constexpr int kClassesFields = 2;  // kRendererField

Intercepted GetByName(v8::Local<v8::Name> key, const InterceptorCall& call, v8::Local<v8::Value>* result) {
  const Text name(call.isolate, key.As<v8::String>());
  v8::Local<v8::Object> object;
  if (!getClassObject(Environment::Of(call.data), RendererObjectOf(call.holder), name.c_str())
           .ToLocal(&object)) {
    return Intercepted::kNo;
  }
  *result = object;
  return Intercepted::kYes;
}

bool ListNames(const InterceptorCall& call, v8::Local<v8::Array>* names) {
  KilnRendererHandle renderer = HandleOf(call.holder);
  if (!renderer) return false;
  return SdkStrings(sdk.Kiln_KilnRenderer_getPluginClassNames(renderer)).ToArray(call.isolate).ToLocal(names);
}

void GetLength(v8::Local<v8::Name>, const GetterInfo& info) {
  KilnRendererHandle renderer = HandleOf(compat::Holder(info));
  info.GetReturnValue().Set(renderer ? sdk.Kiln_KilnRenderer_getPluginClassNamesCount(renderer) : 0);
}

// A closed renderer ends the walk and leaves the names to the collector.
void Next(const Arguments& info) {
  v8::Local<v8::Object> iterator = info.This();
  Snapshot* snapshot = SnapshotOf(iterator);
  if (!snapshot || !HandleOf(iterator)) return ReturnStep(info, {});
  KilnStringVector names = snapshot->memory();
  while (names && snapshot->is_valid() && snapshot->index < snapshot->count) {
    const char* name = sdk.getVectorElement(names, snapshot->index++);
    v8::Local<v8::Object> object;
    if (name && getClassObject(EnvironmentOf(info), RendererObjectOf(iterator), name).ToLocal(&object)) {
      return ReturnStep(info, object);
    }
  }
  ReleaseSnapshot(iterator);
  ReturnStep(info, {});
}

void Values(const Arguments& info) {
  Environment& environment = EnvironmentOf(info);
  v8::Local<v8::Object> classes = info.This();
  if (!HasClassTag(classes, kClassesTag)) return ThrowTypeError(info.GetIsolate(), "Illegal invocation");
  v8::Local<v8::Object> iterator;
  KilnRendererHandle renderer = HandleOf(classes);
  if (!renderer || !NewIterator(environment, &ModuleContext::classesIteratorTemplate, "Classes Iterator",
                                Next, RendererObjectOf(classes))
                        .ToLocal(&iterator)) {
    return;
  }
  SdkStrings names(sdk.Kiln_KilnRenderer_getPluginClassNames(renderer));
  const int32_t count = names.size();
  SetSnapshot(iterator, new Snapshot(environment, iterator, names.Take(), count,
                                     [](void* vector) { sdk.releaseVector(vector); }));
  info.GetReturnValue().Set(iterator);
}

v8::Local<v8::ObjectTemplate> BuildClasses(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::ObjectTemplate> classes = v8::ObjectTemplate::New(isolate);
  classes->SetInternalFieldCount(PhysicalFieldCount(kClassesFields));
  classes->SetHandler(ReadOnlyNames<GetByName, ListNames>(external));
  defineTemplateAccessor(isolate, external, classes, {"length", GetLength, nullptr, kHidden});
  return classes;
}

}  // namespace

v8::MaybeLocal<v8::Object> NewClasses(Environment& environment, v8::Local<v8::Object> renderer_object) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> classes;
  if (!KeptTemplate(environment, environment.classesTemplate, BuildClasses)
           ->NewInstance(isolate->GetCurrentContext())
           .ToLocal(&classes)) {
    return {};
  }
  SetClassTag(classes, kClassesTag);
  SetObjectField(classes, kRendererField, renderer_object);
  if (!DefineValues(environment, classes, Values)) return {};
  return classes;
}

}  // namespace KilnNodeWrapper
