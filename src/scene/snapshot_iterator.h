// What the iterators of the two collections share: a snapshot that the SDK made, given back when the walk
// ends, when the iterator is collected, or with the environment.
#pragma once

#include "binding/environment.h"
#include "binding/members.h"

namespace KilnNodeWrapper {

// The native side of one iterator, from its making to its end.
class Snapshot final : public Closable {
 public:
  using FreeFunction = void (*)(void* memory);

  // Takes the memory over; null is allowed.
  Snapshot(Environment& environment, v8::Local<v8::Object> iterator, void* memory, int32_t count,
           FreeFunction free);
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  void* memory() const { return memory_; }
  // Whether the library that made the memory is still there.
  bool is_valid() const;

  int32_t index = 0;
  int32_t count;

  void Silence() override {}
  // Gives the memory back and deletes this.
  void Release() override;

 private:
  ~Snapshot() = default;
  static void OnCollected(const v8::WeakCallbackInfo<Snapshot>& info);

  Environment& environment_;
  v8::Global<v8::Object> self_;
  void* memory_;
  FreeFunction free_;
  uintptr_t generation_;
};

// An iterator object for a renderer; its snapshot is set with SetSnapshot. The class is made with its first
// iterator.
v8::MaybeLocal<v8::Object> NewIterator(Environment& environment,
                                       v8::Global<v8::ObjectTemplate> ModuleContext::*kept, const char* name,
                                       v8::FunctionCallback next, v8::Local<v8::Object> renderer_object);
void SetSnapshot(v8::Local<v8::Object> iterator, Snapshot* snapshot);
// Null after the end.
Snapshot* SnapshotOf(v8::Local<v8::Object> iterator);
// Ends the walk.
void ReleaseSnapshot(v8::Local<v8::Object> iterator);

// {value, done: false}, and {done: true} for an empty value.
void ReturnStep(const Arguments& info, v8::MaybeLocal<v8::Value> value);

// Defines the Symbol.iterator function of a collection, named "values".
bool DefineValues(Environment& environment, v8::Local<v8::Object> collection, v8::FunctionCallback values);

}  // namespace KilnNodeWrapper
