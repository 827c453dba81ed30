// Writing a scene to a file.
#include <memory>
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/export_settings.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// What the arguments are, by their kinds and in any order; the last of a kind counts.
struct ExportArguments {
  v8::Local<v8::String> path;
  v8::Local<v8::Function> callback;
  v8::Local<v8::Object> settings;
};

ExportArguments SortArguments(const Arguments& info, bool takes_callback) {
  ExportArguments sorted;
  for (int i = 0; i < info.Length(); i++) {
    if (takes_callback && info[i]->IsFunction()) {
      sorted.callback = info[i].As<v8::Function>();
    } else if (info[i]->IsString()) {
      sorted.path = info[i].As<v8::String>();
    } else if (info[i]->IsObject()) {
      sorted.settings = info[i].As<v8::Object>();
    }
  }
  return sorted;
}

struct SceneExport {
  std::string path;
  std::unique_ptr<ExportSettings> settings;
  KilnRendererHandle renderer = nullptr;
  int32_t result = 0;

  void Run() { result = sdk.Kiln_KilnRenderer_exportScene(renderer, path.c_str(), settings->record()); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, result == 0, "Error exporting scene", arguments);
  }
};

SceneExport NewExport(const Arguments& info, const ExportArguments& sorted) {
  SceneExport operation;
  operation.path = StringOf(info.GetIsolate(), sorted.path);
  operation.settings = std::make_unique<ExportSettings>();
  if (!sorted.settings.IsEmpty()) operation.settings->Fill(EnvironmentOf(info), sorted.settings);
  // Only now: a getter of the settings may close the renderer.
  operation.renderer = RendererOf(info).renderer;
  return operation;
}

constexpr char kNoPath[] = "Argument 0 (filePath: string) should be passed";

}  // namespace

void ExportScene(const Arguments& info) {
  const ExportArguments sorted = SortArguments(info, true);
  if (sorted.path.IsEmpty()) return ThrowError(info.GetIsolate(), kNoPath);
  if (sorted.callback.IsEmpty()) return ThrowError(info.GetIsolate(), "A callback function not passed");
  Queue(info, sorted.callback, NewExport(info, sorted));
}

void ExportSceneSync(const Arguments& info) {
  const ExportArguments sorted = SortArguments(info, false);
  if (sorted.path.IsEmpty()) return ThrowError(info.GetIsolate(), kNoPath);
  SceneExport operation = NewExport(info, sorted);
  operation.Run();
  info.GetReturnValue().Set(operation.result == 0);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
