// The loader on macOS: dlopen, which checks a file before it maps it.
#include <dlfcn.h>
#include <mach-o/dyld.h>

#include <cstdlib>

#include "module/loader.h"

namespace KilnNodeWrapper::loader {

const std::string_view kDefaultName = "libKilnSDKLibrary.dylib";

namespace {

thread_local std::string last_failure;

void KeepFailure() {
  const char* reason = dlerror();
  last_failure = reason ? reason : "";
}

}  // namespace

std::string LibraryPath(std::string_view directory, bool add_bin) {
  return std::string(directory) + (add_bin ? "/bin/" : "/") + std::string(kDefaultName);
}

void* Open(const std::string& path) {
  void* library = dlopen(path.empty() ? kDefaultName.data() : path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) KeepFailure();
  return library;
}

void Close(void* library) {
  dlclose(library);
}

void* Symbol(void* library, const char* name) {
  void* address = dlsym(library, name);
  if (!address) KeepFailure();
  return address;
}

// An image is the library's when opening it again gives the same handle.
std::string ModulePath(void* library) {
  for (uint32_t i = 0; i < _dyld_image_count(); i++) {
    const char* name = _dyld_get_image_name(i);
    void* image = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    if (!image) continue;
    dlclose(image);
    if (image == library) return name;
  }
  return {};
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
