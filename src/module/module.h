// The parts of the module entry, in the order in which module.cpp runs them.
#pragma once

#include <uv.h>
#include <v8.h>

#include <atomic>
#include <span>

#include "binding/members.h"

namespace KilnNodeWrapper {

// Serialises the loads and unloads of the library, and looks at their outcome. Recursive: the path of
// setSDKLibraryPath may be an object with a toString of its own. Lives from static initialisation to process
// exit.
class SdkLoadLock {
 public:
  SdkLoadLock();
  ~SdkLoadLock();
  SdkLoadLock(const SdkLoadLock&) = delete;
  SdkLoadLock& operator=(const SdkLoadLock&) = delete;
};

// The SDK-owning objects alive; non-zero means that the library is in use.
extern std::atomic<int32_t> liveObjectCounter;
// A renderer that is created while it is set joins the GUI pump.
extern std::atomic<bool> frameBufferEnabled;

// Runs SdkEnsureBound, as every way in that needs no existing object does first; false after throwing the
// error text.
bool EnsureBound(v8::Isolate* isolate);

// The handlers of exports, one table per file.
extern const std::span<const Method> kLibraryFunctions;  // library_functions.cpp
void EnableFrameBuffer(const Arguments& info);           // module_functions.cpp
void CloseLibrary(const Arguments& info);
void SetProcessPriority(const Arguments& info);
void SetNumaNode(const Arguments& info);
void SetEnvVar(const Arguments& info);
void GetEnvVar(const Arguments& info);
void GetAPIVersion(const Arguments& info);
void GetKilnVersion(const Arguments& info);
void GetKilnVersionDetails(const Arguments& info);
void GetMaterialLibraryPath(const Arguments& info);
void IsDR2(const Arguments& info);
void Stringify(const Arguments& info);  // stringify.cpp

}  // namespace KilnNodeWrapper
