#include "binding/error.h"

#include <node.h>

#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

void ThrowMade(v8::Isolate* isolate, const char* text, v8::Local<v8::Value> (*make)(v8::Local<v8::String>)) {
  v8::Local<v8::String> message;
  if (NewText(isolate, text).ToLocal(&message)) isolate->ThrowException(make(message));
}

// Exception::Error grew an options parameter; these have one signature on every V8.
v8::Local<v8::Value> Error(v8::Local<v8::String> message) {
  return v8::Exception::Error(message);
}
v8::Local<v8::Value> TypeError(v8::Local<v8::String> message) {
  return v8::Exception::TypeError(message);
}

}  // namespace

void ThrowError(v8::Isolate* isolate, const char* text) {
  ThrowMade(isolate, text, Error);
}
void ThrowTypeError(v8::Isolate* isolate, const char* text) {
  ThrowMade(isolate, text, TypeError);
}

v8::MaybeLocal<v8::Value> MakeError(v8::Isolate* isolate, const char* text) {
  v8::Local<v8::String> message;
  if (!NewText(isolate, text).ToLocal(&message)) return {};
  return v8::Exception::Error(message);
}

void ReportCaught(v8::Isolate* isolate, v8::TryCatch& try_catch) {
  if (try_catch.HasCaught() && !try_catch.HasTerminated()) node::FatalException(isolate, try_catch);
}

}  // namespace KilnNodeWrapper
