// The module entry. Read from top to bottom it shows what the exports hold, in the order in which they are
// defined.
#include "module/module.h"

#include <node.h>

#include "binding/async_job.h"
#include "binding/environment.h"
#include "binding/event_port.h"
#include "binding/text.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"
#include "proxy/mesh_proxy.h"
#include "renderer/kiln_renderer.h"
#include "scene/category.h"
#include "scene/plugin.h"
#include "scene/plugin_class.h"
#include "server/kiln_server.h"
#include "utilities/bin_user_attributes_writer.h"
#include "utilities/host_check.h"
#include "utilities/osl_parameters.h"
#include "utilities/scanned_material_info.h"
#include "utilities/scanned_material_params.h"
#include "utilities/util.h"
#include "values/typed_lists.h"
#include "values/value_classes.h"

namespace KilnNodeWrapper {
namespace {

using namespace KilnValuesNodeWrapper;
using KilnRendererNodeWrapper::CreateKilnRenderer;
using KilnRendererNodeWrapper::RegisterKilnRenderer;

constexpr Method kModuleFunctions[] = {
    {"enableFrameBuffer", EnableFrameBuffer},
    {"close", CloseLibrary},
    {"setProcessPriority", SetProcessPriority},
    {"createKilnRenderer", CreateKilnRenderer},
    {"createKilnServer", CreateKilnServer},
    {"encodeScannedMaterialParams", EncodeScannedMaterialParams},
    {"getOSLParameters", GetOSLParameters},
    {"getOSLParametersSync", GetOSLParametersSync},
    {"setEnvVar", SetEnvVar},
    {"getEnvVar", GetEnvVar},
    {"setNumaNode", SetNumaNode},
    {"setupKilnTypesInternal", SetupKilnTypesInternal, v8::DontEnum},
    {"isVectorList", IsVectorList},
    {"isColorList", IsColorList},
    {"intListToString", IntListToString},
    {"floatListToString", FloatListToString},
    {"vectorListToString", VectorListToString},
    {"colorListToString", ColorListToString},
    {"typedListToString", TypedListToString},
    {"getAPIVersion", GetAPIVersion},
    {"getKilnVersion", GetKilnVersion},
    {"getKilnVersionDetails", GetKilnVersionDetails},
    {"getMaterialLibraryPath", GetMaterialLibraryPath},
    {"isDR2", IsDR2},
    {"checkDRHost", CheckDRHost},
    {"checkDRHostSync", CheckDRHostSync},
};

struct Constant {
  const char* name;
  int32_t value;
};
constexpr Constant kConstants[] = {
    {"LOGLEVEL_ERROR", 0},
    {"LOGLEVEL_WARNING", 1},
    {"LOGLEVEL_INFO", 2},
    {"LOGLEVEL_DEBUG", 3},
    {"RENDER_PASS_FINAL", 0},
    {"RENDER_PASS_LIGHT_CACHE", 1},
    {"RENDER_PASS_IRRADIANCE_MAP", 2},
    {"PROFILER_MODE_OFF", 0},
    {"PROFILER_MODE_SIMPLE", 1},
    {"PROFILER_MODE_FULL", 2},
};

// The environment's library first, then the bin directory of the SDK's root, then the system's own search.
// What comes of it is asked for later: a missing library never fails the load of the add-on.
void FindLibrary() {
  SdkLoadLock lock;
  if (SdkIsLoaded()) return;
  if (SdkSetDirectoryFromEnvironment("KILN_ENGKIT_BIN", false) && SdkLoad() == 0) return;
  if (SdkSetDirectoryFromEnvironment("KILN_SDK", true) && SdkLoad() == 0) return;
  SdkSetDirectory(nullptr, false);
  SdkLoad();
}

void DefineStringify(v8::Isolate* isolate, Environment& environment, v8::Local<v8::Object> exports) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::String> name;
  v8::Local<v8::Function> function;
  if (!NewName(isolate, "stringify").ToLocal(&name)) return;
  if (!v8::FunctionTemplate::New(isolate, Stringify, environment.external())
           ->GetFunction(context)
           .ToLocal(&function)) {
    return;
  }
  function->SetName(name);
  environment.stringifyFunction.Reset(isolate, function);
  (void)exports->Set(context, name, function).FromMaybe(false);
}

void RegisterLanguage(v8::Isolate* isolate, v8::Local<v8::External>, v8::Local<v8::Object> exports) {
  v8::Local<v8::Object> language = v8::Object::New(isolate);
  defineValue(isolate, language, "EN_US", v8::String::NewFromUtf8Literal(isolate, "en-US"));
  defineValue(isolate, language, "ZH_CN", v8::String::NewFromUtf8Literal(isolate, "zh-CN"));
  (void)exports
      ->Set(isolate->GetCurrentContext(), v8::String::NewFromUtf8Literal(isolate, "Language"), language)
      .FromMaybe(false);
}

// Classes and namespaces, in the order in which they appear on the exports.
constexpr void (*kClasses[])(v8::Isolate*, v8::Local<v8::External>, v8::Local<v8::Object>) = {
    RegisterKilnServer,
    RegisterKilnRenderer,
    RegisterKilnImage,
    RegisterPlugin,
    RegisterPluginClass,
    RegisterCategory,
    RegisterProxy,
    RegisterUtil,
    RegisterLanguage,
    RegisterMatrix,
    RegisterColor,
    RegisterAColor,
    RegisterVector,
    RegisterTransform,
    RegisterScannedMaterialInfo,
    RegisterBinUserAttributesWriter,
};

void FillExports(v8::Isolate* isolate, Environment& environment, v8::Local<v8::Object> exports) {
  v8::Local<v8::External> external = environment.external();
  MakeDictionary(isolate, exports);
  for (const Method& function : kLibraryFunctions) defineFunction(isolate, external, exports, function);
  for (const Method& function : kModuleFunctions) defineFunction(isolate, external, exports, function);
  for (const Constant& constant : kConstants) {
    defineValue(isolate, exports, constant.name, v8::Integer::New(isolate, constant.value));
  }
  DefineStringify(isolate, environment, exports);
  for (const auto& register_class : kClasses) register_class(isolate, external, exports);
}

}  // namespace
}  // namespace KilnNodeWrapper

NODE_MODULE_INIT(/* exports, module, context */) {
  (void)module;
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::HandleScope scope(isolate);
  v8::Context::Scope context_scope(context);
  KilnNodeWrapper::SdkAfterLoad = KilnNodeWrapper::WakePortsAtExit;
  KilnNodeWrapper::SdkBeforeRelease = [] {
    KilnNodeWrapper::LetSdkThreadsGo();
    KilnNodeWrapper::AwaitJobs();
  };
  KilnNodeWrapper::FindLibrary();
  // On every entry, whatever other environments hold: a host that loads the add-on again starts afresh.
  KilnNodeWrapper::liveObjectCounter = 0;
  KilnNodeWrapper::frameBufferEnabled = true;
  KilnNodeWrapper::FillExports(isolate, *KilnNodeWrapper::Environment::Create(isolate),
                               exports.As<v8::Object>());
}
