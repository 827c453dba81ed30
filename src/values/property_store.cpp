// Every assignment to a property, and the names of the declared types.
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

using KilnRendererNodeWrapper::RendererWrapper;

Stored StoredBy(int32_t status) {
  return status == 0 ? Stored::kYes : Stored::kNo;
}

Stored StoreText(RendererWrapper& renderer, const PropertyTarget& target, const char* property,
                 const char* text, double time) {
  const int32_t commit = renderer.autoCommit;
  return StoredBy(target.name ? sdk.Kiln_KilnRenderer_setPropertyValueAtTime(renderer.renderer, target.name,
                                                                             property, text, time, commit)
                              : sdk.Kiln_KilnRenderer_setPropertyValueAtTimeByID(
                                    renderer.renderer, target.id, property, text, time, commit));
}

Stored StoreStream(RendererWrapper& renderer, const PropertyTarget& target, const char* property,
                   const void* stream, double time) {
  const int32_t commit = renderer.autoCommit;
  return StoredBy(target.name ? sdk.Kiln_KilnRenderer_setPropertyBytesValueAtTime(
                                    renderer.renderer, target.name, property, stream, time, commit)
                              : sdk.Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(
                                    renderer.renderer, target.id, property, stream, time, commit));
}

struct TypeName {
  int32_t code;
  const char* text;
};
constexpr TypeName kTypeNames[] = {
    {0, "int"},
    {1, "float"},
    {2, "double"},
    {3, "boolean"},
    {4, "Vector"},
    {5, "Color"},
    {6, "AColor"},
    {7, "Matrix"},
    {8, "Transform"},
    {9, "String"},
    {10, "Plugin"},
    {11, "Texture"},
    {12, "List<Object>"},
    {13, "TextureFloat"},
    {14, "TextureInt"},
    {15, "TextureVector"},
    {16, "TextureMatrix"},
    {17, "TextureTransform"},
    {100, "List<int>"},
    {101, "List<float>"},
    {103, "List<boolean>"},
    {104, "List<Vector>"},
    {105, "List<Color>"},
    {109, "List<String>"},
    {110, "List<Plugin>"},
    {111, "List<Texture>"},
    {113, "List<TextureFloat>"},
    {116, "List<TextureMatrix>"},
    {117, "List<TextureTransform>"},
    {1000, "OutputTexture"},
    {1001, "OutputTextureFloat"},
    {1002, "OutputTextureInt"},
    {1003, "OutputTextureVector"},
    {1004, "OutputTextureMatrix"},
    {1005, "OutputTextureTransform"},
    {10000, "Unspecified"},
};

}  // namespace

const char* propertyTypeName(int32_t code) {
  for (const TypeName& row : kTypeNames) {
    if (row.code == code) return row.text;
  }
  return "Object";
}

// A text is parsed by the SDK against the property's type. Bytes are taken for a stream that somebody formed
// before, such as one that was read.
Stored PropertyStore(Environment& environment, RendererWrapper& renderer, const PropertyTarget& target,
                     const char* property, v8::Local<v8::Value> value, double time) {
  ValueWriter writer(environment, renderer.maxTypedListsCopyByteSize);
  if (writer.writeShort(value)) return StoreStream(renderer, target, property, writer.data(), time);
  v8::Isolate* isolate = environment.isolate();
  if (value->IsString()) {
    return StoreText(renderer, target, property, Text(isolate, value.As<v8::String>()).c_str(), time);
  }
  if (value->IsUint8Array() || value->IsInt8Array()) {
    v8::Local<v8::TypedArray> bytes = value.As<v8::TypedArray>();
    const char* data = static_cast<const char*>(bytes->Buffer()->GetBackingStore()->Data());
    return StoreStream(renderer, target, property, data + bytes->ByteOffset(), time);
  }
  if (!writer.write(value)) {
    if (writer.dataError()) ThrowError(isolate, "Error in data");
    return Stored::kNothing;
  }
  return StoreStream(renderer, target, property, writer.data(), time);
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
