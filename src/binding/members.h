// How a class face is registered: tables of members, and the helpers that give every member its attributes,
// its callback data and, for methods, its signature.
#pragma once

#include <node.h>
#include <v8.h>

#include <cstdint>
#include <span>

#include "binding/v8_compat.h"

namespace KilnNodeWrapper {

using Arguments = v8::FunctionCallbackInfo<v8::Value>;
using GetterInfo = compat::AccessorGetterInfo;
using SetterInfo = compat::AccessorSetterInfo;
using Getter = void (*)(v8::Local<v8::Name>, const GetterInfo&);
using Setter = void (*)(v8::Local<v8::Name>, v8::Local<v8::Value>, const SetterInfo&);

inline constexpr auto kDontDelete = v8::DontDelete;
inline constexpr auto kReadOnly = static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontDelete);
inline constexpr auto kHidden =
    static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontEnum | v8::DontDelete);

struct Method {
  const char* name;
  v8::FunctionCallback callback;
  v8::PropertyAttribute attributes = kReadOnly;
};

struct Accessor {
  const char* name;
  Getter getter;
  Setter setter = nullptr;  // none: a write has no effect
  v8::PropertyAttribute attributes = kDontDelete;
};

// Has an empty object keep its properties in a table. One with as many as the exports ends up with that
// anyway, and until then every new property costs it a shape of its own.
void MakeDictionary(v8::Isolate* isolate, v8::Local<v8::Object> object);

// Each takes the isolate and the external of the ModuleContext, makes the name an internalized string, and
// reports false when the string, or what it names, can't be made.
bool defineAccessor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> target,
                    const Accessor& accessor);
bool defineTemplateAccessor(v8::Isolate* isolate, v8::Local<v8::External> external,
                            v8::Local<v8::ObjectTemplate> target, const Accessor& accessor);
// A property of the constructor, not of the prototype; without a signature.
bool defineStaticFunction(v8::Isolate* isolate, v8::Local<v8::External> external,
                          v8::Local<v8::FunctionTemplate> target, const Method& method);
bool defineFunction(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> target,
                    const Method& method);
bool defineValue(v8::Isolate* isolate, v8::Local<v8::Object> target, const char* name,
                 v8::Local<v8::Value> value, v8::PropertyAttribute attributes = kReadOnly);
// With the class's own signature, so that a foreign receiver is refused by V8 itself.
bool definePrototypeMethodByKey(v8::Isolate* isolate, v8::Local<v8::External> external,
                                v8::Local<v8::FunctionTemplate> target, v8::Local<v8::Name> key,
                                v8::FunctionCallback callback, v8::PropertyAttribute attributes);
bool definePrototypeMethod(v8::Isolate* isolate, v8::Local<v8::External> external,
                           v8::Local<v8::FunctionTemplate> target, const Method& method);

void DefineMethods(v8::Isolate* isolate, v8::Local<v8::External> external,
                   v8::Local<v8::FunctionTemplate> target, std::span<const Method> methods);
void DefineAccessors(v8::Isolate* isolate, v8::Local<v8::External> external,
                     v8::Local<v8::ObjectTemplate> target, std::span<const Accessor> accessors);

// A class: a named function template with a constructor and a number of internal fields.
v8::Local<v8::FunctionTemplate> NewClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                                         const char* name, v8::FunctionCallback constructor,
                                         int internal_fields);
// Symbol.for("nodejs.util.inspect.custom"): a method under it is what util.inspect prints.
v8::Local<v8::Symbol> InspectSymbol(v8::Isolate* isolate);

// Calls the constructor again with `new` and the same arguments, for a class called as a function.
void ConstructAgain(const Arguments& info, v8::Local<v8::FunctionTemplate> target);

// A 64-bit count as JavaScript sees it. Exact up to 2^53.
inline double NumberOf(uint64_t value) {
  return static_cast<double>(value);
}

}  // namespace KilnNodeWrapper
