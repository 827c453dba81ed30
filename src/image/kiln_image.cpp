// The KilnImage class: construction in all its forms, and the members at a glance.
#include "image/kiln_image.h"

#include <node_buffer.h>

#include <utility>

#include "binding/error.h"
#include "binding/handover.h"
#include "binding/lazy_class.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "image/image_members.h"
#include "image/image_storage.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"

namespace KilnNodeWrapper {
namespace {

bool Set(v8::Isolate* isolate, v8::Local<v8::Object> object, const char* key, v8::Local<v8::Value> value) {
  v8::Local<v8::String> name;
  return NewName(isolate, key).ToLocal(&name) &&
         object->Set(isolate->GetCurrentContext(), name, value).FromMaybe(false);
}

using ImageHandover = Handover<struct ImageClass>;

// The add-on's own form: the handle, a place, a host. A property can't be set when somebody put a setter that
// throws on the prototype.
KilnImageHandle TakeOver(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  ImageHandover* handover = ImageHandover::Of(info[0]);
  if (!handover) {
    ThrowTypeError(isolate, "Cannot create KilnImage");
    return nullptr;
  }
  if (info[1]->IsInt32() && info[2]->IsInt32() &&
      (!Set(isolate, info.This(), "x", info[1]) || !Set(isolate, info.This(), "y", info[2]))) {
    return nullptr;
  }
  if (info[3]->IsString() && !Set(isolate, info.This(), "host", info[3])) return nullptr;
  return handover->Take();
}

KilnImageHandle DecodeArgument(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Text type;
  if (!type.Read(isolate->GetCurrentContext(), info[1])) return nullptr;
  const ImageKind kind = ImageKindOf(type.view());
  if (kind == ImageKind::kNone || kind > ImageKind::kJpeg) {
    ThrowTypeError(isolate, "Invalid type string");
    return nullptr;
  }
  KilnImageHandle handle =
      DecodeImage(kind, node::Buffer::Data(info[0]), node::Buffer::Length(info[0]), nullptr);
  if (!handle) ThrowTypeError(isolate, "Cannot create KilnImage");
  return handle;
}

KilnImageHandle CloneArgument(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  KilnImageHandle source = imageHandleOf(info[0].As<v8::Object>());
  if (!source) {
    ThrowTypeError(isolate, "The passed image is already closed");
    return nullptr;
  }
  KilnImageHandle handle = sdk.KilnImage_clone(source);
  if (!handle) ThrowTypeError(isolate, "Cannot copy KilnImage");
  return handle;
}

KilnImageHandle CreateOfSize(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  const char* fault = nullptr;
  int32_t size[2];
  if (info.Length() < 2) {
    fault = "Arguments 0 and 1 (image width and height) should be passed";
  } else if (info[1]->IsUndefined()) {
    fault = "The second argument to KilnImage constructor is undefined";
  } else if (!ReadInts(info, size)) {
    return nullptr;
  } else if (size[0] < 1 || size[1] < 1) {
    fault = "Image width and height must be greater than 0";
  }
  KilnImageHandle handle = fault ? nullptr : sdk.KilnImage_create(size[0], size[1]);
  if (!handle) ThrowTypeError(isolate, fault ? fault : "Cannot create KilnImage");
  return handle;
}

// The handle for the constructor's arguments; null with an exception pending.
KilnImageHandle HandleFor(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info[0]->IsExternal()) return TakeOver(info);
  if (node::Buffer::HasInstance(info[0])) return DecodeArgument(info);
  if (info[0]->IsNullOrUndefined()) {
    ThrowTypeError(isolate, "Undefined value passed as an argument to KilnImage constructor");
    return nullptr;
  }
  if (isImage(EnvironmentOf(info), info[0])) return CloneArgument(info);
  return CreateOfSize(info);
}

void Construct(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  if (info.NewTarget()->IsUndefined()) return ConstructAgain(info, environment.imageTemplate.Get(isolate));
  KilnImageHandle handle = HandleFor(info);
  if (!handle) return;
  int32_t width = 0;
  int32_t height = 0;
  sdk.KilnImage_getSize(handle, &width, &height);
  if (!Set(isolate, info.This(), "width", v8::Integer::New(isolate, width)) ||
      !Set(isolate, info.This(), "height", v8::Integer::New(isolate, height))) {
    return ReleaseBlock(handle);
  }
  if (StoreImage(environment, info.This(), handle)) info.GetReturnValue().Set(info.This());
}

void Close(const Arguments& info) {
  CloseImage(info.This());
}

constexpr Accessor kAccessors[] = {{"gamma", GetGamma, SetGamma}};

constexpr Method kMethods[] = {
    {"close", Close},
    {"save", Save},
    {"compress", Compress},
    {"getDownscaled", GetDownscaled},
    {"getDownscaledCropped", GetDownscaledCropped},
    {"getFitIn", GetFitIn},
    {"getFitOut", GetFitOut},
    {"getCutIn", GetCutIn},
    {"saveSync", SaveSync},
    {"compressSync", CompressSync},
    {"getDownscaledSync", GetDownscaledSync},
    {"getDownscaledCroppedSync", GetDownscaledCroppedSync},
    {"getFitInSync", GetFitInSync},
    {"getFitOutSync", GetFitOutSync},
    {"getCutInSync", GetCutInSync},
    {"getCropped", GetCropped},
    {"draw", Draw},
    {"addColor", AddColor},
    {"changeExposure", ChangeExposure},
    {"changeContrast", ChangeContrast},
    {"changeGamma", ChangeGamma},
    {"changeSRGB", ChangeSRGB},
    {"makeNegative", MakeNegative},
    {"getPixelData", GetPixelData},
    {"toBitmapData", ToBitmapData},
    {"toIntList", ToIntList},
};

constexpr Method kStatics[] = {
    {"createFromBuffer", CreateFromBuffer},
    {"createFromBufferSync", CreateFromBufferSync},
};

v8::Local<v8::FunctionTemplate> BuildImage(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> image = NewClass(isolate, external, "KilnImage", Construct, 1);
  DefineAccessors(isolate, external, image->InstanceTemplate(), kAccessors);
  DefineMethods(isolate, external, image, kMethods);
  for (const Method& method : kStatics) defineStaticFunction(isolate, external, image, method);
  return image;
}

v8::Local<v8::FunctionTemplate> ImageTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.imageTemplate, BuildImage);
}

}  // namespace

void RegisterKilnImage(v8::Isolate* isolate, v8::Local<v8::External> external,
                       v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<ImageTemplate>>(isolate, external, exports, "KilnImage");
}

bool isImage(Environment& environment, v8::Local<v8::Value> value) {
  return IsInstance(environment, environment.imageTemplate, value);
}

v8::MaybeLocal<v8::Object> wrapImageHandle(Environment& environment, KilnImageHandle handle, int32_t x,
                                           int32_t y, const char* host) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  ImageHandover handover(handle);
  v8::Local<v8::Value> arguments[4] = {handover.External(isolate), v8::Undefined(isolate),
                                       v8::Undefined(isolate), v8::Undefined(isolate)};
  if (x >= 0 && y >= 0) {
    arguments[1] = v8::Integer::New(isolate, x);
    arguments[2] = v8::Integer::New(isolate, y);
  }
  v8::Local<v8::String> host_text;
  v8::Local<v8::Function> constructor;
  v8::Local<v8::Object> image;
  const bool has_host = !host || NewText(isolate, host).ToLocal(&host_text);
  if (host && has_host) arguments[3] = host_text;
  if (has_host && ImageTemplate(environment)->GetFunction(context).ToLocal(&constructor) &&
      constructor->NewInstance(context, 4, arguments).ToLocal(&image) &&
      // Where no JavaScript runs in between, V8 gives an outer TryCatch the constructor's exception, and us
      // the unfinished instance.
      (!handle || imageHandleOf(image))) {
    return image;
  }
  ReleaseBlock(handover.Take());
  return {};
}

KilnImageHandle OpenImageOf(const Arguments& info) {
  KilnImageHandle handle = imageHandleOf(info.This());
  if (!handle) ThrowError(info.GetIsolate(), "This image is already closed.");
  return handle;
}

bool ReadInts(const Arguments& info, std::span<int32_t> values) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  int index = 0;
  for (int32_t& value : values) {
    if (!info[index++]->Int32Value(context).To(&value)) return false;
  }
  return true;
}

ImageKind ImageKindOf(std::string_view name) {
  static constexpr struct {
    const char* name;
    ImageKind kind;
  } kRows[] = {{"bmp", ImageKind::kBmp},   {"png", ImageKind::kPng},  {"jpg", ImageKind::kJpeg},
               {"jpeg", ImageKind::kJpeg}, {"tif", ImageKind::kTiff}, {"tiff", ImageKind::kTiff},
               {"exr", ImageKind::kExr}};
  for (const auto& row : kRows) {
    if (EqualsIgnoringCase(name, row.name)) return row.kind;
  }
  return ImageKind::kNone;
}

JobArguments ScanJobArguments(const Arguments& info, int next) {
  JobArguments found;
  for (int i = next; i < info.Length(); i++) {
    KilnRendererHandle renderer = KilnRendererNodeWrapper::RendererHandleOf(EnvironmentOf(info), info[i]);
    if (renderer) {
      found.renderer = renderer;
      found.renderer_object = info[i].As<v8::Object>();
    }
    if (info[i]->IsFunction()) found.callback = info[i].As<v8::Function>();
  }
  return found;
}

KilnImageHandle DecodeImage(ImageKind kind, const void* data, uint64_t size, void* renderer) {
  switch (kind) {
    case ImageKind::kBmp:
      return sdk.KilnImage_createFromBmp(data, size, renderer);
    case ImageKind::kPng:
      return sdk.KilnImage_createFromPng(data, size, renderer);
    case ImageKind::kJpeg:
      return sdk.KilnImage_createFromJpeg(data, size, renderer);
    default:
      return nullptr;
  }
}

}  // namespace KilnNodeWrapper
