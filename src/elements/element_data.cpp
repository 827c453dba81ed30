// The pixels of a render element as bytes.
#include "binding/error.h"
#include "binding/internal_fields.h"
#include "binding/lazy_class.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "elements/element_request.h"
#include "elements/element_tables.h"
#include "module/sdk_library.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper {
namespace {

struct DataRequest {
  RenderElementRegion region{};
  bool has_region = false;
  int32_t layer = 0;
  int32_t pixel_format = 0;
  bool has_pixel_format = false;
  KilnPluginId alpha_plugin = KILN_NO_PLUGIN;
  bool rgb_order = false;
};

// The keys of getData count only where the element itself has a property of that name; the values are the
// options'. Hosts that opened up certain keys by giving them to the element rely on it.
class DataKeys {
 public:
  DataKeys(const ElementRequest& element, v8::Local<v8::Object> options)
      : element_(element), options_(options) {}

  // False with an exception pending. *counts says whether there is a value.
  bool Read(const char* key, v8::Local<v8::Value>* value, bool* counts) const {
    v8::Local<v8::String> name;
    return NewName(element_.isolate, key).ToLocal(&name) &&
           element_.object->Has(element_.context, name).To(counts) &&
           (!*counts || options_->Get(element_.context, name).ToLocal(value));
  }
  bool ReadInt(const char* key, int32_t* number, bool* counts) const {
    v8::Local<v8::Value> value;
    return Read(key, &value, counts) && (!*counts || value->Int32Value(element_.context).To(number));
  }

 private:
  const ElementRequest& element_;
  v8::Local<v8::Object> options_;
};

bool ReadDataRegion(const ElementRequest& element, const DataKeys& keys, RenderElementRegion* region) {
  int32_t v[4] = {};
  int found = 0;
  for (int i = 0; i < 4; i++) {
    bool counts = false;
    if (!keys.ReadInt(kRegionKeys[i], &v[i], &counts)) return false;
    if (counts) found++;
  }
  if (found == 4) *region = RegionOf(v);
  if (found == 0 || found == 4) return true;
  ThrowError(element.isolate, "All 4 region variables are needed: x, y, width, height");
  return false;
}

// False also for null and undefined, which end the call without a word.
bool ReadPixelFormat(const ElementRequest& element, const DataKeys& keys, DataRequest* request) {
  v8::Local<v8::Value> value;
  Text text;
  if (!keys.Read("pixelFormat", &value, &request->has_pixel_format)) return false;
  if (!request->has_pixel_format) return true;
  if (value->IsNullOrUndefined() || !text.Read(element.context, value)) return false;
  request->pixel_format = CodeOf(kPixelFormats, text.view());
  return true;
}

bool ReadAlphaPlugin(const ElementRequest& element, const DataKeys& keys, KilnPluginId* plugin) {
  v8::Local<v8::Value> value;
  bool counts = false;
  if (!keys.Read("alphaChannelPlugin", &value, &counts)) return false;
  if (!counts) return true;
  if (IsInstance(element.environment, element.environment.renderElementTemplate, value)) {
    value = GetObjectField(value.As<v8::Object>(), kPlugin);
  }
  *plugin = pluginIdOf(element.environment, value);
  return true;
}

bool ReadDataOptions(const ElementRequest& element, v8::Local<v8::Object> options, DataRequest* request) {
  const DataKeys keys(element, options);
  v8::Local<v8::Value> rgb_order;
  bool counts = false;
  if (!ReadDataRegion(element, keys, &request->region) ||
      !keys.ReadInt("layerIndex", &request->layer, &counts) || !ReadPixelFormat(element, keys, request) ||
      !ReadAlphaPlugin(element, keys, &request->alpha_plugin) ||
      !keys.Read("rgbOrder", &rgb_order, &counts)) {
    return false;
  }
  if (counts) request->rgb_order = rgb_order->BooleanValue(element.isolate);
  return true;
}

}  // namespace

void GetElementData(const Arguments& info) {
  const ElementRequest element(info);
  if (!element) return;
  DataRequest request;
  if (info.Length() > 0) {
    if (!info[0]->IsObject()) return ThrowError(element.isolate, "Argument 0 (options) should be an object");
    request.has_region = true;
    if (!ReadDataOptions(element, info[0].As<v8::Object>(), &request)) return;
  }
  v8::Local<v8::Value> own_format = GetObjectField(element.object, kDefaultPixelFormat);
  if (!request.has_pixel_format && own_format->IsString()) {
    request.pixel_format = CodeOf(kPixelFormats, Text(element.isolate, own_format.As<v8::String>()).view());
  }
  void* data = nullptr;
  const uint64_t size = sdk.Kiln_getRenderElementData(
      element.renderer(), element.plugin, request.alpha_plugin, element.type, request.layer,
      request.pixel_format, request.rgb_order, request.has_region ? &request.region : nullptr, &data);
  if (size == 0 || !data) {
    ReleaseBlock(data);
    return ThrowError(element.isolate, kNoPixels);
  }
  v8::Local<v8::Object> buffer;
  if (AdoptBlockAsBuffer(element.isolate, data, size).ToLocal(&buffer)) info.GetReturnValue().Set(buffer);
}

}  // namespace KilnNodeWrapper
