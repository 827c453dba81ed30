#include "values/typed_lists.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

struct Form {
  const char* prefix;
  const char* triple;  // the name of one triple; null for a list of single numbers
};
constexpr Form kForms[] = {
    {"IntList(", nullptr}, {"FloatList(", nullptr}, {"VectorList(", "Vector"}, {"ColorList(", "Color"}};

// The bytes of any view as they are, copied only when the view's memory is not materialised yet.
class ViewBytes {
 public:
  explicit ViewBytes(v8::Local<v8::ArrayBufferView> view) : size_(view->ByteLength()) {
    if (view->HasBuffer()) {
      data_ = static_cast<const char*>(view->Buffer()->GetBackingStore()->Data()) + view->ByteOffset();
    } else {
      copy_.resize(size_);
      view->CopyContents(copy_.data(), size_);
      data_ = copy_.data();
    }
  }
  size_t size() const { return size_; }
  template <class T>
  T At(size_t index) const {
    T value;
    std::memcpy(&value, data_ + index * sizeof(T), sizeof(T));
    return value;
  }

 private:
  size_t size_;
  const char* data_ = nullptr;
  std::vector<char> copy_;
};

template <class... Values>
void AppendFormat(std::string& text, const char* format, Values... values) {
  char item[100];
  text.append(item, std::snprintf(item, sizeof(item), format, values...));
}

void AppendRest(std::string& text, size_t rest) {
  if (rest > 0) AppendFormat(text, ", ... %u more items", static_cast<unsigned>(rest));
  text += ")";
}

size_t Limited(size_t count, int32_t max_items) {
  return max_items > 0 && count > static_cast<size_t>(max_items) ? static_cast<size_t>(max_items) : count;
}

// A list of numbers is never cut for a rest of one, two or three.
std::string PrintNumbers(const ViewBytes& bytes, bool ints, const char* prefix, int32_t max_items) {
  const size_t count = bytes.size() / 4;
  size_t shown = Limited(count, max_items);
  if (count - shown < 4) shown = count;
  std::string text = prefix;
  for (size_t i = 0; i < shown; i++) {
    const char* separator = i + 1 < shown ? ", " : "";
    if (ints) {
      AppendFormat(text, "%d%s", bytes.At<int32_t>(i), separator);
    } else {
      AppendFormat(text, "%.7g%s", static_cast<double>(bytes.At<float>(i)), separator);
    }
  }
  AppendRest(text, count - shown);
  return text;
}

// Here a rest of one is left out all the same.
std::string PrintTriples(const ViewBytes& bytes, const Form& form, int32_t max_items) {
  const size_t count = bytes.size() / 12;
  const size_t shown = Limited(count, max_items);
  std::string text = form.prefix;
  for (size_t i = 0; i < shown; i++) {
    AppendFormat(text, "%s(%.7g, %.7g, %.7g)%s", form.triple, static_cast<double>(bytes.At<float>(3 * i)),
                 static_cast<double>(bytes.At<float>(3 * i + 1)),
                 static_cast<double>(bytes.At<float>(3 * i + 2)), i + 1 < shown ? ", " : "");
  }
  AppendRest(text, count - shown);
  return text;
}

v8::MaybeLocal<v8::String> ListText(v8::Isolate* isolate, v8::Local<v8::Value> list, ListKind kind,
                                    int32_t max_items) {
  const ViewBytes bytes(list.As<v8::ArrayBufferView>());
  const Form& form = kForms[static_cast<int>(kind)];
  return NewText(isolate, form.triple ? PrintTriples(bytes, form, max_items)
                                      : PrintNumbers(bytes, kind == ListKind::kInt, form.prefix, max_items));
}

template <ListKind kKind>
void PrintArgument(const Arguments& info) {
  v8::Local<v8::String> text;
  if (info[0]->IsArrayBufferView() &&
      ListText(info.GetIsolate(), info[0], kKind, MaxItems(info)).ToLocal(&text)) {
    info.GetReturnValue().Set(text);
  }
}

// Walks the prototypes up to the target, the root or the chain's end.
bool HasListPrototype(Environment& environment, v8::Local<v8::Value> value,
                      const v8::Global<v8::Object>& target) {
  if (!value->IsFloat32Array()) return false;
  v8::Local<v8::Value> prototype = compat::GetPrototype(value.As<v8::Object>());
  while (prototype->IsObject()) {
    if (target == prototype.As<v8::Object>()) return true;
    if (environment.listRootPrototype == prototype.As<v8::Object>()) return false;
    // A proxy's prototype is its own business.
    if (prototype->IsProxy()) return false;
    prototype = compat::GetPrototype(prototype.As<v8::Object>());
  }
  return false;
}

}  // namespace

void SetupKilnTypesInternal(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() != 5) return ThrowError(isolate, "Error: Broken SDK build!");
  Environment& environment = EnvironmentOf(info);
  v8::Global<v8::Object>* fields[] = {&environment.listRootPrototype, &environment.intListPrototype,
                                      &environment.floatListPrototype, &environment.vectorListPrototype,
                                      &environment.colorListPrototype};
  for (int i = 0; i < 5; i++) {
    fields[i]->Reset();
    if (info[i]->IsObject()) fields[i]->Reset(isolate, info[i].As<v8::Object>());
  }
}

void IsVectorList(const Arguments& info) {
  Environment& environment = EnvironmentOf(info);
  info.GetReturnValue().Set(HasListPrototype(environment, info[0], environment.vectorListPrototype));
}

void IsColorList(const Arguments& info) {
  Environment& environment = EnvironmentOf(info);
  info.GetReturnValue().Set(HasListPrototype(environment, info[0], environment.colorListPrototype));
}

void IntListToString(const Arguments& info) {
  PrintArgument<ListKind::kInt>(info);
}
void FloatListToString(const Arguments& info) {
  PrintArgument<ListKind::kFloat>(info);
}
void VectorListToString(const Arguments& info) {
  PrintArgument<ListKind::kVector>(info);
}
void ColorListToString(const Arguments& info) {
  PrintArgument<ListKind::kColor>(info);
}

void TypedListToString(const Arguments& info) {
  v8::Local<v8::String> text;
  if (TypedListText(EnvironmentOf(info), info[0], MaxItems(info)).ToLocal(&text))
    info.GetReturnValue().Set(text);
}

v8::MaybeLocal<v8::String> TypedListText(Environment& environment, v8::Local<v8::Value> list,
                                         int32_t max_items) {
  v8::Isolate* isolate = environment.isolate();
  if (list->IsInt32Array() || list->IsUint32Array())
    return ListText(isolate, list, ListKind::kInt, max_items);
  if (HasListPrototype(environment, list, environment.vectorListPrototype)) {
    return ListText(isolate, list, ListKind::kVector, max_items);
  }
  if (HasListPrototype(environment, list, environment.colorListPrototype)) {
    return ListText(isolate, list, ListKind::kColor, max_items);
  }
  if (list->IsFloat32Array()) return ListText(isolate, list, ListKind::kFloat, max_items);
  return list->ToString(isolate->GetCurrentContext());
}

bool IsList(Environment& environment, v8::Local<v8::Value> value, ListKind kind) {
  return HasListPrototype(
      environment, value,
      kind == ListKind::kVector ? environment.vectorListPrototype : environment.colorListPrototype);
}

v8::MaybeLocal<v8::Object> NewList(Environment& environment, ListKind kind, const void* numbers,
                                   size_t count) {
  v8::Local<v8::ArrayBuffer> memory;
  if (!NewBuffer(environment.isolate(), numbers, count * 4).ToLocal(&memory)) return {};
  v8::Local<v8::Object> list;
  if (kind == ListKind::kInt) {
    list = v8::Int32Array::New(memory, 0, count);
  } else {
    list = v8::Float32Array::New(memory, 0, count);
  }
  SetListPrototype(environment, list, kind);
  return list;
}

bool SetListPrototype(Environment& environment, v8::Local<v8::Object> array, ListKind kind) {
  const v8::Global<v8::Object>* prototypes[] = {
      &environment.intListPrototype, &environment.floatListPrototype, &environment.vectorListPrototype,
      &environment.colorListPrototype};
  const v8::Global<v8::Object>& prototype = *prototypes[static_cast<int>(kind)];
  v8::Isolate* isolate = environment.isolate();
  return !prototype.IsEmpty() &&
         compat::SetPrototype(isolate->GetCurrentContext(), array, prototype.Get(isolate)).FromMaybe(false);
}

int32_t MaxItems(const Arguments& info) {
  if (info.Length() < 2) return 0;
  return info[1]->Int32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(0);
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
