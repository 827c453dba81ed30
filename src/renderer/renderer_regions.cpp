#include "renderer/renderer_regions.h"

#include "binding/object_builder.h"
#include "binding/option_reader.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

using Lookup = OptionReader::Lookup;

// The flags of a new size: a region is kept unless its key resets it.
int32_t ReadSizeFlags(v8::Local<v8::Context> context, v8::Local<v8::Object> size) {
  int32_t flags = KILN_KEEP_CROP_REGION | KILN_KEEP_RENDER_REGION;
  bool reset = false;
  OptionReader keys(context, size, Lookup::kPresent);
  if (keys.Flag("resetCropRegion", &reset) && reset) flags &= ~KILN_KEEP_CROP_REGION;
  if (keys.Flag("resetRenderRegion", &reset) && reset) flags &= ~KILN_KEEP_RENDER_REGION;
  keys.Rethrow();
  return flags;
}

void ReadFloat(OptionReader& keys, const char* key, float* field) {
  double number = 0;
  if (keys.Number(key, &number)) *field = static_cast<float>(number);
}

}  // namespace

// In the three setters a key that can't be read counts as 0, and its exception is thrown behind the call.

void GetSize(v8::Local<v8::Name>, const GetterInfo& info) {
  int32_t width = 0;
  int32_t height = 0;
  sdk.Kiln_KilnRenderer_getImageSize(RendererOf(info).renderer, &width, &height);
  ObjectBuilder size(info.GetIsolate());
  size.Int("width", width);
  size.Int("height", height);
  size.Return(info);
}

void SetSize(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  v8::Local<v8::Object> size;
  if (!value->ToObject(context).ToLocal(&size)) return;
  int32_t width = 0;
  int32_t height = 0;
  OptionReader keys(context, size, Lookup::kPlain);
  keys.Int("width", &width);
  keys.Int("height", &height);
  const int32_t flags = ReadSizeFlags(context, size);
  sdk.Kiln_KilnRenderer_setImageSizeEx(RendererOf(info).renderer, width, height, flags);
  keys.Rethrow();
}

void GetRenderRegion(v8::Local<v8::Name>, const GetterInfo& info) {
  KilnRenderRegion region{};
  if (sdk.Kiln_KilnRenderer_getRenderRegion(RendererOf(info).renderer, &region) == 0) return;
  ObjectBuilder object(info.GetIsolate());
  object.Int("left", region.left);
  object.Int("top", region.top);
  object.Int("width", region.width);
  object.Int("height", region.height);
  object.Return(info);
}

void SetRenderRegion(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  v8::Local<v8::Object> object;
  if (!value->ToObject(context).ToLocal(&object)) return;
  KilnRenderRegion region{};
  OptionReader keys(context, object, Lookup::kPlain);
  keys.Int("left", &region.left);
  keys.Int("top", &region.top);
  keys.Int("width", &region.width);
  keys.Int("height", &region.height);
  sdk.Kiln_KilnRenderer_setRenderRegion(RendererOf(info).renderer, &region);
  keys.Rethrow();
}

void GetCropRegion(v8::Local<v8::Name>, const GetterInfo& info) {
  KilnCropRegion region{};
  if (sdk.Kiln_KilnRenderer_getCropRegion(RendererOf(info).renderer, &region) == 0) return;
  ObjectBuilder object(info.GetIsolate());
  object.Int("srcWidth", region.srcWidth);
  object.Int("srcHeight", region.srcHeight);
  object.Number("rgnLeft", region.rgnLeft);
  object.Number("rgnTop", region.rgnTop);
  object.Number("rgnWidth", region.rgnWidth);
  object.Number("rgnHeight", region.rgnHeight);
  object.Return(info);
}

void SetCropRegion(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  v8::Local<v8::Object> object;
  if (!value->ToObject(context).ToLocal(&object)) return;
  KilnCropRegion region{};
  OptionReader keys(context, object, Lookup::kPlain);
  keys.Int("srcWidth", &region.srcWidth);
  keys.Int("srcHeight", &region.srcHeight);
  ReadFloat(keys, "rgnLeft", &region.rgnLeft);
  ReadFloat(keys, "rgnTop", &region.rgnTop);
  ReadFloat(keys, "rgnWidth", &region.rgnWidth);
  ReadFloat(keys, "rgnHeight", &region.rgnHeight);
  sdk.Kiln_KilnRenderer_setCropRegion(RendererOf(info).renderer, &region);
  keys.Rethrow();
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
