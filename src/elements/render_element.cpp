#include "elements/render_element.h"

#include "binding/internal_fields.h"
#include "binding/lazy_class.h"
#include "binding/text.h"
#include "elements/element_request.h"
#include "elements/element_tables.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "scene/plugin_wrappers.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper {

ElementRequest::ElementRequest(const Arguments& info)
    : isolate(info.GetIsolate()),
      context(isolate->GetCurrentContext()),
      environment(EnvironmentOf(info)),
      object(info.This()),
      owner(GetObjectField(object, kOwner)),
      plugin(pluginIdOf(environment, GetObjectField(object, kPlugin))) {
  v8::Local<v8::Value> text = GetObjectField(object, kType);
  if (text->IsString()) type = CodeOf(kElementTypes, Text(isolate, text.As<v8::String>()).view());
}

ElementRequest::operator bool() const {
  return KilnRendererNodeWrapper::isRenderer(environment, owner);
}

KilnRendererHandle ElementRequest::renderer() const {
  return KilnRendererNodeWrapper::WrapperOf(owner.As<v8::Object>()).renderer;
}

RenderElementRegion RegionOf(const int32_t (&v)[4]) {
  // Signed overflow must not be undefined.
  const auto sum = [](int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
  };
  return {v[0], v[1], sum(v[0], v[2]), sum(v[1], v[3])};
}

namespace {

const ClassTag kRenderElementTag;

template <ElementField kField>
void GetField(v8::Local<v8::Name>, const GetterInfo& info) {
  info.GetReturnValue().Set(GetObjectField(compat::Holder(info), kField));
}

void GetMetadata(const Arguments& info) {
  const ElementRequest element(info);
  if (!element) return;
  uint64_t slot = 0;
  KilnRendererHandle renderer = element.renderer();
  const char* text = sdk.Kiln_getRenderElementMetadata(renderer, element.plugin, element.type, &slot);
  if (!text) return info.GetReturnValue().SetNull();
  ReturnText(info, text);
  // Gives the text back.
  (void)sdk.Kiln_getRenderElementMetadata(renderer, element.plugin, element.type, &slot);
}

constexpr Accessor kAccessors[] = {
    {"_renderer", GetField<kOwner>, nullptr, kHidden},
    {"name", GetField<kName>},
    {"type", GetField<kType>},
    {"binaryFormat", GetField<kBinaryFormat>},
    {"defaultPixelFormat", GetField<kDefaultPixelFormat>},
    {"plugin", GetField<kPlugin>},
};

constexpr Method kMethods[] = {
    {"getData", GetElementData, kHidden},
    {"getImage", GetElementImage, kHidden},
    {"getMetadata", GetMetadata, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildRenderElement(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> element = v8::FunctionTemplate::New(isolate);
  element->SetClassName(v8::String::NewFromUtf8Literal(isolate, "RenderElement"));
  element->InstanceTemplate()->SetInternalFieldCount(PhysicalFieldCount(kElementFieldCount));
  DefineAccessors(isolate, external, element->InstanceTemplate(), kAccessors);
  DefineMethods(isolate, external, element, kMethods);
  return element;
}

}  // namespace

v8::MaybeLocal<v8::Object> makeRenderElement(Environment& environment, v8::Local<v8::Object> renderer_object,
                                             KilnPluginId plugin, const RenderElementInfo& info) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> element;
  if (!KeptTemplate(environment, environment.renderElementTemplate, BuildRenderElement)
           ->InstanceTemplate()
           ->NewInstance(isolate->GetCurrentContext())
           .ToLocal(&element)) {
    return {};
  }
  SetClassTag(element, kRenderElementTag);
  SetObjectField(element, kOwner, renderer_object);
  const auto set_text = [&](ElementField field, const char* text) {
    v8::Local<v8::String> string;
    if (!NewText(isolate, text).ToLocal(&string)) return false;
    SetObjectField(element, field, string);
    return true;
  };
  if (!set_text(kName, info.name ? info.name : "") || !set_text(kType, TextOf(kElementTypes, info.type)) ||
      !set_text(kBinaryFormat, TextOf(kBinaryFormats, info.binary_format)) ||
      !set_text(kDefaultPixelFormat, DefaultPixelFormat(info.binary_format))) {
    return {};
  }
  SetObjectField(element, kPlugin, wrapPluginById(environment, renderer_object, plugin, 0));
  return element;
}

}  // namespace KilnNodeWrapper
