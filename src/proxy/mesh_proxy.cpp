#include "proxy/mesh_proxy.h"

namespace KilnNodeWrapper {
namespace {

constexpr Method kFunctions[] = {
    {"readPreviewGeometry", ReadPreviewGeometry},
    {"readPreviewHair", ReadPreviewHair},
    {"readPreviewParticles", ReadPreviewParticles},
    {"readPreviewData", ReadPreviewData},
    {"readFullData", ReadFullData},
    {"readFullDataSync", ReadFullDataSync},
    {"createMeshFile", CreateMeshFile},
    {"createCombinedMeshFile", CreateCombinedMeshFile},
};

}  // namespace

void RegisterProxy(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Object> proxy;
  if (!v8::ObjectTemplate::New(isolate)->NewInstance(context).ToLocal(&proxy)) return;
  for (const Method& function : kFunctions) defineFunction(isolate, external, proxy, function);
  (void)exports->Set(context, v8::String::NewFromUtf8Literal(isolate, "Proxy"), proxy).FromMaybe(false);
}

}  // namespace KilnNodeWrapper
