// Fills the record of an event and calls the host.
#include "engine/api/event.h"

#include <type_traits>

namespace kiln::engine::api {
namespace {

template <class Record>
void Call(const CallbackDescriptor& callback, const Event& event, Record record = {}) {
  record.head.user_data = callback.user_data;
  record.head.time = event.time;
  callback.function(&record);
}

KilnImageUpdatedEvent ImageRecord(const Event& event) {
  KilnImageUpdatedEvent record{};
  record.first = event.numbers[0];
  record.second = event.numbers[1];
  record.image = event.image.get();
  record.number = event.change_index;
  record.extra = event.extra;
  return record;
}

// Buckets of this process have no host.
template <class Record>
Record BucketRecord(const Event& event) {
  Record record{};
  record.x = event.numbers[0];
  record.y = event.numbers[1];
  record.width = event.numbers[2];
  record.height = event.numbers[3];
  record.extra = event.extra;
  if constexpr (std::is_same_v<Record, KilnBucketReadyEvent>) record.image = event.image.get();
  return record;
}

void CallWithRecord(const Event& event, const CallbackDescriptor& callback) {
  const char* text = event.text.c_str();
  const auto [a, b, c, d] = event.numbers;
  switch (event.kind) {
    case EventKind::kStateChanged:
      return Call<KilnStateChangedEvent>(callback, event, {.head = {}, .first = a, .second = b});
    case EventKind::kImageUpdated:
      return Call(callback, event, ImageRecord(event));
    case EventKind::kBucketReady:
      return Call(callback, event, BucketRecord<KilnBucketReadyEvent>(event));
    case EventKind::kBucketInit:
    case EventKind::kBucketFailed:
      return Call(callback, event, BucketRecord<KilnBucketEvent>(event));
    case EventKind::kMessage:
      return Call<KilnMessageEvent>(callback, event, {.head = {}, .message = text, .level = a});
    case EventKind::kProgress:
      return Call<KilnProgressEvent>(callback, event, {.head = {}, .message = text, .first = a, .second = b});
    case EventKind::kRendererClosed:
    case EventKind::kServerStarted:
      return Call<KilnPlainEvent>(callback, event);
    default:
      // The other kinds belong to the window and to distributed rendering.
      return;
  }
}

}  // namespace

void Deliver(Event event, const CallbackDescriptor& callback, bool keep) {
  CallWithRecord(event, callback);
  if (keep) static_cast<void>(event.image.release());
}

}  // namespace kiln::engine::api
