#include "renderer/kiln_renderer.h"

#include <memory>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/factory.h"
#include "binding/lazy_class.h"
#include "binding/text.h"
#include "elements/render_elements.h"
#include "framebuffer/kvw.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "renderer/cache_files.h"
#include "renderer/devices.h"
#include "renderer/gui_pump.h"
#include "renderer/renderer_calls.h"
#include "renderer/renderer_options.h"
#include "renderer/renderer_wrapper.h"
#include "renderer/scene_loading.h"
#include "scene/category.h"
#include "scene/classes.h"
#include "scene/plugins.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

v8::Local<v8::FunctionTemplate> BuildRenderer(v8::Isolate* isolate, v8::Local<v8::External> external);

v8::Local<v8::FunctionTemplate> RendererTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.rendererTemplate, BuildRenderer);
}

const char* CreationError(uint64_t code) {
  const char* text =
      code == 0 ? nullptr : sdk.Kiln_getErrorTextStringFromErrorCode(static_cast<int32_t>(code));
  return text ? text : "Instantiation error.";
}

// The handle for the constructor's first argument; null with the code of the failure.
KilnRendererHandle CreateFor(v8::Local<v8::Context> context, v8::Local<v8::Value> argument, uint64_t* error) {
  if (argument->IsExternal()) {
    KilnRendererHandle handle = compat::ExternalPointer(argument);
    sdk.Kiln_KilnRenderer_incRef(handle);
    return handle;
  }
  if (argument->IsNullOrUndefined()) return sdk.Kiln_KilnRenderer_create(nullptr, error);
  RendererOptions options;
  if (argument->IsObject()) options.Fill(context, argument.As<v8::Object>());
  return sdk.Kiln_KilnRenderer_create(options.Record(), error);
}

bool DefinePart(v8::Isolate* isolate, v8::Local<v8::Object> self, const char* name,
                v8::MaybeLocal<v8::Object> maybe_part) {
  v8::Local<v8::Object> part;
  return maybe_part.ToLocal(&part) && defineValue(isolate, self, name, part, v8::ReadOnly);
}

// One chain: what comes behind a part that can't be made is left out.
bool DefineParts(Environment& environment, v8::Local<v8::Object> self) {
  v8::Isolate* isolate = environment.isolate();
  return DefinePart(isolate, self, "plugins", NewPlugins(environment, self)) &&
         DefinePart(isolate, self, "classes", NewClasses(environment, self)) &&
         DefinePart(isolate, self, "classCategories", NewCategories(environment, self, kAllCategories)) &&
         DefinePart(isolate, self, "renderElements", NewRenderElements(environment, self)) &&
         DefinePart(isolate, self, "kvw", NewKvw(environment, self));
}

void Construct(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  if (info.NewTarget()->IsUndefined()) return ConstructAgain(info, environment.rendererTemplate.Get(isolate));
  uint64_t error = 0;
  KilnRendererHandle handle = CreateFor(isolate->GetCurrentContext(), info[0], &error);
  if (!handle) return ThrowError(isolate, CreationError(error));
  new RendererWrapper(environment, info.This(), handle);
  if (DefineParts(environment, info.This()) && frameBufferEnabled) JoinGuiPump(environment);
  info.GetReturnValue().Set(info.This());
}

// create, on the pool. The instance takes a reference of its own, so that of create is given back in every
// case.
struct CreateRenderer {
  std::unique_ptr<RendererOptions> options;  // null: the SDK's own
  KilnRendererHandle handle = nullptr;
  uint64_t error = 0;

  void Run() { handle = sdk.Kiln_KilnRenderer_create(options ? options->Record() : nullptr, &error); }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    if (!handle) return FinishWithoutObject(environment, CreationError(error), arguments);
    const int count = FinishWithObject(environment, RendererTemplate(environment),
                                       compat::NewExternal(environment.isolate(), handle), arguments);
    Abandon();
    return count;
  }

  void Abandon() {
    if (handle) sdk.Kiln_KilnRenderer_release(handle);
  }
};

// release, on the pool, while the JavaScript thread serves the events that come of it.
struct CloseRenderer {
  RendererWrapper* wrapper;
  KilnRendererHandle handle;

  void Run() {
    if (SdkIsLoaded()) sdk.Kiln_KilnRenderer_release(handle);
  }
  int Finish(Environment&, v8::Local<v8::Value>*) {
    Abandon();
    return 0;
  }
  void Abandon() { wrapper->Settle(); }
  void Cancel() { wrapper->CancelRelease(); }
};

void Close(const Arguments& info) {
  RendererWrapper& wrapper = RendererOf(info);
  wrapper.EmptyCaches();
  v8::Local<v8::Function> callback = CallbackAt(info, 0);
  if (callback.IsEmpty()) return wrapper.Close();
  wrapper.BeginRelease();
  Queue(info, callback, CloseRenderer{&wrapper, wrapper.renderer});
}

void GetInstanceHandle(const Arguments& info) {
  info.GetReturnValue().Set(compat::NewExternal(info.GetIsolate(), RendererOf(info).renderer));
}

using enum Verb;
using enum Source;
using enum Filter;
using enum Form;
using enum TrueIs;
using enum DeviceForm;

constexpr Method kMethods[] = {
    {"clearAllPropertyValuesUpToTime", ClearAllPropertyValuesUpToTime},
    {"clearPropertyValuesUpToTime", ClearPropertyValuesUpToTime},
    {"pause", AskRenderer<&SdkTable::Kiln_KilnRenderer_pauseRT, kNonZero, 1>},
    {"resume", AskRenderer<&SdkTable::Kiln_KilnRenderer_pauseRT, kNonZero, 0>},
    {"getBoundingBox", GetBoundingBox},
    {"getInteractiveStatistics", GetInteractiveStatistics},
    {"clearLastError", TellRenderer<&SdkTable::Kiln_KilnRenderer_clearLastErrorCode>},
    {"setInteractiveSampleLevel", SetInteractiveSampleLevel},
    {"setInteractiveNoiseThreshold", SetInteractiveNoiseThreshold},
    {"setInteractiveTimeout", SetInteractiveTimeout},
    {"setDREnabled", SetDREnabled},
    {"getDREnabled", GetDREnabled},
    {"enableDRClient", EnableDRClient},
    {"disableDRClient", DisableDRClient},
    {"isDRClientEnabled", IsDRClientEnabled},
    {"addHosts", AddHosts},
    {"removeHosts", RemoveHosts},
    {"resetHosts", ResetHosts},
    {"getAllHosts", GetAllHosts},
    {"getActiveHosts", GetActiveHosts},
    {"getInactiveHosts", GetInactiveHosts},
    {"addHostsSync", AddHostsSync},
    {"removeHostsSync", RemoveHostsSync},
    {"resetHostsSync", ResetHostsSync},
    {"getAllHostsSync", GetAllHostsSync},
    {"getActiveHostsSync", GetActiveHostsSync},
    {"getInactiveHostsSync", GetInactiveHostsSync},
    {"load", SceneHandler<kLoad, kFile>},
    {"append", SceneHandler<kAppend, kFile>},
    {"loadAsText", SceneHandler<kLoad, kText>},
    {"appendAsText", SceneHandler<kAppend, kText>},
    {"loadFromBuffer", SceneHandler<kLoad, kBuffer>},
    {"appendFromBuffer", SceneHandler<kAppend, kBuffer>},
    {"loadSync", SceneHandler<kLoad, kFile, kNone, kSync>},
    {"appendSync", SceneHandler<kAppend, kFile, kNone, kSync>},
    {"loadAsTextSync", SceneHandler<kLoad, kText, kNone, kSync>},
    {"appendAsTextSync", SceneHandler<kAppend, kText, kNone, kSync>},
    {"loadFromBufferSync", SceneHandler<kLoad, kBuffer, kNone, kSync>},
    {"appendFromBufferSync", SceneHandler<kAppend, kBuffer, kNone, kSync>},
    {"deletePlugins", DeletePlugins},
    {"deletePluginsSync", DeletePluginsSync},
    {"render", Start, static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontEnum)},
    {"start", Start},
    {"startSync", StartSync},
    {"renderSequence", RenderSequence},
    {"continueSequence", TellRenderer<&SdkTable::Kiln_KilnRenderer_continueSequence>},
    {"export", ExportScene},
    {"exportSync", ExportSceneSync},
    {"bucketRenderNearest", BucketRenderNearest},
    {"pickPlugin", PickPlugin},
    {"pickPluginSync", PickPluginSync},
    {"pickPlugins", PickPlugins},
    {"pickPluginsSync", PickPluginsSync},
    {"stop", Stop},
    {"waitForRenderEnd", WaitForRenderEnd},
    {"waitForSequenceEnd", WaitForSequenceEnd},
    {"commit", CountOfRenderer<&SdkTable::Kiln_KilnRenderer_commit, 0>},
    {"getChangeIndex", CountOfRenderer<&SdkTable::Kiln_KilnRenderer_getChangeIndex>},
    {"setProgressiveImageUpdateDifference", SetProgressiveImageUpdateDifference},
    {"setProgressiveImageUpdateTimeout", SetProgressiveImageUpdateTimeout},
    {"getImage", GetImage},
    {"close", Close},
    {"clearScene", AskRenderer<&SdkTable::Kiln_KilnRenderer_clearScene, kZero>},
    {"setImprovedDefaultSettings", SetImprovedDefaultSettings},
    {"getComputeDevicesOptix", ListDevices<&SdkTable::Kiln_KilnRenderer_getDeviceListOptix>},
    {"getComputeDevicesCUDA", ListDevices<&SdkTable::Kiln_KilnRenderer_getDeviceListCUDA>},
    {"getComputeDevicesDenoiser", ListDevices<&SdkTable::Kiln_KilnRenderer_getDeviceListDenoiser>},
    {"setComputeDevicesOptix", ChooseDevices<&SdkTable::Kiln_KilnRenderer_setDeviceListOptix, kIndexOrPair>},
    {"setComputeDevicesCUDA", ChooseDevices<&SdkTable::Kiln_KilnRenderer_setDeviceListCUDA, kIndexOrPair>},
    {"setComputeDevicesDenoiser", ChooseDevices<&SdkTable::Kiln_KilnRenderer_setDeviceListDenoiser, kIndex>},
    {"setComputeDevicesEnvironmentVariable",
     AskRenderer<&SdkTable::Kiln_KilnRenderer_setGPUDevicesEnvironmentVariable, kZero>},
    {"saveIrradianceMapFile", SaveCacheFile<kIrradianceMap>},
    {"saveLightCacheFile", SaveCacheFile<kLightCache>},
    {"savePhotonMapFile", SaveCacheFile<kPhotonMap>},
    {"saveCausticsFile", SaveCacheFile<kCaustics>},
    {"saveIrradianceMapFileSync", SaveCacheFileSync<kIrradianceMap>},
    {"saveLightCacheFileSync", SaveCacheFileSync<kLightCache>},
    {"savePhotonMapFileSync", SaveCacheFileSync<kPhotonMap>},
    {"saveCausticsFileSync", SaveCacheFileSync<kCaustics>},
    {"setResumableRendering", SetResumableRendering},
    {"setBitmapCache", SetBitmapCache},
    {"denoiseNow", DenoiseNow},
    {"updateLightingAnalysis", AskRenderer<&SdkTable::Kiln_KilnRenderer_updateLightingAnalysis, kNonZero>},
    {"serializeScene", AskRenderer<&SdkTable::Kiln_KilnRenderer_serializeScene, kZero>},
    {"loadFiltered", SceneHandler<kLoad, kFile, kScript>},
    {"appendFiltered", SceneHandler<kAppend, kFile, kScript>},
    {"loadAsTextFiltered", SceneHandler<kLoad, kText, kScript>},
    {"appendAsTextFiltered", SceneHandler<kAppend, kText, kScript>},
    {"appendFromBufferFiltered", SceneHandler<kAppend, kBuffer, kScript>},
    {"loadFilteredSync", SceneHandler<kLoad, kFile, kScript, kSync>},
    {"appendFilteredSync", SceneHandler<kAppend, kFile, kScript, kSync>},
    {"loadAsTextFilteredSync", SceneHandler<kLoad, kText, kScript, kSync>},
    {"appendAsTextFilteredSync", SceneHandler<kAppend, kText, kScript, kSync>},
    {"appendFromBufferFilteredSync", SceneHandler<kAppend, kBuffer, kScript, kSync>},
    {"setIncludePaths", SetIncludePaths},
    {"getAutoExposureResult", GetAutoExposureResult},
    {"setKilnProfiler", SetKilnProfiler},
    {"setKVWContextMenuItems", SetKVWContextMenuItems},
    {"setKVWContextMenuItemValue", SetKVWContextMenuItemValue},
    {"getKVWContextMenuItemValue", GetKVWContextMenuItemValue},
    {"getInstanceHandle", GetInstanceHandle},
};

v8::Local<v8::FunctionTemplate> BuildRenderer(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> renderer = NewClass(isolate, external, "KilnRenderer", Construct, 1);
  DefineAccessors(isolate, external, renderer->InstanceTemplate(), kRendererAccessors);
  DefineMethods(isolate, external, renderer, kMethods);
  v8::Local<v8::String> key;
  if (NewName(isolate, "kiln.KilnRenderer.@callbackSettersInternalHelper").ToLocal(&key)) {
    definePrototypeMethodByKey(isolate, external, renderer, v8::Symbol::For(isolate, key), SwitchCallback,
                               kHidden);
  }
  return renderer;
}

}  // namespace

bool isRenderer(Environment& environment, v8::Local<v8::Value> value) {
  return IsInstance(environment, environment.rendererTemplate, value);
}

KilnRendererHandle RendererHandleOf(Environment& environment, v8::Local<v8::Value> value) {
  return isRenderer(environment, value) ? WrapperOf(value.As<v8::Object>()).renderer : nullptr;
}

void RegisterKilnRenderer(v8::Isolate* isolate, v8::Local<v8::External> external,
                          v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<RendererTemplate>>(isolate, external, exports, "KilnRenderer");
}

void CreateKilnRenderer(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  v8::Local<v8::Value> options;
  v8::Local<v8::Function> callback;
  if (!ReadFactoryArguments(info, &options, &callback)) return;
  CreateRenderer operation;
  if (options->IsObject()) {
    operation.options = std::make_unique<RendererOptions>();
    operation.options->Fill(isolate->GetCurrentContext(), options.As<v8::Object>());
  }
  Queue(info, callback, std::move(operation));
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
