// Large numeric lists: typed arrays with a swapped prototype.
#pragma once

#include <span>

#include "binding/environment.h"
#include "binding/members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

enum class ListKind { kInt, kFloat, kVector, kColor };

void SetupKilnTypesInternal(const Arguments& info);
void IsVectorList(const Arguments& info);
void IsColorList(const Arguments& info);
void IntListToString(const Arguments& info);
void FloatListToString(const Arguments& info);
void VectorListToString(const Arguments& info);
void ColorListToString(const Arguments& info);
void TypedListToString(const Arguments& info);

// Gives a typed array the prototype of its kind; false when the host's companion has not set it up.
bool SetListPrototype(Environment& environment, v8::Local<v8::Object> array, ListKind kind);

// Whether a typed array's prototypes reach that of the kind, which is kVector or kColor.
bool IsList(Environment& environment, v8::Local<v8::Value> value, ListKind kind);
// A new list of `count` numbers of 4 bytes, copied.
v8::MaybeLocal<v8::Object> NewList(Environment& environment, ListKind kind, const void* numbers,
                                   size_t count);

// The second argument of the printing functions; 0 when there is none. Zero or less means no limit.
int32_t MaxItems(const Arguments& info);
// What typedListToString answers; empty leaves an exception pending.
v8::MaybeLocal<v8::String> TypedListText(Environment& environment, v8::Local<v8::Value> list,
                                         int32_t max_items);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
