// The JavaScript face of the value types: where their doubles live, and the ways between a struct and its
// object.
//
// The doubles stand in the object's own internal fields, with no native record and no weak handle, and a new
// object is a clone of a pristine one: that makes an operation three times as quick as a wrapped record.
#pragma once

#include <array>
#include <atomic>
#include <bit>

#include "binding/environment.h"
#include "binding/internal_fields.h"
#include "binding/lazy_class.h"
#include "values/value_types.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// Whether the fields of value objects may be read and written as plain words, which says the first object of
// the process that is made here. Until then, and where they may not, V8's functions write the same words.
inline std::atomic<bool> raw_value_fields = false;
inline bool RawValueFields() {
  return raw_value_fields.load(std::memory_order_relaxed);
}

// What is particular to a type's class. kObjects internal fields, which hold objects made on demand, stand
// before the doubles.
template <class T>
struct ValueClass;

template <class T, int kIndexOfClass, v8::Global<v8::FunctionTemplate> ModuleContext::*kTemplateField,
          int kObjectFields>
struct ValueClassOf {
  static constexpr int kIndex = kIndexOfClass;
  static constexpr int kObjects = kObjectFields;
  static constexpr int kDoubles = sizeof(T) / sizeof(double);
  static constexpr int kFields = kObjects + 2 * kDoubles;
  static constexpr auto kTemplate = kTemplateField;
  static inline const ClassTag kTag{};
};
template <>
struct ValueClass<Vector> : ValueClassOf<Vector, 0, &ModuleContext::vectorTemplate, 0> {};
template <>
struct ValueClass<Matrix> : ValueClassOf<Matrix, 1, &ModuleContext::matrixTemplate, 3> {};
template <>
struct ValueClass<Transform> : ValueClassOf<Transform, 2, &ModuleContext::transformTemplate, 2> {};
template <>
struct ValueClass<Color> : ValueClassOf<Color, 3, &ModuleContext::colorTemplate, 0> {};
template <>
struct ValueClass<AColor> : ValueClassOf<AColor, 4, &ModuleContext::acolorTemplate, 0> {};
inline constexpr int kValueClasses = 5;

// The class's template; each in its class's file.
template <class T>
v8::Local<v8::FunctionTemplate> BuildValueClass(v8::Isolate* isolate, v8::Local<v8::External> external);
template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Vector>(v8::Isolate*, v8::Local<v8::External>);
template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Matrix>(v8::Isolate*, v8::Local<v8::External>);
template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Transform>(v8::Isolate*, v8::Local<v8::External>);
template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Color>(v8::Isolate*, v8::Local<v8::External>);
template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<AColor>(v8::Isolate*, v8::Local<v8::External>);

// Built with the first use of the class.
template <class T>
v8::Local<v8::FunctionTemplate> ValueTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.*ValueClass<T>::kTemplate, BuildValueClass<T>);
}

// The components of an object that is known to be an instance.
template <class T>
[[gnu::always_inline]] inline T LoadValue(v8::Local<v8::Object> object) {
  return std::bit_cast<T>(
      GetDoubleFields<ValueClass<T>::kDoubles>(object, ValueClass<T>::kObjects, RawValueFields()));
}

// Writes the components into an instance, whose tag stands already.
template <class T>
[[gnu::always_inline]] inline void SaveComponents(v8::Local<v8::Object> object, const T& value) {
  SetDoubleFields(object, ValueClass<T>::kObjects,
                  std::bit_cast<std::array<double, ValueClass<T>::kDoubles>>(value), RawValueFields());
}

// Writes the tag and the components into an instance whose object fields are empty.
template <class T>
void SaveValue(v8::Local<v8::Object> object, const T& value) {
  SetClassTag(object, ValueClass<T>::kTag);
  if (!RawValueFields() && RawFieldsWork(object, ValueClass<T>::kTag, ValueClass<T>::kObjects)) {
    raw_value_fields.store(true, std::memory_order_relaxed);
  }
  SaveComponents(object, value);
}

template <class T>
bool IsValue(v8::Local<v8::Value> value) {
  return value->IsObject() && HasClassTag(value.As<v8::Object>(), ValueClass<T>::kTag);
}

// The components of an instance of the type's class, or of a subclass; false for any other value. Never
// throws.
template <class T>
bool ReadValue(v8::Local<v8::Value> value, T* result) {
  if (!IsValue<T>(value)) return false;
  *result = LoadValue<T>(value.As<v8::Object>());
  return true;
}

// A new instance, made without running any JavaScript; empty when memory is out.
template <class T>
v8::MaybeLocal<v8::Object> NewValue(Environment& environment, const T& value) {
  v8::Isolate* isolate = environment.isolate();
  v8::Global<v8::Object>& pristine = environment.pristine_values[ValueClass<T>::kIndex];
  if (pristine.IsEmpty()) {
    v8::Local<v8::Object> first;
    if (!ValueTemplate<T>(environment)
             ->InstanceTemplate()
             ->NewInstance(isolate->GetCurrentContext())
             .ToLocal(&first)) {
      return {};
    }
    SaveValue(first, T{});
    pristine.Reset(isolate, first);
  }
  v8::Local<v8::Object> object = compat::Clone(isolate, compat::Strong(isolate, pristine));
  SaveComponents(object, value);
  return object;
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
