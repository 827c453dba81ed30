// What the calculation of light left behind, saved to files for a later render.
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

struct CacheFile {
  int32_t (*SdkTable::*save)(KilnRendererHandle, const char*);
  const char* error;
};
constexpr CacheFile kIrradianceMap = {&SdkTable::Kiln_KilnRenderer_saveIrradianceMapFile,
                                      "Error saving irradiance map to file"};
constexpr CacheFile kLightCache = {&SdkTable::Kiln_KilnRenderer_saveLightCacheFile,
                                   "Error saving light cache to file"};
constexpr CacheFile kPhotonMap = {&SdkTable::Kiln_KilnRenderer_savePhotonMapFile,
                                  "Error saving photon map to file"};
constexpr CacheFile kCaustics = {&SdkTable::Kiln_KilnRenderer_saveCausticsFile,
                                 "Error saving caustics to file"};

struct SaveFile {
  KilnRendererHandle renderer;
  const CacheFile* file;
  std::string name;
  bool saved = false;

  void Run() { saved = (sdk.*file->save)(renderer, name.c_str()) != 0; }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, saved, file->error, arguments);
  }
};

SaveFile SaveFileOf(const Arguments& info, const CacheFile& file) {
  return {RendererOf(info).renderer, &file, StringOf(info.GetIsolate(), info[0].As<v8::String>())};
}

void Save(const Arguments& info, const CacheFile& file) {
  v8::Local<v8::Function> callback = CallbackAt(info, 1);
  if (!info[0]->IsString() || callback.IsEmpty()) {
    return ThrowError(
        info.GetIsolate(),
        "Argument 0 (string - file name to save to), and argument 1 (a callback function) should "
        "be passed");
  }
  Queue(info, callback, SaveFileOf(info, file));
}

void SaveSync(const Arguments& info, const CacheFile& file) {
  if (info.Length() != 1 || !info[0]->IsString()) {
    return ThrowError(info.GetIsolate(), "Argument 0 must be a string - file name to save to");
  }
  SaveFile operation = SaveFileOf(info, file);
  operation.Run();
  info.GetReturnValue().Set(operation.saved);
}

}  // namespace

void SaveIrradianceMapFile(const Arguments& info) {
  Save(info, kIrradianceMap);
}
void SaveLightCacheFile(const Arguments& info) {
  Save(info, kLightCache);
}
void SavePhotonMapFile(const Arguments& info) {
  Save(info, kPhotonMap);
}
void SaveCausticsFile(const Arguments& info) {
  Save(info, kCaustics);
}
void SaveIrradianceMapFileSync(const Arguments& info) {
  SaveSync(info, kIrradianceMap);
}
void SaveLightCacheFileSync(const Arguments& info) {
  SaveSync(info, kLightCache);
}
void SavePhotonMapFileSync(const Arguments& info) {
  SaveSync(info, kPhotonMap);
}
void SaveCausticsFileSync(const Arguments& info) {
  SaveSync(info, kCaustics);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
