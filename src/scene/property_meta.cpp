#include "scene/property_meta.h"

#include <string_view>

#include "binding/error.h"
#include "binding/text.h"
#include "scene/scene_object.h"
#include "scene/sdk_strings.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper {
namespace {

// A property's own table: that of a class has one value more in between.
const char* GpuSupportText(int32_t code) {
  static constexpr const char* kTexts[] = {"Full", "Partial", "None"};
  return code >= 0 && code < 3 ? kTexts[code] : "Unknown";
}

// Sets own properties one after the other until one can't be made.
class MetaWriter {
 public:
  MetaWriter(v8::Isolate* isolate, v8::Local<v8::Object> target)
      : isolate_(isolate), context_(isolate->GetCurrentContext()), target_(target) {}

  bool Set(const char* key, v8::Local<v8::Value> value) {
    v8::Local<v8::String> name;
    return NewName(isolate_, key).ToLocal(&name) &&
           target_->CreateDataProperty(context_, name, value).FromMaybe(false);
  }
  bool SetText(const char* key, const char* text) {
    v8::Local<v8::String> value;
    return text && NewText(isolate_, text).ToLocal(&value) && Set(key, value);
  }
  bool SetInteger(const char* key, int32_t value) { return Set(key, v8::Integer::New(isolate_, value)); }

 private:
  v8::Isolate* isolate_;
  v8::Local<v8::Context> context_;
  v8::Local<v8::Object> target_;
};

// The pieces between the commas, as they stand.
v8::Local<v8::Array> SplitAliases(v8::Isolate* isolate, const char* text) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> aliases = v8::Array::New(isolate);
  std::string_view rest = text ? text : "";
  if (rest.empty()) return aliases;
  uint32_t count = 0;
  for (bool is_last = false; !is_last;) {
    const size_t comma = rest.find(',');
    is_last = comma == std::string_view::npos;
    v8::Local<v8::String> piece;
    if (NewText(isolate, rest.substr(0, comma)).ToLocal(&piece) &&
        aliases->CreateDataProperty(context, count, piece).FromMaybe(false)) {
      count++;
    }
    if (!is_last) rest.remove_prefix(comma + 1);
  }
  return aliases;
}

// A plugin as default has no renderer to be wrapped for, and is undefined.
v8::Local<v8::Value> DefaultValue(Environment& environment, KilnPropertyDefinition definition) {
  uint32_t* stream = nullptr;
  const bool has_default = sdk.Kiln_PluginUtils_getPropertyDefaultValue(definition, &stream) != 0;
  const SdkBlock<uint32_t> block(stream);
  v8::Local<v8::Value> value;
  if (has_default && stream &&
      KilnValuesNodeWrapper::ValueReader(environment, v8::Local<v8::Object>(), stream)
          .read()
          .ToLocal(&value)) {
    return value;
  }
  return v8::Undefined(environment.isolate());
}

// What only an instance knows.
bool AddInstanceMeta(v8::Isolate* isolate, v8::Local<v8::Object> target, const PropertyOwner& owner,
                     const char* name) {
  MetaWriter writer(isolate, target);
  const int32_t count = sdk.Kiln_KilnRenderer_getPropertyElementsCountByID(owner.renderer, owner.id, name);
  if (count >= 0 && !writer.SetInteger("elementsCount", count)) return false;
  const int32_t type = sdk.Kiln_KilnRenderer_getPropertyTypeByID(owner.renderer, owner.id, name);
  return writer.SetText("runtimeType", KilnValuesNodeWrapper::propertyTypeName(type));
}

KilnPropertyDefinition DefinitionOf(const PropertyOwner& owner, const char* name) {
  if (owner.id == 0) {
    return sdk.Kiln_KilnRenderer_getPropertyDefinitionFromClass(owner.renderer, owner.class_name, name);
  }
  return sdk.Kiln_KilnRenderer_getPropertyDefinitionByID(owner.renderer, owner.id, name);
}

v8::MaybeLocal<v8::Object> NewMetaOfAll(Environment& environment, const PropertyOwner& owner) {
  const SdkStrings names(owner.id == 0
                             ? sdk.Kiln_KilnRenderer_getClassPropertyNames(owner.renderer, owner.class_name)
                             : sdk.Kiln_KilnRenderer_getPropertyNamesByID(owner.renderer, owner.id));
  if (!names) return {};
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> result = v8::Object::New(isolate);
  MetaWriter writer(isolate, result);
  const int32_t count = names.size();
  for (int32_t i = 0; i < count; i++) {
    v8::HandleScope scope(isolate);
    const char* name = names[i];
    v8::Local<v8::Object> meta;
    if (name && NewPropertyMeta(environment, owner, name).ToLocal(&meta)) writer.Set(name, meta);
  }
  return result;
}

}  // namespace

bool fillPropertyMeta(Environment& environment, v8::Local<v8::Object> target, KilnRendererHandle renderer,
                      const char* class_name, KilnPropertyDefinition definition) {
  v8::Isolate* isolate = environment.isolate();
  MetaWriter writer(isolate, target);
  if (!writer.SetText("name", sdk.Kiln_PluginUtils_getPropertyName(definition)) ||
      !writer.Set("aliases", SplitAliases(isolate, sdk.Kiln_PluginUtils_getPropertyAliases(definition))) ||
      !writer.SetText("type", KilnValuesNodeWrapper::propertyTypeName(
                                  sdk.Kiln_PluginUtils_getPropertyType(definition))) ||
      !writer.Set("defaultValue", DefaultValue(environment, definition))) {
    return false;
  }
  const char* description = sdk.Kiln_PluginUtils_getPropertyDescription(definition);
  if (!writer.SetText("description", description ? description : "")) return false;
  const char* deprecation = sdk.Kiln_PluginUtils_getPropertyDeprecation(definition);
  if (!(deprecation ? writer.SetText("deprecation", deprecation)
                    : writer.Set("deprecation", v8::Null(isolate)))) {
    return false;
  }
  const int32_t support = sdk.Kiln_PluginUtils_getPropertyGpuSupport(renderer, class_name, definition);
  if (!writer.SetText("GPUSupport", GpuSupportText(support))) return false;
  const int32_t count = sdk.Kiln_PluginUtils_getPropertyElementsCount(definition);
  return count < 0 || writer.SetInteger("elementsCount", count);
}

v8::MaybeLocal<v8::Object> NewPropertyMeta(Environment& environment, const PropertyOwner& owner,
                                           const char* name) {
  const KilnPropertyDefinition definition = DefinitionOf(owner, name);
  if (!definition) return {};
  v8::Isolate* isolate = environment.isolate();
  v8::EscapableHandleScope scope(isolate);
  v8::Local<v8::Object> meta = v8::Object::New(isolate);
  if (fillPropertyMeta(environment, meta, owner.renderer, owner.class_name, definition) && owner.id != 0) {
    AddInstanceMeta(isolate, meta, owner, name);
  }
  return scope.Escape(meta);
}

void ReturnMeta(const Arguments& info, const PropertyOwner& owner) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  v8::MaybeLocal<v8::Object> result;
  if (info.Length() == 0) {
    result = NewMetaOfAll(environment, owner);
  } else if (info[0]->IsString()) {
    result = NewPropertyMeta(environment, owner, Text(isolate, info[0].As<v8::String>()).c_str());
  } else {
    return ThrowError(isolate, kMetaArgumentError);
  }
  v8::Local<v8::Object> object;
  if (result.ToLocal(&object)) info.GetReturnValue().Set(object);
}

}  // namespace KilnNodeWrapper
