// Decoding an image from a Buffer, as a job and at once.
#include <node_buffer.h>

#include <memory>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "image/image_members.h"
#include "image/kiln_image.h"
#include "module/module.h"
#include "renderer/kiln_renderer.h"

namespace KilnNodeWrapper {
namespace {

using KilnRendererNodeWrapper::RendererHandleOf;

// The bytes and the renderer stay alive until the job has settled: the pool thread reads the Buffer's own
// memory, which must outlast a transfer of that Buffer too.
struct DecodeJob {
  ImageKind kind;
  const void* data;
  uint64_t size;
  KilnRendererHandle renderer;
  std::shared_ptr<v8::BackingStore> memory;
  v8::Global<v8::Object> renderer_object;
  KilnImageHandle image = nullptr;

  void Run() { image = DecodeImage(kind, data, size, renderer); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Isolate* isolate = environment.isolate();
    v8::Local<v8::Object> object;
    if (!image) {
      arguments[1] = v8::Null(isolate);
      return MakeError(isolate, "Image decompression error").ToLocal(&arguments[0]) ? 2 : kNoCall;
    }
    if (!wrapImageHandle(environment, image, -1, -1, nullptr).ToLocal(&object)) return kNoCall;
    arguments[0] = v8::Null(isolate);
    arguments[1] = object;
    return 2;
  }
  void Abandon() { ReleaseBlock(image); }
};

// Arguments 0 and 1; kNone with an exception pending.
ImageKind ReadSource(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!node::Buffer::HasInstance(info[0])) {
    ThrowTypeError(isolate, "Argument 0 (Buffer) should be passed");
    return ImageKind::kNone;
  }
  Text type;
  if (!type.Read(isolate->GetCurrentContext(), info[1])) return ImageKind::kNone;
  const ImageKind kind = ImageKindOf(type.view());
  if (kind != ImageKind::kNone && kind <= ImageKind::kJpeg) return kind;
  ThrowTypeError(isolate, "Argument 1 (imageType) should be 'bmp, 'png' or 'jpeg'");
  return ImageKind::kNone;
}

}  // namespace

void CreateFromBuffer(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() < 3) {
    return ThrowTypeError(isolate, "A Buffer, an image type string and a callback function should be passed");
  }
  const ImageKind kind = ReadSource(info);
  if (kind == ImageKind::kNone) return;
  const JobArguments found = ScanJobArguments(info, 2);
  if (found.callback.IsEmpty()) return ThrowTypeError(isolate, "A callback function is required");
  DecodeJob job{kind,
                node::Buffer::Data(info[0]),
                node::Buffer::Length(info[0]),
                found.renderer,
                info[0].As<v8::ArrayBufferView>()->Buffer()->GetBackingStore(),
                {}};
  if (found.renderer) job.renderer_object.Reset(isolate, found.renderer_object);
  Queue(info, found.callback, std::move(job));
}

void CreateFromBufferSync(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  if (info.Length() < 2) return ThrowTypeError(isolate, "A Buffer and an image type string should be passed");
  const ImageKind kind = ReadSource(info);
  if (kind == ImageKind::kNone) return;
  KilnImageHandle image = DecodeImage(kind, node::Buffer::Data(info[0]), node::Buffer::Length(info[0]),
                                      RendererHandleOf(environment, info[2]));
  if (!image) return ThrowError(isolate, "Image decompression error");
  v8::Local<v8::Object> object;
  if (wrapImageHandle(environment, image, -1, -1, nullptr).ToLocal(&object))
    info.GetReturnValue().Set(object);
}

}  // namespace KilnNodeWrapper
