// The hand-over of one SDK callback at a time from an SDK thread to the JavaScript thread: the SDK thread
// writes the event, wakes the loop and stands still until the listeners have run.
//
// There is no mutex: the SDK calls back one at a time per port, the count of deliveries orders what it writes
// before what the handler reads, and the semaphore what the handler did before what comes next. uv_async_send
// only wakes: several handles share one wake, so it need not be the port's own that runs its handler.
#pragma once

#include <uv.h>
#include <v8.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "binding/environment.h"

namespace KilnNodeWrapper {

// Where a thread inside the SDK stands still until the JavaScript thread has done what it asks for.
struct ParkingPlace {
  uv_sem_t done;
  std::atomic<bool> closing{false};  // nobody is served any more
  ParkingPlace* previous = nullptr;
  ParkingPlace* next = nullptr;
};

// JavaScript thread; no thread may stand there when it closes.
void OpenParkingPlace(ParkingPlace* place);
void CloseParkingPlace(ParkingPlace* place);

struct AsyncHandle {
  uv_async_t async;  // its data is the owner
};

struct EventPort : AsyncHandle, ParkingPlace {
  std::atomic<int> inside{0};           // SDK threads in a callback of the port
  std::atomic<uint32_t> deliveries{0};  // counted up by the SDK thread when the event is written
  v8::Isolate* isolate = nullptr;
  Environment* environment = nullptr;

  static EventPort* From(uv_async_t* async) {
    return static_cast<EventPort*>(reinterpret_cast<AsyncHandle*>(async));
  }
};

// JavaScript thread. The port's handle keeps the loop alive while it is open.
void OpenPort(EventPort* port, Environment& environment, void* owner, uv_async_cb handler);
// The stay of an SDK thread in a port's callback: the port is not freed meanwhile. It is open when the event
// may be delivered.
class PortVisit {
 public:
  explicit PortVisit(EventPort* port) : port_(port) {
    if (port_) port_->inside++;
  }
  PortVisit(const PortVisit&) = delete;
  PortVisit& operator=(const PortVisit&) = delete;
  ~PortVisit() {
    if (port_) port_->inside--;
  }
  bool open() const { return port_ && !port_->closing; }

 private:
  EventPort* port_;
};

// SDK thread: wakes the loop and waits until the handler, or a closing of the port, has posted. Returns at
// once when the loop can't be woken.
void DeliverAndWait(EventPort* port);
// JavaScript thread, at the start of the handler: what the SDK thread wrote is seen from here on.
void TakeDelivery(EventPort* port);
// JavaScript thread, at the end of the handler.
void PostDone(ParkingPlace* place);
// Sets `closing` and lets a waiting thread go; later callbacks return at once. Any thread.
void WakePort(ParkingPlace* place);
// JavaScript thread. The port is freed on a later turn of the loop, so that a handler which is running may go
// on.
void ClosePort(EventPort* port);

// A thread of ours that is inside the SDK. An unload and the exit of the process wait some seconds for it,
// since the library must not end under it; it counts from before the thread begins to the last thing that the
// thread does.
void EnterSdkThread();
void LeaveSdkThread();

// Wakes every thread that waits for JavaScript, whose port is closed for good then, and waits for those of
// ours inside the SDK. To be called before the library goes: its threads must not come back to where it was.
void LetSdkThreadsGo();
// Has that done when the process exits: clean-up hooks do not run on process.exit or after an uncaught
// exception, and the SDK's own shutdown may wait for its threads. To be called after each load of the
// library, so that it runs before the library's own exit handlers.
void WakePortsAtExit();

// A port with room for an event behind its head.
template <class Event>
struct PortOf : EventPort {
  Event event{};
};

template <class Event>
PortOf<Event>* NewPort(Environment& environment, void* owner, uv_async_cb handler) {
  auto* port = new (std::malloc(sizeof(PortOf<Event>))) PortOf<Event>();
  OpenPort(port, environment, owner, handler);
  return port;
}

}  // namespace KilnNodeWrapper
