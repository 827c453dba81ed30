#include "renderer/renderer_wrapper.h"

#include "module/module.h"
#include "module/sdk_library.h"
#include "renderer/gui_pump.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

RendererWrapper::RendererWrapper(Environment& environment, v8::Local<v8::Object> object,
                                 KilnRendererHandle handle)
    : self(environment.isolate(), object), renderer(handle), environment_(environment) {
  OpenPorts();
  sdk.Kiln_KilnRenderer_setKeepRTframesInCallback(renderer, 1);
  sdk.Kiln_KilnRenderer_setKeepBucketsInCallback(renderer, 1);
  RegisterFixedCallbacks(*this);
  compat::SetPointer(object, 0, this);
  self.SetWeak(this, OnCollected, v8::WeakCallbackType::kParameter);
  liveObjectCounter++;
  environment_.Add(this);
}

RendererWrapper::~RendererWrapper() {
  environment_.Remove(this);
}

void RendererWrapper::OpenPorts() {
  eventsPort = NewPort<RendererEvent>(environment_, this, OnRendererEvent);
  contextMenuPort = NewPort<ContextMenuEvent>(environment_, this, OnContextMenuEvent);
  lightMixPort = NewPort<LightMixEvent>(environment_, this, OnLightMixEvent);
  uploadPort = NewPort<UploadEvent>(environment_, this, OnUploadEvent);
}

void RendererWrapper::WakePorts() {
  WakePort(eventsPort);
  WakePort(contextMenuPort);
  WakePort(lightMixPort);
  WakePort(uploadPort);
  WakeLoaders();
}

void RendererWrapper::WakeLoaders() {
  for (ParkingPlace* loader : loaders_) WakePort(loader);
}

void RendererWrapper::ClosePorts() {
  ClosePort(eventsPort);
  ClosePort(contextMenuPort);
  ClosePort(lightMixPort);
  ClosePort(uploadPort);
  eventsPort = nullptr;
  contextMenuPort = nullptr;
  lightMixPort = nullptr;
  uploadPort = nullptr;
}

void RendererWrapper::LeaveCounters() {
  LeaveGuiPump(environment_);
  liveObjectCounter--;
}

// The order makes a close inside a listener safe: no new event starts, every parked thread goes on, so the
// SDK can end its threads while it blocks this one; the ports are freed on a later turn, when the listener's
// handler is through.
void RendererWrapper::Close() {
  if (!renderer) return;
  if (origin_.IsLoaded()) ClearCallbacks(renderer);
  WakePorts();
  ReleaseHandle();
}

void RendererWrapper::ReleaseHandle() {
  KilnRendererHandle handle = renderer;
  renderer = nullptr;
  if (origin_.IsLoaded()) sdk.Kiln_KilnRenderer_release(handle);
  ClosePorts();
  LeaveCounters();
}

void RendererWrapper::Settle() {
  releasing_--;
  renderer = nullptr;
  if (eventsPort) {
    WakePorts();
    ClosePorts();
  }
  LeaveCounters();
}

void RendererWrapper::Silence() {
  if (!renderer) return WakeLoaders();
  const bool is_ours = releasing_ == 0 && origin_.IsLoaded();
  if (is_ours) ClearCallbacks(renderer);
  WakePorts();
  // A job may be waiting for the render's end.
  if (is_ours) sdk.Kiln_KilnRenderer_stop(renderer);
}

void RendererWrapper::EmptyCaches() {
  pluginCache.Clear();
  classCache.Clear();
}

void RendererWrapper::Release() {
  Close();
  EmptyCaches();
  self.Reset();
  if (second_pass_comes_) {
    environment_.Remove(this);
  } else {
    delete this;
  }
}

// The Plugin and Class objects that die in the same collection still find the caches in their own first pass,
// so the record goes in the second when they are not empty.
void RendererWrapper::OnCollected(const v8::WeakCallbackInfo<RendererWrapper>& info) {
  RendererWrapper* wrapper = info.GetParameter();
  wrapper->self.Reset();
  if (wrapper->renderer) {
    if (wrapper->origin_.IsLoaded()) ClearCallbacks(wrapper->renderer);
    wrapper->WakePorts();
    if (wrapper->classCache.empty()) wrapper->ReleaseHandle();
  }
  if (wrapper->pluginCache.empty() && wrapper->classCache.empty()) {
    delete wrapper;
  } else {
    wrapper->second_pass_comes_ = true;
    info.SetSecondPassCallback(OnCollectedLater);
  }
}

void RendererWrapper::OnCollectedLater(const v8::WeakCallbackInfo<RendererWrapper>& info) {
  RendererWrapper* wrapper = info.GetParameter();
  if (wrapper->renderer) wrapper->ReleaseHandle();
  delete wrapper;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
