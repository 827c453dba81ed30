#include "elements/render_element.h"

#include "binding/error.h"
#include "binding/internal_fields.h"
#include "binding/lazy_class.h"
#include "binding/members.h"
#include "binding/option_reader.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "elements/element_tables.h"
#include "image/kiln_image.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "scene/plugin_wrappers.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper {
namespace {

const ClassTag kRenderElementTag;

// Filled once, and read as they stand by the accessors of the same names.
enum Field : int { kOwner, kName, kType, kBinaryFormat, kDefaultPixelFormat, kPlugin, kFieldCount };

constexpr char kNoPixels[] =
    "Error retrieving render element data. A possible cause might be out of range coordinates";
constexpr char kRegionKeys[4][7] = {"x", "y", "width", "height"};
constexpr int32_t kDefaultColors = 0;
constexpr int32_t kCorrectedColors = 1;
constexpr int32_t kPlainColors = 2;

template <Field kField>
void GetField(v8::Local<v8::Name>, const GetterInfo& info) {
  info.GetReturnValue().Set(GetObjectField(compat::Holder(info), kField));
}

// What the SDK is asked for with: the element's own part of every question.
struct Element {
  explicit Element(const Arguments& info)
      : isolate(info.GetIsolate()),
        context(isolate->GetCurrentContext()),
        environment(EnvironmentOf(info)),
        object(info.This()),
        owner(GetObjectField(object, kOwner)),
        plugin(pluginIdOf(environment, GetObjectField(object, kPlugin))) {
    v8::Local<v8::Value> text = GetObjectField(object, kType);
    if (text->IsString()) type = CodeOf(kElementTypes, Text(isolate, text.As<v8::String>()).view());
  }
  // False for an object that the collection did not make, which answers nothing.
  explicit operator bool() const { return KilnRendererNodeWrapper::isRenderer(environment, owner); }
  // To be asked for behind all conversions, one of which may close the renderer.
  KilnRendererHandle renderer() const {
    return KilnRendererNodeWrapper::WrapperOf(owner.As<v8::Object>()).renderer;
  }

  v8::Isolate* isolate;
  v8::Local<v8::Context> context;
  Environment& environment;
  v8::Local<v8::Object> object;
  v8::Local<v8::Value> owner;
  KilnPluginId plugin;
  int32_t type = -1;
};

// From a place and a size to two corners. Sums wrap; signed overflow must not be undefined.
RenderElementRegion RegionOf(const int32_t (&v)[4]) {
  return {v[0], v[1], static_cast<int32_t>(static_cast<uint32_t>(v[0]) + static_cast<uint32_t>(v[2])),
          static_cast<int32_t>(static_cast<uint32_t>(v[1]) + static_cast<uint32_t>(v[3]))};
}

// --- getData.

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
  DataKeys(const Element& element, v8::Local<v8::Object> options) : element_(element), options_(options) {}

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
  const Element& element_;
  v8::Local<v8::Object> options_;
};

bool ReadDataRegion(const Element& element, const DataKeys& keys, RenderElementRegion* region) {
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
bool ReadPixelFormat(const Element& element, const DataKeys& keys, DataRequest* request) {
  v8::Local<v8::Value> value;
  Text text;
  if (!keys.Read("pixelFormat", &value, &request->has_pixel_format)) return false;
  if (!request->has_pixel_format) return true;
  if (value->IsNullOrUndefined() || !text.Read(element.context, value)) return false;
  request->pixel_format = CodeOf(kPixelFormats, text.view());
  return true;
}

bool ReadAlphaPlugin(const Element& element, const DataKeys& keys, KilnPluginId* plugin) {
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

bool ReadDataOptions(const Element& element, v8::Local<v8::Object> options, DataRequest* request) {
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

void GetData(const Arguments& info) {
  const Element element(info);
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

// --- getImage.

struct ImageRequest {
  RenderElementRegion region{};
  bool has_region = false;
  int32_t layer = 0;
  int32_t colors = kDefaultColors;
};

bool StartsWithNumbers(const Arguments& info, int count) {
  for (int i = 0; i < count; i++) {
    if (!info[i]->IsNumber()) return false;
  }
  return true;
}

int32_t IntOf(v8::Local<v8::Context> context, v8::Local<v8::Value> number) {
  return number->Int32Value(context).FromMaybe(0);
}

// x, y, width, height, and behind them the layer or, one further, the colours.
void ReadImageArguments(const Arguments& info, v8::Local<v8::Context> context, ImageRequest* request) {
  request->region = RegionOf(
      {IntOf(context, info[0]), IntOf(context, info[1]), IntOf(context, info[2]), IntOf(context, info[3])});
  request->has_region = true;
  if (info[4]->IsNumber()) {
    request->layer = IntOf(context, info[4]);
  } else if (info[5]->IsNumber()) {
    request->colors = info[5]->BooleanValue(info.GetIsolate()) ? kCorrectedColors : kPlainColors;
  }
}

// The object's own or inherited property. False with an exception pending.
bool ReadKey(v8::Local<v8::Context> context, v8::Local<v8::Object> object, const char* key,
             v8::Local<v8::Value>* value, bool* present) {
  v8::Local<v8::String> name;
  return NewName(v8::Isolate::GetCurrent(), key).ToLocal(&name) && object->Has(context, name).To(present) &&
         (!*present || object->Get(context, name).ToLocal(value));
}

// A region is all four keys or none.
bool ReadImageRegion(v8::Local<v8::Context> context, v8::Local<v8::Object> options, ImageRequest* request) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  int32_t v[4] = {};
  for (const char* key : kRegionKeys) {
    v8::Local<v8::String> name;
    bool present = false;
    if (!NewName(isolate, key).ToLocal(&name) || !options->Has(context, name).To(&present)) return false;
    if (!present) return true;
  }
  for (int i = 0; i < 4; i++) {
    v8::Local<v8::String> name;
    v8::Local<v8::Value> value;
    if (!NewName(isolate, kRegionKeys[i]).ToLocal(&name) || !options->Get(context, name).ToLocal(&value) ||
        !value->Int32Value(context).To(&v[i])) {
      return false;
    }
  }
  request->region = RegionOf(v);
  request->has_region = true;
  return true;
}

bool ReadImageOptions(const Arguments& info, v8::Local<v8::Context> context, ImageRequest* request) {
  v8::Local<v8::Object> options = info[0].As<v8::Object>();
  v8::Local<v8::Value> value;
  bool present = false;
  if (!ReadImageRegion(context, options, request)) return false;
  if (!ReadKey(context, options, "doColorCorrect", &value, &present)) return false;
  if (present) request->colors = value->BooleanValue(info.GetIsolate()) ? kCorrectedColors : kPlainColors;
  if (!ReadKey(context, options, "layerIndex", &value, &present)) return false;
  if (present) return value->Int32Value(context).To(&request->layer);
  if (info.Length() == 2 && info[1]->IsNumber()) request->layer = IntOf(context, info[1]);
  return true;
}

void GetImage(const Arguments& info) {
  const Element element(info);
  if (!element) return;
  ImageRequest request;
  if (StartsWithNumbers(info, 4)) {
    ReadImageArguments(info, element.context, &request);
  } else if (info[0]->IsObject()) {
    if (!ReadImageOptions(info, element.context, &request)) return;
  } else if (info[0]->IsNumber()) {
    request.layer = IntOf(element.context, info[0]);
  }
  KilnImageHandle image =
      sdk.Kiln_getRenderElementAsImage(element.renderer(), element.plugin, element.type, request.layer,
                                       request.has_region ? &request.region : nullptr, request.colors);
  if (!image) return ThrowError(element.isolate, kNoPixels);
  v8::Local<v8::Object> object;
  if (wrapImageHandle(element.environment, image, request.has_region ? request.region.x0 : -1,
                      request.has_region ? request.region.y0 : -1, nullptr)
          .ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

// --- getMetadata.

void GetMetadata(const Arguments& info) {
  const Element element(info);
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
    {"getData", GetData, kHidden},
    {"getImage", GetImage, kHidden},
    {"getMetadata", GetMetadata, kHidden},
};

v8::Local<v8::FunctionTemplate> BuildRenderElement(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> element = v8::FunctionTemplate::New(isolate);
  element->SetClassName(v8::String::NewFromUtf8Literal(isolate, "RenderElement"));
  element->InstanceTemplate()->SetInternalFieldCount(PhysicalFieldCount(kFieldCount));
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
  const auto set_text = [&](Field field, const char* text) {
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
