// Loads and unloads the engine's library, with and without use, and ends the process in the middle of its
// work.
//   engine_library_cycles LIBRARY
//   unused|renderer|render|unreleased|exit-idle|exit-rendering|exit-parked|exit-inside
// The first four fail when memory, threads or file descriptors grow from load to load.
#include <dirent.h>
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <semaphore>
#include <string>
#include <thread>

#include "entry_points.h"

namespace {

constexpr int kCycles = 300;
constexpr int kWarmUp = 50;
// What the allocator and the linker may keep; a leaked renderer or thread is above it in 300 cycles.
constexpr long kAllowedKilobytes = 6000;
// A sanitizer keeps what was freed, and notes of every load.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryIsTold = false;
#else
constexpr bool kMemoryIsTold = true;
#endif

constexpr char kScene[] = R"(
[camera]
class = "CameraPerspective"
[light]
class = "LightDome"
[mesh]
class = "GeomStaticMesh"
vertices = [[-1, -1, -2], [1, -1, -2], [0, 1, -2]]
faces = [0, 1, 2]
[triangle]
class = "GeomInstance"
geometry = "mesh"
)";

[[noreturn]] void Fail(const std::string& text) {
  std::fprintf(stderr, "%s\n", text.c_str());
  std::_Exit(1);
}

void Check(bool condition, const char* text) {
  if (!condition) Fail(text);
}

class Library {
 public:
  explicit Library(const char* file) : library_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (!library_) Fail(dlerror());
  }
  ~Library() { Check(dlclose(library_) == 0, "dlclose failed"); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <class Function>
  Function* Get(const char* name) const {
    void* address = dlsym(library_, name);
    if (!address) Fail(std::string("no ") + name);
    return reinterpret_cast<Function*>(address);
  }

 private:
  void* library_;
};

#define ENTRY(library, name) ((library).Get<decltype(name)>(#name))

struct Usage {
  long kilobytes = 0;
  int threads = 0;
  int files = 0;
};

int CountEntries(const char* folder) {
  DIR* dir = opendir(folder);
  if (!dir) return -1;
  int count = 0;
  while (readdir(dir)) ++count;
  closedir(dir);
  return count;
}

Usage Measure() {
  Usage usage;
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word == "VmRSS:") status >> usage.kilobytes;
  }
  usage.threads = CountEntries("/proc/self/task");
  usage.files = CountEntries("/proc/self/fd");
  return usage;
}

bool IsLoaded(const char* file) {
  const char* name = std::strrchr(file, '/');
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(name ? name + 1 : file) != std::string::npos) return true;
  }
  return false;
}

KilnRendererHandle MakeRenderer(const Library& library, int side) {
  uint64_t error = 0;
  const KilnRendererHandle renderer = ENTRY(library, Kiln_KilnRenderer_create)(nullptr, &error);
  Check(renderer, "no renderer");
  Check(ENTRY(library, Kiln_KilnRenderer_loadAsText)(renderer, kScene) == 0, "the scene does not load");
  Check(ENTRY(library, Kiln_KilnRenderer_setImageSize)(renderer, side, side) == 0, "no size");
  return renderer;
}

int32_t Ignore(void*) {
  return 0;
}

void Cycle(const char* file, const std::string& mode) {
  const Library library(file);
  if (mode == "unused") return;
  const KilnRendererHandle renderer = MakeRenderer(library, 16);
  const CallbackDescriptor callback{Ignore, nullptr, {0, 0}};
  ENTRY(library, Kiln_KilnRenderer_setStateChangedCallback)(renderer, &callback);
  if (mode == "unreleased") {
    Check(ENTRY(library, Kiln_KilnRenderer_setImageSize)(renderer, 2048, 2048) == 0, "no size");
    Check(ENTRY(library, Kiln_KilnRenderer_startSync)(renderer) == 0, "the render does not start");
    return;
  }
  if (mode == "render") {
    Check(ENTRY(library, Kiln_KilnRenderer_startSync)(renderer) == 0, "the render does not start");
    Check(ENTRY(library, Kiln_KilnRenderer_waitRenderEnd)(renderer, 60000) != 0, "the render does not end");
    void* image = ENTRY(library, Kiln_KilnRenderer_getImage)(renderer, nullptr);
    Check(image, "no image");
    ENTRY(library, C_memory_free)(image);
  }
  ENTRY(library, Kiln_KilnRenderer_release)(renderer);
}

void RunCycles(const char* file, const std::string& mode) {
  Usage before;
  for (int i = 0; i < kCycles; ++i) {
    if (i == kWarmUp) before = Measure();
    Cycle(file, mode);
    if (IsLoaded(file)) Fail("the library stays loaded after cycle " + std::to_string(i));
  }
  const Usage after = Measure();
  std::printf("%s: %ld -> %ld kB, %d -> %d threads, %d -> %d files\n", mode.c_str(), before.kilobytes,
              after.kilobytes, before.threads, after.threads, before.files, after.files);
  Check(!kMemoryIsTold || after.kilobytes - before.kilobytes < kAllowedKilobytes, "memory grows");
  Check(after.threads == before.threads, "threads stay behind");
  Check(after.files == before.files, "file descriptors stay behind");
}

std::binary_semaphore parked{0};

int32_t Park(void*) {
  parked.release();
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

int32_t Exit(void*) {
  std::exit(0);
}

KilnCallback CallbackOf(const std::string& mode) {
  if (mode == "exit-parked") return Park;
  return mode == "exit-inside" ? Exit : Ignore;
}

[[noreturn]] void ExitInTheMiddle(const char* file, const std::string& mode) {
  // Static, so that the exit does not close it by itself and a leak check still sees it.
  static const auto* const library = new Library(file);
  const KilnRendererHandle renderer = MakeRenderer(*library, mode == "exit-idle" ? 16 : 2048);
  if (mode == "exit-idle") std::exit(0);
  const CallbackDescriptor callback{CallbackOf(mode), nullptr, {0, 0}};
  ENTRY(*library, Kiln_KilnRenderer_setBucketReadyCallback)(renderer, &callback);
  Check(ENTRY(*library, Kiln_KilnRenderer_render)(renderer) == 0, "the render does not start");
  if (mode == "exit-parked") parked.acquire();
  if (mode == "exit-inside") std::this_thread::sleep_for(std::chrono::seconds(20));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  std::exit(mode == "exit-inside");
}

}  // namespace

int main(int argc, char** argv) {
  Check(argc == 3, "engine_library_cycles LIBRARY MODE");
  const std::string mode = argv[2];
  if (mode.rfind("exit", 0) == 0) ExitInTheMiddle(argv[1], mode);
  RunCycles(argv[1], mode);
}
