// The callbacks that are always on, and the clearing of all of them.
#include <algorithm>
#include <vector>

#include "module/sdk_library.h"
#include "renderer/event_frame.h"
#include "renderer/renderer_events.h"
#include "scene/plugin_wrappers.h"
#include "values/value_objects.h"

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

int32_t OnLightMix(void* memory) {
  const auto* record = static_cast<const KilnLightMixEvent*>(memory);
  if (!record) return 0;
  auto* port = static_cast<PortOf<LightMixEvent>*>(record->head.user_data);
  const PortVisit visit(port);
  if (!visit.open()) return 0;
  port->event.record = record;
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

// What a listener gets for an item, and may set isApplied on.
bool DescribeItem(const EventScope& scope, const KilnLightMixItem& item, v8::Local<v8::Object> object) {
  v8::Isolate* isolate = scope.isolate;
  Environment& environment = scope.wrapper.environment();
  v8::Local<v8::String> is_applied;
  v8::Local<v8::Object> color;
  if (!NewName(isolate, "isApplied").ToLocal(&is_applied)) return false;
  defineValue(isolate, object, "plugin", wrapPluginById(environment, scope.self, item.plugin, 0),
              v8::ReadOnly);
  const KilnValuesNodeWrapper::Color color_mult{item.color_mult[0], item.color_mult[1], item.color_mult[2]};
  if (KilnValuesNodeWrapper::NewValue(environment, color_mult).ToLocal(&color)) {
    defineValue(isolate, object, "colorMult", color, v8::ReadOnly);
  }
  defineValue(isolate, object, "intensityMult", v8::Number::New(isolate, item.intensity_mult), v8::ReadOnly);
  defineValue(isolate, object, "enabled", v8::Boolean::New(isolate, item.enabled != 0), v8::ReadOnly);
  return object->Set(scope.context, is_applied, v8::Boolean::New(isolate, false)).FromMaybe(false);
}

// What the listeners left in an item; one that can't be read is as the SDK has it.
uint32_t AppliedOf(const EventScope& scope, v8::Local<v8::Array> objects, uint32_t index, uint32_t before) {
  v8::Local<v8::String> is_applied;
  v8::Local<v8::Value> object;
  v8::Local<v8::Value> answer;
  if (!NewName(scope.isolate, "isApplied").ToLocal(&is_applied) ||
      !objects->Get(scope.context, index).ToLocal(&object) || !object->IsObject() ||
      !object.As<v8::Object>()->Get(scope.context, is_applied).ToLocal(&answer)) {
    return before;
  }
  return answer->BooleanValue(scope.isolate) ? 1 : 0;
}

// The one event whose listeners answer through its arguments. A listener that closes the renderer lets the
// SDK's thread go, and the record with it: behind any JavaScript it is touched only while the port is open.
void EmitLightMix(const EventScope& scope, const EventPort& port, const KilnLightMixEvent& record) {
  v8::Local<v8::String> name;
  v8::Local<v8::Array> objects = v8::Array::New(scope.isolate);
  const int32_t count = record.items ? std::max(record.count, 0) : 0;
  const std::vector<KilnLightMixItem> items(record.items, record.items + count);
  v8::Local<v8::Value> time = v8::Number::New(scope.isolate, record.head.time);
  if (!NewName(scope.isolate, "lightMixTransferToScene").ToLocal(&name)) return;
  for (uint32_t i = 0; i < items.size(); i++) {
    v8::Local<v8::Object> object = v8::Object::New(scope.isolate);
    if (!DescribeItem(scope, items[i], object) || !objects->Set(scope.context, i, object).FromMaybe(false)) {
      return;
    }
  }
  v8::Local<v8::Value> values[] = {name, objects, time};
  if (scope.Emit(3, values).IsEmpty()) return;
  for (uint32_t i = 0; i < items.size() && !port.closing; i++) {
    const uint32_t applied = AppliedOf(scope, objects, i, items[i].is_applied);
    if (!port.closing) record.items[i].is_applied = applied;
  }
}

// The record's texts, which stand one behind the other, as an array.
bool ReadTexts(const EventScope& scope, const KilnUploadEvent& record, v8::Local<v8::Array> texts) {
  const char* text = record.strings;
  for (int32_t i = 0; text && i < record.count; i++) {
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

void OnLightMixEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<LightMixEvent>*>(EventPort::From(async));
  HandleEvent(
      port, [port](const EventScope& scope) { EmitLightMix(scope, *port, *port->event.record); }, [] {});
}

void OnUploadEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<UploadEvent>*>(EventPort::From(async));
  HandleEvent(
      port, [port](const EventScope& scope) { EmitUpload(scope, port->event); }, [] {});
}

void RegisterFixedCallbacks(RendererWrapper& wrapper) {
  const CallbackDescriptor context_menu{OnContextMenu, wrapper.contextMenuPort, {0, 0}};
  const CallbackDescriptor light_mix{OnLightMix, wrapper.lightMixPort, {0, 0}};
  const CallbackDescriptor upload{OnUpload, wrapper.uploadPort, {0, 0}};
  sdk.Kiln_KilnRenderer_setKvwContextMenuSelectedCallback(wrapper.renderer, &context_menu);
  sdk.Kiln_KilnRenderer_setLightMixTransferToSceneCallback(wrapper.renderer, &light_mix);
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
