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
  uploadPort = NewPort<UploadEvent>(environment_, this, OnUploadEvent);
}

void RendererWrapper::WakePorts() {
  WakePort(eventsPort);
  WakePort(contextMenuPort);
  WakePort(uploadPort);
}

void RendererWrapper::ClosePorts() {
  ClosePort(eventsPort);
  ClosePort(contextMenuPort);
  ClosePort(uploadPort);
  eventsPort = nullptr;
  contextMenuPort = nullptr;
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
  ClearCallbacks(renderer);
  WakePorts();
  KilnRendererHandle handle = renderer;
  renderer = nullptr;
  sdk.Kiln_KilnRenderer_release(handle);
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
  if (!renderer) return;
  if (releasing_ == 0) ClearCallbacks(renderer);
  WakePorts();
  // A job may be waiting for the render's end.
  if (releasing_ == 0) sdk.Kiln_KilnRenderer_stop(renderer);
}

void RendererWrapper::Release() {
  Close();
  self.Reset();
  delete this;
}

void RendererWrapper::OnCollected(const v8::WeakCallbackInfo<RendererWrapper>& info) {
  RendererWrapper* wrapper = info.GetParameter();
  wrapper->self.Reset();
  wrapper->Close();
  delete wrapper;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
