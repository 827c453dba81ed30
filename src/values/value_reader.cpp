// From a stream to a JavaScript value. A stream of the SDK is trusted for its meaning but not for its shape:
// a count that no memory holds, and a depth that no stack holds, end the read.
#include <cstring>

#include "binding/stack_guard.h"
#include "binding/text.h"
#include "scene/plugin_wrappers.h"
#include "values/typed_lists.h"
#include "values/value_objects.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

// No list of the SDK has as many elements; a count above it is no count.
constexpr uint32_t kMaxElements = 1u << 30;
constexpr size_t kWordBytes = sizeof(uint32_t);

template <class T>
constexpr size_t kComponents = sizeof(T) / sizeof(double);

// A value whose components are floats in the stream.
template <class T>
T Widen(const uint32_t* words) {
  std::array<double, kComponents<T>> doubles;
  for (size_t i = 0; i < kComponents<T>; i++) doubles[i] = std::bit_cast<float>(words[i]);
  return std::bit_cast<T>(doubles);
}

v8::Local<v8::Value> OrUndefined(v8::Isolate* isolate, v8::MaybeLocal<v8::Object> object) {
  v8::Local<v8::Object> made;
  if (object.ToLocal(&made)) return made;
  return v8::Undefined(isolate);
}

// A stream of one value that is not nested.
struct ShortStream {
  const uint32_t* words;
  int32_t size;  // in bytes; 0 when nobody knows

  // Whether there are that many bytes behind the tag.
  bool Holds(size_t bytes) const {
    return size <= 0 || static_cast<size_t>(size) >= sizeof(uint32_t) + bytes;
  }
  template <class T>
  bool ReturnNumber(v8::ReturnValue<v8::Value> result) const {
    if (!Holds(sizeof(T))) return false;
    T number;
    std::memcpy(&number, words + 1, sizeof(number));
    result.Set(number);
    return true;
  }
  template <class T>
  bool ReturnComponents(Environment& environment, v8::ReturnValue<v8::Value> result) const {
    v8::Local<v8::Object> object;
    if (!Holds(kComponents<T> * sizeof(float)) ||
        !NewValue(environment, Widen<T>(words + 1)).ToLocal(&object))
      return false;
    result.Set(object);
    return true;
  }
};

}  // namespace

ValueReader::ValueReader(Environment& environment, v8::Local<v8::Object> renderer_object,
                         const uint32_t* cursor, int32_t size)
    : environment_(environment),
      isolate_(environment.isolate()),
      renderer_object_(renderer_object),
      cursor_(cursor),
      end_(size > 0 ? cursor + size / sizeof(uint32_t) : nullptr) {}

bool ValueReader::Reserve(size_t bytes) {
  if (end_ && bytes > static_cast<size_t>(end_ - cursor_) * sizeof(uint32_t)) overrun_ = true;
  return !overrun_;
}

template <class T>
T ValueReader::Take() {
  T value{};
  if (!Reserve(sizeof(T))) return value;
  std::memcpy(&value, cursor_, sizeof(T));
  cursor_ += sizeof(T) / kWordBytes;
  return value;
}

const uint32_t* ValueReader::TakeWords(size_t count) {
  if (!Reserve(count * sizeof(uint32_t))) return nullptr;
  const uint32_t* words = cursor_;
  cursor_ += count;
  return words;
}

bool ReturnShortValue(Environment& environment, const uint32_t* stream, int32_t size,
                      v8::ReturnValue<v8::Value> result) {
  const ShortStream value{stream, size};
  if (!value.Holds(0)) return false;
  switch (stream[0]) {
    case KILN_VALUE_INT:
      return value.ReturnNumber<int32_t>(result);
    case KILN_VALUE_FLOAT:
      return value.ReturnNumber<float>(result);
    case KILN_VALUE_DOUBLE:
      return value.ReturnNumber<double>(result);
    case KILN_VALUE_VECTOR:
      return value.ReturnComponents<Vector>(environment, result);
    case KILN_VALUE_COLOR:
      return value.ReturnComponents<Color>(environment, result);
    case KILN_VALUE_ACOLOR:
      return value.ReturnComponents<AColor>(environment, result);
    default:
      return false;
  }
}

v8::MaybeLocal<v8::Value> ValueReader::read() {
  v8::EscapableHandleScope scope(isolate_);
  v8::Local<v8::Value> value;
  if (!ReadTagged(Take<uint32_t>()).ToLocal(&value) || overrun_) return {};
  return scope.Escape(value);
}

template <class T>
v8::MaybeLocal<v8::Value> ValueReader::ReadComponents() {
  const uint32_t* words = TakeWords(kComponents<T>);
  if (!words) return {};
  return OrUndefined(isolate_, NewValue(environment_, Widen<T>(words)));
}

v8::MaybeLocal<v8::Value> ValueReader::ReadTagged(uint32_t tag) {
  switch (tag) {
    case KILN_VALUE_INT:
      return v8::Integer::New(isolate_, Take<int32_t>());
    case KILN_VALUE_FLOAT:
      return v8::Number::New(isolate_, Take<float>());
    case KILN_VALUE_DOUBLE:
      return v8::Number::New(isolate_, Take<double>());
    case KILN_VALUE_BOOLEAN:
      return v8::Boolean::New(isolate_, Take<uint32_t>() != 0);
    case KILN_VALUE_VECTOR:
      return ReadComponents<Vector>();
    case KILN_VALUE_COLOR:
      return ReadComponents<Color>();
    case KILN_VALUE_ACOLOR:
      return ReadComponents<AColor>();
    case KILN_VALUE_MATRIX:
      return ReadComponents<Matrix>();
    case KILN_VALUE_TRANSFORM_FLOAT:
      return ReadComponents<Transform>();
    case KILN_VALUE_TRANSFORM:
      return ReadTransform();
    case KILN_VALUE_STRING:
      return ReadString();
    case KILN_VALUE_STRING_POINTER:
      return ReadStringPointer();
    case KILN_VALUE_PLUGIN:
      return ReadPlugin(false);
    case KILN_VALUE_PLUGIN_OUTPUT:
      return ReadPlugin(true);
    case KILN_VALUE_LIST:
      return ReadList();
    case KILN_VALUE_INT_LIST:
    case KILN_VALUE_BOOLEAN_LIST:
      return ReadTypedList(ListKind::kInt, 1);
    case KILN_VALUE_FLOAT_LIST:
      return ReadTypedList(ListKind::kFloat, 1);
    case KILN_VALUE_VECTOR_LIST:
      return ReadTypedList(ListKind::kVector, 3);
    case KILN_VALUE_COLOR_LIST:
      return ReadTypedList(ListKind::kColor, 3);
    case KILN_VALUE_STRING_LIST:
      return ReadStringList();
    default:
      Take<uint32_t>();
      return v8::Undefined(isolate_);
  }
}

v8::MaybeLocal<v8::Value> ValueReader::ReadTransform() {
  const uint32_t* words = TakeWords(kComponents<Matrix>);
  if (!words) return {};
  Transform transform;
  transform.matrix = Widen<Matrix>(words);
  transform.offset = std::bit_cast<Vector>(Take<std::array<double, 3>>());
  return OrUndefined(isolate_, NewValue(environment_, transform));
}

v8::Local<v8::Value> ValueReader::ReadString() {
  const auto length = Take<uint32_t>();
  const uint32_t* words = TakeWords((size_t{length} + 4) / 4);
  v8::Local<v8::String> text;
  if (words && NewText(isolate_, {reinterpret_cast<const char*>(words), length}).ToLocal(&text)) return text;
  return v8::Undefined(isolate_);
}

v8::Local<v8::Value> ValueReader::ReadStringPointer() {
  const auto* pointer = reinterpret_cast<const char*>(Take<uint64_t>());
  v8::Local<v8::String> text;
  if (pointer && NewText(isolate_, pointer).ToLocal(&text)) return text;
  return v8::Undefined(isolate_);
}

v8::MaybeLocal<v8::Value> ValueReader::ReadStringList() {
  const auto count = Take<uint32_t>();
  if (count > kMaxElements) return {};
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  v8::Local<v8::Array> list = v8::Array::New(isolate_);
  for (uint32_t i = 0; i < count; i++) {
    v8::HandleScope scope(isolate_);
    v8::Local<v8::Value> text = ReadString();
    if (text->IsUndefined() || !list->Set(context, i, text).FromMaybe(false)) return {};
  }
  return list;
}

v8::MaybeLocal<v8::Value> ValueReader::ReadList() {
  const auto count = Take<uint32_t>();
  if (count > kMaxElements || !HasStackRoom(environment_)) return {};
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  v8::Local<v8::Array> list = v8::Array::New(isolate_);
  for (uint32_t i = 0; i < count; i++) {
    v8::HandleScope scope(isolate_);
    v8::Local<v8::Value> element;
    if (!read().ToLocal(&element) || !list->Set(context, i, element).FromMaybe(false)) return {};
  }
  return list;
}

v8::MaybeLocal<v8::Value> ValueReader::ReadTypedList(ListKind kind, uint32_t words_per_element) {
  const auto count = Take<uint32_t>();
  if (count > kMaxElements / words_per_element) return {};
  v8::Local<v8::Object> list;
  const size_t count_of_words = size_t{count} * words_per_element;
  const uint32_t* words = TakeWords(count_of_words);
  if (!words || !NewList(environment_, kind, words, count_of_words).ToLocal(&list)) return {};
  return list;
}

v8::Local<v8::Value> ValueReader::ReadPlugin(bool with_output) {
  const auto id = Take<uint64_t>();
  const auto output = with_output ? Take<int32_t>() : 0;
  if (renderer_object_.IsEmpty()) return v8::Undefined(isolate_);
  return wrapPluginById(environment_, renderer_object_, id, output);
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
