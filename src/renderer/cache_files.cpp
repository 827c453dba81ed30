#include "renderer/cache_files.h"

#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

struct SaveFile {
  KilnRendererHandle renderer;
  const CacheFile* file;
  std::string name;
  bool saved = false;

  void Run() { saved = (sdk.*file->save)(renderer, name.c_str()) != 0; }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, saved, file->error, arguments);
  }
};

SaveFile SaveFileOf(const Arguments& info, const CacheFile& file) {
  return {RendererOf(info).renderer, &file, StringOf(info.GetIsolate(), info[0].As<v8::String>())};
}

}  // namespace

void SaveOnPool(const Arguments& info, const CacheFile& file) {
  v8::Local<v8::Function> callback = CallbackAt(info, 1);
  if (!info[0]->IsString() || callback.IsEmpty()) {
    return ThrowError(
        info.GetIsolate(),
        "Argument 0 (string - file name to save to), and argument 1 (a callback function) should "
        "be passed");
  }
  Queue(info, callback, SaveFileOf(info, file));
}

void SaveAtOnce(const Arguments& info, const CacheFile& file) {
  if (info.Length() != 1 || !info[0]->IsString()) {
    return ThrowError(info.GetIsolate(), "Argument 0 must be a string - file name to save to");
  }
  SaveFile operation = SaveFileOf(info, file);
  operation.Run();
  info.GetReturnValue().Set(operation.saved);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
