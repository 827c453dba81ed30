// deletePlugins and its blocking twin: several plugins at once, by name and by object.
#include <vector>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr int kOtherElement = -1;
constexpr int kUnreadableElement = -2;

using PluginIds = std::vector<KilnPluginId>;

bool IsOwnPlugin(const Arguments& info, v8::Local<v8::Value> value) {
  return isPlugin(EnvironmentOf(info), value) &&
         rendererObjectOf(value.As<v8::Object>())->StrictEquals(info.This());
}

// A name or a plugin of this renderer; false for any other value.
bool ReadPlugin(const Arguments& info, v8::Local<v8::Value> value, PluginIds* ids) {
  if (value->IsString()) {
    const Text name(info.GetIsolate(), value.As<v8::String>());
    ids->push_back(sdk.Kiln_KilnRenderer_getPluginID(RendererOf(info).renderer, name.c_str()));
    return true;
  }
  if (!IsOwnPlugin(info, value)) return false;
  ids->push_back(pluginIdOf(EnvironmentOf(info), value));
  return true;
}

int CollectFromArray(const Arguments& info, v8::Local<v8::Array> array, PluginIds* ids) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  const uint32_t length = array->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> element;
    if (!array->Get(context, i).ToLocal(&element)) return kUnreadableElement;
    if (!ReadPlugin(info, element, ids)) return kOtherElement;
  }
  return 1;
}

// The index of the first argument behind the plugins, or one of the above; for an unreadable element an
// exception is pending.
int CollectPlugins(const Arguments& info, PluginIds* ids) {
  if (info[0]->IsArray()) return CollectFromArray(info, info[0].As<v8::Array>(), ids);
  int index = 0;
  while (index < info.Length() && ReadPlugin(info, info[index], ids)) index++;
  return index;
}

struct Deletion {
  RendererWrapper* wrapper;  // alive as long as the receiver
  KilnRendererHandle renderer;
  PluginIds ids;
  bool commit;
  int32_t result = 0;

  void Run() {
    result = sdk.Kiln_KilnRenderer_deletePluginsByID(renderer, ids.data(), static_cast<int32_t>(ids.size()),
                                                     commit);
  }

  // The objects of plugins that are gone must not be found again under their IDs.
  bool Settle() const {
    if (result < 0) return false;
    for (const KilnPluginId id : ids) {
      if (id > 1 && id != KILN_NO_PLUGIN) wrapper->pluginCache.Erase(id);
    }
    return result == 0;
  }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    arguments[0] = v8::Boolean::New(environment.isolate(), Settle());
    return 1;
  }
};

Deletion NewDeletion(const Arguments& info, PluginIds ids) {
  RendererWrapper& wrapper = RendererOf(info);
  return {&wrapper, wrapper.renderer, std::move(ids), wrapper.autoCommit};
}

}  // namespace

void DeletePlugins(const Arguments& info) {
  PluginIds ids;
  const int last = info.Length() - 1;
  const int behind = last < 1 ? kOtherElement : CollectPlugins(info, &ids);
  if (behind == kUnreadableElement) return;
  if (behind != last || last < 1) {
    return ThrowError(
        info.GetIsolate(),
        "An array of strings/plugins or multiple strings/plugins and a callback function should "
        "be passed");
  }
  v8::Local<v8::Function> callback = CallbackAt(info, last);
  if (callback.IsEmpty()) {
    return ThrowError(info.GetIsolate(), "A callback function must be passed as last argument");
  }
  Queue(info, callback, NewDeletion(info, std::move(ids)));
}

void DeletePluginsSync(const Arguments& info) {
  PluginIds ids;
  const int behind = info.Length() == 0 ? kOtherElement : CollectPlugins(info, &ids);
  if (behind == kUnreadableElement) return;
  if (behind != info.Length()) {
    return ThrowError(info.GetIsolate(),
                      "An array of strings/plugins or multiple strings/plugins should be passed");
  }
  Deletion deletion = NewDeletion(info, std::move(ids));
  deletion.Run();
  info.GetReturnValue().Set(deletion.Settle());
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
