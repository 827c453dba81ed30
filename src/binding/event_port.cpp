#include "binding/event_port.h"

#include <mutex>
#include <thread>

namespace KilnNodeWrapper {
namespace {

// The open ports of the process, for its exit. The mutex has no destructor to run before the exit handler
// does.
constinit std::mutex ports_mutex;
constinit EventPort* ports = nullptr;

void Enlist(EventPort* port) {
  std::lock_guard lock(ports_mutex);
  port->next = ports;
  if (ports) ports->previous = port;
  ports = port;
}

void Strike(EventPort* port) {
  std::lock_guard lock(ports_mutex);
  if (port->previous) {
    port->previous->next = port->next;
  } else {
    ports = port->next;
  }
  if (port->next) port->next->previous = port->previous;
}

void WakeAllPorts() {
  std::lock_guard lock(ports_mutex);
  for (EventPort* port = ports; port; port = port->next) WakePort(port);
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

void OpenPort(EventPort* port, Environment& environment, void* owner, uv_async_cb handler) {
  port->isolate = environment.isolate();
  port->environment = &environment;
  uv_sem_init(&port->done, 0);
  uv_async_init(environment.loop(), &port->async, handler);
  port->async.data = owner;
  environment.Hold();
  Enlist(port);
}

void DeliverAndWait(EventPort* port) {
  if (uv_async_send(&port->async) != 0) return;
  uv_sem_wait(&port->done);
}

void PostDone(EventPort* port) {
  uv_sem_post(&port->done);
}

void WakePort(EventPort* port) {
  port->closing.store(true);
  uv_sem_post(&port->done);
}

void ClosePort(EventPort* port) {
  Strike(port);
  uv_close(reinterpret_cast<uv_handle_t*>(&port->async), Free);
}

void WakePortsAtExit() {
  std::atexit(WakeAllPorts);
}

}  // namespace KilnNodeWrapper
