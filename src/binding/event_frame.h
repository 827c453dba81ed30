// What every handler of a port does around its event.
#pragma once

#include "binding/error.h"
#include "binding/event_port.h"
#include "binding/text.h"

namespace KilnNodeWrapper {

// Owner: the record behind the object that emits, with its handle in `self`.
template <class Owner>
struct EventScopeOf {
  v8::Isolate* isolate;
  v8::Local<v8::Context> context;
  v8::Local<v8::Object> self;
  Owner& wrapper;
  const v8::TryCatch& try_catch;

  // emit(name, ...) on the object; empty when it threw. The host answers undefined for a call that threw from
  // the loop itself, so the exception is what tells.
  v8::MaybeLocal<v8::Value> Emit(int count, v8::Local<v8::Value>* arguments) const {
    v8::Local<v8::String> emit;
    if (!NewName(isolate, "emit").ToLocal(&emit)) return {};
    v8::MaybeLocal<v8::Value> answer =
        node::MakeCallback(isolate, self, emit, count, arguments, node::async_context{0, 0});
    return try_catch.HasCaught() ? v8::MaybeLocal<v8::Value>() : answer;
  }
};

// What an SDK thread does with an event: `kStore` copies what the listeners need out of the record, and the
// thread stands still until they have run.
template <class Event, class Record, uint32_t kKind, void (*kStore)(const Record&, Event&)>
int32_t OnSdkEvent(void* memory) {
  const auto* record = static_cast<const Record*>(memory);
  if (!record) return 0;
  auto* port = static_cast<PortOf<Event>*>(record->head.user_data);
  const PortVisit visit(port);
  if (!visit.open()) return 0;
  port->event.eventKind = kKind;
  port->event.time = record->head.time;
  kStore(*record, port->event);
  DeliverAndWait(port);
  return 0;
}

// Runs body(scope) unless the port is closing, then clean_up() in any case, hands what a listener threw to
// the host, and then lets the SDK thread go on: in this order, so that the exception has been dealt with when
// the SDK continues.
template <class Owner, class Body, class CleanUp>
void HandleEventOf(EventPort* port, Body&& body, CleanUp&& clean_up) {
  TakeDelivery(port);
  v8::Isolate* isolate = port->isolate;
  v8::HandleScope scope(isolate);
  v8::TryCatch try_catch(isolate);
  if (!port->closing) {
    auto& wrapper = *static_cast<Owner*>(port->async.data);
    v8::Local<v8::Object> self = wrapper.self.Get(isolate);
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    body(EventScopeOf<Owner>{isolate, context, self, wrapper, try_catch});
  }
  clean_up();
  ReportCaught(isolate, try_catch);
  PostDone(port);
}

}  // namespace KilnNodeWrapper
