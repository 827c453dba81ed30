// What the window remembers: state blobs, and settings and layers as JSON documents.
#include <node_buffer.h>

#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "framebuffer/kvw_members.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

using ReadDocument = const char* (*SdkTable::*)(KilnRendererHandle, uint64_t*);
using WriteDocument = int32_t (*SdkTable::*)(KilnRendererHandle, const char*);

constexpr int32_t kUnknownKind = -1;

// "main" or "history"; false with an exception pending.
bool ReadKind(const Arguments& info, int index, int32_t* kind) {
  *kind = kUnknownKind;
  if (index >= info.Length()) return true;
  Text name;
  if (!name.Read(info.GetIsolate()->GetCurrentContext(), info[index])) return false;
  if (EqualsIgnoringCase(name.view(), "main")) *kind = 1;
  if (EqualsIgnoringCase(name.view(), "history")) *kind = 2;
  return true;
}

// A Buffer over the block; nothing when there is none.
void ReturnBlock(const Arguments& info, void* block, uint64_t size) {
  v8::Local<v8::Object> buffer;
  if (!block || size == 0) return ReleaseBlock(block);
  if (AdoptBlockAsBuffer(info.GetIsolate(), block, size).ToLocal(&buffer)) info.GetReturnValue().Set(buffer);
}

void ReturnDocument(const Arguments& info, ReadDocument read) {
  v8::Isolate* isolate = info.GetIsolate();
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  uint64_t slot = 0;
  const char* text = (sdk.*read)(receiver.handle(), &slot);
  v8::Local<v8::String> json;
  v8::Local<v8::Value> document;
  if (!text || !NewText(isolate, text).ToLocal(&json)) return;
  // The SDK keeps the text for as long as nobody asks again.
  slot = 0;
  (sdk.*read)(receiver.handle(), &slot);
  if (v8::JSON::Parse(isolate->GetCurrentContext(), json).ToLocal(&document)) {
    info.GetReturnValue().Set(document);
  }
}

// Whether the SDK took the document. A value that can't be written as one is not handed to it.
void StoreDocument(const Arguments& info, WriteDocument write) {
  v8::Isolate* isolate = info.GetIsolate();
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::String> json;
  const bool stored = info[0]->IsObject() &&
                      v8::JSON::Stringify(isolate->GetCurrentContext(), info[0]).ToLocal(&json) &&
                      (sdk.*write)(receiver.handle(), Text(isolate, json).c_str()) == 0;
  info.GetReturnValue().Set(stored);
}

}  // namespace

void KvwGetState(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  int32_t kind = kUnknownKind;
  if (!receiver || !ReadKind(info, 0, &kind)) return;
  void* state = nullptr;
  const uint64_t size = sdk.Kiln_KilnRenderer_getKvwState(receiver.handle(), &state, kind);
  ReturnBlock(info, state, size);
}

void KvwSetState(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  int32_t kind = kUnknownKind;
  if (!receiver || !node::Buffer::HasInstance(info[0]) || !ReadKind(info, 1, &kind)) return;
  sdk.Kiln_KilnRenderer_setKvwState(receiver.handle(), node::Buffer::Data(info[0]),
                                    node::Buffer::Length(info[0]), kind);
}

void KvwGetPersistentState(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  void* state = nullptr;
  const uint64_t size = sdk.Kiln_KilnRenderer_getKvwPersistentState(receiver.handle(), &state);
  ReturnBlock(info, state, size);
}

void KvwSetPersistentState(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver || !node::Buffer::HasInstance(info[0])) return;
  sdk.Kiln_KilnRenderer_setKvwPersistentState(receiver.handle(), node::Buffer::Data(info[0]),
                                              node::Buffer::Length(info[0]));
}

void KvwGetSettings(const Arguments& info) {
  ReturnDocument(info, &SdkTable::Kiln_KilnRenderer_getKvwSettings);
}
void KvwSetSettings(const Arguments& info) {
  StoreDocument(info, &SdkTable::Kiln_KilnRenderer_setKvwSettings);
}
void KvwGetLayers(const Arguments& info) {
  ReturnDocument(info, &SdkTable::Kiln_KilnRenderer_getKvwLayers);
}
void KvwSetLayers(const Arguments& info) {
  StoreDocument(info, &SdkTable::Kiln_KilnRenderer_setKvwLayers);
}

}  // namespace KilnNodeWrapper
