// The life of a render server, and the table of servers.
#include "engine/api/server_object.h"

#include <utility>

#include "engine/api/handle_table.h"

namespace kiln::engine::api {
namespace {

using std::chrono::milliseconds;

// How long the end of the process waits for a host's callback to return: the host may have parked it for
// good.
constexpr milliseconds kCallbackLimit{1000};

constexpr char kServesNobody[] =
    "The server has started, but the engine renders for its own process only: it listens on no port and "
    "serves "
    "nobody.";

using Table = HandleTable<KilnServerHandle, Server>;

void EndServers() {
  for (const auto& [number, entry] : Table::The().End()) entry.object->Abandon(kCallbackLimit);
  EventQueue::AwaitThreads(kCallbackLimit);
}

// Lives from the first server to the end of the library or of the process.
struct Servers {
  ~Servers() {
    Guarded([] { EndServers(); });
  }
};

}  // namespace

bool Server::Start() {
  {
    const std::lock_guard lock(mutex_);
    if (running_ || closed_) return false;
    running_ = true;
  }
  events.OnLog(static_cast<int>(LogLevel::kWarning), kServesNobody);
  events.OnServerStarted();
  return true;
}

bool Server::Run() {
  std::unique_lock lock(mutex_);
  const uint64_t stops = stops_;
  lock.unlock();
  if (!Start()) return false;
  lock.lock();
  changed_.wait(lock, [&] { return stops_ != stops; });
  return true;
}

bool Server::End() {
  {
    const std::lock_guard lock(mutex_);
    if (!running_) return false;
    running_ = false;
    ++stops_;
  }
  changed_.notify_all();
  return true;
}

bool Server::Stop() {
  if (!End()) return false;
  events.OnLog(static_cast<int>(LogLevel::kInfo), "The server has stopped.");
  return true;
}

void Server::Close() {
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(closed_, true)) return;
  }
  Stop();
  events.OnRendererClosed();
  events.Close();
}

void Server::Abandon(milliseconds limit) {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  End();
  events.Close(limit);
}

bool Server::SetUserData(int32_t index, void* data) {
  if (index < 0 || index >= kSlots) return false;
  const std::lock_guard lock(mutex_);
  user_data_[index] = data;
  return true;
}

void* Server::UserData(int32_t index) const {
  if (index < 0 || index >= kSlots) return nullptr;
  const std::lock_guard lock(mutex_);
  return user_data_[index];
}

KilnServerHandle AddServer(std::shared_ptr<Server> server) {
  Table& table = Table::The();
  static const Servers servers;
  return table.Add(std::move(server));
}

std::shared_ptr<Server> FindServer(KilnServerHandle handle) noexcept {
  return Table::The().Find(handle);
}

std::shared_ptr<Server> TakeServer(KilnServerHandle handle) noexcept {
  return Table::The().DropReference(handle);
}

}  // namespace kiln::engine::api
