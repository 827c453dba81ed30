#include "utilities/scanned_material_info.h"

#include <cstddef>

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "binding/object_builder.h"
#include "binding/object_wrap.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "utilities.h"

namespace KilnNodeWrapper {
namespace {

constexpr int32_t kMissingFile = 1;
constexpr int32_t kBrokenSdk = 3;
constexpr int32_t kInfoCapacity = 500;

class ScannedMaterialWrapper final : public ObjectWrap {
 public:
  ScannedMaterialWrapper(Environment& environment, v8::Local<v8::Object> object, KilnScanHandle handle)
      : ObjectWrap(environment, object), handle_(handle) {
    liveObjectCounter++;
  }
  ~ScannedMaterialWrapper() override { Close(); }

  // Null after close.
  KilnScanHandle handle() const { return handle_; }
  void Close() {
    if (!handle_) return;
    KilnScanHandle handle = handle_;
    handle_ = nullptr;
    if (origin_.IsLoaded()) sdk.Kiln_KiScanInfo_delete(handle);
    liveObjectCounter--;
  }

 private:
  KilnScanHandle handle_;
  SdkOrigin origin_;
};

struct PresetKey {
  const char* key;
  float KiScansPreset::*number = nullptr;
  int32_t KiScansPreset::*integer = nullptr;

  constexpr PresetKey(const char* key, float KiScansPreset::*field) : key(key), number(field) {}
  constexpr PresetKey(const char* key, int32_t KiScansPreset::*field) : key(key), integer(field) {}
};
constexpr PresetKey kPresetKeys[] = {
    {"ccior", &KiScansPreset::ccior},
    {"plain", &KiScansPreset::plain},
    {"bumpmul", &KiScansPreset::bumpmul},
    {"bumpstart", &KiScansPreset::bumpstart},
    {"depthmul", &KiScansPreset::depthmul},
    {"ccbump", &KiScansPreset::ccbump},
    {"orggls", &KiScansPreset::orggls},
    {"orgglvar", &KiScansPreset::orgglvar},
    {"ccmul", &KiScansPreset::ccmul},
    {"shdhmul", &KiScansPreset::shdhmul},
    {"shdmul", &KiScansPreset::shdmul},
    {"flakes", &KiScansPreset::flakes},
    {"forcebrdf", &KiScansPreset::forcebrdf},
    {"specbell", &KiScansPreset::specbell},
    {"specmul", &KiScansPreset::specmul},
    {"scratchdens", &KiScansPreset::scratchdens},
    {"fuzzy", &KiScansPreset::fuzzy},
    {"topvLs_A", &KiScansPreset::topvLs_A},
    {"keepflakesuv", &KiScansPreset::keepflakesuv},
    {"indmul", &KiScansPreset::indmul},
    {"ccmetalrefl", &KiScansPreset::ccmetalrefl},
    {"thickness", &KiScansPreset::thickness},
    {"triplanar", &KiScansPreset::triplanar},
    {"transpf", &KiScansPreset::transpf},
};

void Construct(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  if (info.NewTarget()->IsUndefined()) {
    return ConstructAgain(info, environment.scannedMaterialInfoTemplate.Get(isolate));
  }
  Text file;
  const bool named = info[0]->IsString();
  if (named && !file.Read(isolate->GetCurrentContext(), info[0])) return;
  int32_t error = 0;
  KilnScanHandle handle = sdk.Kiln_KiScanInfo_create(named ? file.c_str() : nullptr, &error);
  if (!handle) {
    return ThrowError(isolate, error == kMissingFile ? "Bad or missing BRDFScanned plugin file."
                               : error == kBrokenSdk ? "SDK Broken Error."
                                                     : "Instantiation error.");
  }
  new ScannedMaterialWrapper(environment, info.This(), handle);
  info.GetReturnValue().Set(info.This());
}

void Close(const Arguments& info) {
  Unwrap<ScannedMaterialWrapper>(info).Close();
}

// The name that both readers take; false with an exception pending.
bool ReadPresetName(const Arguments& info, Text* name) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() > 0) return name->Read(isolate->GetCurrentContext(), info[0]);
  ThrowError(isolate, "Argument 0 (filename: string) should be passed");
  return false;
}

void GetInfoSync(const Arguments& info) {
  Text name;
  if (!ReadPresetName(info, &name)) return;
  // Ends in a NUL whatever the SDK leaves in the last place.
  char text[kInfoCapacity + 1] = {};
  KilnScanHandle handle = Unwrap<ScannedMaterialWrapper>(info).handle();
  if (sdk.Kiln_KiScanInfo_getInfoString(handle, name.c_str(), text, kInfoCapacity) != 0) {
    ReturnText(info, text);
  } else {
    info.GetReturnValue().SetNull();
  }
}

void GetPresetSync(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Text name;
  if (!ReadPresetName(info, &name)) return;
  KiScansPreset preset{};
  sdk.Kiln_KiScansPresets_reset(&preset, sizeof(preset));
  KilnScanHandle handle = Unwrap<ScannedMaterialWrapper>(info).handle();
  if (sdk.Kiln_KiScanInfo_getPreset(handle, name.c_str(), &preset, sizeof(preset)) == 0) {
    return ThrowError(isolate, "Error reading presets.");
  }
  ObjectBuilder object(isolate);
  for (const PresetKey& row : kPresetKeys) {
    if (row.integer) {
      object.Int(row.key, preset.*row.integer);
    } else {
      object.Number(row.key, static_cast<double>(preset.*row.number));
    }
  }
  object.Return(info);
}

constexpr Method kMethods[] = {
    {"close", Close},
    {"getInfoSync", GetInfoSync},
    {"getPresetSync", GetPresetSync},
};

v8::Local<v8::FunctionTemplate> BuildInfo(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> target = NewClass(isolate, external, "ScannedMaterialInfo", Construct, 1);
  DefineMethods(isolate, external, target, kMethods);
  return target;
}

v8::Local<v8::FunctionTemplate> InfoTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.scannedMaterialInfoTemplate, BuildInfo);
}

}  // namespace

void RegisterScannedMaterialInfo(v8::Isolate* isolate, v8::Local<v8::External> external,
                                 v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<InfoTemplate>>(isolate, external, exports, "ScannedMaterialInfo");
}

}  // namespace KilnNodeWrapper
