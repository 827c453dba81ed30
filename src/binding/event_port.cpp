#include "binding/event_port.h"

#include <chrono>
#include <mutex>
#include <thread>

namespace KilnNodeWrapper {
namespace {

// The places of the process, for its exit. The mutex has no destructor to run before the exit handler does.
constinit std::mutex places_mutex;
constinit ParkingPlace* places = nullptr;
constinit std::atomic<int> sdk_threads{0};

// An SDK that does not come to an end must not keep the process, or an unload, from ending.
constexpr auto kLongestEnd = std::chrono::seconds(5);

void Enlist(ParkingPlace* place) {
  std::lock_guard lock(places_mutex);
  place->next = places;
  if (places) places->previous = place;
  places = place;
}

void Strike(ParkingPlace* place) {
  std::lock_guard lock(places_mutex);
  if (place->previous) {
    place->previous->next = place->next;
  } else {
    places = place->next;
  }
  if (place->next) place->next->previous = place->previous;
}

void Free(uv_handle_t* handle) {
  EventPort* port = EventPort::From(reinterpret_cast<uv_async_t*>(handle));
  Environment* environment = port->environment;
  // A handle that two renderers share is released by one without the SDK's waiting for its threads: one that
  // has just been woken may still read the port.
  while (port->inside > 0) std::this_thread::yield();
  uv_sem_destroy(&port->done);
  std::free(port);
  environment->Drop();
}

}  // namespace

void OpenParkingPlace(ParkingPlace* place) {
  uv_sem_init(&place->done, 0);
  Enlist(place);
}

void CloseParkingPlace(ParkingPlace* place) {
  Strike(place);
  uv_sem_destroy(&place->done);
}

void OpenPort(EventPort* port, Environment& environment, void* owner, uv_async_cb handler) {
  port->isolate = environment.isolate();
  port->environment = &environment;
  OpenParkingPlace(port);
  uv_async_init(environment.loop(), &port->async, handler);
  port->async.data = owner;
  environment.Hold();
}

void DeliverAndWait(EventPort* port) {
  port->deliveries.fetch_add(1, std::memory_order_release);
  if (uv_async_send(&port->async) != 0) return;
  uv_sem_wait(&port->done);
}

void TakeDelivery(EventPort* port) {
  (void)port->deliveries.load(std::memory_order_acquire);
}

void PostDone(ParkingPlace* place) {
  uv_sem_post(&place->done);
}

void WakePort(ParkingPlace* place) {
  place->closing.store(true);
  uv_sem_post(&place->done);
}

void ClosePort(EventPort* port) {
  Strike(port);
  uv_close(reinterpret_cast<uv_handle_t*>(&port->async), Free);
}

void EnterSdkThread() {
  sdk_threads++;
}

void LeaveSdkThread() {
  sdk_threads--;
}

void LetSdkThreadsGo() {
  {
    std::lock_guard lock(places_mutex);
    for (ParkingPlace* place = places; place; place = place->next) WakePort(place);
  }
  const auto end = std::chrono::steady_clock::now() + kLongestEnd;
  while (sdk_threads > 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void WakePortsAtExit() {
  std::atexit(LetSdkThreadsGo);
}

}  // namespace KilnNodeWrapper
