// The accessors of a KilnRenderer and the methods that only read. Nearly all are one call to the SDK and one
// conversion, and those are rows.
#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_options.h"
#include "renderer/renderer_regions.h"
#include "renderer/renderer_wrapper.h"
#include "scene/plugin_wrappers.h"
#include "values/value_objects.h"

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

template <auto kEntry>
void GetNumber(Name, const GetterInfo& info) {
  info.GetReturnValue().Set((sdk.*kEntry)(RendererOf(info).renderer));
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

void SetNumThreads(Name, Value value, const SetterInfo& info) {
  int32_t threads = 0;
  if (!value->Int32Value(ContextOf(info.GetIsolate())).To(&threads)) return;
  if (sdk.Kiln_KilnRenderer_setNumThreads(RendererOf(info).renderer, threads) == 0) {
    ThrowError(info.GetIsolate(), "Can't set numThreads while rendering");
  }
}

bool RefuseInDR2(v8::Isolate* isolate) {
  if (!sdk.Kiln_isDR2()) return false;
  ThrowError(isolate, "Property not supported in DR2.");
  return true;
}

void GetInProcess(Name name, const GetterInfo& info) {
  if (!RefuseInDR2(info.GetIsolate())) GetFlag<&SdkTable::Kiln_KilnRenderer_getInProcess>(name, info);
}
void SetInProcess(Name, Value value, const SetterInfo& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (RefuseInDR2(isolate)) return;
  if (sdk.Kiln_KilnRenderer_setInProcess(RendererOf(info).renderer, value->BooleanValue(isolate)) == 0) {
    ThrowError(isolate, "Can't set inProcess while rendering");
  }
}

void SetFrame(Name, Value value, const SetterInfo& info) {
  int32_t frame = 0;
  if (value->Int32Value(ContextOf(info.GetIsolate())).To(&frame)) {
    sdk.Kiln_KilnRenderer_setCurrentFrame(RendererOf(info).renderer, frame);
  }
}

void SetTime(Name, Value value, const SetterInfo& info) {
  double time = 0;
  if (value->NumberValue(ContextOf(info.GetIsolate())).To(&time)) {
    sdk.Kiln_KilnRenderer_setCurrentTime(RendererOf(info).renderer, time);
  }
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

void GetCamera(Name, const GetterInfo& info) {
  const KilnPluginId id = sdk.Kiln_KilnRenderer_getCurrentCamera(RendererOf(info).renderer);
  if (id == 0 || id == KILN_NO_PLUGIN) return;
  info.GetReturnValue().Set(wrapPluginById(EnvironmentOf(info), compat::Holder(info), id, 0));
}

using SetName = int32_t (*SdkTable::*)(KilnRendererHandle, const char*);

void PassName(Value value, const SetterInfo& info, SetName entry) {
  Text name;
  const bool none = value->IsNullOrUndefined();
  if (!none && !name.Read(ContextOf(info.GetIsolate()), value)) return;
  (sdk.*entry)(RendererOf(info).renderer, none ? nullptr : name.c_str());
}

void SetCamera(Name, Value value, const SetterInfo& info) {
  Environment& environment = EnvironmentOf(info);
  if (!isPlugin(environment, value)) {
    return PassName(value, info, &SdkTable::Kiln_KilnRenderer_setCurrentCamera);
  }
  sdk.Kiln_KilnRenderer_setCurrentCameraByID(RendererOf(info).renderer, pluginIdOf(environment, value));
}

void GetCameraName(Name, const GetterInfo& info) {
  const char* name = sdk.Kiln_KilnRenderer_getCameraName(RendererOf(info).renderer);
  if (!name) return info.GetReturnValue().SetNull();
  ReturnText(info, name);
}
void SetCameraName(Name, Value value, const SetterInfo& info) {
  PassName(value, info, &SdkTable::Kiln_KilnRenderer_setCameraName);
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
    {"numThreads", GetNumber<&SdkTable::Kiln_KilnRenderer_getNumThreads>, SetNumThreads},
    {"inProcess", GetInProcess, SetInProcess},
    {"size", GetSize, SetSize},
    {"renderRegion", GetRenderRegion, SetRenderRegion},
    {"cropRegion", GetCropRegion, SetCropRegion},
    {"frame", GetNumber<&SdkTable::Kiln_KilnRenderer_getCurrentFrame>, SetFrame},
    {"time", GetNumber<&SdkTable::Kiln_KilnRenderer_getCurrentTime>, SetTime},
    {"useAnimatedValues", GetFlag<&SdkTable::Kiln_KilnRenderer_getAnimateProperties>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setAnimateProperties>},
    {"renderEnded", GetFlag<&SdkTable::Kiln_KilnRenderer_isRenderEnded>},
    {"sequenceEnded", GetFlag<&SdkTable::Kiln_KilnRenderer_isSequenceEnded>},
    {"renderMode", GetRenderMode, SetRenderMode},
    {"paused", GetFlag<&SdkTable::Kiln_KilnRenderer_getPauseRTStatus>},
    {"camera", GetCamera, SetCamera},
    {"cameraName", GetCameraName, SetCameraName},
    {"state", GetState},
    {"minLogLevel", GetMinLogLevel, SetMinLogLevel},
    {"keepInteractiveRunning", GetFlag<&SdkTable::Kiln_KilnRenderer_getKeepInteractiveRunning>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setKeepInteractiveRunning>},
    {"currentEventTime", GetNumber<&SdkTable::Kiln_KilnRenderer_getCurrentEventTime>},
    {"lastError", GetLastError},
    {"progressiveImageUpdatedHasBuffer", GetFlag<&SdkTable::Kiln_KilnRenderer_getImageUpdatedHasBuffer>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setImageUpdatedHasBuffer>},
    {"bucketReadyHasBuffer", GetFlag<&SdkTable::Kiln_KilnRenderer_getBucketReadyHasBuffer>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_setBucketReadyHasBuffer>},
    {"maxTypedListsCopyByteSize", GetMaxTypedListsCopyByteSize, SetMaxTypedListsCopyByteSize},
};

}  // namespace

const std::span<const Accessor> kRendererAccessors = kAccessors;

void GetBoundingBox(const Arguments& info) {
  using KilnValuesNodeWrapper::NewValue;
  using KilnValuesNodeWrapper::Vector;
  KilnBox box{};
  if (sdk.Kiln_KilnRenderer_getBoundingBox(RendererOf(info).renderer, &box) == 0) return;
  Environment& environment = EnvironmentOf(info);
  ObjectBuilder object(info.GetIsolate());
  object.Object("min", NewValue(environment, Vector{box.lower[0], box.lower[1], box.lower[2]}));
  object.Object("max", NewValue(environment, Vector{box.upper[0], box.upper[1], box.upper[2]}));
  object.Return(info);
}

void GetAutoExposureResult(const Arguments& info) {
  KilnAutoExposure values{};
  if (sdk.Kiln_KilnRenderer_getAutoExposureResult(RendererOf(info).renderer, &values) == 0) return;
  ObjectBuilder object(info.GetIsolate());
  object.Number("autoExposure", values.autoExposure);
  object.Number("autoWhiteBalance", values.autoWhiteBalance);
  object.Return(info);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
