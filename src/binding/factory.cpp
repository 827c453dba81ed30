#include "binding/factory.h"

#include "binding/error.h"

namespace KilnNodeWrapper {

bool ReadFactoryArguments(const Arguments& info, v8::Local<v8::Value>* options,
                          v8::Local<v8::Function>* callback) {
  v8::Isolate* isolate = info.GetIsolate();
  const char* fault = nullptr;
  if (info.Length() > 2) {
    fault = "Too many agruments passed to function";
  } else if (!info[0]->IsFunction() && !info[1]->IsFunction()) {
    fault = "At least a callback function should be passed";
  }
  if (fault) {
    ThrowError(isolate, fault);
    return false;
  }
  const int place = info[1]->IsFunction() ? 1 : 0;
  *callback = info[place].As<v8::Function>();
  *options = info[1 - place];
  return true;
}

int FinishWithoutObject(Environment& environment, const char* error_text, v8::Local<v8::Value>* arguments) {
  v8::Isolate* isolate = environment.isolate();
  arguments[1] = v8::Undefined(isolate);
  return MakeError(isolate, error_text).ToLocal(&arguments[0]) ? 2 : kNoCall;
}

int FinishWithObject(Environment& environment, v8::Local<v8::FunctionTemplate> target,
                     v8::Local<v8::Value> external, v8::Local<v8::Value>* arguments) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Function> function;
  v8::Local<v8::Object> instance;
  if (!target->GetFunction(context).ToLocal(&function) ||
      !function->NewInstance(context, 1, &external).ToLocal(&instance)) {
    return kNoCall;
  }
  arguments[0] = v8::Null(isolate);
  arguments[1] = instance;
  return 2;
}

}  // namespace KilnNodeWrapper
