#include "server/server_options.h"

#include "binding/option_reader.h"
#include "binding/text.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

constexpr KeyBit kFlags[] = {
    {"changeCurrentDirectory", KILN_SERVER_CHANGE_CURRENT_DIRECTORY},
    {"keepSceneInMemory", KILN_SERVER_KEEP_SCENE_IN_MEMORY},
    {"overwriteLocalCacheSettings", KILN_SERVER_OVERWRITE_LOCAL_CACHE_SETTINGS},
    {"runAsLiveLink", KILN_SERVER_RUN_AS_LIVE_LINK},
};
constexpr KeyBit kDr2Flags[] = {
    {"dr2AsDispatcher", KILN_DR2_AS_DISPATCHER},
    {"dr2RunLocalRenderServer", KILN_DR2_RUN_LOCAL_RENDER_SERVER},
    {"dr2SecureConnection", KILN_DR2_SECURE_CONNECTION},
    {"dr2DisableUdp", KILN_DR2_DISABLE_UDP},
    {"dr2ListenOnIpv4", KILN_DR2_LISTEN_ON_IPV4},
    {"dr2ListenOnIpv6", KILN_DR2_LISTEN_ON_IPV6},
    {"dr2PipelinedUpstream", KILN_DR2_PIPELINED_UPSTREAM},
};

}  // namespace

KilnServerOptions ServerOptions::Defaults() {
  KilnServerOptions record{};
  record.dr2_flags = KILN_DR2_LISTEN_ON_IPV4 | KILN_DR2_LISTEN_ON_IPV6 | KILN_DR2_PIPELINED_UPSTREAM;
  record.dr2WorkerThreadsPerServer = 2;
  record.dr2ConnectTimeout = 10;
  record.dr2UpstreamChannels = 3;
  return record;
}

void ServerOptions::ReadText(OptionReader& keys, const char* key, OwnText* text) {
  v8::Local<v8::Value> value;
  if (!keys.Value(key).ToLocal(&value) || value->IsNullOrUndefined()) return;
  if (ReadString(keys.context(), value, &text->text)) text->given = true;
}

void ServerOptions::Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  OptionReader keys(context, object);
  keys.Int("portNumber", &record_.portNumber);
  keys.Int("numThreads", &record_.numThreads);
  ReadText(keys, "remoteScenePath", &remote_scene_path_);
  ReadText(keys, "pluginLibraryPath", &plugin_library_path_);
  ReadText(keys, "includePaths", &include_paths_);
  keys.Bits(kFlags, &record_.flags);
  keys.Int("cachedAssetsLimitType", &record_.cachedAssetsLimitType);
  double limit = 0;
  if (keys.Number("cachedAssetsLimitValue", &limit)) {
    record_.cachedAssetsLimitValue = static_cast<float>(limit);
  }
  if (sdk.Kiln_isDR2() == 0) return;
  keys.Bits(kDr2Flags, &record_.dr2_flags);
  ReadText(keys, "dr2HttpProxy", &http_proxy_);
  keys.Int("dr2WorkerThreadsPerServer", &record_.dr2WorkerThreadsPerServer);
  keys.Int("dr2ConnectTimeout", &record_.dr2ConnectTimeout);
  keys.Int("dr2UpstreamChannels", &record_.dr2UpstreamChannels);
}

const KilnServerOptions* ServerOptions::Record() {
  record_.remoteScenePath = remote_scene_path_.c_str();
  record_.pluginLibraryPath = plugin_library_path_.c_str();
  record_.includePaths = include_paths_.c_str();
  record_.dr2HttpProxy = http_proxy_.c_str();
  return &record_;
}

}  // namespace KilnNodeWrapper
