// Makes a plain object for JavaScript, property by property in their order.
#pragma once

#include <v8.h>

#include <cstdint>

namespace KilnNodeWrapper {

// A builder that failed once does nothing more, so that only its end need be looked at. JavaScript thread.
class ObjectBuilder {
 public:
  explicit ObjectBuilder(v8::Isolate* isolate);
  ObjectBuilder(const ObjectBuilder&) = delete;
  ObjectBuilder& operator=(const ObjectBuilder&) = delete;

  void Value(const char* key, v8::Local<v8::Value> value, v8::PropertyAttribute attributes = v8::None);
  void Object(const char* key, v8::MaybeLocal<v8::Object> value);
  void Int(const char* key, int32_t value);
  void Number(const char* key, double value);
  void Flag(const char* key, bool value);
  void Text(const char* key, const char* text);  // null leaves undefined

  // The object; empty when a property could not be made.
  v8::MaybeLocal<v8::Object> Take() const;
  // The object as the result of a handler; nothing when a property could not be made.
  template <class Info>
  void Return(const Info& info) const {
    if (complete_) info.GetReturnValue().Set(object_);
  }

 private:
  v8::Isolate* isolate_;
  v8::Local<v8::Object> object_;
  bool complete_ = true;
};

}  // namespace KilnNodeWrapper
