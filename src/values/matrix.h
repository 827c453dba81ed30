// Columns of a Matrix object, for the classes that show them.
#pragma once

#include "values/value_objects.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// The Vector object of a column (0 to 2): made on the first request and kept, since the elements never
// change.
v8::MaybeLocal<v8::Object> ColumnOf(Environment& environment, v8::Local<v8::Object> matrix, int column);

// An array's first three elements as far as it reaches and `as_far` says so, or a Vector's components;
// anything else leaves the result as it is. False with an exception pending.
bool ReadTriple(v8::Local<v8::Context> context, v8::Local<v8::Value> value, bool as_far, Vector* result);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
