// setSDKLibraryPath and its neighbours: which library is used, and why not.
#include <string>
#include <vector>

#include "binding/error.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {

std::atomic<int32_t> liveObjectCounter{0};

namespace {

struct LoadMutex {
  LoadMutex() { uv_mutex_init_recursive(&mutex); }
  ~LoadMutex() { uv_mutex_destroy(&mutex); }
  uv_mutex_t mutex;
};
LoadMutex sdkLoadLock;

int LoadAgain() {
  SdkUnload(false);
  return SdkLoad();
}

void SetSDKLibraryPath(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() == 0) return ThrowError(isolate, "Argument 0 (path: string) should be passed");
  if (info.Length() == 1 && liveObjectCounter != 0) {
    return ThrowError(isolate, "Cannot set a new path now. SDKLibrary is currently being used.");
  }
  SdkLoadLock lock;
  if (info[0]->IsNullOrUndefined()) {
    SdkSetDirectory(nullptr, false);
  } else {
    Text directory;
    if (!directory.Read(isolate->GetCurrentContext(), info[0])) return;
    SdkSetDirectory(directory.c_str(), false);
  }
  int result = 0;
  if (info.Length() == 1) {
    result = LoadAgain();
  } else if (info[1]->IsTrue()) {
    result = LoadAgain();
    SdkForce();
  } else {
    SdkLoadLater();
  }
  info.GetReturnValue().Set(result == 0);
}

// Copies, since a worker may load again at any time.
std::string ErrorText() {
  const SdkLoadLock lock;
  return SdkErrorText();
}

std::vector<const char*> MissingNames() {
  const SdkLoadLock lock;
  return SdkMissingNames();
}

void GetSDKLibraryErrorString(const Arguments& info) {
  v8::Local<v8::String> text;
  if (NewText(info.GetIsolate(), ErrorText()).ToLocal(&text)) info.GetReturnValue().Set(text);
}

void GetSDKLibraryMissingFunctions(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> result = v8::Array::New(isolate);
  uint32_t index = 0;
  for (const char* name : MissingNames()) {
    v8::Local<v8::String> text;
    if (!NewText(isolate, name).ToLocal(&text) || result->Set(context, index++, text).IsNothing()) return;
  }
  info.GetReturnValue().Set(result);
}

constexpr Method kMethods[] = {
    {"setSDKLibraryPath", SetSDKLibraryPath},
    {"getSDKLibraryErrorString", GetSDKLibraryErrorString},
    {"getSDKLibraryMissingFunctions", GetSDKLibraryMissingFunctions},
};

}  // namespace

const std::span<const Method> kLibraryFunctions = kMethods;

SdkLoadLock::SdkLoadLock() {
  uv_mutex_lock(&sdkLoadLock.mutex);
}
SdkLoadLock::~SdkLoadLock() {
  uv_mutex_unlock(&sdkLoadLock.mutex);
}

// Without the lock once it is bound: each object's way in comes by.
bool EnsureBound(v8::Isolate* isolate) {
  if (SdkState() != SdkUnbound) return true;
  std::string failure;
  {
    const SdkLoadLock lock;
    if (SdkEnsureBound() == 0) return true;
    failure = SdkErrorText();
  }
  ThrowError(isolate, failure.c_str());
  return false;
}

}  // namespace KilnNodeWrapper
