// The native record behind a JavaScript object: it lives as long as the object, and no longer than the
// environment.
#pragma once

#include "binding/environment.h"
#include "binding/members.h"

namespace KilnNodeWrapper {

// Stands in internal field 0 of an object of a class with that one field. Whoever ends first, the object or
// the environment, deletes it; its destructor gives back what it holds and runs no JavaScript.
class ObjectWrap : public Closable {
 public:
  ObjectWrap(const ObjectWrap&) = delete;
  ObjectWrap& operator=(const ObjectWrap&) = delete;

  void Silence() override {}
  void Release() override { delete this; }

 protected:
  ObjectWrap(Environment& environment, v8::Local<v8::Object> object);
  virtual ~ObjectWrap();

  Environment& environment() const { return environment_; }

 private:
  Environment& environment_;
  v8::Global<v8::Object> self_;
};

// The record of a method's receiver, which its signature has checked.
template <class Record>
Record& Unwrap(const Arguments& info) {
  return *static_cast<Record*>(static_cast<ObjectWrap*>(compat::GetPointer(info.This(), 0)));
}

}  // namespace KilnNodeWrapper
