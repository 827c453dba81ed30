#include "binding/stack_guard.h"

namespace KilnNodeWrapper {
namespace {

// A JavaScript function that does nothing: V8 looks at its stack before it runs one.
v8::MaybeLocal<v8::Function> Probe(Environment& environment) {
  v8::Isolate* isolate = environment.isolate();
  if (!environment.stack_probe.IsEmpty()) return environment.stack_probe.Get(isolate);
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> function;
  if (!v8::Script::Compile(context, v8::String::NewFromUtf8Literal(isolate, "(function () {})"))
           .ToLocal(&script) ||
      !script->Run(context).ToLocal(&function)) {
    return {};
  }
  environment.stack_probe.Reset(isolate, function.As<v8::Function>());
  return function.As<v8::Function>();
}

}  // namespace

bool CheckStack(Environment& environment) {
  v8::Isolate* isolate = environment.isolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Function> probe;
  return Probe(environment).ToLocal(&probe) &&
         !probe->Call(isolate->GetCurrentContext(), v8::Undefined(isolate), 0, nullptr).IsEmpty();
}

bool HasStackRoom(Environment& environment) {
  v8::TryCatch try_catch(environment.isolate());
  return CheckStack(environment);
}

}  // namespace KilnNodeWrapper
