// Encoding an image to memory and to a file, as a job and at once.
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "image/image_members.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"

namespace KilnNodeWrapper {
namespace {

using KilnRendererNodeWrapper::RendererHandleOf;

// What is to be encoded, and how. The meaning of the flags, of quality 0 and of depth 0 is the SDK's.
struct Encoding {
  KilnImageHandle image = nullptr;
  KilnRendererHandle renderer = nullptr;
  ImageKind kind = ImageKind::kNone;
  int32_t first = 0;  // the first flag, or the quality
  bool second = false;
  int32_t bit_depth = 0;

  int32_t PngFlags() const {
    return (first ? KILN_PNG_FIRST_FLAG : 0) | (bit_depth == 16 ? KILN_PNG_16_BITS : 0);
  }
};

uint64_t EncodeToMemory(const Encoding& encoding, void** data) {
  const auto& [image, renderer, kind, first, second, bit_depth] = encoding;
  switch (kind) {
    case ImageKind::kBmp:
      return sdk.KilnImage_convertToBmp(image, first, data, renderer, second);
    case ImageKind::kPng:
      return sdk.KilnImage_compressToPng(image, encoding.PngFlags(), data, renderer);
    case ImageKind::kJpeg:
      return sdk.KilnImage_compressToJpeg(image, first, data, renderer);
    default:
      return 0;
  }
}

int32_t EncodeToFile(const Encoding& encoding, const char* file) {
  const auto& [image, renderer, kind, first, second, bit_depth] = encoding;
  switch (kind) {
    case ImageKind::kBmp:
      return sdk.KilnImage_SaveToBmpFile(image, first, file, renderer, second);
    case ImageKind::kPng:
      return sdk.KilnImage_compressToPngFile(image, encoding.PngFlags(), file, renderer);
    case ImageKind::kJpeg:
      return sdk.KilnImage_compressToJpegFile(image, first, file, renderer);
    case ImageKind::kTiff:
      return sdk.KilnImage_SaveToTiffFile(image, file, renderer, bit_depth);
    case ImageKind::kExr:
      return sdk.KilnImage_SaveToExrFile(image, file, renderer);
    default:
      return 0;
  }
}

// Takes the arguments of the encoding's kind from `next` on; returns the index behind the last one taken.
class EncodingReader {
 public:
  EncodingReader(const Arguments& info, Encoding* encoding, int next)
      : info_(info), encoding_(*encoding), next_(next) {}

  int Read() {
    switch (encoding_.kind) {
      case ImageKind::kBmp:
        if (TakeFlag(&encoding_.first)) TakeSecondFlag();
        break;
      case ImageKind::kPng:  // in either order
        if (TakeFlag(&encoding_.first)) {
          TakeNumber(&encoding_.bit_depth);
        } else if (TakeNumber(&encoding_.bit_depth)) {
          TakeFlag(&encoding_.first);
        }
        break;
      case ImageKind::kJpeg:
        TakeNumber(&encoding_.first);
        break;
      case ImageKind::kTiff:
        TakeNumber(&encoding_.bit_depth);
        break;
      default:
        break;
    }
    return next_;
  }

 private:
  bool TakeFlag(int32_t* flag) {
    if (!info_[next_]->IsBoolean()) return false;
    *flag = info_[next_++]->IsTrue();
    return true;
  }
  void TakeSecondFlag() {
    int32_t flag = 0;
    if (TakeFlag(&flag)) encoding_.second = flag != 0;
  }
  bool TakeNumber(int32_t* number) {
    if (!info_[next_]->IsNumber()) return false;
    *number = info_[next_++]->Int32Value(info_.GetIsolate()->GetCurrentContext()).FromMaybe(0);
    return true;
  }

  const Arguments& info_;
  Encoding& encoding_;
  int next_;
};

// The type and its own arguments; -1 after throwing, otherwise the index behind them.
int ReadCompression(const Arguments& info, Encoding* encoding) {
  v8::Isolate* isolate = info.GetIsolate();
  encoding->image = OpenImageOf(info);
  if (!encoding->image) return -1;
  if (!info[0]->IsString()) {
    ThrowTypeError(isolate, "Argument 0 (compression type: 'bmp', 'png' or 'jpeg') should be passed");
    return -1;
  }
  encoding->kind = ImageKindOf(Text(isolate, info[0].As<v8::String>()).view());
  if (encoding->kind == ImageKind::kNone || encoding->kind > ImageKind::kJpeg) {
    ThrowTypeError(isolate, "Argument 0 (compression type: string) should be 'png' or 'jpeg'");
    return -1;
  }
  return EncodingReader(info, encoding, 1).Read();
}

// The file name, the type that it or argument 1 tells, and the type's own arguments; as ReadCompression.
int ReadSave(const Arguments& info, Encoding* encoding, std::string* file) {
  v8::Isolate* isolate = info.GetIsolate();
  encoding->image = OpenImageOf(info);
  if (!encoding->image) return -1;
  if (!info[0]->IsString()) {
    ThrowTypeError(isolate, "Argument 0 (fileName: string) should be passed");
    return -1;
  }
  *file = StringOf(isolate, info[0].As<v8::String>());
  int next = 1;
  if (info[1]->IsString()) {
    encoding->kind = ImageKindOf(Text(isolate, info[1].As<v8::String>()).view());
    next = 2;
  } else if (const size_t point = file->rfind('.'); point != std::string::npos) {
    encoding->kind = ImageKindOf(std::string_view(*file).substr(point + 1));
  } else {
    ThrowTypeError(
        isolate,
        "Image type cannot be determined from file name. You can pass it as a second argument: 'bmp, 'png', "
        "'jpeg', 'tiff' or 'exr'");
    return -1;
  }
  if (encoding->kind == ImageKind::kNone) {
    ThrowTypeError(isolate, "Argument 1 (imageType) should be 'bmp, 'png', 'jpeg', 'tiff' or 'exr'");
    return -1;
  }
  return EncodingReader(info, encoding, next).Read();
}

// Both callback arguments of a failure: the error and null.
int FinishWithError(Environment& environment, const char* text, v8::Local<v8::Value>* arguments) {
  arguments[1] = v8::Null(environment.isolate());
  return MakeError(environment.isolate(), text).ToLocal(&arguments[0]) ? 2 : kNoCall;
}

// Takes the renderer and the callback from behind the encoding's own arguments, and queues the operation.
template <class Operation>
void QueueEncoding(const Arguments& info, int next, Operation operation) {
  const JobArguments found = ScanJobArguments(info, next);
  operation.encoding.renderer = found.renderer;
  if (found.renderer) operation.renderer_object.Reset(info.GetIsolate(), found.renderer_object);
  Queue(info, found.callback, std::move(operation));
}

struct CompressImage {
  Encoding encoding;
  v8::Global<v8::Object> renderer_object;
  void* data = nullptr;
  uint64_t size = 0;

  void Run() {
    size = EncodeToMemory(encoding, &data);
    if (!data) size = 0;
  }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Local<v8::Object> buffer;
    if (size == 0) return FinishWithError(environment, "Image compression error", arguments);
    if (!AdoptBlockAsBuffer(environment.isolate(), data, size).ToLocal(&buffer)) return kNoCall;
    arguments[0] = v8::Null(environment.isolate());
    arguments[1] = buffer;
    return 2;
  }
  void Abandon() { ReleaseBlock(data); }
};

struct SaveImage {
  Encoding encoding;
  v8::Global<v8::Object> renderer_object;
  std::string file;
  bool saved = false;

  // The job form looks at the lowest bit only.
  void Run() { saved = (EncodeToFile(encoding, file.c_str()) & 1) != 0; }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, saved, "Error saving image to file", arguments);
  }
};

}  // namespace

void Compress(const Arguments& info) {
  CompressImage operation;
  const int next = ReadCompression(info, &operation.encoding);
  if (next >= 0) QueueEncoding(info, next, std::move(operation));
}

void CompressSync(const Arguments& info) {
  CompressImage operation;
  const int next = ReadCompression(info, &operation.encoding);
  if (next < 0) return;
  operation.encoding.renderer = RendererHandleOf(EnvironmentOf(info), info[next]);
  operation.Run();
  v8::Local<v8::Object> buffer;
  if (operation.size != 0 &&
      AdoptBlockAsBuffer(info.GetIsolate(), operation.data, operation.size).ToLocal(&buffer)) {
    info.GetReturnValue().Set(buffer);
  }
}

void Save(const Arguments& info) {
  SaveImage operation;
  const int next = ReadSave(info, &operation.encoding, &operation.file);
  if (next >= 0) QueueEncoding(info, next, std::move(operation));
}

void SaveSync(const Arguments& info) {
  Encoding encoding;
  std::string file;
  const int next = ReadSave(info, &encoding, &file);
  if (next < 0) return;
  encoding.renderer = RendererHandleOf(EnvironmentOf(info), info[next]);
  info.GetReturnValue().Set(EncodeToFile(encoding, file.c_str()) != 0);
}

}  // namespace KilnNodeWrapper
