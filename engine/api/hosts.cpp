// Entry points of a renderer's hosts, and the check of a host.
#include "engine/api/hosts.h"

#include "engine/api/blocks.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

// Of the record of a check.
constexpr int32_t kErrorResolve = -3;
constexpr int32_t kErrorConnect = -2;

std::string_view ViewOf(const char* text) {
  return text ? std::string_view(text) : std::string_view();
}

int32_t CodeOf(bool changed) {
  return static_cast<int32_t>(changed ? ChangeHosts::kOk : ChangeHosts::kRefused);
}

// A renderer that prepares a render has its hosts fixed.
template <class F>
int32_t ChangeHostsOf(KilnRendererHandle renderer, F&& change) {
  constexpr auto kInvalid = static_cast<int32_t>(ChangeHosts::kInvalid);
  return WithRenderer<int32_t>(renderer, kInvalid, [&](Renderer& r) {
    return r.state() == render::State::kPreparing ? kInvalid : change(r.hosts);
  });
}

int32_t RefuseToShare(KilnRendererHandle renderer, bool wanted) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (wanted) r.SetError(static_cast<int32_t>(ApiError::kNotDistributed));
    return wanted ? 1 : 0;
  });
}

}  // namespace

int32_t AddTo(HostList& hosts, const char* text) {
  const bool added = hosts.Add(ViewOf(text));
  return static_cast<int32_t>(added ? AddHosts::kNotConnected : AddHosts::kNoHost);
}

int32_t RemoveFrom(HostList& hosts, const char* text) {
  return CodeOf(hosts.Remove(ViewOf(text)));
}

int32_t ResetTo(HostList& hosts, const char* text) {
  return CodeOf(hosts.Reset(ViewOf(text)));
}

char* CopyText(const HostList& hosts) {
  const std::string text = hosts.Text();
  return text.empty() ? nullptr : CopyToBlock(text);
}

extern "C" {

int32_t Kiln_KilnRenderer_clientAddHosts(KilnRendererHandle renderer, const char* hosts) {
  return ChangeHostsOf(renderer, [hosts](HostList& list) { return AddTo(list, hosts); });
}

int32_t Kiln_KilnRenderer_clientRemoveHosts(KilnRendererHandle renderer, const char* hosts) {
  return ChangeHostsOf(renderer, [hosts](HostList& list) { return RemoveFrom(list, hosts); });
}

int32_t Kiln_KilnRenderer_clientResetHosts(KilnRendererHandle renderer, const char* hosts) {
  return ChangeHostsOf(renderer, [hosts](HostList& list) { return ResetTo(list, hosts); });
}

char* Kiln_KilnRenderer_clientGetAllHosts(KilnRendererHandle renderer, uint64_t*) {
  return WithRenderer<char*>(renderer, nullptr, [](const Renderer& r) { return CopyText(r.hosts); });
}

// None is connected, so all are inactive.
char* Kiln_KilnRenderer_clientGetActiveHosts(KilnRendererHandle, uint64_t*) {
  return nullptr;
}

char* Kiln_KilnRenderer_clientGetInactiveHosts(KilnRendererHandle renderer, uint64_t* slot) {
  return Kiln_KilnRenderer_clientGetAllHosts(renderer, slot);
}

int32_t Kiln_KilnRenderer_setDREnabled(KilnRendererHandle renderer, int32_t enable, int32_t) {
  return RefuseToShare(renderer, enable != 0);
}

int32_t Kiln_KilnRenderer_getDREnabled(KilnRendererHandle) {
  return 0;
}

int32_t Kiln_KilnRenderer_enableDRClient(KilnRendererHandle renderer, const KilnDRClientOptions*) {
  return RefuseToShare(renderer, true);
}

int32_t Kiln_KilnRenderer_disableDRClient(KilnRendererHandle renderer) {
  return RefuseToShare(renderer, false);
}

int32_t Kiln_KilnRenderer_isDRClientEnabled(KilnRendererHandle) {
  return 0;
}

// The engine does not look into the network: a host that could be one is not connected, and others have no
// address.
HostCheckResult* Kiln_checkDRHost(const char* host) {
  return Guarded<HostCheckResult*>(nullptr, [&] {
    auto* result = NewBlock<HostCheckResult>();
    *result = {};
    result->status = IsHostEntry(ViewOf(host)) ? kErrorConnect : kErrorResolve;
    return result;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
