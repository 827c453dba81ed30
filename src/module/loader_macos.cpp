// The loader on macOS: dlopen, which checks a file before it maps it.
#include <dlfcn.h>
#include <mach-o/dyld.h>

#include "module/loader_posix.h"

namespace KilnNodeWrapper::loader {

const std::string_view kDefaultName = "libKilnSDKLibrary.dylib";

void* Open(const std::string& path) {
  void* library = dlopen(path.empty() ? kDefaultName.data() : path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) KeepFailure();
  return library;
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

}  // namespace KilnNodeWrapper::loader
