// Memory of the SDK under JavaScript's buffers: adopted where the host allows it, copied where V8 has a
// sandbox. The one place that decides which.
#pragma once

#include <v8.h>

#include <cstddef>
#include <cstdint>

namespace KilnNodeWrapper {

// An ArrayBuffer over a block that the SDK handed over, which is given back when the buffer is collected or
// detached, as long as the library that made it is loaded. On failure the block is given back at once. The
// block may be null only with size 0.
v8::MaybeLocal<v8::ArrayBuffer> AdoptBlock(v8::Isolate* isolate, void* block, size_t size);
// The same as a Node Buffer.
v8::MaybeLocal<v8::Object> AdoptBlockAsBuffer(v8::Isolate* isolate, void* block, size_t size);

// The same for memory of malloc, which is freed in the end whatever library is loaded.
v8::MaybeLocal<v8::ArrayBuffer> AdoptHeapBlock(v8::Isolate* isolate, void* block, size_t size);

// An ArrayBuffer with a copy of the bytes; empty when memory is out, which V8's own would end the process
// over.
v8::MaybeLocal<v8::ArrayBuffer> NewBuffer(v8::Isolate* isolate, const void* bytes, size_t size);
// The same with zeros in place of the bytes.
v8::MaybeLocal<v8::ArrayBuffer> NewZeroBuffer(v8::Isolate* isolate, size_t size);

// Gives a block back to the SDK if the library is loaded; otherwise it is left alone. Null is allowed. Any
// thread.
void ReleaseBlock(void* block);
// The same for a block that was kept: given back only to the library that made it (SdkGeneration), because
// the next one knows nothing of it.
void ReleaseBlockOf(uintptr_t generation, void* block);

// Remembers the library that is loaded when it is made: a handle of that library may be given back to no
// other, and to nobody once it is gone.
class SdkOrigin {
 public:
  SdkOrigin();
  bool IsLoaded() const;

 private:
  uintptr_t generation_;
};

}  // namespace KilnNodeWrapper
