#include "server/server_wrapper.h"

#include "binding/event_frame.h"
#include "module/module.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

enum Kind : uint32_t { kConnect, kDisconnect, kMessage, kStart, kProgress = 5 };

void Store(const KilnTextEvent& record, ServerEvent& event) {
  event.text = record.text;
}
void Store(const KilnMessageEvent& record, ServerEvent& event) {
  event.text = record.message;
  event.first = record.level;
}
void Store(const KilnProgressEvent& record, ServerEvent& event) {
  event.text = record.message;
  event.first = record.first;
  event.second = record.second;
}
void Store(const KilnPlainEvent&, ServerEvent&) {}

template <class Record, Kind kKind>
constexpr KilnCallback OnCallback = OnSdkEvent<ServerEvent, Record, kKind, Store>;

using SetCallback = void (*SdkTable::*)(KilnServerHandle, const CallbackDescriptor*);

// The log's setter takes more than a callback, and the start's is never cleared.
constexpr KilnCallback kOnMessage = OnCallback<KilnMessageEvent, kMessage>;
constexpr KilnCallback kOnStart = OnCallback<KilnPlainEvent, kStart>;
struct Row {
  KilnCallback callback;
  SetCallback setter;
};
constexpr Row kRows[] = {
    {OnCallback<KilnTextEvent, kConnect>, &SdkTable::Kiln_KilnServer_setConnectCallback},
    {OnCallback<KilnTextEvent, kDisconnect>, &SdkTable::Kiln_KilnServer_setDisconnectCallback},
    {OnCallback<KilnProgressEvent, kProgress>, &SdkTable::Kiln_KilnServer_setProgressCallback},
};

// What the listeners get between the event's name and its time.
struct EventForm {
  const char* name;
  bool has_text;
  int numbers;
};
EventForm FormOf(uint32_t kind) {
  switch (kind) {
    case kConnect:
      return {"connect", true, 0};
    case kDisconnect:
      return {"disconnect", true, 0};
    case kMessage:
      return {"logMessage", true, 1};
    case kProgress:
      return {"progress", true, 2};
    default:
      return {"start", false, 0};
  }
}

void Emit(const EventScopeOf<KilnServerWrapper>& scope, const ServerEvent& event) {
  const EventForm form = FormOf(event.eventKind);
  v8::Local<v8::String> name;
  v8::Local<v8::String> text;
  v8::Local<v8::Value> values[5];
  int count = 0;
  if (!NewName(scope.isolate, form.name).ToLocal(&name)) return;
  values[count++] = name;
  if (form.has_text) {
    if (!NewText(scope.isolate, event.text ? event.text : "").ToLocal(&text)) return;
    values[count++] = text;
  }
  if (form.numbers > 0) values[count++] = v8::Integer::New(scope.isolate, event.first);
  if (form.numbers > 1) values[count++] = v8::Integer::New(scope.isolate, event.second);
  values[count++] = v8::Number::New(scope.isolate, event.time);
  (void)scope.Emit(count, values).IsEmpty();
}

void OnEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<ServerEvent>*>(EventPort::From(async));
  HandleEventOf<KilnServerWrapper>(
      port, [port](const EventScopeOf<KilnServerWrapper>& scope) { Emit(scope, port->event); }, [] {});
}

}  // namespace

KilnServerWrapper::KilnServerWrapper(Environment& environment, v8::Local<v8::Object> object,
                                     KilnServerHandle handle)
    : self(environment.isolate(), object),
      server(handle),
      environment_(environment),
      port_(NewPort<ServerEvent>(environment, this, OnEvent)) {
  RegisterCallbacks();
  compat::SetPointer(object, 0, this);
  HoldWeakly();
  liveObjectCounter++;
  environment_.Add(this);
}

KilnServerWrapper::~KilnServerWrapper() {
  environment_.Remove(this);
}

void KilnServerWrapper::HoldWeakly() {
  self.SetWeak(
      this, [](const v8::WeakCallbackInfo<KilnServerWrapper>& info) { info.GetParameter()->Release(); },
      v8::WeakCallbackType::kParameter);
}

void KilnServerWrapper::RegisterCallbacks() {
  const CallbackDescriptor start{kOnStart, port_, {0, 0}};
  sdk.Kiln_KilnServer_setServerStartCallback(server, &start);
  for (const Row& row : kRows) {
    const CallbackDescriptor descriptor{row.callback, port_, {0, 0}};
    (sdk.*row.setter)(server, &descriptor);
  }
  RegisterLogCallback();
}

void KilnServerWrapper::RegisterLogCallback() {
  const CallbackDescriptor descriptor{kOnMessage, port_, {0, 0}};
  sdk.Kiln_KilnServer_setDumpMessageCallback(server, &descriptor, minLogLevel);
}

void KilnServerWrapper::ClearCallbacks() {
  if (!origin_.IsLoaded()) return;
  for (const Row& row : kRows) (sdk.*row.setter)(server, nullptr);
  sdk.Kiln_KilnServer_setDumpMessageCallback(server, nullptr, minLogLevel);
}

void KilnServerWrapper::Start() {
  if (server) self.ClearWeak();
  sdk.Kiln_KilnServer_start(server);
}

void KilnServerWrapper::Stop() {
  HoldWeakly();
  sdk.Kiln_KilnServer_stop(server);
}

void KilnServerWrapper::LeavePort() {
  WakePort(port_);
  ClosePort(port_);
  port_ = nullptr;
  liveObjectCounter--;
}

// The order makes a close inside a listener safe: no new event starts, and the parked thread goes on, so that
// the SDK can end its threads while it blocks this one.
void KilnServerWrapper::Close() {
  if (!self.IsEmpty()) HoldWeakly();
  if (!server) return;
  if (releasing_) return WakePort(port_);
  ClearCallbacks();
  WakePort(port_);
  KilnServerHandle handle = server;
  server = nullptr;
  if (origin_.IsLoaded()) sdk.Kiln_KilnServer_release(handle);
  LeavePort();
}

KilnServerHandle KilnServerWrapper::BeginRelease() {
  HoldWeakly();
  if (releasing_ || !server) return nullptr;
  releasing_ = true;
  return server;
}

void KilnServerWrapper::Settle() {
  releasing_ = false;
  server = nullptr;
  LeavePort();
}

void KilnServerWrapper::CancelRelease() {
  releasing_ = false;
}

void KilnServerWrapper::Silence() {
  if (!server) return;
  if (!releasing_) ClearCallbacks();
  WakePort(port_);
  if (!releasing_ && origin_.IsLoaded()) sdk.Kiln_KilnServer_stop(server);
}

void KilnServerWrapper::Release() {
  self.Reset();
  Close();
  delete this;
}

}  // namespace KilnNodeWrapper
