// The JavaScript face of the value types: where their doubles live, and the ways between a struct and its
// object.
//
// The doubles stand in the object's own internal fields, with no native record and no weak handle, and a new
// object is a clone of a pristine one: that makes an operation three times as quick as a wrapped record.
#pragma once

#include <array>
#include <bit>

#include "binding/environment.h"
#include "binding/internal_fields.h"
#include "values/value_types.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// Whether the fields of value objects may be read and written as plain words; found out when the first class
// is registered, and the same for the whole process.
inline bool raw_value_fields = false;

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

// The components of an object that is known to be an instance.
template <class T>
[[gnu::always_inline]] inline T LoadValue(v8::Local<v8::Object> object) {
  return std::bit_cast<T>(
      GetDoubleFields<ValueClass<T>::kDoubles>(object, ValueClass<T>::kObjects, raw_value_fields));
}

// Writes the components into an instance, whose tag stands already.
template <class T>
[[gnu::always_inline]] inline void SaveComponents(v8::Local<v8::Object> object, const T& value) {
  SetDoubleFields(object, ValueClass<T>::kObjects,
                  std::bit_cast<std::array<double, ValueClass<T>::kDoubles>>(value), raw_value_fields);
}

// Writes the tag and the components into an instance whose object fields are empty.
template <class T>
void SaveValue(v8::Local<v8::Object> object, const T& value) {
  SetClassTag(object, ValueClass<T>::kTag);
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
    if (!(environment.*ValueClass<T>::kTemplate)
             .Get(isolate)
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
