#include "module/sdk_library.h"

#include <atomic>
#include <mutex>

#include "module/loader.h"

namespace KilnNodeWrapper {

constinit SdkTable sdk;
std::atomic<void (*)()> SdkAfterLoad{nullptr};
std::atomic<void (*)()> SdkBeforeRelease{nullptr};

namespace {

// Plain module variables: they live as long as the process, and so may the state of a library that nobody
// unloads.
std::atomic<void*> library{nullptr};
std::atomic<uintptr_t> generation{0};
std::atomic<SdkBindState> state{SdkUnbound};
std::string path;  // sdkLibraryPath
std::string error_text;
std::vector<const char*> missing_names;
constinit std::shared_mutex use_mutex;

// An unload waits for whoever gives memory back on another thread.
void ReleaseLibrary() {
  std::unique_lock lock(use_mutex);
  if (void* held = library.exchange(nullptr)) {
    generation++;
    // What an object of the library calls from here on does nothing.
    sdk = SdkTable();
    if (void (*const before_release)() = SdkBeforeRelease) before_release();
    loader::Close(held);
  }
}

void SetErrorText(const char* text, int result) {
  error_text = text;
  error_text += ' ';
  if (result > 0) error_text += std::to_string(result) + ". ";
  if (result != 0) {
    if (const std::string failure = loader::LastFailure(); !failure.empty())
      error_text += "[" + failure + "] ";
  }
  std::string name = library ? loader::ModulePath(library) : std::string();
  if (name.empty()) name = path.empty() ? std::string(loader::kDefaultName) : path;
  error_text += "(" + name + ")";
}

// A name that can't be kept is left out of the list, and still counts.
void KeepMissingName(const char* name) {
  try {
    missing_names.push_back(name);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): told above
  }
}

}  // namespace

SdkBindState SdkState() {
  return state;
}
bool SdkIsLoaded() {
  return library != nullptr;
}
uintptr_t SdkGeneration() {
  return generation;
}
const std::string& SdkErrorText() {
  return error_text;
}
const std::vector<const char*>& SdkMissingNames() {
  return missing_names;
}
const std::string& SdkPath() {
  return path;
}

int SdkLoad() {
  missing_names.clear();
  state = SdkUnbound;
  ReleaseLibrary();
  library = loader::Open(path);
  if (!library) {
    SetErrorText("Error loading SDK Library.", -1);
    return -1;
  }
  if (void (*const after_load)() = SdkAfterLoad) after_load();
  const int missing = Sweep(
      sdk, [](const char* name) { return loader::Symbol(library, name); }, KeepMissingName);
  sdk.Kiln_incrementModuleReferenceCounter();
  if (missing == 0) state = SdkBound;
  SetErrorText(missing == 0 ? "SDK library loaded correctly"
                            : "Incorrect SDK library loaded! Number of missing functions:",
               missing);
  return missing;
}

void SdkUnload(bool forget_path) {
  if (forget_path) path.clear();
  error_text.clear();
  ReleaseLibrary();
  missing_names.clear();
  state = SdkUnbound;
}

int SdkEnsureBound() {
  return state == SdkUnbound ? SdkLoad() : 0;
}

void SdkSetDirectory(const char* directory, bool add_bin) {
  path.clear();
  if (!directory) return;
  std::string_view stripped = directory;
  while (!stripped.empty() && loader::IsSeparator(stripped.back())) stripped.remove_suffix(1);
  if (!stripped.empty()) path = loader::LibraryPath(stripped, add_bin);
}

bool SdkSetDirectoryFromEnvironment(const char* variable, bool add_bin) {
  std::string value;
  if (!loader::ReadVariable(variable, &value)) return false;
  SdkSetDirectory(value.c_str(), add_bin);
  return true;
}

void SdkLoadLater() {
  state = SdkUnbound;
}
void SdkForce() {
  if (state == SdkUnbound) state = SdkForced;
}

SdkUse::SdkUse() : lock_(use_mutex) {}

}  // namespace KilnNodeWrapper
