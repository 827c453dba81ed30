// The machines that a renderer shares its work with.
#include <string>

#include "binding/error.h"
#include "binding/key_walk.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "server/host_lists.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// Which of the two generations a member belongs to; false after throwing that the library is of the other.
bool IsGeneration(v8::Isolate* isolate, bool second) {
  if ((sdk.Kiln_isDR2() != 0) == second) return true;
  ThrowError(isolate, second ? "Function not supported in DR1." : "Function not supported in DR2.");
  return false;
}

// The options of enableDRClient, whose keys count in any case.
struct ClientOptions {
  ClientOptions() {
    record.flags = KILN_DR_PIPELINED_UPSTREAM | KILN_DR_ASSIGN_BACKUPS;
    record.connectTimeout = 10;
    record.upstreamChannels = 3;
    record.verboseLevel = 3;
  }
  KilnDRClientOptions record{};
  std::string dispatcher;
  std::string http_proxy;
};

constexpr KeyBit kFlagKeys[] = {
    {"localRendering", KILN_DR_LOCAL_RENDERING},
    {"withBroadcastListener", KILN_DR_BROADCAST_LISTENER},
    {"pipelinedUpstream", KILN_DR_PIPELINED_UPSTREAM},
    {"enableAssigningWUsAsBackups", KILN_DR_ASSIGN_BACKUPS},
    {"immediatelyForwardReadySplitBucketSubunits", KILN_DR_FORWARD_SUBUNITS},
};
struct TextKey {
  const char* key;
  std::string ClientOptions::*text;
  const char* KilnDRClientOptions::*field;
};
constexpr TextKey kTextKeys[] = {
    {"dispatcher", &ClientOptions::dispatcher, &KilnDRClientOptions::dispatcher},
    {"httpProxy", &ClientOptions::http_proxy, &KilnDRClientOptions::httpProxy},
};
struct IntKey {
  const char* key;
  int32_t KilnDRClientOptions::*field;
};
constexpr IntKey kIntKeys[] = {
    {"connectTimeout", &KilnDRClientOptions::connectTimeout},
    {"upstreamChannels", &KilnDRClientOptions::upstreamChannels},
    {"verboseLevel", &KilnDRClientOptions::verboseLevel},
};

// False when a text can't be converted. A number that can't be leaves its field.
bool ReadKey(v8::Local<v8::Context> context, std::string_view key, v8::Local<v8::Value> value,
             ClientOptions* options) {
  for (const TextKey& row : kTextKeys) {
    if (!EqualsIgnoringCase(key, row.key)) continue;
    if (!ReadString(context, value, &(options->*row.text))) return false;
    options->record.*row.field = (options->*row.text).c_str();
  }
  for (const KeyBit& row : kFlagKeys) {
    if (!EqualsIgnoringCase(key, row.key)) continue;
    uint32_t& flags = options->record.flags;
    flags = value->BooleanValue(v8::Isolate::GetCurrent()) ? flags | row.bit : flags & ~row.bit;
  }
  for (const IntKey& row : kIntKeys) {
    int32_t number = 0;
    if (EqualsIgnoringCase(key, row.key) && value->Int32Value(context).To(&number)) {
      options->record.*row.field = number;
    }
  }
  return true;
}

// Stops at what can't be read; what was read so far stays.
void ReadClientOptions(v8::Local<v8::Context> context, v8::Local<v8::Object> object, ClientOptions* options) {
  WalkKeys(context, object, Unreadable::kEndsTheWalk, [&](std::string_view key, v8::Local<v8::Value> value) {
    return ReadKey(context, key, value, options);
  });
}

template <ChangeHosts kFunction, const std::span<const HostFailure>& kFailures>
void Change(const Arguments& info) {
  QueueHostChange(info, RendererOf(info).renderer, kFunction, kFailures);
}

template <ChangeHosts kFunction>
void ChangeSync(const Arguments& info) {
  std::string hosts;
  if (!ReadHosts(info, &hosts, nullptr)) return;
  info.GetReturnValue().Set((sdk.*kFunction)(RendererOf(info).renderer, hosts.c_str()));
}

constexpr ChangeHosts kAdd = &SdkTable::Kiln_KilnRenderer_clientAddHosts;
constexpr ChangeHosts kRemove = &SdkTable::Kiln_KilnRenderer_clientRemoveHosts;
constexpr ChangeHosts kReset = &SdkTable::Kiln_KilnRenderer_clientResetHosts;

}  // namespace

void AddHosts(const Arguments& info) {
  Change<kAdd, kAddHostsFailures>(info);
}
void AddHostsSync(const Arguments& info) {
  ChangeSync<kAdd>(info);
}
void RemoveHosts(const Arguments& info) {
  Change<kRemove, kRemoveHostsFailures>(info);
}
void RemoveHostsSync(const Arguments& info) {
  ChangeSync<kRemove>(info);
}
void ResetHosts(const Arguments& info) {
  Change<kReset, kResetHostsFailures>(info);
}
void ResetHostsSync(const Arguments& info) {
  ChangeSync<kReset>(info);
}

void GetAllHosts(const Arguments& info) {
  QueueHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetAllHosts);
}
void GetAllHostsSync(const Arguments& info) {
  ReturnHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetAllHosts);
}
void GetActiveHosts(const Arguments& info) {
  QueueHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetActiveHosts);
}
void GetActiveHostsSync(const Arguments& info) {
  ReturnHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetActiveHosts);
}
void GetInactiveHosts(const Arguments& info) {
  QueueHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetInactiveHosts);
}
void GetInactiveHostsSync(const Arguments& info) {
  ReturnHostList(info, RendererOf(info).renderer, &SdkTable::Kiln_KilnRenderer_clientGetInactiveHosts);
}

void SetDREnabled(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!IsGeneration(isolate, false)) return;
  if (info.Length() == 0) return ThrowError(isolate, "Argument 0 (boolean - drEnabled) should be passed");
  const bool flag = info.Length() < 2 || info[1]->BooleanValue(isolate);
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_setDREnabled(RendererOf(info).renderer,
                                                               info[0]->BooleanValue(isolate), flag) == 0);
}

void GetDREnabled(const Arguments& info) {
  if (!IsGeneration(info.GetIsolate(), false)) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_getDREnabled(RendererOf(info).renderer) != 0);
}

void EnableDRClient(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  if (!IsGeneration(isolate, true)) return;
  ClientOptions options;
  if (info.Length() > 0) {
    v8::Local<v8::Object> object;
    if (!info[0]->ToObject(context).ToLocal(&object)) return;
    ReadClientOptions(context, object, &options);
  }
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_enableDRClient(RendererOf(info).renderer, &options.record) == 0);
}

void DisableDRClient(const Arguments& info) {
  if (!IsGeneration(info.GetIsolate(), true)) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_disableDRClient(RendererOf(info).renderer) == 0);
}

void IsDRClientEnabled(const Arguments& info) {
  if (!IsGeneration(info.GetIsolate(), true)) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_isDRClientEnabled(RendererOf(info).renderer) != 0);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
