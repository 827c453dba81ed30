#include "proxy/mesh_columns.h"

#include <limits>

#include "binding/text.h"

namespace KilnNodeWrapper {

bool EachElement(v8::Local<v8::Context> context, v8::Local<v8::Array> array, uint32_t count,
                 const ElementVisitor& visitor) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  if (count > kMaxEntries) return false;
  for (uint32_t i = 0; i < count; i++) {
    v8::HandleScope scope(isolate);
    v8::Local<v8::Value> element;
    if (!array->Get(context, i).ToLocal(&element) || !visitor(i, element)) return false;
  }
  return true;
}

bool IsListOf(v8::Local<v8::Value> value, ElementKind kind) {
  if (kind == ElementKind::kInt) return value->IsInt32Array() || value->IsUint32Array();
  return value->IsFloat32Array();
}

const void* MemoryOf(v8::Local<v8::TypedArray> array) {
  if (array->Length() == 0) return nullptr;
  return static_cast<const char*>(array->Buffer()->GetBackingStore()->Data()) + array->ByteOffset();
}

void ArrayColumn::Resize(size_t entries) {
  arrays_.clear();
  arrays_.resize(entries);
}

void ArrayColumn::Hold(v8::Isolate* isolate, size_t entry, v8::Local<v8::Value> array) {
  arrays_[entry].Reset(isolate, array.As<v8::TypedArray>());
}

bool ArrayColumn::Point(v8::Isolate* isolate, ElementKind kind) {
  addresses_.assign(arrays_.size(), nullptr);
  counts_.assign(arrays_.size(), 0);
  for (size_t i = 0; i < arrays_.size(); i++) {
    if (arrays_[i].IsEmpty()) continue;
    v8::HandleScope scope(isolate);
    v8::Local<v8::TypedArray> array = arrays_[i].Get(isolate);
    const size_t count = array->Length() / (kind == ElementKind::kVector ? 3 : 1);
    if (count > static_cast<size_t>(std::numeric_limits<int32_t>::max())) return false;
    addresses_[i] = MemoryOf(array);
    counts_[i] = static_cast<int32_t>(count);
  }
  return true;
}

void TextColumn::Resize(size_t entries) {
  texts_.assign(entries, {});
  addresses_.assign(entries, nullptr);
  lengths_.assign(entries, 0);
}

void TextColumn::Hold(v8::Isolate* isolate, size_t entry, v8::Local<v8::String> text) {
  texts_[entry] = StringOf(isolate, text);
  addresses_[entry] = texts_[entry].c_str();
  lengths_[entry] = static_cast<int32_t>(texts_[entry].size());
}

}  // namespace KilnNodeWrapper
