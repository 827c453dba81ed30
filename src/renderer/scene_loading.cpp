// Loading a scene from a file, from text or from memory.
#include <node_buffer.h>

#include <string>
#include <vector>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "renderer/scene_sources.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

using LoadFunction = int32_t (*SdkTable::*)(KilnRendererHandle, const char*);

constexpr char kNoFileName[] = "Argument 0 (fileName: string) should be passed";
constexpr char kNoSceneText[] = "Argument 0 (sceneText: string) should be passed";
constexpr char kNoSceneData[] = "Argument 0 (sceneData: buffer) should be passed";

// The text of a failure is asked for at once, since the last error of a renderer may change later.
struct LoadOutcome {
  KilnRendererHandle renderer;
  bool failed = false;
  std::string error{};

  void Take(int32_t result) {
    failed = result != 0;
    if (failed) error = LoadErrorText(renderer);
  }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, !failed, error.c_str(), arguments);
  }
  void ThrowIfFailed(v8::Isolate* isolate) const {
    if (failed) ThrowError(isolate, error.c_str());
  }
};

struct LoadNamed : LoadOutcome {
  LoadFunction function;
  std::string source;  // a file name or the text itself
  void Run() { Take((sdk.*function)(renderer, source.c_str())); }
};

struct LoadBlock : LoadOutcome {
  KilnSceneBuffer buffer;
  void Run() { Take(sdk.Kiln_KilnRenderer_loadAsBuffer(renderer, &buffer)); }
  // The SDK has never seen the memory and will not release it.
  void Cancel() { buffer.release(nullptr, 0, buffer.user); }
};

// One string, primitive or object; an array is refused. The scene's plugins are forgotten before anything is
// checked.
void LoadOne(const Arguments& info, LoadFunction function, const char* message) {
  v8::Isolate* isolate = info.GetIsolate();
  RendererOf(info).pluginCache.Clear();
  if (!IsText(info[0])) return ThrowError(isolate, message);
  std::string source;
  if (!ReadString(isolate->GetCurrentContext(), info[0], &source)) return;
  // Only now: a String object's own toString may close the renderer.
  LoadNamed operation{{RendererOf(info).renderer}, function, std::move(source)};
  Queue(info, CallbackAt(info, 1), std::move(operation));
}

// Takes every form of strings, and loads the first.
void LoadOneSync(const Arguments& info, LoadFunction function, const char* message) {
  v8::Isolate* isolate = info.GetIsolate();
  RendererOf(info).pluginCache.Clear();
  std::vector<std::string> strings;
  int next = 0;
  if (!CollectStrings(info, &strings, &next)) return;
  if (strings.empty()) return ThrowError(isolate, message);
  LoadNamed operation{{RendererOf(info).renderer}, function, std::move(strings.front())};
  operation.Run();
  operation.ThrowIfFailed(isolate);
}

bool ReadBlock(const Arguments& info, LoadBlock* operation) {
  if (!node::Buffer::HasInstance(info[0])) {
    ThrowError(info.GetIsolate(), kNoSceneData);
    return false;
  }
  RendererOf(info).pluginCache.Clear();
  operation->renderer = RendererOf(info).renderer;
  operation->buffer = BorrowBuffer(EnvironmentOf(info), info[0].As<v8::Object>());
  return true;
}

}  // namespace

void Load(const Arguments& info) {
  LoadOne(info, &SdkTable::Kiln_KilnRenderer_load, kNoFileName);
}
void LoadAsText(const Arguments& info) {
  LoadOne(info, &SdkTable::Kiln_KilnRenderer_loadAsText, kNoSceneText);
}
void LoadSync(const Arguments& info) {
  LoadOneSync(info, &SdkTable::Kiln_KilnRenderer_load, kNoFileName);
}
void LoadAsTextSync(const Arguments& info) {
  LoadOneSync(info, &SdkTable::Kiln_KilnRenderer_loadAsText, kNoSceneText);
}

void LoadFromBuffer(const Arguments& info) {
  LoadBlock operation{};
  if (ReadBlock(info, &operation)) Queue(info, CallbackAt(info, 1), std::move(operation));
}

void LoadFromBufferSync(const Arguments& info) {
  LoadBlock operation{};
  if (!ReadBlock(info, &operation)) return;
  operation.Run();
  operation.ThrowIfFailed(info.GetIsolate());
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
