// The events port: the kinds, what each copies from the SDK's record, and what each tells the listeners.
#include "renderer/renderer_events.h"

#include <cstring>

#include "binding/async_job.h"
#include "binding/sdk_memory.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"
#include "renderer/event_frame.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

using Values = v8::Local<v8::Value>*;
using SetCallback = void (*SdkTable::*)(KilnRendererHandle, const CallbackDescriptor*);

enum Kind : uint32_t {
  kStateChanged,
  kImageUpdated,
  kBucketInit,
  kBucketReady,
  kLogMessage,
  kUnusedKind,
  kBucketFailed,
  kProgress,
  kRenderViewChanged,
  kRenderLast,
  kRenderInteractive,
  kClosed,
  kPostEffectsUpdated,
  kShowMessagesWindow,
  kHostConnected,
  kHostDisconnected,
  kKindCount,
};

// --- What an SDK thread copies into the port.

void Store(const KilnStateChangedEvent& record, RendererEvent& event) {
  event.a = record.first;
  event.b = record.second;
}
void Store(const KilnImageUpdatedEvent& record, RendererEvent& event) {
  event.a = static_cast<int32_t>(record.number);
  event.b = static_cast<int32_t>(record.number >> 32);
  event.c = record.first;
  event.d = record.second;
  event.image = record.image;
  event.extra = record.extra;
}
template <class Bucket>
void StoreBucket(const Bucket& record, RendererEvent& event) {
  event.a = record.x;
  event.b = record.y;
  event.c = record.width;
  event.d = record.height;
  event.text = record.host;
  event.extra = record.extra;
}
void Store(const KilnBucketEvent& record, RendererEvent& event) {
  StoreBucket(record, event);
}
void Store(const KilnBucketReadyEvent& record, RendererEvent& event) {
  StoreBucket(record, event);
  event.image = record.image;
}
void Store(const KilnMessageEvent& record, RendererEvent& event) {
  event.text = record.message;
  event.a = record.level;
}
void Store(const KilnProgressEvent& record, RendererEvent& event) {
  event.text = record.message;
  event.a = record.first;
  event.b = record.second;
}
void Store(const KilnTextEvent& record, RendererEvent& event) {
  event.text = record.text;
}
void Store(const KilnFlagEvent& record, RendererEvent& event) {
  event.a = record.flags;
}
void Store(const KilnPlainEvent&, RendererEvent&) {}

template <class Record, Kind kKind>
constexpr KilnCallback OnCallback = OnSdkEvent<RendererEvent, Record, kKind, Store>;

// --- What the listeners get behind the name of the event. False drops the event.

bool TextValue(const EventScope& scope, const char* text, v8::Local<v8::Value>* value) {
  v8::Local<v8::String> string;
  if (!NewText(scope.isolate, text ? text : "").ToLocal(&string)) return false;
  *value = string;
  return true;
}

v8::Local<v8::Value> IntValue(const EventScope& scope, int32_t value) {
  return v8::Integer::New(scope.isolate, value);
}

// A text of the state, or undefined for a number that is none.
bool StateValue(const EventScope& scope, int32_t state, v8::Local<v8::Value>* value) {
  *value = v8::Undefined(scope.isolate);
  const char* text = StateText(state);
  return !text || TextValue(scope, text, value);
}

bool RegionValue(const EventScope& scope, const RendererEvent& event, v8::Local<v8::Value>* value) {
  v8::Local<v8::Object> region = v8::Object::New(scope.isolate);
  v8::Local<v8::Value> host;
  if (!TextValue(scope, event.text, &host)) return false;
  const struct {
    const char* key;
    v8::Local<v8::Value> value;
  } rows[] = {{"width", IntValue(scope, event.c)},
              {"height", IntValue(scope, event.d)},
              {"x", IntValue(scope, event.a)},
              {"y", IntValue(scope, event.b)},
              {"host", host}};
  for (const auto& row : rows) {
    v8::Local<v8::String> key;
    if (!NewName(scope.isolate, row.key).ToLocal(&key)) return false;
    if (!region->Set(scope.context, key, row.value).FromMaybe(false)) return false;
  }
  *value = region;
  return true;
}

// The port's image as a KilnImage, which owns it from here on.
bool ImageValue(const EventScope& scope, RendererEvent& event, bool with_place, v8::Local<v8::Value>* value) {
  KilnImageHandle image = event.image;
  event.image = nullptr;
  v8::Local<v8::Object> object;
  const bool made = (with_place ? wrapImageHandle(scope.wrapper.environment(), image, event.a, event.b,
                                                  event.text ? event.text : "")
                                : wrapImageHandle(scope.wrapper.environment(), image, -1, -1, nullptr))
                        .ToLocal(&object);
  if (made) *value = object;
  return made;
}

int NoArguments(const EventScope&, RendererEvent&, Values) {
  return 0;
}

int StateArguments(const EventScope& scope, RendererEvent& event, Values values) {
  return StateValue(scope, event.a, &values[0]) && StateValue(scope, event.b, &values[1]) ? 2 : kNoCall;
}

int ImageUpdatedArguments(const EventScope& scope, RendererEvent& event, Values values) {
  const uint64_t number =
      static_cast<uint32_t>(event.a) | static_cast<uint64_t>(static_cast<uint32_t>(event.b)) << 32;
  values[0] = v8::Null(scope.isolate);
  if (event.image && !ImageValue(scope, event, false, &values[0])) return kNoCall;
  values[1] = v8::Number::New(scope.isolate, NumberOf(number));
  values[2] = IntValue(scope, event.extra);
  return 3;
}

int RegionArguments(const EventScope& scope, RendererEvent& event, Values values) {
  values[1] = IntValue(scope, event.extra);
  return RegionValue(scope, event, &values[0]) ? 2 : kNoCall;
}

int BucketReadyArguments(const EventScope& scope, RendererEvent& event, Values values) {
  if (!event.image) return RegionArguments(scope, event, values);
  values[1] = IntValue(scope, event.extra);
  return ImageValue(scope, event, true, &values[0]) ? 2 : kNoCall;
}

int MessageArguments(const EventScope& scope, RendererEvent& event, Values values) {
  values[1] = IntValue(scope, event.a);
  return TextValue(scope, event.text, &values[0]) ? 2 : kNoCall;
}

int ProgressArguments(const EventScope& scope, RendererEvent& event, Values values) {
  values[1] = IntValue(scope, event.a);
  values[2] = IntValue(scope, event.b);
  return TextValue(scope, event.text, &values[0]) ? 3 : kNoCall;
}

int TextArguments(const EventScope& scope, RendererEvent& event, Values values) {
  return TextValue(scope, event.text, &values[0]) ? 1 : kNoCall;
}

int FlagArguments(const EventScope& scope, RendererEvent& event, Values values) {
  values[0] = v8::Boolean::New(scope.isolate, (event.a & 1) != 0);
  return 1;
}

struct Row {
  const char* name;  // null: the number is not in use
  int (*arguments)(const EventScope&, RendererEvent&, Values);
  KilnCallback callback;
  SetCallback setter;  // null where the setter takes more than a callback
};

constexpr Row kRows[kKindCount] = {
    {"stateChanged", StateArguments, OnCallback<KilnStateChangedEvent, kStateChanged>,
     &SdkTable::Kiln_KilnRenderer_setStateChangedCallback},
    {"progressiveImageUpdated", ImageUpdatedArguments, OnCallback<KilnImageUpdatedEvent, kImageUpdated>,
     &SdkTable::Kiln_KilnRenderer_setImageUpdatedCallback},
    {"bucketInit", RegionArguments, OnCallback<KilnBucketEvent, kBucketInit>,
     &SdkTable::Kiln_KilnRenderer_setBucketInitCallback},
    {"bucketReady", BucketReadyArguments, OnCallback<KilnBucketReadyEvent, kBucketReady>,
     &SdkTable::Kiln_KilnRenderer_setBucketReadyCallback},
    {"logMessage", MessageArguments, OnCallback<KilnMessageEvent, kLogMessage>, nullptr},
    {nullptr, nullptr, nullptr, nullptr},
    {"bucketFailed", RegionArguments, OnCallback<KilnBucketEvent, kBucketFailed>,
     &SdkTable::Kiln_KilnRenderer_setBucketFailedCallback},
    {"progress", ProgressArguments, OnCallback<KilnProgressEvent, kProgress>,
     &SdkTable::Kiln_KilnRenderer_setProgressCallback},
    {"renderViewChanged", TextArguments, OnCallback<KilnTextEvent, kRenderViewChanged>,
     &SdkTable::Kiln_KilnRenderer_setRenderViewChangedCallback},
    {"kvwRenderLast", FlagArguments, OnCallback<KilnFlagEvent, kRenderLast>,
     &SdkTable::Kiln_KilnRenderer_setRenderLastCallback},
    {"kvwRenderInteractive", FlagArguments, OnCallback<KilnFlagEvent, kRenderInteractive>,
     &SdkTable::Kiln_KilnRenderer_setRenderInteractiveStartCallback},
    {"kvwClosed", NoArguments, OnCallback<KilnPlainEvent, kClosed>,
     &SdkTable::Kiln_KilnRenderer_setKVWClosedCallback},
    {"postEffectsUpdated", NoArguments, OnCallback<KilnPlainEvent, kPostEffectsUpdated>,
     &SdkTable::Kiln_KilnRenderer_setPostEffectsUpdatedCallback},
    {"kvwShowMessagesWindow", NoArguments, OnCallback<KilnPlainEvent, kShowMessagesWindow>,
     &SdkTable::Kiln_KilnRenderer_setShowMessagesWindowCallback},
    {"hostConnected", TextArguments, OnCallback<KilnTextEvent, kHostConnected>,
     &SdkTable::Kiln_KilnRenderer_setDRHostConnectedCallback},
    {"hostDisconnected", TextArguments, OnCallback<KilnTextEvent, kHostDisconnected>,
     &SdkTable::Kiln_KilnRenderer_setDRHostDisconnectedCallback},
};

// Whether anybody listens for the window's button.
bool HasRenderLastListener(const EventScope& scope, v8::Local<v8::Value> name) {
  v8::Local<v8::String> key;
  v8::Local<v8::Value> method;
  v8::Local<v8::Value> count;
  if (!NewName(scope.isolate, "listenerCount").ToLocal(&key)) return false;
  if (!scope.self->Get(scope.context, key).ToLocal(&method) || !method->IsFunction()) return false;
  return method.As<v8::Function>()->Call(scope.context, scope.self, 1, &name).ToLocal(&count) &&
         count->IsInt32() && count.As<v8::Int32>()->Value() >= 1;
}

void Emit(const EventScope& scope, RendererEvent& event) {
  if (event.eventKind >= kKindCount || !kRows[event.eventKind].name) return;
  const Row& row = kRows[event.eventKind];
  v8::Local<v8::String> name;
  v8::Local<v8::Value> values[5];
  if (!NewName(scope.isolate, row.name).ToLocal(&name)) return;
  values[0] = name;
  // With no listener, a press of the window's button renders.
  if (event.eventKind == kRenderLast && !HasRenderLastListener(scope, name)) {
    if ((event.a & 1) == 0) sdk.Kiln_KilnRenderer_render(scope.wrapper.renderer);
    return;
  }
  const int count = row.arguments(scope, event, &values[1]);
  if (count == kNoCall) return;
  values[count + 1] = v8::Number::New(scope.isolate, event.time);
  (void)scope.Emit(count + 2, values).IsEmpty();
}

// An image that no KilnImage took over: the port is closing, or the event could not be made.
void DropImage(RendererEvent& event) {
  if (event.eventKind != kImageUpdated && event.eventKind != kBucketReady) return;
  ReleaseBlock(event.image);
  event.image = nullptr;
}

}  // namespace

void OnRendererEvent(uv_async_t* async) {
  auto* port = static_cast<PortOf<RendererEvent>*>(EventPort::From(async));
  HandleEvent(
      port, [port](const EventScope& scope) { Emit(scope, port->event); },
      [port] { DropImage(port->event); });
}

void RegisterLogCallback(RendererWrapper& wrapper) {
  const CallbackDescriptor descriptor{kRows[kLogMessage].callback, wrapper.eventsPort, {0, 0}};
  sdk.Kiln_KilnRenderer_setDumpMessageCallback(wrapper.renderer, &descriptor, wrapper.minLogLevel);
}

namespace {

// What is no number counts as 0, and reports nothing.
uint32_t ReadKind(const Arguments& info) {
  v8::TryCatch try_catch(info.GetIsolate());
  return static_cast<uint32_t>(info[0]->Int32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(0));
}

}  // namespace

void SwitchCallback(const Arguments& info) {
  RendererWrapper& wrapper = RendererOf(info);
  const uint32_t kind = ReadKind(info);
  if (kind >= kKindCount || kind == kUnusedKind) return;
  const bool enable = info[1]->IsTrue();
  if (kind == kLogMessage) {
    if (enable) return RegisterLogCallback(wrapper);
    return sdk.Kiln_KilnRenderer_setDumpMessageCallback(wrapper.renderer, nullptr, wrapper.minLogLevel);
  }
  const CallbackDescriptor descriptor{kRows[kind].callback, wrapper.eventsPort, {0, 0}};
  // Turning the last kind off has always cleared its neighbour instead, and hosts rely on the pair.
  const uint32_t target = kind == kHostDisconnected && !enable ? static_cast<uint32_t>(kHostConnected) : kind;
  (sdk.*kRows[target].setter)(wrapper.renderer, enable ? &descriptor : nullptr);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
