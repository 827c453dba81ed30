#include "binding/environment.h"

#include "binding/async_job.h"
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
  environment->hook_ = node::AddEnvironmentCleanupHook(isolate, CleanUp, environment);
  return environment;
}

// The order matters. SDK threads are woken first, so that jobs which wait for them can end; objects are
// released when no job uses them any more; the record goes last, when libuv has let go of every handle.
void Environment::CleanUp(void* self, void (*done)(void*), void* done_argument) {
  auto* environment = static_cast<Environment*>(self);
  environment->ending_ = true;
  environment->done_ = done;
  environment->done_argument_ = done_argument;
  environment->Hold();
  for (Closable* object = environment->objects_; object; object = object->next_) object->Silence();
  for (AsyncJob* job = environment->jobs_; job; job = job->next)
    uv_cancel(reinterpret_cast<uv_req_t*>(&job->work));
  if (!environment->jobs_) environment->ReleaseObjects();
  environment->Drop();
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
  delete this;
  done(argument);
}

void Environment::Add(Closable* object) {
  Link(object, objects_, &Closable::previous_, &Closable::next_);
}
void Environment::Remove(Closable* object) {
  Unlink(object, objects_, &Closable::previous_, &Closable::next_);
}

void Environment::Add(AsyncJob* job) {
  Hold();
  Link(job, jobs_, &AsyncJob::previous, &AsyncJob::next);
}

void Environment::Remove(AsyncJob* job) {
  Unlink(job, jobs_, &AsyncJob::previous, &AsyncJob::next);
  if (ending_ && !jobs_) ReleaseObjects();
  Drop();
}

}  // namespace KilnNodeWrapper
