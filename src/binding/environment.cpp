#include "binding/environment.h"

#include "binding/kept_object.h"

namespace KilnNodeWrapper {
namespace {

template <class Node>
void Link(Node* node, Node*& head, Node* Node::*previous, Node* Node::*next) {
  node->*previous = nullptr;
  node->*next = head;
  if (head) head->*previous = node;
  head = node;
}

template <class Node>
void Unlink(Node* node, Node*& head, Node* Node::*previous, Node* Node::*next) {
  if (node->*previous) {
    node->*previous->*next = node->*next;
  } else if (head == node) {
    head = node->*next;
  }
  if (node->*next) node->*next->*previous = node->*previous;
  node->*previous = node->*next = nullptr;
}

}  // namespace

Environment::Environment(v8::Isolate* isolate)
    : isolate_(isolate),
      loop_(node::GetCurrentEventLoop(isolate)),
      external_(isolate, compat::NewExternal(isolate, static_cast<ModuleContext*>(this))) {}

Environment* Environment::Create(v8::Isolate* isolate) {
  auto* environment = new Environment(isolate);
  environment->exit_net_ = new ExitNet{environment};
  node::AtExit(node::GetCurrentEnvironment(isolate->GetCurrentContext()), AtExit, environment->exit_net_);
  environment->hook_ = node::AddEnvironmentCleanupHook(isolate, CleanUp, environment);
  return environment;
}

// The order matters. Tasks that have not begun are told first, because some had taken a renderer's end upon
// them; SDK threads are woken, so that jobs which wait for them can end; objects are released when no job
// uses them any more; the record goes last, when libuv has let go of every handle.
void Environment::CleanUp(void* self, void (*done)(void*), void* done_argument) {
  auto* environment = static_cast<Environment*>(self);
  environment->ending_ = true;
  environment->done_ = done;
  environment->done_argument_ = done_argument;
  environment->Hold();
  for (Task* task = environment->tasks_; task; task = task->next_) task->End();
  environment->Silence();
  if (!environment->tasks_) environment->ReleaseObjects();
  environment->Drop();
}

void Environment::Silence() {
  for (Closable* object = objects_; object; object = object->next_) object->Silence();
}

// The host waits for the jobs under way before it ends the process, so they must be able to end.
void Environment::AtExit(void* argument) {
  const std::unique_ptr<ExitNet> net(static_cast<ExitNet*>(argument));
  if (!net->environment) return;
  net->environment->exit_net_ = nullptr;
  if (net->environment->tasks_) net->environment->Silence();
}

void Environment::ReleaseObjects() {
  while (objects_) objects_->Release();
  CloseReleaseQueue(*this);
}

void Environment::Drop() {
  held_--;
  if (!ending_ || held_ > 0) return;
  void (*done)(void*) = done_;
  void* argument = done_argument_;
  if (exit_net_) exit_net_->environment = nullptr;
  delete this;
  done(argument);
}

void Environment::Add(Closable* object) {
  Link(object, objects_, &Closable::previous_, &Closable::next_);
}
void Environment::Remove(Closable* object) {
  Unlink(object, objects_, &Closable::previous_, &Closable::next_);
}

void Environment::Add(Task* task) {
  Hold();
  Link(task, tasks_, &Task::previous_, &Task::next_);
}

void Environment::Remove(Task* task) {
  Unlink(task, tasks_, &Task::previous_, &Task::next_);
  if (ending_ && !tasks_) ReleaseObjects();
  Drop();
}

}  // namespace KilnNodeWrapper
