// The loader on Linux: dlopen behind a check of the file, with the libraries beside it within reach.
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <set>
#include <vector>

#include "module/elf_file.h"
#include "module/loader_posix.h"

namespace KilnNodeWrapper::loader {

const std::string_view kDefaultName = "libKilnSDKLibrary.so";

namespace {

bool Exists(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0;
}

// What the system would open for a bare name: the first hit in its search list; empty when there is none.
std::string FindByName(const std::string& name) {
  void* self = dlopen(nullptr, RTLD_LAZY);
  Dl_serinfo size{};
  std::string found;
  if (self && dlinfo(self, RTLD_DI_SERINFOSIZE, &size) == 0) {
    std::vector<char> memory(size.dls_size);
    auto* list = reinterpret_cast<Dl_serinfo*>(memory.data());
    if (dlinfo(self, RTLD_DI_SERINFOSIZE, list) == 0 && dlinfo(self, RTLD_DI_SERINFO, list) == 0) {
      for (unsigned i = 0; i < list->dls_cnt && found.empty(); i++) {
        std::string candidate = list->dls_serpath[i].dls_name;
        candidate.append("/").append(name);
        if (Exists(candidate)) found = candidate;
      }
    }
  }
  if (self) dlclose(self);
  return found;
}

// Opens the libraries that a file names and that lie beside it, deepest first, so that its own names resolve
// to them. The handles are the caller's. Stops with last_failure set at a neighbour that can't be loaded.
void OpenNeighbours(const ElfFile& file, const std::string& directory, std::set<std::string>& seen,
                    std::vector<void*>& handles) {
  for (const std::string& name : file.needed) {
    const std::string path = std::string(directory).append("/").append(name);
    if (!seen.insert(name).second || !Exists(path)) continue;
    const ElfFile neighbour = InspectElfFile(path);
    if (!neighbour.error.empty()) {
      last_failure = neighbour.error;
      return;
    }
    OpenNeighbours(neighbour, directory, seen, handles);
    if (!last_failure.empty()) return;
    if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) handles.push_back(handle);
  }
}

}  // namespace

void* Open(const std::string& path) {
  last_failure.clear();
  const std::string file = path.empty() ? FindByName(std::string(kDefaultName)) : path;
  std::vector<void*> neighbours;
  if (!file.empty()) {
    const ElfFile inspected = InspectElfFile(file);
    last_failure = inspected.error;
    std::set<std::string> seen;
    if (last_failure.empty()) OpenNeighbours(inspected, file.substr(0, file.rfind('/')), seen, neighbours);
  }
  void* library = nullptr;
  if (last_failure.empty()) {
    library = dlopen(file.empty() ? kDefaultName.data() : file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) KeepFailure();
  }
  for (void* neighbour : neighbours) dlclose(neighbour);
  return library;
}

std::string ModulePath(void* library) {
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0 || !map || !map->l_name) return {};
  return map->l_name;
}

}  // namespace KilnNodeWrapper::loader
