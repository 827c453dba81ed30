// The small functions on the exports: versions, the SDK's environment, process settings, and close.
#include <cstdio>

#include "binding/error.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/process.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {

std::atomic<bool> frameBufferEnabled{true};

namespace {

// Major, minor and patch, the lower two always with two digits: 6.01.02.
void ReturnVersion(const Arguments& info, uint32_t packed) {
  char text[32];
  std::snprintf(text, sizeof(text), "%u.%02u.%02u", packed >> 16, (packed >> 8) & 0xFF, packed & 0xFF);
  ReturnText(info, text);
}

bool ReadInt(const Arguments& info, int index, int32_t* value) {
  return info[index]->Int32Value(info.GetIsolate()->GetCurrentContext()).To(value);
}

}  // namespace

void EnableFrameBuffer(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() == 0) return ThrowError(isolate, "Argument 0 (isEnabled: boolean) should be passed");
  const bool enabled = info[0]->BooleanValue(isolate);
  frameBufferEnabled = enabled;
  sdk.Kiln_enableFrameBuffer(enabled);
}

void CloseLibrary(const Arguments&) {
  SdkLoadLock lock;
  SdkUnload(true);
}

void GetAPIVersion(const Arguments& info) {
  if (EnsureBound(info.GetIsolate())) ReturnVersion(info, sdk.Kiln_getSDKVersion());
}

void GetKilnVersion(const Arguments& info) {
  if (EnsureBound(info.GetIsolate())) ReturnVersion(info, sdk.Kiln_getKilnVersion());
}

void GetKilnVersionDetails(const Arguments& info) {
  if (EnsureBound(info.GetIsolate())) ReturnText(info, sdk.Kiln_getKilnVersionDetails());
}

void GetMaterialLibraryPath(const Arguments& info) {
  if (EnsureBound(info.GetIsolate())) ReturnText(info, sdk.Kiln_getMaterialLibraryPath());
}

void IsDR2(const Arguments& info) {
  if (EnsureBound(info.GetIsolate())) info.GetReturnValue().Set(sdk.Kiln_isDR2() != 0);
}

void GetEnvVar(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined()) {
    return ThrowError(isolate, "Error: required 1 string argument, the environment variable name");
  }
  Text name;
  if (name.Read(isolate->GetCurrentContext(), info[0]))
    ReturnText(info, sdk.Kiln_getEnvironmentVariable(name.c_str()));
}

void SetEnvVar(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() < 2 || info[0]->IsNullOrUndefined()) {
    return ThrowError(
        isolate,
        "Error: required 1 or 2 string arguments, the environment variable name and optionally its new "
        "value");
  }
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  Text name;
  Text value;
  if (!name.Read(context, info[0])) return;
  const bool has_value = !info[1]->IsNullOrUndefined() && value.Read(context, info[1]);
  info.GetReturnValue().Set(
      sdk.Kiln_setEnvironmentVariable(name.c_str(), has_value ? value.c_str() : nullptr) == 0);
}

void SetProcessPriority(const Arguments& info) {
  int32_t pid = 0;
  Text name;
  if (!ReadInt(info, 0, &pid) || !name.Read(info.GetIsolate()->GetCurrentContext(), info[1])) return;
  struct Row {
    const char* name;
    process::Priority priority;
  };
  // The names are shifted against the system's own.
  static constexpr Row kRows[] = {
      {"idle", process::Priority::kIdle},     {"low", process::Priority::kBelowNormal},
      {"normal", process::Priority::kNormal}, {"high", process::Priority::kAboveNormal},
      {"highest", process::Priority::kHigh},
  };
  bool done = false;
  for (const Row& row : kRows) {
    if (EqualsIgnoringCase(name.view(), row.name)) done = process::SetPriority(pid, row.priority);
  }
  info.GetReturnValue().Set(done);
}

void SetNumaNode(const Arguments& info) {
  int32_t pid = 0;
  int32_t node = 0;
  if (!ReadInt(info, 0, &pid) || !ReadInt(info, 1, &node)) return;
  info.GetReturnValue().Set(process::SetNumaNode(pid, static_cast<uint8_t>(node)));
}

}  // namespace KilnNodeWrapper
