#include "module/loader_posix.h"

#include <dlfcn.h>

#include <cstdlib>

namespace KilnNodeWrapper::loader {

thread_local std::string last_failure;

void KeepFailure() {
  const char* reason = dlerror();
  last_failure = reason ? reason : "";
}

std::string LibraryPath(std::string_view directory, bool add_bin) {
  return std::string(directory) + (add_bin ? "/bin/" : "/") + std::string(kDefaultName);
}

void Close(void* library) {
  dlclose(library);
}

void* Symbol(void* library, const char* name) {
  void* address = dlsym(library, name);
  if (!address) KeepFailure();
  return address;
}

std::string LastFailure() {
  return last_failure;
}

bool ReadVariable(const char* name, std::string* value) {
  const char* text = std::getenv(name);
  if (!text) return false;
  *value = text;
  return true;
}

}  // namespace KilnNodeWrapper::loader
