// The table of renderers, and the start and the end of the engine's own threads.
#include "engine/api/registry.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "engine/api/event_queue.h"
#include "engine/api/handle_table.h"
#include "engine/api/renderer_object.h"
#include "engine/render/session.h"
#include "engine/render/texture_cache.h"
#include "engine/scene/plugin_class.h"

namespace kiln::engine::api {
namespace {

using std::chrono::milliseconds;

// How long the end of the library or of the process waits for a render to stop, for a call that another
// thread makes to return, and for a host's callback to return: the host may have parked it for good.
constexpr milliseconds kRenderLimit{10000};
constexpr milliseconds kCallLimit{5000};
constexpr milliseconds kCallbackLimit{1000};

using Table = HandleTable<KilnRendererHandle, Renderer>;

// Each call holds the renderer that it is about, almost to its end.
void AwaitCalls(const Table::Entries& entries) {
  const auto end = std::chrono::steady_clock::now() + kCallLimit;
  const auto is_held = [](const auto& entry) { return entry.second.object.use_count() > 1; };
  for (bool held = std::ranges::any_of(entries, is_held); held && std::chrono::steady_clock::now() < end;) {
    held = std::ranges::any_of(entries, is_held);
    std::this_thread::sleep_for(milliseconds(1));
  }
}

void EndEngine() {
  Table::Entries entries = Table::The().End();
  for (auto& [number, entry] : entries) entry.object->Abandon(kRenderLimit, kCallbackLimit);
  AwaitCalls(entries);
  entries.clear();
  EventQueue::AwaitThreads(kCallbackLimit);
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
  Table& table = Table::The();
  static const Engine engine;
  return table.Add(std::move(renderer));
}

std::shared_ptr<Renderer> FindRenderer(KilnRendererHandle handle) noexcept {
  return handle ? Table::The().Find(handle) : nullptr;
}

bool AddReference(KilnRendererHandle handle) noexcept {
  return Table::The().AddReference(handle);
}

std::shared_ptr<Renderer> DropReference(KilnRendererHandle handle) noexcept {
  return Table::The().DropReference(handle);
}

}  // namespace kiln::engine::api
