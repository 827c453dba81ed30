// A render element as an image.
#include "binding/error.h"
#include "binding/text.h"
#include "elements/element_request.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

constexpr int32_t kDefaultColors = 0;
constexpr int32_t kCorrectedColors = 1;
constexpr int32_t kPlainColors = 2;

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

}  // namespace

void GetElementImage(const Arguments& info) {
  const ElementRequest element(info);
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

}  // namespace KilnNodeWrapper
