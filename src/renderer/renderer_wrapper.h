// The native record behind a KilnRenderer, from construction to collection.
#pragma once

#include <vector>

#include "binding/environment.h"
#include "binding/event_port.h"
#include "binding/members.h"
#include "binding/sdk_memory.h"
#include "renderer/renderer_events.h"
#include "scene/class_cache.h"
#include "scene/plugin_cache.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

class RendererWrapper final : public Closable {
 public:
  // For a handle that is not null: makes the ports and registers the callbacks that are always on. The object
  // is held weakly; the record goes with it, never before.
  RendererWrapper(Environment& environment, v8::Local<v8::Object> object, KilnRendererHandle handle);
  RendererWrapper(const RendererWrapper&) = delete;
  RendererWrapper& operator=(const RendererWrapper&) = delete;

  // Ends the renderer on this thread, which it blocks meanwhile: no event from here on, and no SDK thread
  // stays parked. Does nothing for a closed one.
  void Close();
  // Lets go of every Plugin and Class object that was handed out.
  void EmptyCaches();
  // Around a release on another thread, during which events are still served: the environment's end then
  // leaves the handle to it. Settle does what is left when the SDK is through; CancelRelease takes a release
  // back that has not begun.
  void BeginRelease() { releasing_++; }
  void Settle();
  void CancelRelease() { releasing_--; }

  // Where a loader stands that asks a script's filter: it is let go when the renderer closes.
  void AddLoader(ParkingPlace* loader) { loaders_.push_back(loader); }
  void RemoveLoader(ParkingPlace* loader) { std::erase(loaders_, loader); }

  void Silence() override;
  // Ends the record too: no weak callback comes after the environment's end.
  void Release() override;

  v8::Global<v8::Object> self;
  KilnRendererHandle renderer;  // null after close
  PortOf<RendererEvent>* eventsPort = nullptr;
  PortOf<ContextMenuEvent>* contextMenuPort = nullptr;
  PortOf<LightMixEvent>* lightMixPort = nullptr;
  PortOf<UploadEvent>* uploadPort = nullptr;
  PluginCache pluginCache;
  ClassCache classCache;
  int32_t maxTypedListsCopyByteSize = -1;
  bool autoCommit = true;
  int32_t minLogLevel = 2;

  Environment& environment() const { return environment_; }

 private:
  ~RendererWrapper();
  static void OnCollected(const v8::WeakCallbackInfo<RendererWrapper>& info);
  static void OnCollectedLater(const v8::WeakCallbackInfo<RendererWrapper>& info);
  void OpenPorts();
  void WakePorts();
  void WakeLoaders();
  void ClosePorts();
  void LeaveCounters();
  // The part of an end that comes when no event can start any more.
  void ReleaseHandle();

  Environment& environment_;
  SdkOrigin origin_;
  std::vector<ParkingPlace*> loaders_;
  int releasing_ = 0;
  bool second_pass_comes_ = false;
};

inline RendererWrapper& WrapperOf(v8::Local<v8::Object> object) {
  return *static_cast<RendererWrapper*>(compat::GetPointer(object, 0));
}
// The receiver of a method (its signature has been checked), or the holder of an accessor.
inline RendererWrapper& RendererOf(const Arguments& info) {
  return WrapperOf(info.This());
}
template <class T>
RendererWrapper& RendererOf(const v8::PropertyCallbackInfo<T>& info) {
  return WrapperOf(compat::Holder(info));
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
