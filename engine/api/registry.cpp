// The table of renderers, and the start and the end of the engine's own threads.
#include "engine/api/registry.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/api/event_queue.h"
#include "engine/api/renderer_object.h"
#include "engine/render/session.h"
#include "engine/render/texture_cache.h"
#include "engine/scene/plugin_class.h"

namespace kiln::engine::api {
namespace {

using std::chrono::milliseconds;

// How long the end of the process waits for a render to stop, and for a host's callback to return: the host
// may have parked it for good.
constexpr milliseconds kRenderLimit{10000};
constexpr milliseconds kCallbackLimit{100};

struct Entry {
  std::shared_ptr<Renderer> renderer;
  int references = 1;
};

struct Table {
  mutable std::shared_mutex mutex;
  std::unordered_map<uintptr_t, Entry> entries;
  uintptr_t next = 1;
  bool ended = false;
};

// Never destroyed: threads of the host may still call while the process ends, after the destructors of this
// library have run. EndEngine leaves it without memory of its own.
Table& TheTable() {
  alignas(Table) static unsigned char memory[sizeof(Table)];
  static Table* const table = new (memory) Table;
  return *table;
}

// Handles stay aligned as pointers would be: hosts keep bits of their own below.
constexpr uintptr_t kHandleStep = 16;

uintptr_t NumberOf(KilnRendererHandle handle) {
  return reinterpret_cast<uintptr_t>(handle);
}

void EndEngine() {
  Table& table = TheTable();
  std::unordered_map<uintptr_t, Entry> entries;
  {
    const std::unique_lock lock(table.mutex);
    table.ended = true;
    entries = std::exchange(table.entries, {});
  }
  for (auto& [number, entry] : entries) entry.renderer->Abandon(kRenderLimit, kCallbackLimit);
  entries.clear();
  for (milliseconds waited{0}; EventQueue::ThreadCount() > 0 && waited < kCallbackLimit; ++waited) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  render::ShutdownThreads();
}

// Lives from the first renderer to the end of the library or of the process. It comes after everything that
// it uses, so that its destructor runs first: a render in progress must end before the tables that it reads
// are gone.
class Engine {
 public:
  Engine() {
    scene::AllClasses();
    render::TextureBytes();
    render::InitThreads(0);
  }
  ~Engine() {
    Guarded([] { EndEngine(); });
  }
};

}  // namespace

KilnRendererHandle AddRenderer(std::shared_ptr<Renderer> renderer) {
  Table& table = TheTable();
  static const Engine engine;
  const std::unique_lock lock(table.mutex);
  if (table.ended) return nullptr;
  const uintptr_t number = kHandleStep * table.next++;
  table.entries.emplace(number, Entry{std::move(renderer)});
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number in disguise, and never followed
  return reinterpret_cast<KilnRendererHandle>(number);
}

std::shared_ptr<Renderer> FindRenderer(KilnRendererHandle handle) noexcept {
  if (!handle) return nullptr;
  Table& table = TheTable();
  const std::shared_lock lock(table.mutex);
  const auto found = table.entries.find(NumberOf(handle));
  return found == table.entries.end() ? nullptr : found->second.renderer;
}

bool AddReference(KilnRendererHandle handle) noexcept {
  Table& table = TheTable();
  const std::unique_lock lock(table.mutex);
  const auto found = table.entries.find(NumberOf(handle));
  if (found == table.entries.end()) return false;
  ++found->second.references;
  return true;
}

std::shared_ptr<Renderer> DropReference(KilnRendererHandle handle) noexcept {
  Table& table = TheTable();
  const std::unique_lock lock(table.mutex);
  const auto found = table.entries.find(NumberOf(handle));
  if (found == table.entries.end() || --found->second.references > 0) return nullptr;
  std::shared_ptr<Renderer> renderer = std::move(found->second.renderer);
  table.entries.erase(found);
  return renderer;
}

}  // namespace kiln::engine::api
