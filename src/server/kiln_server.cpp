#include "server/kiln_server.h"

#include <memory>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/factory.h"
#include "binding/handover.h"
#include "binding/lazy_class.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "server/host_lists.h"
#include "server/server_options.h"
#include "server/server_wrapper.h"

namespace KilnNodeWrapper {
namespace {

using ServerHandover = Handover<struct ServerClass>;

constexpr char kNotCreated[] = "Instantiation error.";

v8::Local<v8::FunctionTemplate> ServerTemplate(Environment& environment);

KilnServerWrapper& ServerOf(const Arguments& info) {
  return ServerWrapperOf(info.This());
}

// The handle for the constructor's first argument; null with an exception pending.
KilnServerHandle CreateFor(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  uint64_t error = 0;
  KilnServerHandle handle = nullptr;
  if (info[0]->IsNullOrUndefined()) {
    handle = sdk.Kiln_KilnServer_create(nullptr, &error);
  } else if (info[0]->IsExternal()) {
    if (ServerHandover* handover = ServerHandover::Of(info[0])) handle = handover->Take();
  } else {
    v8::Local<v8::Object> object;
    ServerOptions options;
    if (!info[0]->ToObject(context).ToLocal(&object)) return nullptr;
    options.Fill(context, object);
    handle = sdk.Kiln_KilnServer_create(options.Record(), &error);
  }
  if (!handle) ThrowError(isolate, kNotCreated);
  return handle;
}

void Construct(const Arguments& info) {
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(info.GetIsolate())) return;
  if (info.NewTarget()->IsUndefined()) return ConstructAgain(info, ServerTemplate(environment));
  KilnServerHandle handle = CreateFor(info);
  if (!handle) return;
  new KilnServerWrapper(environment, info.This(), handle);
  info.GetReturnValue().Set(info.This());
}

// create, on the pool.
struct CreateServer {
  std::unique_ptr<ServerOptions> options;  // null: the SDK's own
  KilnServerHandle handle = nullptr;
  uint64_t error = 0;

  void Run() { handle = sdk.Kiln_KilnServer_create(options ? options->Record() : nullptr, &error); }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    if (!handle) return FinishWithoutObject(environment, kNotCreated, arguments);
    ServerHandover handover(handle);
    const int count = FinishWithObject(environment, ServerTemplate(environment),
                                       handover.External(environment.isolate()), arguments);
    handle = handover.Take();
    Abandon();
    return count;
  }

  void Abandon() {
    if (handle) sdk.Kiln_KilnServer_release(handle);
  }
};

// release, on the pool, while the JavaScript thread serves the events that come of it.
struct CloseServer {
  KilnServerWrapper* wrapper;
  KilnServerHandle handle;

  void Run() {
    if (SdkIsLoaded()) sdk.Kiln_KilnServer_release(handle);
  }
  int Finish(Environment&, v8::Local<v8::Value>*) {
    Abandon();
    return 0;
  }
  void Abandon() {
    if (handle) wrapper->Settle();
  }
  void Cancel() {
    if (handle) wrapper->CancelRelease();
  }
};

void Start(const Arguments& info) {
  ServerOf(info).Start();
}
void Stop(const Arguments& info) {
  ServerOf(info).Stop();
}

void Close(const Arguments& info) {
  KilnServerWrapper& wrapper = ServerOf(info);
  v8::Local<v8::Function> callback = CallbackAt(info, 0);
  if (callback.IsEmpty()) return wrapper.Close();
  Queue(info, callback, CloseServer{&wrapper, wrapper.BeginRelease()});
}

void GetMinLogLevel(v8::Local<v8::Name>, const GetterInfo& info) {
  info.GetReturnValue().Set(ServerWrapperOf(compat::Holder(info)).minLogLevel);
}
void SetMinLogLevel(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info) {
  KilnServerWrapper& wrapper = ServerWrapperOf(compat::Holder(info));
  if (!value->Int32Value(info.GetIsolate()->GetCurrentContext()).To(&wrapper.minLogLevel)) return;
  if (wrapper.server) wrapper.RegisterLogCallback();
}

// The members that change hosts belong to the second generation of the distributed system.
bool HasHosts(v8::Isolate* isolate) {
  if (sdk.Kiln_isDR2() != 0) return true;
  ThrowError(isolate, "Not supported error.");
  return false;
}

template <ChangeHosts kFunction, const std::span<const HostFailure>& kFailures>
void Change(const Arguments& info) {
  if (HasHosts(info.GetIsolate())) QueueHostChange(info, ServerOf(info).server, kFunction, kFailures);
}

enum class Outcome : uint8_t { kCode, kTrueIsZero };

template <ChangeHosts kFunction, Outcome kOutcome>
void ChangeSync(const Arguments& info) {
  std::string hosts;
  if (!HasHosts(info.GetIsolate()) || !ReadHosts(info, &hosts, nullptr)) return;
  const int32_t code = (sdk.*kFunction)(ServerOf(info).server, hosts.c_str());
  if (kOutcome == Outcome::kCode) {
    info.GetReturnValue().Set(code);
  } else {
    info.GetReturnValue().Set(code == 0);
  }
}

template <ListHosts kFunction>
void List(const Arguments& info) {
  QueueHostList(info, ServerOf(info).server, kFunction);
}
template <ListHosts kFunction>
void ListSync(const Arguments& info) {
  ReturnHostList(info, ServerOf(info).server, kFunction);
}

constexpr ChangeHosts kAdd = &SdkTable::Kiln_KilnServer_addHosts;
constexpr ChangeHosts kRemove = &SdkTable::Kiln_KilnServer_removeHosts;
constexpr ChangeHosts kReset = &SdkTable::Kiln_KilnServer_resetHosts;
constexpr ListHosts kAll = &SdkTable::Kiln_KilnServer_getAllHosts;
constexpr ListHosts kActive = &SdkTable::Kiln_KilnServer_getActiveHosts;
constexpr ListHosts kInactive = &SdkTable::Kiln_KilnServer_getInactiveHosts;

constexpr Method kMethods[] = {
    {"start", Start},
    {"stop", Stop},
    {"close", Close},
    {"addHosts", Change<kAdd, kAddHostsFailures>},
    {"addHostsSync", ChangeSync<kAdd, Outcome::kCode>},
    {"removeHosts", Change<kRemove, kRemoveHostsFailures>},
    {"removeHostsSync", ChangeSync<kRemove, Outcome::kTrueIsZero>},
    {"resetHosts", Change<kReset, kResetHostsFailures>},
    {"resetHostsSync", ChangeSync<kReset, Outcome::kTrueIsZero>},
    {"getAllHosts", List<kAll>},
    {"getAllHostsSync", ListSync<kAll>},
    {"getActiveHosts", List<kActive>},
    {"getActiveHostsSync", ListSync<kActive>},
    {"getInactiveHosts", List<kInactive>},
    {"getInactiveHostsSync", ListSync<kInactive>},
};

constexpr Accessor kAccessors[] = {{"minLogLevel", GetMinLogLevel, SetMinLogLevel}};

v8::Local<v8::FunctionTemplate> BuildServer(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> server = NewClass(isolate, external, "KilnServer", Construct, 1);
  DefineAccessors(isolate, external, server->InstanceTemplate(), kAccessors);
  DefineMethods(isolate, external, server, kMethods);
  return server;
}

v8::Local<v8::FunctionTemplate> ServerTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.serverTemplate, BuildServer);
}

}  // namespace

void RegisterKilnServer(v8::Isolate* isolate, v8::Local<v8::External> external,
                        v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<ServerTemplate>>(isolate, external, exports, "KilnServer");
}

void CreateKilnServer(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  v8::Local<v8::Value> options;
  v8::Local<v8::Function> callback;
  if (!ReadFactoryArguments(info, &options, &callback)) return;
  CreateServer operation;
  if (options->IsObject()) {
    operation.options = std::make_unique<ServerOptions>();
    operation.options->Fill(isolate->GetCurrentContext(), options.As<v8::Object>());
  }
  Queue(info, callback, std::move(operation));
}

}  // namespace KilnNodeWrapper
