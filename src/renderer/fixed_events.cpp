// The callbacks that are always on, and the clearing of all of them.
#include "module/sdk_library.h"
#include "renderer/event_frame.h"
#include "renderer/renderer_events.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

int32_t OnContextMenu(void* memory) {
  const auto* record = static_cast<const KilnContextMenuEvent*>(memory);
  if (!record) return 0;
  auto* port = static_cast<PortOf<ContextMenuEvent>*>(record->head.user_data);
  const PortVisit visit(port);
  if (!visit.open()) return 0;
  port->event = {0, record->second, record->third, record->first};
  DeliverAndWait(port);
  return 0;
}

// Answers what emit answered, also when the loop could not be woken.
int32_t OnUpload(void* memory) {
  const auto* record = static_cast<const KilnUploadEvent*>(memory);
  if (!record) return 0;
  auto* port = static_cast<PortOf<UploadEvent>*>(record->head.user_data);
  const PortVisit visit(port);
  if (!visit.open()) return 0;
  port->event.record = record;
  DeliverAndWait(port);
  return port->event.result;
}

void EmitContextMenu(const EventScope& scope, const ContextMenuEvent& event) {
  if (event.menuKind != 0) return;
  v8::Local<v8::String> name;
  if (!NewName(scope.isolate, "kvwContextMenuSelected").ToLocal(&name)) return;
  v8::Local<v8::Value> values[] = {name, v8::Number::New(scope.isolate, event.first),
                                   v8::Number::New(scope.isolate, event.second),
                                   v8::Number::New(scope.isolate, event.third)};
  (void)scope.Emit(4, values).IsEmpty();
}

// The record's texts, which stand one behind the other, as an array.
bool ReadTexts(const EventScope& scope, const KilnUploadEvent& record, v8::Local<v8::Array> texts) {
  const char* text = record.strings;
  for (int32_t i = 0; i < record.count; i++) {
    v8::Local<v8::String> value;
    if (!NewText(scope.isolate, text).ToLocal(&value)) return false;
    if (!texts->Set(scope.context, i, value).FromMaybe(false)) return false;
    text += std::string_view(text).size() + 1;
  }
  return true;
}

void EmitUpload(const EventScope& scope, UploadEvent& event) {
  v8::Local<v8::String> name;
  v8::Local<v8::Array> texts = v8::Array::New(scope.isolate);
  if (!NewName(scope.isolate, "uploadToCollaboration").ToLocal(&name)) return;
  if (!ReadTexts(scope, *event.record, texts)) return;
  v8::Local<v8::Value> values[] = {name, texts, v8::Number::New(scope.isolate, event.record->head.time)};
  v8::Local<v8::Value> answer;
  if (scope.Emit(3, values).ToLocal(&answer)) event.result = answer->BooleanValue(scope.isolate) ? 1 : 0;
}

}  // namespace

void OnContextMenuEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<ContextMenuEvent>*>(EventPort::From(async));
  HandleEvent(
      port, [port](const EventScope& scope) { EmitContextMenu(scope, port->event); }, [] {});
}

void OnUploadEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<UploadEvent>*>(EventPort::From(async));
  HandleEvent(
      port, [port](const EventScope& scope) { EmitUpload(scope, port->event); }, [] {});
}

void RegisterFixedCallbacks(RendererWrapper& wrapper) {
  const CallbackDescriptor context_menu{OnContextMenu, wrapper.contextMenuPort, {0, 0}};
  const CallbackDescriptor upload{OnUpload, wrapper.uploadPort, {0, 0}};
  sdk.Kiln_KilnRenderer_setKvwContextMenuSelectedCallback(wrapper.renderer, &context_menu);
  sdk.Kiln_KilnRenderer_setUploadToCollaborationCallback(wrapper.renderer, &upload);
}

void ClearCallbacks(KilnRendererHandle renderer) {
  sdk.Kiln_KilnRenderer_setStateChangedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setImageUpdatedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setBucketInitCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setBucketReadyCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setBucketFailedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setDumpMessageCallback(renderer, nullptr, 0);
  sdk.Kiln_KilnRenderer_setProgressCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setRenderViewChangedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setRenderLastCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setKVWClosedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setPostEffectsUpdatedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setShowMessagesWindowCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setDRHostConnectedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setDRHostDisconnectedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setKvwContextMenuSelectedCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setUploadToCollaborationCallback(renderer, nullptr);
  sdk.Kiln_KilnRenderer_setLightMixTransferToSceneCallback(renderer, nullptr);
}

const char* StateText(int32_t state) {
  static constexpr const char* kTexts[] = {
      "fatalError", "idleInitialized", "idleStopped", "idleError",       "idleFrameDone",
      "idleDone",   "preparing",       "rendering",   "renderingPaused", "renderingAwaitingChanges"};
  const int64_t index = int64_t{state} + 1;
  return index >= 0 && index < static_cast<int64_t>(std::size(kTexts)) ? kTexts[index] : nullptr;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
