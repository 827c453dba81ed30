// Which plugin shows at a pixel: the nearest one, or all along the ray.
#include <memory>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// The objects of plugins need the renderer's own, which lives as long as the job.
struct RendererObject {
  v8::Global<v8::Object> global;
  explicit RendererObject(const Arguments& info) : global(info.GetIsolate(), info.This()) {}
};

struct PickOne {
  KilnRendererHandle renderer;
  int32_t x;
  int32_t y;
  int32_t timeout;
  RendererObject object;
  KilnPluginId plugin = 0;

  void Run() { plugin = sdk.Kiln_KilnRenderer_pickPluginByXY(renderer, x, y, timeout); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    arguments[0] = wrapPluginById(environment, object.global.Get(environment.isolate()), plugin, 0);
    return 1;
  }
};

// A part of a pick as text: a property of the object that toString was called on.
bool AppendProperty(v8::Local<v8::Context> context, v8::Local<v8::Object> pick, const char* key,
                    std::string* text) {
  v8::Local<v8::String> name;
  v8::Local<v8::Value> value;
  Text part;
  if (!NewName(v8::Isolate::GetCurrent(), key).ToLocal(&name) || !pick->Get(context, name).ToLocal(&value) ||
      !part.Read(context, value)) {
    return false;
  }
  text->append(part.view());
  return true;
}

void PickToString(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  std::string text = "{plugin: ";
  if (!AppendProperty(context, info.This(), "plugin", &text)) return;
  text += ", mtlID: ";
  if (!AppendProperty(context, info.This(), "mtlID", &text)) return;
  text += ", distance: ";
  if (!AppendProperty(context, info.This(), "distance", &text)) return;
  text += '}';
  v8::Local<v8::String> result;
  if (NewText(isolate, text).ToLocal(&result)) info.GetReturnValue().Set(result);
}

v8::MaybeLocal<v8::Array> NewPicks(Environment& environment, v8::Local<v8::Object> renderer_object,
                                   const KilnPickResult* result) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const uint32_t count = result ? result->count : 0;
  v8::Local<v8::Array> picks = v8::Array::New(isolate);
  v8::Local<v8::Function> to_string;
  if (!v8::Function::New(context, PickToString, {}, 0, v8::ConstructorBehavior::kThrow).ToLocal(&to_string)) {
    return {};
  }
  for (uint32_t i = 0; i < count; i++) {
    v8::HandleScope scope(isolate);
    const KilnPick& pick = result->entries[i];
    ObjectBuilder object(isolate);
    object.Value("plugin", wrapPluginById(environment, renderer_object, pick.plugin, 0));
    object.Number("distance", pick.distance);
    object.Int("mtlID", pick.mtl_id);
    object.Value("toString", to_string, v8::DontEnum);
    v8::Local<v8::Object> made;
    if (!object.Take().ToLocal(&made) || !picks->CreateDataProperty(context, i, made).FromMaybe(false)) {
      return {};
    }
  }
  return picks;
}

// A job may settle behind a change of the library.
struct ReleasePicks {
  uintptr_t generation = SdkGeneration();
  void operator()(KilnPickResult* result) const { ReleaseBlockOf(generation, result); }
};

struct PickAll {
  KilnRendererHandle renderer;
  double x;
  double y;
  int32_t timeout = -1;
  int32_t max_results = 0;
  RendererObject object;
  std::unique_ptr<KilnPickResult, ReleasePicks> result{};

  void Run() {
    KilnPickResult* picks = nullptr;
    const int32_t status =
        sdk.Kiln_KilnRenderer_pickPluginsByXY(renderer, x, y, timeout, max_results, &picks);
    result.reset(picks);
    if (status < 0) result.reset();
  }
  v8::MaybeLocal<v8::Array> Picks(Environment& environment) {
    return NewPicks(environment, object.global.Get(environment.isolate()), result.get());
  }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Local<v8::Array> picks;
    if (!Picks(environment).ToLocal(&picks)) return kNoCall;
    arguments[0] = picks;
    return 1;
  }
};

bool HasPlace(const Arguments& info) {
  if (info[0]->IsNumber() && info[1]->IsNumber()) return true;
  ThrowError(info.GetIsolate(), "Argument 0 and argument 1 (x,y coordinates: numbers) should be passed");
  return false;
}

// Of an argument that is a number, which converts without running anything.
int32_t IntAt(const Arguments& info, int index, int32_t otherwise) {
  return info[index]->IsNumber()
             ? info[index]->Int32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(otherwise)
             : otherwise;
}
double NumberAt(const Arguments& info, int index) {
  return info[index].As<v8::Number>()->Value();
}

PickOne PickOneOf(const Arguments& info, int32_t timeout) {
  return {RendererOf(info).renderer, IntAt(info, 0, 0), IntAt(info, 1, 0), timeout, RendererObject(info)};
}

PickAll PickAllOf(const Arguments& info, int32_t timeout, int32_t max_results) {
  return {RendererOf(info).renderer, NumberAt(info, 0), NumberAt(info, 1), timeout, max_results,
          RendererObject(info)};
}

}  // namespace

void PickPlugin(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!HasPlace(info)) return;
  if (info[2]->IsFunction()) return Queue(info, CallbackAt(info, 2), PickOneOf(info, IntAt(info, 3, -1)));
  v8::Local<v8::Function> callback = CallbackAt(info, 3);
  if (callback.IsEmpty()) {
    return ThrowError(isolate, "Argument 2 or 3 (a callback function) should be passed");
  }
  // A timeout before the callback has always been read from the callback, which mostly converts to 0; hosts
  // rely on not waiting.
  int32_t timeout = -1;
  v8::TryCatch try_catch(isolate);
  if (info[2]->IsNumber()) timeout = callback->Int32Value(isolate->GetCurrentContext()).FromMaybe(-1);
  Queue(info, callback, PickOneOf(info, timeout));
  if (try_catch.HasCaught()) try_catch.ReThrow();
}

void PickPluginSync(const Arguments& info) {
  if (!HasPlace(info)) return;
  PickOne pick = PickOneOf(info, IntAt(info, 2, -1));
  pick.Run();
  v8::Local<v8::Value> plugin;
  pick.Finish(EnvironmentOf(info), &plugin);
  info.GetReturnValue().Set(plugin);
}

// The numbers around the callback: the count stands in front of it where there is room, and the timeout takes
// what is left.
void PickPlugins(const Arguments& info) {
  struct Form {
    int callback;
    int max_results;
    int timeout;
  };
  static constexpr Form kForms[] = {{2, 3, 4}, {3, 2, 4}, {4, 2, 3}};
  if (!HasPlace(info)) return;
  for (const Form& form : kForms) {
    v8::Local<v8::Function> callback = CallbackAt(info, form.callback);
    if (callback.IsEmpty()) continue;
    return Queue(info, callback,
                 PickAllOf(info, IntAt(info, form.timeout, -1), IntAt(info, form.max_results, 0)));
  }
  ThrowError(info.GetIsolate(), "Argument 2, 3 or 4 (a callback function) should be passed");
}

// One number is both the timeout and the count.
void PickPluginsSync(const Arguments& info) {
  if (!HasPlace(info)) return;
  PickAll pick = PickAllOf(info, IntAt(info, 2, -1), IntAt(info, 2, 0));
  pick.Run();
  v8::Local<v8::Array> picks;
  if (pick.Picks(EnvironmentOf(info)).ToLocal(&picks)) info.GetReturnValue().Set(picks);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
