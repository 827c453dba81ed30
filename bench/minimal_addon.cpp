// The least that an add-on can be: what require() of any add-on costs.
#include <node.h>

NODE_MODULE_INIT(/* exports, module, context */) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  (void)module;
  exports->Set(context, v8::String::NewFromUtf8Literal(isolate, "loaded"), v8::Boolean::New(isolate, true))
      .Check();
}
