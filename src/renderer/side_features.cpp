// Settings beside the scene: resumable renders, the cache of bitmaps, where files are looked for, the
// profiler.
#include <string>

#include "binding/error.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// The record of the profiler with the texts that it points to.
struct ProfilerOptions {
  KilnProfilerOptions record{};
  std::string directory;
  std::string filename;
  std::string suffix;
};

struct ProfilerText {
  const char* name;
  std::string ProfilerOptions::*text;
  const char* KilnProfilerOptions::*field;
};
constexpr ProfilerText kProfilerTexts[] = {
    {"outputDirectory", &ProfilerOptions::directory, &KilnProfilerOptions::outputDirectory},
    {"outputFilename", &ProfilerOptions::filename, &KilnProfilerOptions::outputFilename},
    {"outputSuffix", &ProfilerOptions::suffix, &KilnProfilerOptions::outputSuffix},
};

constexpr const char* kProfilerModes[][2] = {{"OFF", "0"}, {"SIMPLE", "1"}, {"FULL", "2"}};

// What is neither a number nor the name of a mode leaves the mode as it is.
void ReadProfilerMode(v8::Local<v8::Context> context, v8::Local<v8::Value> value, int32_t* mode) {
  if (value->IsNumber()) {
    *mode = value->Int32Value(context).FromMaybe(*mode);
  } else if (value->IsString()) {
    const Text text(v8::Isolate::GetCurrent(), value.As<v8::String>());
    for (int32_t i = 0; i < static_cast<int32_t>(std::size(kProfilerModes)); i++) {
      for (const char* name : kProfilerModes[i]) {
        if (EqualsIgnoringCase(text.view(), name)) *mode = i;
      }
    }
  }
}

bool ReadProfilerOption(v8::Local<v8::Context> context, const Text& name, v8::Local<v8::Value> value,
                        ProfilerOptions* options) {
  for (const ProfilerText& row : kProfilerTexts) {
    if (!EqualsIgnoringCase(name.view(), row.name)) continue;
    if (!ReadString(context, value, &(options->*row.text))) return false;
    options->record.*row.field = (options->*row.text).c_str();
  }
  if (EqualsIgnoringCase(name.view(), "mode")) ReadProfilerMode(context, value, &options->record.mode);
  return true;
}

// Every name of the object, inherited ones too, in any case. What can't be read ends the walk; what was read
// before it counts.
void ReadProfilerOptions(v8::Local<v8::Context> context, v8::Local<v8::Object> object,
                         ProfilerOptions* options) {
  v8::Local<v8::Array> names;
  if (!object->GetPropertyNames(context).ToLocal(&names)) return;
  for (uint32_t i = 0; i < names->Length(); i++) {
    v8::Local<v8::Value> key;
    v8::Local<v8::Value> value;
    Text name;
    if (!names->Get(context, i).ToLocal(&key) || !object->Get(context, key).ToLocal(&value) ||
        !name.Read(context, key)) {
      return;
    }
    if (!value->IsUndefined() && !ReadProfilerOption(context, name, value, options)) return;
  }
}

}  // namespace

// A key that is missing reads as undefined and so as 0 or its text: the SDK's own values hold only without
// options.
void SetResumableRendering(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!info[0]->IsBoolean()) return ThrowError(isolate, "Argument 0 must be boolean");
  const bool enable = info[0]->IsTrue();
  if (info.Length() < 2) {
    return info.GetReturnValue().Set(
        sdk.Kiln_KilnRenderer_setResumableRendering(RendererOf(info).renderer, enable, nullptr) != 0);
  }
  if (!info[1]->IsObject()) return ThrowError(isolate, "Argument 1 must be JSON/Object");
  KilnResumableOptions options{};
  options.compressProgressiveFiles = 1;
  std::string output_file;
  OptionReader keys(isolate->GetCurrentContext(), info[1].As<v8::Object>(), OptionReader::Lookup::kPlain);
  keys.Int("compressProgressiveFiles", &options.compressProgressiveFiles);
  keys.Int("deleteResumableFileOnSuccess", &options.deleteResumableFileOnSuccess);
  keys.Int("progressiveAutoSaveSeconds", &options.progressiveAutoSaveSeconds);
  if (keys.String("outputFile", &output_file)) options.outputFile = output_file.c_str();
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_setResumableRendering(RendererOf(info).renderer, enable, &options) != 0);
  keys.Rethrow();
}

void SetBitmapCache(const Arguments& info) {
  if (!info[0]->IsBoolean()) return ThrowError(info.GetIsolate(), "Argument 0 must be boolean");
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_setBitmapCache(RendererOf(info).renderer, info[0]->IsTrue()) != 0);
}

void SetIncludePaths(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() == 0) {
    return ThrowError(
        isolate,
        "Argument 0 (string - file paths separated by \";\") and argument 1 (a boolean) should be "
        "passed");
  }
  if (!info[0]->IsString()) return ThrowError(isolate, "Argument 0 must be string");
  const bool has_flag = info.Length() > 1;
  if (has_flag && !info[1]->IsBoolean() && !info[1]->IsNumber()) {
    return ThrowError(isolate, "Argument 1 must be boolean");
  }
  const Text paths(isolate, info[0].As<v8::String>());
  sdk.Kiln_KilnRenderer_setIncludePaths(RendererOf(info).renderer, paths.c_str(),
                                        !has_flag || info[1]->BooleanValue(isolate));
}

void SetKilnProfiler(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  ProfilerOptions options;
  v8::Local<v8::Object> object;
  if (info.Length() > 0 && !info[0]->ToObject(context).ToLocal(&object)) return;
  v8::TryCatch try_catch(isolate);
  if (!object.IsEmpty()) ReadProfilerOptions(context, object, &options);
  if (static_cast<uint32_t>(options.record.mode) < std::size(kProfilerModes)) {
    sdk.Kiln_KilnRenderer_setKilnProfiler(RendererOf(info).renderer, &options.record);
  } else if (!try_catch.HasCaught()) {
    ThrowError(isolate,
               "mode should be - 0 ('off'), 1 ('simple'), 2 ('full') - or one of the "
               "kiln.PROFILER_MODE_* constants.");
  }
  // What the walk threw, or the error of the mode.
  if (try_catch.HasCaught()) try_catch.ReThrow();
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
