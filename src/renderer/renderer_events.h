// The bridge from the SDK's callbacks to the events of a KilnRenderer.
#pragma once

#include "binding/event_port.h"
#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

class RendererWrapper;

// What stands in the events port while a callback waits. A field that a kind does not use keeps what an
// earlier event left there.
struct RendererEvent {
  uint32_t eventKind = 0;
  int32_t a = 0, b = 0, c = 0, d = 0;
  const char* text = nullptr;  // the SDK's, valid while its thread waits
  KilnImageHandle image = nullptr;
  double time = 0;
  int32_t extra = 0;
};

struct ContextMenuEvent {
  int32_t menuKind = 0;  // always 0
  int32_t second = 0, third = 0, first = 0;
};

struct LightMixEvent {
  const KilnLightMixEvent* record = nullptr;  // the SDK's, valid while its thread waits
};

struct UploadEvent {
  const KilnUploadEvent* record = nullptr;  // the SDK's, valid while its thread waits
  int32_t result = 0;
};

// The ports' handlers, on the JavaScript thread.
void OnRendererEvent(uv_async_t* async);
void OnContextMenuEvent(uv_async_t* async);
void OnLightMixEvent(uv_async_t* async);
void OnUploadEvent(uv_async_t* async);

// The callbacks that are on from construction to teardown, whatever listeners exist.
void RegisterFixedCallbacks(RendererWrapper& wrapper);
// Turns off every callback but "render interactive start", which stays as it is in all teardown.
void ClearCallbacks(KilnRendererHandle renderer);
// Registers the log callback with the wrapper's level.
void RegisterLogCallback(RendererWrapper& wrapper);

// [Symbol.for("kiln.KilnRenderer.@callbackSettersInternalHelper")](kind, enable): turns one SDK callback on
// or off.
void SwitchCallback(const Arguments& info);

// The text of a state number; null for a number that is none.
const char* StateText(int32_t state);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
