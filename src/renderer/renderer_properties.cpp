// The accessors of a KilnRenderer. Nearly all are one call to the SDK and one conversion, and those are rows.
#include "binding/error.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_options.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

using Name = v8::Local<v8::Name>;
using Value = v8::Local<v8::Value>;

v8::Local<v8::Context> ContextOf(v8::Isolate* isolate) {
  return isolate->GetCurrentContext();
}

// --- Rows.

template <int32_t (*SdkTable::*kEntry)(KilnRendererHandle)>
void GetFlag(Name, const GetterInfo& info) {
  info.GetReturnValue().Set((sdk.*kEntry)(RendererOf(info).renderer) != 0);
}

template <auto kEntry>
void SetFlag(Name, Value value, const SetterInfo& info) {
  (sdk.*kEntry)(RendererOf(info).renderer, value->BooleanValue(info.GetIsolate()));
}

void ReturnText(const GetterInfo& info, const char* text) {
  v8::Local<v8::String> result;
  if (text && NewText(info.GetIsolate(), text).ToLocal(&result)) info.GetReturnValue().Set(result);
}

// --- State of the wrapper.

void GetAutoCommit(Name, const GetterInfo& info) {
  info.GetReturnValue().Set(RendererOf(info).autoCommit);
}
void SetAutoCommit(Name, Value value, const SetterInfo& info) {
  RendererOf(info).autoCommit = value->BooleanValue(info.GetIsolate());
}

void GetMinLogLevel(Name, const GetterInfo& info) {
  info.GetReturnValue().Set(RendererOf(info).minLogLevel);
}
// A write turns the log events on, whatever the switch said.
void SetMinLogLevel(Name, Value value, const SetterInfo& info) {
  RendererWrapper& wrapper = RendererOf(info);
  if (!value->Int32Value(ContextOf(info.GetIsolate())).To(&wrapper.minLogLevel)) return;
  RegisterLogCallback(wrapper);
}

void GetMaxTypedListsCopyByteSize(Name, const GetterInfo& info) {
  info.GetReturnValue().Set(RendererOf(info).maxTypedListsCopyByteSize);
}
void SetMaxTypedListsCopyByteSize(Name, Value value, const SetterInfo& info) {
  int32_t size = 0;
  if (value->Int32Value(ContextOf(info.GetIsolate())).To(&size))
    RendererOf(info).maxTypedListsCopyByteSize = size;
}

// --- Members with a logic of their own.

void GetNumThreads(Name, const GetterInfo& info) {
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_getNumThreads(RendererOf(info).renderer));
}
void SetNumThreads(Name, Value value, const SetterInfo& info) {
  int32_t threads = 0;
  if (!value->Int32Value(ContextOf(info.GetIsolate())).To(&threads)) return;
  if (sdk.Kiln_KilnRenderer_setNumThreads(RendererOf(info).renderer, threads) == 0) {
    ThrowError(info.GetIsolate(), "Can't set numThreads while rendering");
  }
}

void GetSize(Name, const GetterInfo& info) {
  v8::Isolate* isolate = info.GetIsolate();
  int32_t width = 0;
  int32_t height = 0;
  sdk.Kiln_KilnRenderer_getImageSize(RendererOf(info).renderer, &width, &height);
  v8::Local<v8::Object> size = v8::Object::New(isolate);
  if (defineValue(isolate, size, "width", v8::Integer::New(isolate, width), v8::None) &&
      defineValue(isolate, size, "height", v8::Integer::New(isolate, height), v8::None)) {
    info.GetReturnValue().Set(size);
  }
}

void SetSize(Name, Value value, const SetterInfo& info) {
  v8::Local<v8::Context> context = ContextOf(info.GetIsolate());
  v8::Local<v8::Object> size;
  if (!value->ToObject(context).ToLocal(&size)) return;
  int32_t width = 0;
  int32_t height = 0;
  bool reset_crop_region = false;
  bool reset_render_region = false;
  OptionReader keys(context, size);
  keys.Int("width", &width);
  keys.Int("height", &height);
  keys.Flag("resetCropRegion", &reset_crop_region);
  keys.Flag("resetRenderRegion", &reset_render_region);
  const int32_t flags =
      (reset_crop_region ? 0 : KILN_KEEP_CROP_REGION) | (reset_render_region ? 0 : KILN_KEEP_RENDER_REGION);
  sdk.Kiln_KilnRenderer_setImageSizeEx(RendererOf(info).renderer, width, height, flags);
  // What can't be read counts as missing, and its exception is thrown in the end.
  keys.Rethrow();
}

struct Mode {
  int32_t value;
  const char* text;
  const char* alternative;  // also accepted on input
};
constexpr Mode kModes[] = {
    {-1, "production", nullptr},
    {0, "interactive", nullptr},
    {4, "interactiveCuda", "INTERACTIVE_CUDA"},
    {7, "interactiveOptix", "INTERACTIVE_OPTIX"},
    {104, "productionCuda", "PRODUCTION_CUDA"},
    {107, "productionOptix", "PRODUCTION_OPTIX"},
};

void GetRenderMode(Name, const GetterInfo& info) {
  const int32_t value = sdk.Kiln_KilnRenderer_getRenderMode(RendererOf(info).renderer);
  for (const Mode& mode : kModes) {
    if (mode.value == value) return ReturnText(info, mode.text);
  }
}

int32_t ModeOf(std::string_view text) {
  for (const Mode& mode : kModes) {
    if (EqualsIgnoringCase(text, mode.text)) return mode.value;
    if (mode.alternative && EqualsIgnoringCase(text, mode.alternative)) return mode.value;
  }
  return 0;
}

void SetRenderMode(Name, Value value, const SetterInfo& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = ContextOf(isolate);
  int32_t mode = 0;
  if (value->IsNumber()) {
    mode = value->Int32Value(context).FromMaybe(0);
  } else {
    Text text;
    if (!text.Read(context, value)) return;
    mode = ModeOf(text.view());
  }
  KilnRendererHandle renderer = RendererOf(info).renderer;
  if (sdk.Kiln_KilnRenderer_setRenderMode(renderer, mode) != 0) return;
  const char* error =
      sdk.Kiln_getErrorTextStringFromErrorCode(sdk.Kiln_KilnRenderer_getLastErrorCode(renderer));
  ThrowError(isolate, error ? error : "");
}

void GetState(Name, const GetterInfo& info) {
  ReturnText(info, StateText(sdk.Kiln_KilnRenderer_getState(RendererOf(info).renderer)));
}

void GetLastError(Name, const GetterInfo& info) {
  const int32_t code = sdk.Kiln_KilnRenderer_getLastErrorCode(RendererOf(info).renderer);
  ReturnText(info, sdk.Kiln_getErrorTextStringFromErrorCode(code));
}

constexpr Accessor kAccessors[] = {
    {"autoCommit", GetAutoCommit, SetAutoCommit},
    {"options", GetOptions},
    {"numThreads", GetNumThreads, SetNumThreads},
    {"size", GetSize, SetSize},
    {"renderEnded", GetFlag<&SdkTable::Kiln_KilnRenderer_isRenderEnded>},
    {"renderMode", GetRenderMode, SetRenderMode},
    {"state", GetState},
    {"minLogLevel", GetMinLogLevel, SetMinLogLevel},
    {"lastError", GetLastError},
    {"progressiveImageUpdatedHasBuffer", GetFlag<&SdkTable::Kiln_KilnRenderer_getImageUpdatedHasBuffer>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setImageUpdatedHasBuffer>},
    {"bucketReadyHasBuffer", GetFlag<&SdkTable::Kiln_KilnRenderer_getBucketReadyHasBuffer>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setBucketReadyHasBuffer>},
    {"maxTypedListsCopyByteSize", GetMaxTypedListsCopyByteSize, SetMaxTypedListsCopyByteSize},
};

}  // namespace

const std::span<const Accessor> kRendererAccessors = kAccessors;

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
