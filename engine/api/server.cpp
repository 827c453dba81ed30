// Entry points of render servers.
#include "engine/api/blocks.h"
#include "engine/api/errors.h"
#include "engine/api/hosts.h"
#include "engine/api/server_object.h"

namespace kiln::engine::api {
namespace {

constexpr auto kInvalidHosts = static_cast<int32_t>(ChangeHosts::kInvalid);

void SetCallback(KilnServerHandle server, EventKind kind, const CallbackDescriptor* callback) {
  WithServer<bool>(server, false, [&](Server& s) {
    s.events.SetCallback(kind, callback);
    return true;
  });
}

// 0 when it was done.
template <class F>
int32_t Do(KilnServerHandle server, F&& action) {
  return WithServer<int32_t>(server, 1, [&](Server& s) { return action(s) ? 0 : 1; });
}

}  // namespace

extern "C" {

// Nothing in the options says how to serve nobody, so none is looked at.
KilnServerHandle Kiln_KilnServer_create(const KilnServerOptions*, uint64_t* error) {
  const auto handle =
      Guarded<KilnServerHandle>(nullptr, [] { return AddServer(std::make_shared<Server>()); });
  // The only way to fail is the lack of memory.
  if (!handle && error) *error = static_cast<uint64_t>(ApiError::kNoMemory);
  return handle;
}

int32_t Kiln_KilnServer_start(KilnServerHandle server) {
  return Do(server, [](Server& s) { return s.Start(); });
}

int32_t Kiln_KilnServer_run(KilnServerHandle server) {
  return Do(server, [](Server& s) { return s.Run(); });
}

int32_t Kiln_KilnServer_stop(KilnServerHandle server) {
  return Do(server, [](Server& s) { return s.Stop(); });
}

void Kiln_KilnServer_release(KilnServerHandle server) {
  Guarded([&] {
    if (const auto last = TakeServer(server)) last->Close();
  });
}

void Kiln_KilnServer_setServerStartCallback(KilnServerHandle server, const CallbackDescriptor* callback) {
  SetCallback(server, EventKind::kServerStarted, callback);
}

void Kiln_KilnServer_setConnectCallback(KilnServerHandle server, const CallbackDescriptor* callback) {
  SetCallback(server, EventKind::kHostConnected, callback);
}

void Kiln_KilnServer_setDisconnectCallback(KilnServerHandle server, const CallbackDescriptor* callback) {
  SetCallback(server, EventKind::kHostDisconnected, callback);
}

void Kiln_KilnServer_setDumpMessageCallback(KilnServerHandle server, const CallbackDescriptor* callback,
                                            int32_t min_level) {
  WithServer<bool>(server, false, [&](Server& s) {
    s.events.SetMessageLevel(min_level);
    s.events.SetCallback(EventKind::kMessage, callback);
    return true;
  });
}

void Kiln_KilnServer_setProgressCallback(KilnServerHandle server, const CallbackDescriptor* callback) {
  SetCallback(server, EventKind::kProgress, callback);
}

void Kiln_KilnServer_setServerCloseCallback(KilnServerHandle server, const CallbackDescriptor* callback) {
  SetCallback(server, EventKind::kRendererClosed, callback);
}

int32_t Kiln_KilnServer_setUserData(KilnServerHandle server, int32_t index, void* data) {
  return Do(server, [&](Server& s) { return s.SetUserData(index, data); });
}

void* Kiln_KilnServer_getUserData(KilnServerHandle server, int32_t index) {
  return WithServer<void*>(server, nullptr, [&](const Server& s) { return s.UserData(index); });
}

int32_t Kiln_KilnServer_addHosts(KilnServerHandle server, const char* hosts) {
  return WithServer<int32_t>(server, kInvalidHosts, [&](Server& s) { return AddTo(s.hosts, hosts); });
}

int32_t Kiln_KilnServer_removeHosts(KilnServerHandle server, const char* hosts) {
  return WithServer<int32_t>(server, kInvalidHosts, [&](Server& s) { return RemoveFrom(s.hosts, hosts); });
}

int32_t Kiln_KilnServer_resetHosts(KilnServerHandle server, const char* hosts) {
  return WithServer<int32_t>(server, kInvalidHosts, [&](Server& s) { return ResetTo(s.hosts, hosts); });
}

char* Kiln_KilnServer_getAllHosts(KilnServerHandle server, uint64_t*) {
  return WithServer<char*>(server, nullptr, [](const Server& s) { return CopyText(s.hosts); });
}

// None is connected, so all are inactive.
char* Kiln_KilnServer_getActiveHosts(KilnServerHandle, uint64_t*) {
  return nullptr;
}

char* Kiln_KilnServer_getInactiveHosts(KilnServerHandle server, uint64_t* slot) {
  return Kiln_KilnServer_getAllHosts(server, slot);
}

}  // extern "C"
}  // namespace kiln::engine::api
