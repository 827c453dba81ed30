// An object that answers every property with the same number and takes every write: what the host itself asks
// for a property that is not the object's own.
#include <node.h>

#include "binding/v8_compat.h"

namespace {

using namespace KilnNodeWrapper::compat;

Intercepted Read(v8::Local<v8::Name>, const InterceptorCall&, v8::ReturnValue<v8::Value> result) {
  result.Set(8);
  return Intercepted::kYes;
}

Intercepted Write(v8::Local<v8::Name>, v8::Local<v8::Value>, const InterceptorCall&) {
  return Intercepted::kYes;
}

}  // namespace

NODE_MODULE_INIT(/* exports, module, context */) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  (void)module;
  v8::Local<v8::ObjectTemplate> bare = v8::ObjectTemplate::New(isolate);
  bare->SetHandler(v8::NamedPropertyHandlerConfiguration(OnNamedRead<Read>, OnNamedSet<Write>, nullptr,
                                                         nullptr, nullptr, v8::Local<v8::Value>(),
                                                         v8::PropertyHandlerFlags::kOnlyInterceptStrings));
  v8::Local<v8::Object> object;
  if (!bare->NewInstance(context).ToLocal(&object)) return;
  exports->Set(context, v8::String::NewFromUtf8Literal(isolate, "bare"), object).Check();
}
