// Servers that serve nobody, and hosts that nobody connects to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

int32_t OnStart(void* record) {
  HostOf(*static_cast<KilnPlainEvent*>(record)).Enter("start");
  return 0;
}
int32_t OnClose(void* record) {
  HostOf(*static_cast<KilnPlainEvent*>(record)).Enter("close");
  return 0;
}

class ScopedServer {
 public:
  ScopedServer() : handle_(Kiln_KilnServer_create(nullptr, nullptr)) {}
  ~ScopedServer() { Release(); }
  ScopedServer(const ScopedServer&) = delete;
  ScopedServer& operator=(const ScopedServer&) = delete;

  operator KilnServerHandle() const { return handle_; }  // NOLINT: it stands for the handle
  void Release() { Kiln_KilnServer_release(std::exchange(handle_, nullptr)); }
  void Report(Host& host, int32_t level = 2) {
    const CallbackDescriptor start = Callback(OnStart, host);
    const CallbackDescriptor message = Callback(OnMessage, host);
    const CallbackDescriptor close = Callback(OnClose, host);
    Kiln_KilnServer_setServerStartCallback(handle_, &start);
    Kiln_KilnServer_setDumpMessageCallback(handle_, &message, level);
    Kiln_KilnServer_setServerCloseCallback(handle_, &close);
  }

 private:
  KilnServerHandle handle_;
};

std::string TextOf(char* block) {
  std::string text = block ? block : "(none)";
  C_memory_free(block);
  return text;
}

TEST(Server, SaysThatItServesNobody) {
  Host host;
  ScopedServer server;
  server.Report(host);
  EXPECT_EQ(Kiln_KilnServer_start(server), 0);
  EXPECT_NE(Kiln_KilnServer_start(server), 0) << "it runs already";
  EXPECT_EQ(Kiln_KilnServer_stop(server), 0);
  EXPECT_NE(Kiln_KilnServer_stop(server), 0);
  server.Release();
  EXPECT_THAT(host.Log(),
              ElementsAre(HasSubstr("serves nobody"), "start", "log 2 The server has stopped.", "close"));
  EXPECT_EQ(host.most_inside, 1);
}

TEST(Server, StartsAgainAndIsStoppedByItsEnd) {
  Host host;
  ScopedServer server;
  server.Report(host, 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Kiln_KilnServer_start(server), 0);
    if (i == 2) break;
    EXPECT_EQ(Kiln_KilnServer_stop(server), 0);
  }
  server.Release();
  EXPECT_THAT(host.Log(), ElementsAre("start", "start", "start", "close"));
}

TEST(Server, RunReturnsWhenItIsStopped) {
  for (const bool by_release : {false, true}) {
    Host host;
    ScopedServer server;
    server.Report(host);
    const KilnServerHandle handle = server;
    std::thread runner([handle] { EXPECT_EQ(Kiln_KilnServer_run(handle), 0); });
    EXPECT_TRUE(host.WaitFor("start"));
    EXPECT_NE(Kiln_KilnServer_run(handle), 0) << "it runs already";
    if (by_release) {
      server.Release();
    } else {
      EXPECT_EQ(Kiln_KilnServer_stop(handle), 0);
    }
    runner.join();
  }
}

TEST(Server, IsReleasedFromItsOwnCallback) {
  static std::atomic<KilnServerHandle> released;
  static std::atomic<bool> done;
  const KilnServerHandle server = Kiln_KilnServer_create(nullptr, nullptr);
  released = server;
  done = false;
  const CallbackDescriptor start{[](void*) -> int32_t {
                                   Kiln_KilnServer_release(released);
                                   done = true;
                                   return 0;
                                 },
                                 nullptr,
                                 {0, 0}};
  Kiln_KilnServer_setServerStartCallback(server, &start);
  EXPECT_EQ(Kiln_KilnServer_start(server), 0);
  for (int i = 0; i < 3000 && !done; ++i) std::this_thread::sleep_for(10ms);
  EXPECT_TRUE(done);
  EXPECT_NE(Kiln_KilnServer_start(server), 0) << "it is gone";
}

TEST(Server, WithoutAServerNothingHappens) {
  int value = 0;
  const KilnServerHandle gone = Kiln_KilnServer_create(nullptr, nullptr);
  Kiln_KilnServer_release(gone);
  for (const KilnServerHandle server : {KilnServerHandle{}, gone}) {
    EXPECT_NE(Kiln_KilnServer_start(server), 0);
    EXPECT_NE(Kiln_KilnServer_run(server), 0);
    EXPECT_NE(Kiln_KilnServer_stop(server), 0);
    EXPECT_EQ(Kiln_KilnServer_addHosts(server, "a"), -1);
    EXPECT_EQ(Kiln_KilnServer_removeHosts(server, "a"), -1);
    EXPECT_EQ(Kiln_KilnServer_resetHosts(server, "a"), -1);
    EXPECT_EQ(Kiln_KilnServer_getAllHosts(server, nullptr), nullptr);
    EXPECT_EQ(Kiln_KilnServer_getInactiveHosts(server, nullptr), nullptr);
    EXPECT_NE(Kiln_KilnServer_setUserData(server, 0, &value), 0);
    EXPECT_EQ(Kiln_KilnServer_getUserData(server, 0), nullptr);
    Kiln_KilnServer_setProgressCallback(server, nullptr);
    Kiln_KilnServer_setConnectCallback(server, nullptr);
    Kiln_KilnServer_setDisconnectCallback(server, nullptr);
    Kiln_KilnServer_release(server);
  }
}

TEST(Server, KeepsHostsAndUserData) {
  const ScopedServer server;
  int value = 0;
  EXPECT_EQ(Kiln_KilnServer_setUserData(server, 15, &value), 0);
  EXPECT_EQ(Kiln_KilnServer_getUserData(server, 15), &value);
  EXPECT_NE(Kiln_KilnServer_setUserData(server, 16, &value), 0);
  EXPECT_NE(Kiln_KilnServer_setUserData(server, -1, &value), 0);
  EXPECT_EQ(Kiln_KilnServer_addHosts(server, "a;b:1"), 0);
  EXPECT_EQ(TextOf(Kiln_KilnServer_getAllHosts(server, nullptr)), "a;b:1");
  EXPECT_EQ(TextOf(Kiln_KilnServer_getInactiveHosts(server, nullptr)), "a;b:1");
  EXPECT_EQ(TextOf(Kiln_KilnServer_getActiveHosts(server, nullptr)), "(none)");
  EXPECT_EQ(Kiln_KilnServer_removeHosts(server, "a"), 0);
  EXPECT_EQ(Kiln_KilnServer_resetHosts(server, nullptr), 0);
  EXPECT_EQ(TextOf(Kiln_KilnServer_getAllHosts(server, nullptr)), "(none)");
}

TEST(Hosts, ARendererKeepsThemAndConnectsToNone) {
  const ScopedRenderer renderer;
  EXPECT_EQ(Kiln_KilnRenderer_clientAddHosts(renderer, "a; b:20204"), 0) << "in the list, and not connected";
  EXPECT_EQ(Kiln_KilnRenderer_clientAddHosts(renderer, ""), -2);
  EXPECT_EQ(Kiln_KilnRenderer_clientAddHosts(renderer, nullptr), -2);
  EXPECT_EQ(Kiln_KilnRenderer_clientAddHosts(renderer, "c:port"), -2);
  EXPECT_EQ(Kiln_KilnRenderer_clientAddHosts(nullptr, "a"), -1);
  EXPECT_EQ(TextOf(Kiln_KilnRenderer_clientGetAllHosts(renderer, nullptr)), "a;b:20204");
  EXPECT_EQ(TextOf(Kiln_KilnRenderer_clientGetInactiveHosts(renderer, nullptr)), "a;b:20204");
  EXPECT_EQ(TextOf(Kiln_KilnRenderer_clientGetActiveHosts(renderer, nullptr)), "(none)");
  EXPECT_EQ(Kiln_KilnRenderer_clientRemoveHosts(renderer, "c"), 1);
  EXPECT_EQ(Kiln_KilnRenderer_clientRemoveHosts(renderer, "a"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_clientRemoveHosts(nullptr, "a"), -1);
  EXPECT_EQ(Kiln_KilnRenderer_clientResetHosts(renderer, "x y"), 1);
  EXPECT_EQ(Kiln_KilnRenderer_clientResetHosts(renderer, "x;y"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_clientResetHosts(nullptr, "x"), -1);
  EXPECT_EQ(TextOf(Kiln_KilnRenderer_clientGetAllHosts(renderer, nullptr)), "x;y");
}

TEST(Hosts, SharingARenderIsRefused) {
  const ScopedRenderer renderer;
  EXPECT_EQ(Kiln_isDR2(), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setDREnabled(renderer, 0, 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_setDREnabled(renderer, 1, 1), 0);
  EXPECT_THAT(Kiln_getErrorTextStringFromErrorCode(Kiln_KilnRenderer_getLastErrorCode(renderer)),
              HasSubstr("other machines"));
  EXPECT_EQ(Kiln_KilnRenderer_getDREnabled(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_enableDRClient(renderer, nullptr), 0);
  EXPECT_EQ(Kiln_KilnRenderer_isDRClientEnabled(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_disableDRClient(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_disableDRClient(nullptr), 0);
}

TEST(Hosts, ACheckFindsNobody) {
  const auto status_of = [](const char* host) {
    HostCheckResult* result = Kiln_checkDRHost(host);
    EXPECT_NE(result, nullptr);
    const HostCheckResult copy = *result;
    C_memory_free(result);
    EXPECT_EQ(copy.cpu_count, 0U);
    EXPECT_EQ(copy.version, 0U);
    EXPECT_EQ(copy.host_resolved, nullptr);
    EXPECT_EQ(copy.host_connected_to, nullptr);
    EXPECT_EQ(copy.revision_time, nullptr);
    return copy.status;
  };
  EXPECT_EQ(status_of("localhost:20204"), -2);
  EXPECT_EQ(status_of("node"), -2);
  EXPECT_EQ(status_of("no de"), -3);
  EXPECT_EQ(status_of(""), -3);
  EXPECT_EQ(status_of(nullptr), -3);
}

}  // namespace
}  // namespace kiln::engine::test
