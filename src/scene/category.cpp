#include "scene/category.h"

#include <iterator>
#include <string>

#include "binding/lazy_class.h"
#include "scene/plugin_class.h"
#include "scene/scene_object.h"
#include "scene/sdk_strings.h"

namespace KilnNodeWrapper {
namespace {

using compat::Intercepted;
using compat::InterceptorCall;

// By the SDK's number.
constexpr const char* kNames[] = {
    "Bitmap",        "BSDF",           "Geometric_object", "Geometry_source",   "Light",
    "Material",      "Render_channel", "Render_view",      "Settings",          "Texture",
    "Texture_float", "Texture_int",    "Texture_matrix",   "Texture_transform", "Texture_vector",
    "UVWGen",        "Volumetric",
};
constexpr uint32_t kCount = std::size(kNames);
static_assert(kCount == 17);

const ClassTag kCategoryTag;
constexpr int kNameField = 0;  // and kRendererField
constexpr int kNumberField = 2;
constexpr int kCategoryFields = 3;

void GetName(const Arguments& info) {
  info.GetReturnValue().Set(GetObjectField(info.This(), kNameField));
}

void Inspect(const Arguments& info) {
  v8::Local<v8::Object> self = info.This();
  if (InspectDepth(info) >= 2) return info.GetReturnValue().Set(self);
  v8::Local<v8::Value> name = GetObjectField(self, kNameField);
  std::string text = "Category ";
  if (name->IsString()) text += StringOf(info.GetIsolate(), name.As<v8::String>());
  ReturnText(info, text);
}

// A category that the SDK can be asked about: none for an object with empty fields or with a closed renderer.
struct LiveCategory {
  explicit LiveCategory(v8::Local<v8::Object> object) : renderer(HandleOf(object)) {
    if (renderer) number = GetObjectField(object, kNumberField).As<v8::Int32>()->Value();
  }
  explicit operator bool() const { return renderer != nullptr; }

  KilnRendererHandle renderer;
  int32_t number = 0;
};

Intercepted GetClass(v8::Local<v8::Name> key, const InterceptorCall& call, v8::Local<v8::Value>* result) {
  const LiveCategory self(call.holder);
  if (!self) return Intercepted::kNo;
  const Text name(call.isolate, key.As<v8::String>());
  v8::Local<v8::Object> object;
  if (!sdk.Kiln_KilnRenderer_isPluginClassOfCategory(self.renderer, name.c_str(), self.number) ||
      !getClassObject(Environment::Of(call.data), RendererObjectOf(call.holder), name.c_str())
           .ToLocal(&object)) {
    return Intercepted::kNo;
  }
  *result = object;
  return Intercepted::kYes;
}

bool ListClasses(const InterceptorCall& call, v8::Local<v8::Array>* names) {
  const LiveCategory self(call.holder);
  if (!self) return false;
  return SdkStrings(sdk.Kiln_KilnRenderer_getPluginClassNamesByCategory(self.renderer, self.number))
      .ToArray(call.isolate)
      .ToLocal(names);
}

constexpr Method kMethods[] = {
    {"getName", GetName, kHidden},
    {"toString", GetName, kHidden},
    {"getRenderer", GetRenderer, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildCategory(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> target =
      NewClass(isolate, external, "Category", nullptr, PhysicalFieldCount(kCategoryFields));
  target->InstanceTemplate()->SetHandler(ReadOnlyNames<GetClass, ListClasses>(external));
  DefineMethods(isolate, external, target, kMethods);
  definePrototypeMethodByKey(isolate, external, target, InspectSymbol(isolate), Inspect, kHidden);
  return target;
}

v8::MaybeLocal<v8::Function> CategoryFunction(Environment& environment) {
  return KeptFunction(environment, environment.categoryFunction, BuildCategory);
}

}  // namespace

void RegisterCategory(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportLazily<KeptFunctionOf<CategoryFunction>>(isolate, external, exports, "Category");
}

v8::MaybeLocal<v8::Object> makeCategory(Environment& environment, v8::Local<v8::Object> renderer_object,
                                        uint32_t number) {
  v8::Isolate* isolate = environment.isolate();
  if (number >= kCount || !KilnRendererNodeWrapper::WrapperOf(renderer_object).renderer) return {};
  v8::Local<v8::String> name;
  v8::Local<v8::Function> function;
  v8::Local<v8::Object> object;
  if (!NewName(isolate, kNames[number]).ToLocal(&name) || !CategoryFunction(environment).ToLocal(&function) ||
      !function->NewInstance(isolate->GetCurrentContext()).ToLocal(&object)) {
    return {};
  }
  SetClassTag(object, kCategoryTag);
  SetObjectField(object, kNameField, name);
  SetObjectField(object, kRendererField, renderer_object);
  SetObjectField(object, kNumberField, v8::Integer::NewFromUnsigned(isolate, number));
  return object;
}

uint64_t CategoryBit(std::string_view name) {
  for (uint32_t number = 0; number < kCount; number++) {
    if (EqualsIgnoringCase(name, kNames[number])) return uint64_t{1} << number;
  }
  return 0;
}

v8::Local<v8::Object> NewCategories(Environment& environment, v8::Local<v8::Object> renderer_object,
                                    uint64_t mask) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> categories = v8::Object::New(isolate);
  for (uint32_t number = 0; number < kCount; number++) {
    v8::Local<v8::Object> category;
    if ((mask >> number & 1) == 0) continue;
    if (makeCategory(environment, renderer_object, number).ToLocal(&category)) {
      defineValue(isolate, categories, kNames[number], category, v8::None);
    }
  }
  return categories;
}

}  // namespace KilnNodeWrapper
