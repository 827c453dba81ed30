#include "binding/sdk_memory.h"

#include <node_buffer.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "binding/v8_compat.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

// From here on the allocation itself may fail.
constexpr size_t kProbedSize = size_t{64} << 20;

// V8 calls it on a thread of its own, so it touches no V8 and the library is kept from going away meanwhile.
void Delete(void* block, size_t /*size*/, void* generation) {
  ReleaseBlockOf(reinterpret_cast<uintptr_t>(generation), block);
}

v8::Local<v8::ArrayBuffer> Copy(v8::Isolate* isolate, const void* bytes, size_t size) {
  v8::Local<v8::ArrayBuffer> buffer = v8::ArrayBuffer::New(isolate, size);
  if (size > 0) std::memcpy(buffer->GetBackingStore()->Data(), bytes, size);
  return buffer;
}

}  // namespace

void ReleaseBlock(void* block) {
  ReleaseBlockOf(SdkGeneration(), block);
}

void ReleaseBlockOf(uintptr_t generation, void* block) {
  if (!block) return;
  SdkUse use;
  if (use && generation == SdkGeneration()) sdk.C_memory_free(block);
}

SdkOrigin::SdkOrigin() : generation_(SdkGeneration()) {}

bool SdkOrigin::IsLoaded() const {
  return SdkIsLoaded() && generation_ == SdkGeneration();
}

v8::MaybeLocal<v8::ArrayBuffer> AdoptBlock(v8::Isolate* isolate, void* block, size_t size) {
  if (compat::kAdoptsMemory && size > 0) {
    return v8::ArrayBuffer::New(isolate, v8::ArrayBuffer::NewBackingStore(
                                             block, size, Delete, reinterpret_cast<void*>(SdkGeneration())));
  }
  v8::Local<v8::ArrayBuffer> buffer = Copy(isolate, block, size);
  ReleaseBlock(block);
  return buffer;
}

v8::MaybeLocal<v8::ArrayBuffer> AdoptHeapBlock(v8::Isolate* isolate, void* block, size_t size) {
  if (compat::kAdoptsMemory && size > 0) {
    return v8::ArrayBuffer::New(
        isolate, v8::ArrayBuffer::NewBackingStore(
                     block, size, [](void* data, size_t, void*) { std::free(data); }, nullptr));
  }
  v8::Local<v8::ArrayBuffer> buffer = Copy(isolate, block, size);
  std::free(block);
  return buffer;
}

v8::MaybeLocal<v8::ArrayBuffer> NewBuffer(v8::Isolate* isolate, const void* bytes, size_t size) {
  if (!compat::kAdoptsMemory || size < kProbedSize) return Copy(isolate, bytes, size);
  void* copy = std::malloc(size);
  if (!copy) return {};
  std::memcpy(copy, bytes, size);
  return AdoptHeapBlock(isolate, copy, size);
}

v8::MaybeLocal<v8::ArrayBuffer> NewZeroBuffer(v8::Isolate* isolate, size_t size) {
  if (!compat::kAdoptsMemory || size < kProbedSize) return v8::ArrayBuffer::New(isolate, size);
  void* zeros = std::calloc(size, 1);
  if (!zeros) return {};
  return AdoptHeapBlock(isolate, zeros, size);
}

v8::MaybeLocal<v8::Object> AdoptBlockAsBuffer(v8::Isolate* isolate, void* block, size_t size) {
  v8::Local<v8::ArrayBuffer> memory;
  v8::Local<v8::Uint8Array> buffer;
  if (!AdoptBlock(isolate, block, size).ToLocal(&memory)) return {};
  if (!node::Buffer::New(isolate, memory, 0, size).ToLocal(&buffer)) return {};
  return buffer;
}

}  // namespace KilnNodeWrapper
