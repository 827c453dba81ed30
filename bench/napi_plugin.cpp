// A plugin of the measuring library as node-addon-api's own examples would wrap it: one of the peers.
#include <napi.h>

#include <cstring>
#include <string>

#include "entry_points.h"

namespace {

class Plugin : public Napi::ObjectWrap<Plugin> {
 public:
  static Napi::Object Init(Napi::Env env, Napi::Object exports) {
    exports.Set("Plugin", DefineClass(env, "Plugin", {InstanceMethod("get", &Plugin::Get)}));
    return exports;
  }
  explicit Plugin(const Napi::CallbackInfo& info) : Napi::ObjectWrap<Plugin>(info) {}

 private:
  Napi::Value Get(const Napi::CallbackInfo& info) {
    const std::string name = info[0].As<Napi::String>();
    uint32_t* stream = nullptr;
    int32_t size = 0;
    Kiln_getPropertyByteArrayByID(nullptr, 1, name.c_str(), &stream, &size, 0);
    if (stream == nullptr) return info.Env().Undefined();
    double number = 0;
    if (stream[0] == KILN_VALUE_INT) number = static_cast<int32_t>(stream[1]);
    if (stream[0] == KILN_VALUE_DOUBLE) std::memcpy(&number, stream + 1, sizeof(number));
    C_memory_free(stream);
    return Napi::Number::New(info.Env(), number);
  }
};

Napi::Object Register(Napi::Env env, Napi::Object exports) {
  return Plugin::Init(env, exports);
}

}  // namespace

NODE_API_MODULE(napi_plugin, Register)
