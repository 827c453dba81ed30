// How the value classes are written: members as rows over the plain arithmetic, and the forms that all of
// them share.
#pragma once

#include <cstdio>
#include <string>

#include "binding/error.h"
#include "binding/members.h"
#include "binding/text.h"
#include "values/value_objects.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// --- Arguments.

// Through NumberValue; what can't be converted counts as 0.
double NumberOf(v8::Local<v8::Context> context, v8::Local<v8::Value> value);
// The element of an array through NumberValue. False with an exception pending when it can't be read.
bool ElementOf(v8::Local<v8::Context> context, v8::Local<v8::Value> array, uint32_t index, double* number);
// A number, or a Number object, which only some members accept.
inline bool IsNumberLike(v8::Local<v8::Value> value) {
  return value->IsNumber() || value->IsNumberObject();
}

// What the constructors of three components have in common: three numbers, or one array, of which nothing is
// read when it has fewer elements. kOther: argument 0 is something else; kFailed: an exception is pending.
enum class Triple { kRead, kOther, kFailed };
Triple ReadComponents(const Arguments& info, std::array<double, 3>* components);

template <class T>
bool ReadArgument(const Arguments& info, int index, T* value) {
  if (!IsValue<T>(info[index])) return false;
  *value = LoadValue<T>(info[index].template As<v8::Object>());
  return true;
}

// --- Results.

inline void Return(const Arguments& info, double value) {
  info.GetReturnValue().Set(value);
}
template <class T>
void Return(const Arguments& info, const T& value) {
  v8::Local<v8::Object> object;
  if (NewValue(EnvironmentOf(info), value).ToLocal(&object)) info.GetReturnValue().Set(object);
}

// --- Rows. An operation is a lambda over the structs: of the receiver, or of the receiver and argument 0.

namespace detail {
template <class T>
struct Signature;
template <class L, class R, class A>
struct Signature<R (L::*)(const A&) const> {
  using First = A;
};
template <class L, class R, class A, class B>
struct Signature<R (L::*)(const A&, const B&) const> {
  using First = A;
  using Second = B;
};
template <auto kOperation>
using SignatureOf = Signature<decltype(&decltype(kOperation)::operator())>;
}  // namespace detail

template <auto kOperation>
void Unary(const Arguments& info) {
  using T = typename detail::SignatureOf<kOperation>::First;
  Return(info, kOperation(LoadValue<T>(info.This())));
}

// kMessage: the error when argument 0 is no instance of the operation's second type.
template <auto kOperation, const char* kMessage>
void Binary(const Arguments& info) {
  using T = typename detail::SignatureOf<kOperation>::First;
  typename detail::SignatureOf<kOperation>::Second argument;
  if (!ReadArgument(info, 0, &argument)) return ThrowError(info.GetIsolate(), kMessage);
  Return(info, kOperation(LoadValue<T>(info.This()), argument));
}

// --- Registration.

template <class T, int kComponent>
void GetComponent(v8::Local<v8::Name>, const GetterInfo& info) {
  info.GetReturnValue().Set(GetDoubleField(compat::Holder(info), ValueClass<T>::kObjects + 2 * kComponent));
}

// [i] on a class whose elements are its components; there is nothing behind the last.
template <class T>
compat::Intercepted GetByIndex(uint32_t index, const compat::InterceptorCall& call,
                               v8::Local<v8::Value>* result) {
  if (index >= static_cast<uint32_t>(ValueClass<T>::kDoubles)) {
    ThrowError(call.isolate, "Index out of range");
  } else {
    const int field = ValueClass<T>::kObjects + 2 * static_cast<int>(index);
    *result = v8::Number::New(call.isolate, GetDoubleField(call.holder, field));
  }
  return compat::Intercepted::kYes;
}

struct ValueFace {
  const char* name;
  v8::FunctionCallback constructor;
  std::span<const Accessor> accessors;
  v8::IndexedPropertyHandlerConfiguration indexed;
  v8::FunctionCallback to_string;
  std::span<const Method> methods;  // behind toString
  v8::PropertyAttribute inspect_attributes = kHidden;
};
// toString and the inspection of Node are one function.
v8::Local<v8::FunctionTemplate> NewValueClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                                              const ValueFace& face, int fields);

template <class T>
bool ExportValueClass(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports,
                      const char* name) {
  return ExportLazily<FunctionOf<ValueTemplate<T>>>(isolate, external, exports, name);
}

template <compat::IndexedGetter kGetter>
v8::IndexedPropertyHandlerConfiguration IndexedBy(v8::Local<v8::External> external) {
  // By name: newer V8 has it explicit.
  return v8::IndexedPropertyHandlerConfiguration(compat::OnIndexedGet<kGetter>, nullptr, nullptr, nullptr,
                                                 nullptr, external);
}

// A constructor called without new does the same as with it. False when that was the case.
template <class T>
bool IsConstructing(const Arguments& info) {
  if (!info.NewTarget()->IsUndefined()) return true;
  ConstructAgain(info, ValueTemplate<T>(EnvironmentOf(info)));
  return false;
}

template <class... Numbers>
void ReturnFormatted(const Arguments& info, const char* format, Numbers... numbers) {
  char text[512];
  std::snprintf(text, sizeof(text), format, numbers...);
  v8::Local<v8::String> result;
  if (NewText(info.GetIsolate(), text).ToLocal(&result)) info.GetReturnValue().Set(result);
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
