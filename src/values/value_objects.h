// The JavaScript face of the value types, for the rooms that make and read them.
#pragma once

#include "binding/environment.h"
#include "values/value_types.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// The components of an instance of the type's class, or of a subclass; false for any other value. Never
// throws.
template <class T>
bool ReadValue(Environment& environment, v8::Local<v8::Value> value, T* result);

// A new instance, made without running any JavaScript; empty when memory is out. T: Vector, Matrix,
// Transform, Color, AColor.
template <class T>
v8::MaybeLocal<v8::Object> NewValue(Environment& environment, const T& value);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
