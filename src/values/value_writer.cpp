// From a JavaScript value to its stream.
#include <node_buffer.h>

#include <cstdlib>
#include <cstring>

#include "binding/kept_object.h"
#include "binding/stack_guard.h"
#include "binding/text.h"
#include "scene/plugin_wrappers.h"
#include "values/typed_lists.h"
#include "values/value_objects.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

// Up to this size a typed list is copied into the stream.
constexpr size_t kInlineListBytes = 16;

struct ArrayForm {
  const char* type;
  uint32_t tag;
};
// What an array's `_type` may say.
constexpr ArrayForm kArrayForms[] = {{"IntList", KILN_VALUE_INT_LIST},
                                     {"FloatList", KILN_VALUE_FLOAT_LIST},
                                     {"VectorList", KILN_VALUE_VECTOR_LIST},
                                     {"ColorList", KILN_VALUE_COLOR_LIST}};

// The three forms of a kind of typed list.
struct ListForm {
  uint32_t inline_tag, borrowed_tag, kept_tag;
  uint32_t floats_per_element = 1;
};
constexpr ListForm kVectorForm{KILN_VALUE_VECTOR_LIST, KILN_VALUE_BORROWED_VECTOR_LIST,
                               KILN_VALUE_KEPT_VECTOR_LIST, 3};
constexpr ListForm kColorForm{KILN_VALUE_COLOR_LIST, KILN_VALUE_BORROWED_COLOR_LIST,
                              KILN_VALUE_KEPT_COLOR_LIST, 3};
constexpr ListForm kFloatForm{KILN_VALUE_FLOAT_LIST, KILN_VALUE_BORROWED_FLOAT_LIST,
                              KILN_VALUE_KEPT_FLOAT_LIST};
constexpr ListForm kIntForm{KILN_VALUE_INT_LIST, KILN_VALUE_BORROWED_INT_LIST, KILN_VALUE_KEPT_INT_LIST};
// There is no kept form of a double list: above the limit it is borrowed.
constexpr ListForm kDoubleForm{KILN_VALUE_DOUBLE_LIST, KILN_VALUE_BORROWED_DOUBLE_LIST, 0};

const ListForm* FormOf(Environment& environment, v8::Local<v8::TypedArray> array) {
  if (IsList(environment, array, ListKind::kVector)) return &kVectorForm;
  if (IsList(environment, array, ListKind::kColor)) return &kColorForm;
  if (array->IsFloat32Array()) return &kFloatForm;
  if (array->IsInt32Array() || array->IsUint32Array()) return &kIntForm;
  if (array->IsFloat64Array()) return &kDoubleForm;
  return nullptr;
}

// Element by element from registers: a loop would read back in one piece what was just written in two.
template <size_t kCount>
[[gnu::always_inline]] inline std::array<float, kCount> Narrow(const std::array<double, kCount>& doubles) {
  return [&]<size_t... kIndex>(std::index_sequence<kIndex...>) {
    return std::array<float, kCount>{static_cast<float>(doubles[kIndex])...};
  }
  (std::make_index_sequence<kCount>{});
}
template <class T>
auto NarrowValue(const T& value) {
  return Narrow(std::bit_cast<std::array<double, sizeof(T) / sizeof(double)>>(value));
}

}  // namespace

bool ValueWriter::Grow(size_t size) {
  size_t capacity = capacity_ == kInlineSize ? 2 * kInlineSize : capacity_;
  while (capacity < used_ + size) capacity += capacity >> 1;
  auto* grown = static_cast<char*>(std::realloc(heap_.get(), capacity));
  if (!grown) return false;
  if (!heap_) std::memcpy(grown, inline_, used_);
  (void)heap_.release();
  heap_.reset(grown);
  data_ = grown;
  capacity_ = capacity;
  return true;
}

bool ValueWriter::Refuse() {
  data_error_ = true;
  return false;
}

bool ValueWriter::writeShort(v8::Local<v8::Value> value) {
  if (value->IsInt32()) return AppendTagged(KILN_VALUE_INT, value.As<v8::Int32>()->Value());
  if (value->IsNumber()) return AppendTagged(KILN_VALUE_DOUBLE, value.As<v8::Number>()->Value());
  if (value->IsObject()) return WriteValueObject(value.As<v8::Object>());
  if (value->IsBoolean()) return AppendTagged<uint32_t>(KILN_VALUE_BOOLEAN, value->IsTrue() ? 1 : 0);
  return false;
}

bool ValueWriter::write(v8::Local<v8::Value> value) {
  if (writeShort(value)) return true;
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  if (value->IsNumberObject()) {
    double number = 0;
    if (!value->NumberValue(context).To(&number)) return false;
    return AppendTagged(KILN_VALUE_DOUBLE, number);
  }
  if (value->IsNullOrUndefined()) return AppendTagged(KILN_VALUE_PLUGIN, uint64_t{KILN_NO_PLUGIN});
  if (value->IsString() || value->IsStringObject()) {
    v8::Local<v8::String> text;
    if (!value->ToString(context).ToLocal(&text)) return false;
    WriteString(text);
    return true;
  }
  if (value->IsTypedArray()) return WriteTypedArray(value.As<v8::TypedArray>());
  if (value->IsArray()) return WriteArray(value.As<v8::Array>());
  return value->IsObject() ? WritePlugin(value.As<v8::Object>()) : Refuse();
}

// Behind the bytes come zeros up to a whole word, and always at least one.
void ValueWriter::WriteString(v8::Local<v8::String> string) {
  const Text text(isolate_, string);
  static constexpr char kZeros[4] = {};
  AppendTag(KILN_VALUE_STRING);
  Append(static_cast<uint32_t>(text.length()));
  Append(text.c_str(), text.length());
  Append(kZeros, 4 - text.length() % 4);
}

// The class tags are told apart once; one question a class would cost more than all the rest.
bool ValueWriter::WriteValueObject(v8::Local<v8::Object> object) {
  const void* tag = ClassTagOf(object);
  if (tag == &ValueClass<Vector>::kTag) {
    return AppendTagged(KILN_VALUE_VECTOR, NarrowValue(LoadValue<Vector>(object)));
  }
  if (tag == &ValueClass<Color>::kTag) {
    return AppendTagged(KILN_VALUE_COLOR, NarrowValue(LoadValue<Color>(object)));
  }
  if (tag == &ValueClass<AColor>::kTag) {
    return AppendTagged(KILN_VALUE_ACOLOR, NarrowValue(LoadValue<AColor>(object)));
  }
  if (tag == &ValueClass<Matrix>::kTag) {
    return AppendTagged(KILN_VALUE_MATRIX, NarrowValue(LoadValue<Matrix>(object)));
  }
  if (tag != &ValueClass<Transform>::kTag) return false;
  const auto transform = LoadValue<Transform>(object);
  AppendTagged(KILN_VALUE_TRANSFORM, NarrowValue(transform.matrix));
  Append(transform.offset);
  return true;
}

bool ValueWriter::WritePlugin(v8::Local<v8::Object> object) {
  if (isPluginRef(environment_, object)) {
    AppendTagged(KILN_VALUE_PLUGIN_OUTPUT, pluginIdOf(environment_, object));
    Append(outputIndexOf(object));
    return true;
  }
  if (!isPlugin(environment_, object)) return Refuse();
  return AppendTagged(KILN_VALUE_PLUGIN, pluginIdOf(environment_, object));
}

bool ValueWriter::WriteTypedArray(v8::Local<v8::TypedArray> array) {
  const ListForm* form = FormOf(environment_, array);
  if (!form) {
    AppendTag(KILN_VALUE_LIST);
    Append<uint32_t>(0);
    return true;
  }
  const size_t bytes = array->ByteLength();
  const auto count = static_cast<uint32_t>(array->Length() / form->floats_per_element);
  if (bytes > static_cast<uint64_t>(int64_t{max_copy_size_})) {
    AppendTag(form->kept_tag ? form->kept_tag : form->borrowed_tag);
  } else if (bytes <= kInlineListBytes) {
    char copy[kInlineListBytes];
    array->CopyContents(copy, sizeof(copy));
    AppendTag(form->inline_tag);
    Append(count);
    Append(copy, count * (bytes / std::max<size_t>(1, array->Length())) * form->floats_per_element);
    return true;
  } else {
    AppendTag(form->borrowed_tag);
  }
  v8::Local<v8::ArrayBuffer> buffer = array->Buffer();
  Append(count);
  Append(reinterpret_cast<uint64_t>(buffer->GetBackingStore()->Data()) + array->ByteOffset());
  if (form->kept_tag && bytes > static_cast<uint64_t>(int64_t{max_copy_size_})) {
    Append(reinterpret_cast<uint64_t>(&ReleaseKeptObject));
    Append(reinterpret_cast<uint64_t>(KeepObject(environment_, buffer)));
  }
  return true;
}

bool ValueWriter::WriteArray(v8::Local<v8::Array> array) {
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  v8::Local<v8::Value> type;
  if (!CheckStack(environment_)) return false;
  if (!array->Get(context, v8::String::NewFromUtf8Literal(isolate_, "_type")).ToLocal(&type)) return false;
  uint32_t tag = KILN_VALUE_LIST;
  if (!type->IsNullOrUndefined()) {
    Text name;
    if (!name.Read(context, type)) return false;
    for (const ArrayForm& form : kArrayForms) {
      if (EqualsIgnoringCase(name.view(), form.type)) tag = form.tag;
    }
  }
  const uint32_t length = array->Length();
  AppendTag(tag);
  Append(length);
  for (uint32_t i = 0; i < length; i++) {
    v8::HandleScope scope(isolate_);
    v8::Local<v8::Value> element;
    if (!array->Get(context, i).ToLocal(&element) || !WriteElement(tag, element)) return false;
  }
  return true;
}

bool ValueWriter::WriteElement(uint32_t tag, v8::Local<v8::Value> element) {
  v8::Local<v8::Context> context = isolate_->GetCurrentContext();
  int32_t integer = 0;
  double number = 0;
  Vector vector;
  Color color;
  switch (tag) {
    case KILN_VALUE_INT_LIST:
      if (!element->Int32Value(context).To(&integer)) return false;
      Append(integer);
      return true;
    case KILN_VALUE_FLOAT_LIST:
      if (!element->NumberValue(context).To(&number)) return false;
      Append(static_cast<float>(number));
      return true;
    case KILN_VALUE_VECTOR_LIST:
      if (!ReadValue(element, &vector)) return Refuse();
      Append(NarrowValue(vector));
      return true;
    case KILN_VALUE_COLOR_LIST:
      if (!ReadValue(element, &color)) return Refuse();
      Append(NarrowValue(color));
      return true;
    default:
      return write(element);
  }
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
