// The life of a render server, and the table of servers.
#include "engine/api/server_object.h"

#include <shared_mutex>
#include <thread>
#include <unordered_map>
#include <utility>

namespace kiln::engine::api {
namespace {

using std::chrono::milliseconds;

// How long the end of the process waits for a host's callback to return: the host may have parked it for
// good.
constexpr milliseconds kCallbackLimit{100};
// Handles stay aligned as pointers would be: hosts keep bits of their own below.
constexpr uintptr_t kHandleStep = 16;

constexpr char kServesNobody[] =
    "The server has started, but the engine renders for its own process only: it listens on no port and "
    "serves "
    "nobody.";

struct Table {
  std::shared_mutex mutex;
  std::unordered_map<uintptr_t, std::shared_ptr<Server>> servers;
  uintptr_t next = 1;
  bool ended = false;
};

// Never destroyed: threads of the host may still call while the process ends, after the destructors of this
// library have run.
Table& TheTable() {
  alignas(Table) static unsigned char memory[sizeof(Table)];
  static Table* const table = new (memory) Table;
  return *table;
}

uintptr_t NumberOf(KilnServerHandle handle) {
  return reinterpret_cast<uintptr_t>(handle);
}

void EndServers() {
  Table& table = TheTable();
  std::unordered_map<uintptr_t, std::shared_ptr<Server>> servers;
  {
    const std::unique_lock lock(table.mutex);
    table.ended = true;
    servers = std::exchange(table.servers, {});
  }
  for (const auto& [number, server] : servers) server->Abandon(kCallbackLimit);
  for (milliseconds waited{0}; EventQueue::ThreadCount() > 0 && waited < kCallbackLimit; ++waited) {
    std::this_thread::sleep_for(milliseconds(1));
  }
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
  Table& table = TheTable();
  static const Servers servers;
  const std::unique_lock lock(table.mutex);
  if (table.ended) return nullptr;
  const uintptr_t number = kHandleStep * table.next++;
  table.servers.emplace(number, std::move(server));
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number in disguise, and never followed
  return reinterpret_cast<KilnServerHandle>(number);
}

std::shared_ptr<Server> FindServer(KilnServerHandle handle) noexcept {
  Table& table = TheTable();
  const std::shared_lock lock(table.mutex);
  const auto found = table.servers.find(NumberOf(handle));
  return found == table.servers.end() ? nullptr : found->second;
}

std::shared_ptr<Server> TakeServer(KilnServerHandle handle) noexcept {
  Table& table = TheTable();
  const std::unique_lock lock(table.mutex);
  const auto found = table.servers.find(NumberOf(handle));
  if (found == table.servers.end()) return nullptr;
  std::shared_ptr<Server> server = std::move(found->second);
  table.servers.erase(found);
  return server;
}

}  // namespace kiln::engine::api
