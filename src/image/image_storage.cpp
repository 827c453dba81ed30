#include "image/image_storage.h"

#include <cstring>

#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

constexpr size_t kFloatsPerPixel = 4;
constexpr size_t kPixelBytes = kFloatsPerPixel * sizeof(float);

v8::Local<v8::ArrayBuffer> BufferOf(v8::Local<v8::Value> array) {
  return array.As<v8::TypedArray>()->Buffer();
}

// Holds the handle of an image whose memory JavaScript must not see; it goes with the array, or with the
// environment. The collector is told of the memory, which the array does not show it.
class HeldImage final : public Closable {
 public:
  HeldImage(Environment& environment, v8::Local<v8::Object> array, KilnImageHandle handle)
      : handle_(handle),
        size_(static_cast<int64_t>(sdk.KilnImage_getMemorySize(handle))),
        generation_(SdkGeneration()),
        environment_(environment),
        array_(environment.isolate(), array) {
    array_.SetWeak(
        this, [](const v8::WeakCallbackInfo<HeldImage>& info) { info.GetParameter()->Release(); },
        v8::WeakCallbackType::kParameter);
    environment_.Add(this);
    environment_.isolate()->AdjustAmountOfExternalAllocatedMemory(size_);
  }
  KilnImageHandle handle() const { return handle_; }
  size_t size() const { return static_cast<size_t>(size_); }
  void Silence() override {}
  void Release() override {
    environment_.Remove(this);
    array_.Reset();
    environment_.isolate()->AdjustAmountOfExternalAllocatedMemory(-size_);
    ReleaseBlockOf(generation_, handle_);
    delete this;
  }

 private:
  ~HeldImage() = default;
  KilnImageHandle handle_;
  int64_t size_;
  uintptr_t generation_;
  Environment& environment_;
  v8::Global<v8::Object> array_;
};

v8::Local<v8::Private> HolderKey(v8::Isolate* isolate) {
  return v8::Private::ForApi(isolate, v8::String::NewFromUtf8Literal(isolate, "kiln:image"));
}

HeldImage* HolderOf(v8::Local<v8::Value> array) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::Local<v8::Value> holder;
  if (!array.As<v8::Object>()
           ->GetPrivate(isolate->GetCurrentContext(), HolderKey(isolate))
           .ToLocal(&holder) ||
      !holder->IsExternal()) {
    return nullptr;
  }
  return static_cast<HeldImage*>(compat::ExternalPointer(holder));
}

[[maybe_unused]] bool HoldImage(Environment& environment, v8::Local<v8::Object> object,
                                KilnImageHandle handle) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> array = v8::Float32Array::New(v8::ArrayBuffer::New(isolate, 0), 0, 0);
  auto* holder = new HeldImage(environment, array, handle);
  if (!array
           ->SetPrivate(isolate->GetCurrentContext(), HolderKey(isolate),
                        compat::NewExternal(isolate, holder))
           .FromMaybe(false)) {
    holder->Release();
    return false;
  }
  object->SetInternalField(0, array);
  return true;
}

}  // namespace

bool StoreImage(Environment& environment, v8::Local<v8::Object> object, KilnImageHandle handle) {
  if constexpr (!compat::kAdoptsMemory) return HoldImage(environment, object, handle);
  const size_t size = sdk.KilnImage_getMemorySize(handle);
  v8::Local<v8::ArrayBuffer> memory;
  if (!AdoptBlock(environment.isolate(), handle, size).ToLocal(&memory)) return false;
  object->SetInternalField(0, v8::Float32Array::New(memory, 0, size >> 2));
  return true;
}

void CloseImage(v8::Local<v8::Object> object) {
  v8::Local<v8::Value> array = compat::GetField(object, 0);
  if (!array->IsTypedArray()) return;
  if constexpr (compat::kAdoptsMemory) {
    v8::Local<v8::ArrayBuffer> memory = BufferOf(array);
    if (memory->GetBackingStore()->Data()) compat::Detach(memory);
  } else if (HeldImage* holder = HolderOf(array)) {
    holder->Release();
  }
  object->SetInternalField(0, v8::Undefined(v8::Isolate::GetCurrent()));
}

KilnImageHandle imageHandleOf(v8::Local<v8::Object> image) {
  if (image->InternalFieldCount() < 1) return nullptr;
  v8::Local<v8::Value> array = compat::GetField(image, 0);
  if (!array->IsTypedArray()) return nullptr;
  if constexpr (compat::kAdoptsMemory) return BufferOf(array)->GetBackingStore()->Data();
  HeldImage* holder = HolderOf(array);
  return holder ? holder->handle() : nullptr;
}

v8::MaybeLocal<v8::Float32Array> PixelArray(Environment& environment, v8::Local<v8::Object> object,
                                            KilnImageHandle handle, void* pixels, uint64_t pixel_count) {
  v8::Local<v8::Value> array = compat::GetField(object, 0);
  const size_t size = compat::kAdoptsMemory ? BufferOf(array)->ByteLength() : HolderOf(array)->size();
  // What lies in front of the block counts as far behind it.
  const size_t offset = reinterpret_cast<uintptr_t>(pixels) - reinterpret_cast<uintptr_t>(handle);
  if (offset > size || offset % sizeof(float) != 0 || pixel_count > (size - offset) / kPixelBytes) return {};
  const size_t count = pixel_count * kFloatsPerPixel;
  if constexpr (compat::kAdoptsMemory) return v8::Float32Array::New(BufferOf(array), offset, count);
  v8::Local<v8::ArrayBuffer> copy = v8::ArrayBuffer::New(environment.isolate(), count * sizeof(float));
  if (count > 0) std::memcpy(copy->GetBackingStore()->Data(), pixels, count * sizeof(float));
  return v8::Float32Array::New(copy, 0, count);
}

}  // namespace KilnNodeWrapper
