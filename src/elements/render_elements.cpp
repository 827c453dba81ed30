#include "elements/render_elements.h"

#include <optional>
#include <vector>

#include "binding/error.h"
#include "binding/internal_fields.h"
#include "binding/lazy_class.h"
#include "binding/members.h"
#include "binding/text.h"
#include "elements/element_tables.h"
#include "elements/render_element.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper {
namespace {

using KilnRendererNodeWrapper::WrapperOf;

const ClassTag kRenderElementsTag;
constexpr int kOwnerField = 0;
constexpr int kFields = 1;
constexpr int32_t kAllTypes = -1;

// The collection's renderer; empty with an exception pending when the function was called on something else.
v8::MaybeLocal<v8::Object> OwnerOf(const Arguments& info) {
  if (HasClassTag(info.This(), kRenderElementsTag)) {
    return GetObjectField(info.This(), kOwnerField).As<v8::Object>();
  }
  ThrowTypeError(info.GetIsolate(), "Illegal invocation");
  return {};
}

bool IsNamedType(const Arguments& info) {
  if (info[0]->IsString()) return true;
  ThrowError(info.GetIsolate(), "Argument 0 (renderElementType: string) should be passed");
  return false;
}

// The code of the type in argument 0, a string; 0 with an exception pending.
int32_t TypeOf(const Arguments& info) {
  const Text text(info.GetIsolate(), info[0].As<v8::String>());
  const int32_t type = CodeOf(kElementTypes, text.view());
  if (type == 0) {
    ThrowError(info.GetIsolate(),
               "No such render element type. Check the available types with "
               "renderElements.getAvailableTypes()");
  }
  return type;
}

// A name of a new element, which may be left out. False with an exception pending for what is no string.
bool ReadNewName(const Arguments& info, int index, const char* message, std::optional<Text>* name) {
  if (info.Length() <= index) return true;
  if (!info[index]->IsString()) {
    ThrowError(info.GetIsolate(), message);
    return false;
  }
  name->emplace(info.GetIsolate(), info[index].As<v8::String>());
  return true;
}

const char* OrNull(const std::optional<Text>& text) {
  return text ? text->c_str() : nullptr;
}

// False when the SDK knows no such element.
bool DescribeElement(KilnRendererHandle renderer, KilnPluginId plugin, int32_t type,
                     RenderElementInfo* element) {
  return sdk.Kiln_getRenderElementInfo(renderer, plugin, type, element) != 0;
}

void Add(const Arguments& info) {
  v8::Local<v8::Object> owner;
  std::optional<Text> instance_name;
  std::optional<Text> display_name;
  if (!OwnerOf(info).ToLocal(&owner) || !IsNamedType(info) ||
      !ReadNewName(info, 1, "Argument 1 (instanceName: string) wrong type", &instance_name) ||
      !ReadNewName(info, 2, "Argument 2 (displayName: string) wrong type", &display_name)) {
    return;
  }
  const int32_t type = TypeOf(info);
  if (type == 0) return;
  KilnRendererHandle renderer = WrapperOf(owner).renderer;
  KilnPluginId plugin = 0;
  RenderElementInfo element{};
  if (sdk.Kiln_newRenderElementPlugin(renderer, type, OrNull(instance_name), OrNull(display_name), &plugin) !=
          0 ||
      !DescribeElement(renderer, plugin, type, &element)) {
    return info.GetReturnValue().SetNull();
  }
  v8::Local<v8::Object> result;
  if (makeRenderElement(EnvironmentOf(info), owner, plugin, element).ToLocal(&result)) {
    info.GetReturnValue().Set(result);
  }
}

void Get(const Arguments& info) {
  v8::Local<v8::Object> owner;
  if (!OwnerOf(info).ToLocal(&owner) || !IsNamedType(info)) return;
  const int32_t type = TypeOf(info);
  if (type == 0) return;
  KilnRendererHandle renderer = WrapperOf(owner).renderer;
  const KilnPluginId plugin = sdk.Kiln_getRenderElementPlugin(renderer, type);
  RenderElementInfo element{};
  v8::Local<v8::Object> result;
  if (DescribeElement(renderer, plugin, type, &element) &&
      makeRenderElement(EnvironmentOf(info), owner, plugin, element).ToLocal(&result)) {
    info.GetReturnValue().Set(result);
  }
}

// An element that the SDK does not describe leaves null in its place, so that the array is as long as the
// list.
bool MakeElement(Environment& environment, v8::Local<v8::Object> owner, KilnPluginId plugin, int32_t type,
                 v8::Local<v8::Value>* result) {
  RenderElementInfo element{};
  *result = v8::Null(environment.isolate());
  if (!DescribeElement(WrapperOf(owner).renderer, plugin, type, &element)) return true;
  v8::Local<v8::Object> object;
  if (!makeRenderElement(environment, owner, plugin, element).ToLocal(&object)) return false;
  *result = object;
  return true;
}

void GetAll(const Arguments& info) {
  v8::Local<v8::Object> owner;
  if (!OwnerOf(info).ToLocal(&owner)) return;
  int32_t type = kAllTypes;
  if (info.Length() > 0) {
    if (!IsNamedType(info)) return;
    type = TypeOf(info);
    if (type == 0) return;
  }
  int32_t count = 0;
  const SdkBlock<KilnPluginId> plugins(
      sdk.Kiln_getRenderElementPluginsList(WrapperOf(owner).renderer, type, &count));
  std::vector<v8::Local<v8::Value>> elements;
  for (int32_t i = 0; plugins && i < count; i++) {
    if (!MakeElement(EnvironmentOf(info), owner, plugins.get()[i], type, &elements.emplace_back())) return;
  }
  info.GetReturnValue().Set(v8::Array::New(info.GetIsolate(), elements.data(), elements.size()));
}

template <const std::span<const ElementCode>& kTable>
void ListTexts(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  std::vector<v8::Local<v8::Value>> texts;
  for (const ElementCode& row : kTable) {
    v8::Local<v8::String> text;
    if (!NewText(isolate, row.text).ToLocal(&text)) return;
    texts.push_back(text);
  }
  info.GetReturnValue().Set(v8::Array::New(isolate, texts.data(), texts.size()));
}

constexpr Method kMethods[] = {
    {"add", Add},
    {"get", Get},
    {"getAll", GetAll},
    {"getAvailablePixelFormats", ListTexts<kPixelFormats>},
    {"getAvailableBinaryFormats", ListTexts<kBinaryFormats>},
    {"getAvailableTypes", ListTexts<kElementTypes>},
};

v8::Local<v8::ObjectTemplate> BuildRenderElements(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::ObjectTemplate> elements = v8::ObjectTemplate::New(isolate);
  elements->SetInternalFieldCount(PhysicalFieldCount(kFields));
  for (const Method& method : kMethods) {
    v8::Local<v8::String> name;
    if (!NewName(isolate, method.name).ToLocal(&name)) continue;
    v8::Local<v8::FunctionTemplate> function = v8::FunctionTemplate::New(isolate, method.callback, external);
    function->SetClassName(name);
    elements->Set(name, function, method.attributes);
  }
  return elements;
}

}  // namespace

v8::MaybeLocal<v8::Object> NewRenderElements(Environment& environment,
                                             v8::Local<v8::Object> renderer_object) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> elements;
  if (!KeptTemplate(environment, environment.renderElementsTemplate, BuildRenderElements)
           ->NewInstance(isolate->GetCurrentContext())
           .ToLocal(&elements)) {
    return {};
  }
  SetClassTag(elements, kRenderElementsTag);
  SetObjectField(elements, kOwnerField, renderer_object);
  return elements;
}

}  // namespace KilnNodeWrapper
