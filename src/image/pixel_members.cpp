// The members of a KilnImage that work on its pixels, on the JavaScript thread.
#include <algorithm>
#include <cstdlib>

#include "binding/error.h"
#include "binding/option_reader.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "image/image_members.h"
#include "image/image_storage.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"
#include "values/typed_lists.h"
#include "values/value_objects.h"

namespace KilnNodeWrapper {
namespace {

using KilnValuesNodeWrapper::ListKind;
using KilnValuesNodeWrapper::SetListPrototype;

using FloatChange = int32_t (*SdkTable::*)(KilnImageHandle, float);

// A missing number is NaN.
void Change(const Arguments& info, FloatChange change) {
  double value = 0;
  if (!OpenImageOf(info) || !info[0]->NumberValue(info.GetIsolate()->GetCurrentContext()).To(&value)) return;
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  info.GetReturnValue().Set((sdk.*change)(image, static_cast<float>(value)) != 0);
}

// A colour with alpha is premultiplied; an object that is no colour is black.
KilnImageColor ReadColor(v8::Local<v8::Value> value) {
  KilnValuesNodeWrapper::AColor with_alpha;
  KilnValuesNodeWrapper::Color color;
  if (ReadValue(value, &with_alpha)) {
    const auto& [r, g, b, a] = with_alpha;
    color = {r * a, g * a, b * a};
  } else {
    ReadValue(value, &color);
  }
  return {static_cast<float>(color.r), static_cast<float>(color.g), static_cast<float>(color.b)};
}

// Where a source is drawn that says so itself.
bool ReadOwnPlace(v8::Local<v8::Context> context, v8::Local<v8::Object> source, int32_t* x, int32_t* y) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::Local<v8::Value> value;
  return source->Get(context, v8::String::NewFromUtf8Literal(isolate, "x")).ToLocal(&value) &&
         value->Int32Value(context).To(x) &&
         source->Get(context, v8::String::NewFromUtf8Literal(isolate, "y")).ToLocal(&value) &&
         value->Int32Value(context).To(y);
}

// An integer as it stands; a text that begins with "blend" is that mode, and everything else is a copy.
bool ReadMode(v8::Local<v8::Context> context, v8::Local<v8::Value> value, int32_t* mode) {
  if (value->IsInt32()) return value->Int32Value(context).To(mode);
  Text text;
  if (!text.Read(context, value)) return false;
  *mode = EqualsIgnoringCase(text.view().substr(0, 5), "blend") ? KILN_DRAW_BLEND : KILN_DRAW_COPY;
  return true;
}

bool ReadDrawArguments(const Arguments& info, int32_t* x, int32_t* y, int32_t* mode) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  if (info.Length() < 3) return ReadOwnPlace(context, info[0].As<v8::Object>(), x, y);
  return info[1]->Int32Value(context).To(x) && info[2]->Int32Value(context).To(y) &&
         (info.Length() < 4 || ReadMode(context, info[3], mode));
}

// toBitmapData's options.
struct BitmapOptions {
  int32_t flags = 0;
  int32_t stride = 0;
  int32_t alpha = -1;
};

// False when a key can't be read; a number that can't be converted is its default.
bool ReadBitmapOptions(OptionReader& keys, BitmapOptions* options) {
  static constexpr struct {
    const char* key;
    int32_t flag;
  } kFlags[] = {{"preserveAlpha", KILN_BITMAP_PRESERVE_ALPHA},
                {"swapChannels", KILN_BITMAP_SWAP_CHANNELS},
                {"reverseY", KILN_BITMAP_REVERSE_Y}};
  for (const auto& row : kFlags) {
    keys.Bit(row.key, row.flag, &options->flags);
    if (keys.unreadable()) return false;
  }
  keys.Int("stride", &options->stride);
  if (!keys.unreadable()) keys.Int("alphaValue", &options->alpha);
  return !keys.unreadable();
}

void ReturnBitmap(const Arguments& info, const BitmapOptions& options) {
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  void* data = nullptr;
  const uint64_t size =
      sdk.KilnImage_toBitmapData(image, &data, options.flags, options.stride, options.alpha);
  v8::Local<v8::ArrayBuffer> memory;
  if (size == 0 || !data) return;
  if (AdoptBlock(info.GetIsolate(), data, size).ToLocal(&memory)) {
    info.GetReturnValue().Set(v8::Uint8ClampedArray::New(memory, 0, size));
  }
}

struct IntListForm {
  const char* name;
  int32_t type;
};
constexpr IntListForm kIntListForms[] = {
    {"bgra", KILN_INTS_BGRA_BYTE},    {"bgra_byte", KILN_INTS_BGRA_BYTE},
    {"rgba32", KILN_INTS_RGBA_FLOAT}, {"rgba_float", KILN_INTS_RGBA_FLOAT},
    {"rgba16", KILN_INTS_RGBA_16},    {"rgba_16bit", KILN_INTS_RGBA_16},
    {"bgr", KILN_INTS_BGR_BYTE},      {"bgr_byte", KILN_INTS_BGR_BYTE},
};

// False after throwing that the type is unknown.
bool ReadIntListType(const Arguments& info, int32_t* type) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info[0]->IsUint32()) {
    *type = static_cast<int32_t>(info[0].As<v8::Uint32>()->Value());
  } else if (info[0]->IsString()) {
    const Text text(isolate, info[0].As<v8::String>());
    *type = -1;
    for (const IntListForm& form : kIntListForms) {
      if (EqualsIgnoringCase(text.view(), form.name)) *type = form.type;
    }
  }
  if (*type >= 0) return true;
  ThrowTypeError(
      isolate,
      "Unknown type. Supported types are 'bgra' ('bgra_byte') (default), 'bgr' ('bgr_byte'), 'rgba16' "
      "('rgba_16bit'), 'rgba32' ('rgba_float')");
  return false;
}

uint64_t IntListElements(int32_t type, uint64_t pixels) {
  switch (type) {
    case KILN_INTS_RGBA_FLOAT:
      return pixels * 4;
    case KILN_INTS_RGBA_16:
      return pixels * 2;
    case KILN_INTS_BGR_BYTE:
      return ((pixels + 1) * 3) >> 2;
    default:
      return pixels;
  }
}

}  // namespace

void GetGamma(v8::Local<v8::Name>, const GetterInfo& info) {
  KilnImageHandle image = imageHandleOf(compat::Holder(info));
  if (!image) return ThrowError(info.GetIsolate(), "This image is already closed.");
  info.GetReturnValue().Set(static_cast<double>(sdk.KilnImage_getGamma(image)));
}

void SetGamma(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info) {
  v8::Isolate* isolate = info.GetIsolate();
  double gamma = 0;
  if (imageHandleOf(compat::Holder(info)) && !value->NumberValue(isolate->GetCurrentContext()).To(&gamma))
    return;
  KilnImageHandle image = imageHandleOf(compat::Holder(info));
  if (!image) return ThrowError(isolate, "This image is already closed.");
  if (sdk.KilnImage_setGamma(image, static_cast<float>(gamma)) == 0)
    ThrowError(isolate, "Wrong gamma value passed.");
}

void ChangeExposure(const Arguments& info) {
  Change(info, &SdkTable::KilnImage_changeExposure);
}
void ChangeContrast(const Arguments& info) {
  Change(info, &SdkTable::KilnImage_changeContrast);
}
void ChangeGamma(const Arguments& info) {
  Change(info, &SdkTable::KilnImage_changeGamma);
}

void ChangeSRGB(const Arguments& info) {
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  const bool flag = info.Length() == 0 || info[0]->BooleanValue(info.GetIsolate());
  info.GetReturnValue().Set(sdk.KilnImage_changeSRGB(image, flag) != 0);
}

void MakeNegative(const Arguments& info) {
  KilnImageHandle image = OpenImageOf(info);
  if (image) info.GetReturnValue().Set(sdk.KilnImage_makeNegative(image) != 0);
}

void AddColor(const Arguments& info) {
  KilnImageHandle image = OpenImageOf(info);
  if (!image || !info[0]->IsObject()) return;
  const KilnImageColor color = ReadColor(info[0]);
  info.GetReturnValue().Set(sdk.KilnImage_addColor(image, &color) != 0);
}

void Draw(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!OpenImageOf(info)) return;
  if (!isImage(EnvironmentOf(info), info[0])) {
    return ThrowTypeError(isolate, "Argument 0 (KilnImage) should be passed");
  }
  v8::Local<v8::Object> other = info[0].As<v8::Object>();
  int32_t x = 0;
  int32_t y = 0;
  int32_t mode = KILN_DRAW_COPY;
  if (imageHandleOf(other) && !ReadDrawArguments(info, &x, &y, &mode)) return;
  KilnImageHandle source = imageHandleOf(other);
  if (!source) return ThrowTypeError(isolate, "The passed image is already closed.");
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  info.GetReturnValue().Set(sdk.KilnImage_drawImage(image, source, x, y, mode) != 0);
}

// The size may be negative: only the test takes its absolute value, and the SDK gets it as it is.
void GetCropped(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!OpenImageOf(info)) return;
  if (info.Length() < 4)
    return ThrowTypeError(isolate, "x and y coordinates, width and height should be passed");
  int32_t v[4];
  if (!ReadInts(info, v)) return;
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  const auto [x, y, width, height] = v;
  int32_t image_width = 0;
  int32_t image_height = 0;
  sdk.KilnImage_getSize(image, &image_width, &image_height);
  if (x < 0 || y < 0 || width == 0 || height == 0 || x + std::abs(int64_t{width}) > image_width ||
      y + std::abs(int64_t{height}) > image_height) {
    return ThrowTypeError(isolate, "Arguments out of range");
  }
  KilnImageHandle cropped = sdk.KilnImage_crop(image, x, y, width, height);
  v8::Local<v8::Object> object;
  if (cropped && wrapImageHandle(EnvironmentOf(info), cropped, -1, -1, nullptr).ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

void GetPixelData(const Arguments& info) {
  KilnImageHandle image = OpenImageOf(info);
  if (!image) return;
  uint64_t count = 0;
  void* pixels = sdk.KilnImage_getPixelDataPointerAndPixelCount(image, &count);
  Environment& environment = EnvironmentOf(info);
  v8::Local<v8::Float32Array> list;
  if (!pixels || !PixelArray(environment, info.This(), image, pixels, count).ToLocal(&list)) return;
  SetListPrototype(environment, list, ListKind::kFloat);
  info.GetReturnValue().Set(list);
}

void ToBitmapData(const Arguments& info) {
  BitmapOptions options;
  if (!OpenImageOf(info)) return;
  if (!info[0]->IsObject()) return ReturnBitmap(info, options);
  OptionReader keys(info.GetIsolate()->GetCurrentContext(), info[0].As<v8::Object>());
  if (ReadBitmapOptions(keys, &options)) ReturnBitmap(info, options);
  // The exception of a number that was replaced by its default is told behind the work.
  keys.Rethrow();
}

void ToIntList(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  KilnImageHandle image = OpenImageOf(info);
  int32_t type = KILN_INTS_BGRA_BYTE;
  if (!image || !ReadIntListType(info, &type)) return;
  int32_t width = 0;
  int32_t height = 0;
  sdk.KilnImage_getSize(image, &width, &height);
  const uint64_t elements = IntListElements(
      type, static_cast<uint64_t>(std::max(width, 0)) * static_cast<uint64_t>(std::max(height, 0)));
  v8::Local<v8::ArrayBuffer> memory;
  if (elements > compat::MaxListLength() ||
      !NewZeroBuffer(isolate, elements * sizeof(int32_t)).ToLocal(&memory)) {
    return;
  }
  if (sdk.KilnImage_toIntList(image, memory->GetBackingStore()->Data(), memory->ByteLength(), type) != 0)
    return;
  info.GetReturnValue().Set(v8::Int32Array::New(memory, 0, elements));
}

}  // namespace KilnNodeWrapper
