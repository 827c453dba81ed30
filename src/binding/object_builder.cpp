#include "binding/object_builder.h"

#include "binding/members.h"
#include "binding/text.h"

namespace KilnNodeWrapper {

ObjectBuilder::ObjectBuilder(v8::Isolate* isolate) : isolate_(isolate), object_(v8::Object::New(isolate)) {}

void ObjectBuilder::Value(const char* key, v8::Local<v8::Value> value, v8::PropertyAttribute attributes) {
  complete_ = complete_ && defineValue(isolate_, object_, key, value, attributes);
}

void ObjectBuilder::Object(const char* key, v8::MaybeLocal<v8::Object> value) {
  v8::Local<v8::Object> made;
  complete_ = complete_ && value.ToLocal(&made) && defineValue(isolate_, object_, key, made, v8::None);
}

void ObjectBuilder::Int(const char* key, int32_t value) {
  Value(key, v8::Integer::New(isolate_, value));
}

void ObjectBuilder::Number(const char* key, double value) {
  Value(key, v8::Number::New(isolate_, value));
}

void ObjectBuilder::Flag(const char* key, bool value) {
  Value(key, v8::Boolean::New(isolate_, value));
}

void ObjectBuilder::Text(const char* key, const char* text) {
  if (!text) return Value(key, v8::Undefined(isolate_));
  v8::Local<v8::String> string;
  complete_ = complete_ && NewText(isolate_, text).ToLocal(&string);
  if (complete_) Value(key, string);
}

v8::MaybeLocal<v8::Object> ObjectBuilder::Take() const {
  return complete_ ? v8::MaybeLocal<v8::Object>(object_) : v8::MaybeLocal<v8::Object>();
}

}  // namespace KilnNodeWrapper
