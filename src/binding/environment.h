// What belongs to one loading of the add-on: the handles of its ModuleContext, its loop, and everything that
// must be settled before the environment may end.
#pragma once

#include <node.h>
#include <uv.h>

#include <memory>
#include <set>
#include <string>

#include "binding/name_cache.h"
#include "binding/v8_compat.h"
#include "module_context.h"

namespace KilnNodeWrapper {

class ReleaseQueue;

// Work on another thread that uses SDK objects, which are not released before it has settled.
class Task {
 public:
  virtual ~Task() = default;
  // The environment ends: takes back what has not begun. It settles later, on a turn of the loop.
  virtual void End() = 0;

 private:
  friend class Environment;
  Task* previous_ = nullptr;
  Task* next_ = nullptr;
};

// The record of an SDK object that must not outlive its environment: a renderer, a server. It adds itself
// when it is made and removes itself when it is deleted. The two functions are called at the environment's
// end.
class Closable {
 public:
  // No event from here on: clears the callbacks, wakes the parked threads, asks the SDK to end its work.
  virtual void Silence() = 0;
  // Releases the SDK object and deletes this. Comes after Silence, when no job is under way any more.
  virtual void Release() = 0;

 protected:
  ~Closable() = default;

 private:
  friend class Environment;
  Closable* previous_ = nullptr;
  Closable* next_ = nullptr;
};

// JavaScript thread only. It frees itself at the end of the environment's asynchronous clean-up hook.
class Environment : public ModuleContext {
 public:
  static Environment* Create(v8::Isolate* isolate);
  // From a handler's callback data.
  static Environment& Of(v8::Local<v8::Value> data) {
    return *static_cast<Environment*>(static_cast<ModuleContext*>(compat::ExternalPointer(data)));
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  v8::Isolate* isolate() const { return isolate_; }
  // The loop of this environment: the default loop on the main thread, the worker's own in a worker.
  uv_loop_t* loop() const { return loop_; }
  v8::Local<v8::External> external() const { return external_.Get(isolate_); }
  // True from the clean-up hook on: no JavaScript may run.
  bool ending() const { return ending_; }

  // A libuv handle or a task is open; each Hold is matched by a Drop.
  void Hold() { held_++; }
  void Drop();

  void Add(Closable* object);
  void Remove(Closable* object);
  void Add(Task* task);
  void Remove(Task* task);

  // One instance of each value class, which new ones are cloned from (value_objects.h); made with the first.
  v8::Global<v8::Object> pristine_values[5];
  // The same for a Plugin and a PluginRef.
  v8::Global<v8::Object> pristine_plugins[2];
  // And for the steps of iterators: {value: undefined, done: false}.
  v8::Global<v8::Object> pristine_step;

  // The keys of plugin properties, and the names of plugin classes, which Class objects point to.
  NameCache property_names;
  std::set<std::string, std::less<>> class_names;

  // What recursion asks for room (stack_guard.h); made with the first question.
  v8::Global<v8::Function> stack_probe;

  // Objects whose memory the SDK holds (kept_object.h); made with the first.
  std::shared_ptr<ReleaseQueue> release_queue;

  // Renderers that want the SDK's windows served, and the timer that serves them (gui_pump.h). Teardown
  // always counts down, whether or not the renderer counted up, so the count can fall below 0.
  int32_t guiPumpUsers = 0;
  uv_timer_t* guiPumpTimer = nullptr;

 private:
  // Belongs to the host's exit list, which may outlive the record.
  struct ExitNet {
    Environment* environment;
  };

  explicit Environment(v8::Isolate* isolate);
  ~Environment() = default;
  static void CleanUp(void* self, void (*done)(void*), void* done_argument);
  static void AtExit(void* net);
  void Silence();
  void ReleaseObjects();

  v8::Isolate* isolate_;
  uv_loop_t* loop_;
  v8::Global<v8::External> external_;
  node::AsyncCleanupHookHandle hook_;
  ExitNet* exit_net_ = nullptr;
  Closable* objects_ = nullptr;
  Task* tasks_ = nullptr;
  size_t held_ = 0;
  bool ending_ = false;
  void (*done_)(void*) = nullptr;
  void* done_argument_ = nullptr;
};

// The environment of a handler that is being called.
template <class Info>
Environment& EnvironmentOf(const Info& info) {
  return Environment::Of(info.Data());
}

}  // namespace KilnNodeWrapper
