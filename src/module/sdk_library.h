// Finds, loads, binds and unloads the SDK library. Process-wide state; JavaScript thread unless a comment
// says otherwise. Knows neither V8 nor libuv, so that it is tested as plain C++ on every platform.
#pragma once

#include <atomic>
#include <cstdint>
#include <shared_mutex>
#include <string>
#include <vector>

#include "module/sdk_table.h"

namespace KilnNodeWrapper {

enum SdkBindState : int32_t {
  SdkBound = 0,    // loaded, and every name was found
  SdkUnbound = 1,  // not loaded, or loaded with names missing, or a load is pending
  SdkForced = 2,   // a load that was asked for with force failed, and the caller said to go on
};
SdkBindState SdkState();

// Loads the library and fills the table: 0 when all names were bound, the count of the missing ones, or -1
// when the library could not be loaded. A library that is held is released first.
int SdkLoad();
// Called after every successful load, and before a library is released.
extern std::atomic<void (*)()> SdkAfterLoad;
extern std::atomic<void (*)()> SdkBeforeRelease;
// Releases the library and everything about the last load; with forget_path also the configured path.
void SdkUnload(bool forget_path);
// The guard: 0 when the SDK may be called. Tries to load when it is not bound.
int SdkEnsureBound();
// Any thread.
bool SdkIsLoaded();
// Which library is loaded, or was: another number after each unload, so that nothing of one library is given
// to its successor. Any thread.
uintptr_t SdkGeneration();
// The text of the last attempt to load; empty between an unload and the next attempt.
const std::string& SdkErrorText();
// The names that the last sweep did not find, in sweep order. They are static texts.
const std::vector<const char*>& SdkMissingNames();

// Makes a directory the library's; with the bin step, the `bin` directory below it. Null clears it, as does a
// text of nothing but separators, and the next load takes the default.
void SdkSetDirectory(const char* directory, bool add_bin);
// The same from an environment variable; false when it is not set.
bool SdkSetDirectoryFromEnvironment(const char* variable, bool add_bin);
// The full path of the library as configured, empty for the default.
const std::string& SdkPath();
// No load happens now; the first guarded call makes it.
void SdkLoadLater();
// Turns SdkUnbound into SdkForced: the caller accepts what the last load gave.
void SdkForce();

// Keeps the library from being unloaded while it exists, and tells whether it is loaded. Any thread; not
// nested.
class SdkUse {
 public:
  SdkUse();
  explicit operator bool() const { return SdkIsLoaded(); }

 private:
  std::shared_lock<std::shared_mutex> lock_;
};

}  // namespace KilnNodeWrapper
