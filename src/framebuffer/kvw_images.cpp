// Loading and saving of the window's image.
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "framebuffer.h"
#include "framebuffer/kvw_members.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

constexpr KeyBit kFlags[] = {
    {"multipleFiles", KILN_KVW_MULTIPLE_FILES},
    {"skipAlpha", KILN_KVW_SKIP_ALPHA},
    {"frameNumber", KILN_KVW_FRAME_NUMBER},
    {"noAlpha", KILN_KVW_NO_ALPHA},
    {"singleChannel", KILN_KVW_SINGLE_CHANNEL},
    {"skipRGB", KILN_KVW_SKIP_RGB},
    {"writeIntegerIDs", KILN_KVW_WRITE_INTEGER_IDS},
    {"velocityZeroBased", KILN_KVW_VELOCITY_ZERO_BASED},
    {"multiChannel", KILN_KVW_MULTI_CHANNEL},
    {"applyColorCorrections", KILN_KVW_APPLY_COLOR_CORRECTIONS},
};

struct Compression {
  const char* name;
  int32_t value;
};
constexpr Compression kCompressions[] = {
    {"noCompression", 1}, {"NO_COMPRESSION", 1}, {"runLength", 2}, {"RUN_LENGTH", 2}, {"zipScanline", 3},
    {"ZIP_SCANLINE", 3},  {"zipBlock", 4},       {"ZIP_BLOCK", 4}, {"PIZ", 5},        {"PXR24", 6},
    {"b44", 7},           {"b44a", 8},           {"dwaa", 9},      {"dwab", 10},
};

// A number as it stands; a name that is not known is 0.
bool ReadCompression(v8::Local<v8::Context> context, v8::Local<v8::Value> value, int32_t* type) {
  if (value->IsNumber()) return value->Int32Value(context).To(type);
  Text name;
  if (!name.Read(context, value)) return false;
  *type = 0;
  for (const Compression& row : kCompressions) {
    if (EqualsIgnoringCase(name.view(), row.name)) *type = row.value;
  }
  return true;
}

// False with an exception pending at the first key that can't be read or converted.
bool ReadSaveOptions(v8::Local<v8::Context> context, v8::Local<v8::Object> object, KvwSaveOptions* options) {
  OptionReader keys(context, object);
  for (const KeyBit& row : kFlags) {
    keys.Bit(row.key, row.bit, &options->flags);
    if (keys.Rethrow()) return false;
  }
  keys.Int("bitsPerChannel", &options->bitsPerChannel);
  if (keys.Rethrow()) return false;
  v8::Local<v8::Value> compression;
  if (keys.Value("compressionType").ToLocal(&compression)) {
    ReadCompression(context, compression, &options->compressionType);
  }
  return !keys.Rethrow();
}

struct LoadImage {
  KilnRendererHandle renderer;
  std::string file;
  int32_t result = 0;
  void Run() { result = sdk.Kiln_KilnRenderer_loadKvwImage(renderer, file.c_str()); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, result != 0, "Error loading image.", arguments);
  }
};

struct SaveImage {
  KilnRendererHandle renderer = nullptr;
  std::string file{};
  bool has_options = false;
  KvwSaveOptions options{0, 0, 32};
  int32_t result = 0;

  // Argument 0; false with an exception pending.
  bool ReadFile(const Arguments& info) {
    v8::Isolate* isolate = info.GetIsolate();
    if (info[0]->IsString()) {
      file = StringOf(isolate, info[0].As<v8::String>());
    } else {
      ThrowError(isolate, "Argument 0 (fileName: string) should be passed");
    }
    return info[0]->IsString();
  }
  // Argument 1, which may be left out; false with an exception pending.
  bool ReadOptions(const Arguments& info) {
    if (info[1]->IsNullOrUndefined()) return true;
    has_options = true;
    v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
    v8::Local<v8::Object> object;
    return info[1]->ToObject(context).ToLocal(&object) && ReadSaveOptions(context, object, &options);
  }
  void Run() {
    result = sdk.Kiln_KilnRenderer_saveKvwToFile(renderer, file.c_str(), has_options ? &options : nullptr);
  }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, result == 0, "Error saving image to file", arguments);
  }
};

template <class Operation>
void QueueFor(const KvwReceiver& receiver, v8::Local<v8::Function> callback, Operation operation) {
  QueueJob(new JobOf<Operation>(std::move(operation)), receiver.record->environment(), receiver.renderer,
           callback);
}

}  // namespace

// A function and a string, wherever they stand; the last of each counts.
void KvwLoadImage(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  v8::Local<v8::Function> callback;
  v8::Local<v8::String> file;
  for (int i = 0; i < info.Length(); i++) {
    if (info[i]->IsFunction()) callback = info[i].As<v8::Function>();
    if (info[i]->IsString()) file = info[i].As<v8::String>();
  }
  if (file.IsEmpty()) return ThrowError(isolate, "A file name (string) should be passed");
  QueueFor(receiver, callback, LoadImage{receiver.handle(), StringOf(isolate, file)});
}

void KvwLoadImageSync(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  Text file;
  if (!receiver || !file.Read(info.GetIsolate()->GetCurrentContext(), info[0])) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_loadKvwImage(receiver.handle(), file.c_str()) != 0);
}

void KvwSaveImage(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  SaveImage operation;
  if (!receiver || !operation.ReadFile(info)) return;
  v8::Local<v8::Function> callback = CallbackAt(info, 1);
  if (callback.IsEmpty()) {
    if (!operation.ReadOptions(info)) return;
    callback = CallbackAt(info, 2);
  }
  operation.renderer = receiver.handle();
  QueueFor(receiver, callback, std::move(operation));
}

void KvwSaveImageSync(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  SaveImage operation;
  if (!receiver || !operation.ReadFile(info) || !operation.ReadOptions(info)) return;
  operation.renderer = receiver.handle();
  operation.Run();
  info.GetReturnValue().Set(operation.result == 0);
}

}  // namespace KilnNodeWrapper
