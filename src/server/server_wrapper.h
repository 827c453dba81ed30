// The native record behind a KilnServer, from construction to collection.
#pragma once

#include "binding/environment.h"
#include "binding/event_port.h"
#include "binding/sdk_memory.h"
#include "server.h"

namespace KilnNodeWrapper {

struct ServerEvent {
  uint32_t eventKind = 0;
  const char* text = nullptr;  // the SDK's, valid while its thread waits
  int32_t first = 0;
  int32_t second = 0;
  double time = 0;
};

class KilnServerWrapper final : public Closable {
 public:
  // For a handle that is not null: makes the port and registers the callbacks. The object is held weakly.
  KilnServerWrapper(Environment& environment, v8::Local<v8::Object> object, KilnServerHandle handle);
  KilnServerWrapper(const KilnServerWrapper&) = delete;
  KilnServerWrapper& operator=(const KilnServerWrapper&) = delete;

  // A server that runs is not collected.
  void Start();
  void Stop();
  // Ends the server on this thread, which it blocks meanwhile. Does nothing for a closed one.
  void Close();
  // Around a release on another thread, during which events are still served. BeginRelease hands out what is
  // to be released: null for a closed server, or one that is being released.
  KilnServerHandle BeginRelease();
  void Settle();
  void CancelRelease();

  void RegisterLogCallback();

  void Silence() override;
  // Ends the record too: no weak callback comes after the environment's end.
  void Release() override;

  v8::Global<v8::Object> self;
  KilnServerHandle server;  // null after close
  int32_t minLogLevel = 2;

 private:
  ~KilnServerWrapper();
  void HoldWeakly();
  void RegisterCallbacks();
  void ClearCallbacks();
  void LeavePort();

  Environment& environment_;
  SdkOrigin origin_;
  PortOf<ServerEvent>* port_;
  bool releasing_ = false;
};

inline KilnServerWrapper& ServerWrapperOf(v8::Local<v8::Object> object) {
  return *static_cast<KilnServerWrapper*>(compat::GetPointer(object, 0));
}

}  // namespace KilnNodeWrapper
