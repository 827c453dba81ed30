#include "binding/lazy_class.h"

namespace KilnNodeWrapper {

v8::MaybeLocal<v8::Function> KeptFunction(Environment& environment, v8::Global<v8::Function>& kept,
                                          ClassBuilder build) {
  v8::Isolate* isolate = environment.isolate();
  if (kept.IsEmpty()) {
    v8::HandleScope scope(isolate);
    v8::Local<v8::Function> function;
    if (!build(isolate, environment.external())
             ->GetFunction(isolate->GetCurrentContext())
             .ToLocal(&function)) {
      return {};
    }
    kept.Reset(isolate, function);
  }
  return kept.Get(isolate);
}

}  // namespace KilnNodeWrapper
