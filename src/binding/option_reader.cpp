#include "binding/option_reader.h"

#include "binding/text.h"

namespace KilnNodeWrapper {

OptionReader::OptionReader(v8::Local<v8::Context> context, v8::Local<v8::Object> object, Lookup lookup)
    : isolate_(v8::Isolate::GetCurrent()),
      context_(context),
      object_(object),
      lookup_(lookup),
      try_catch_(isolate_) {}

bool OptionReader::Has(const char* key) {
  v8::Local<v8::String> name;
  return NewName(isolate_, key).ToLocal(&name) && object_->Has(context_, name).FromMaybe(false);
}

v8::MaybeLocal<v8::Value> OptionReader::Value(const char* key) {
  v8::Local<v8::String> name;
  v8::Local<v8::Value> value;
  bool present = true;
  if (!NewName(isolate_, key).ToLocal(&name) ||
      (lookup_ == Lookup::kPresent && !object_->Has(context_, name).To(&present)) ||
      (present && !object_->Get(context_, name).ToLocal(&value))) {
    unreadable_ = true;
    return {};
  }
  return value;
}

bool OptionReader::Int(const char* key, int32_t* field) {
  v8::Local<v8::Value> value;
  return Value(key).ToLocal(&value) && value->Int32Value(context_).To(field);
}

bool OptionReader::Number(const char* key, double* field) {
  v8::Local<v8::Value> value;
  return Value(key).ToLocal(&value) && value->NumberValue(context_).To(field);
}

bool OptionReader::Flag(const char* key, bool* field) {
  v8::Local<v8::Value> value;
  if (!Value(key).ToLocal(&value)) return false;
  *field = value->BooleanValue(isolate_);
  return true;
}

bool OptionReader::String(const char* key, std::string* field) {
  v8::Local<v8::Value> value;
  return Value(key).ToLocal(&value) && ReadString(context_, value, field);
}

bool OptionReader::Array(const char* key, v8::Local<v8::Array>* field) {
  v8::Local<v8::Value> value;
  if (!Value(key).ToLocal(&value) || !value->IsArray()) return false;
  *field = value.As<v8::Array>();
  return true;
}

bool OptionReader::Rethrow() {
  if (!try_catch_.HasCaught()) return false;
  try_catch_.ReThrow();
  return true;
}

}  // namespace KilnNodeWrapper
