// Classes, and other exports, that are built with their first use, by JavaScript or by the add-on: most
// programs use few of them, and each would cost every load some tenth of a millisecond.
#pragma once

#include "binding/environment.h"
#include "binding/members.h"
#include "binding/text.h"

namespace KilnNodeWrapper {

template <class Template>
using Builder = v8::Local<Template> (*)(v8::Isolate*, v8::Local<v8::External>);
using ClassBuilder = Builder<v8::FunctionTemplate>;

// A template, made with the first call and kept.
template <class Template>
v8::Local<Template> KeptTemplate(Environment& environment, v8::Global<Template>& kept,
                                 Builder<Template> build) {
  v8::Isolate* isolate = environment.isolate();
  if (kept.IsEmpty()) {
    v8::HandleScope scope(isolate);
    kept.Reset(isolate, build(isolate, environment.external()));
  }
  return kept.Get(isolate);
}

// The same for a class that is kept as the function of the first context.
v8::MaybeLocal<v8::Function> KeptFunction(Environment& environment, v8::Global<v8::Function>& kept,
                                          ClassBuilder build);

// Whether the value is an instance of a class, which has none before it is built.
inline bool IsInstance(Environment& environment, const v8::Global<v8::FunctionTemplate>& kept,
                       v8::Local<v8::Value> value) {
  return !kept.IsEmpty() && kept.Get(environment.isolate())->HasInstance(value);
}

// What the exports show, made in the current context: a class's function, for one.
using Maker = v8::MaybeLocal<v8::Value> (*)(Environment&);
template <v8::Local<v8::FunctionTemplate> (*kTemplate)(Environment&)>
v8::MaybeLocal<v8::Value> FunctionOf(Environment& environment) {
  v8::Local<v8::Function> function;
  if (!kTemplate(environment)->GetFunction(environment.isolate()->GetCurrentContext()).ToLocal(&function)) {
    return {};
  }
  return function;
}

template <v8::MaybeLocal<v8::Function> (*kFunction)(Environment&)>
v8::MaybeLocal<v8::Value> KeptFunctionOf(Environment& environment) {
  v8::Local<v8::Function> function;
  if (!kFunction(environment).ToLocal(&function)) return {};
  return function;
}

// A plain property of the exports whose value is made when somebody looks at it.
template <Maker kValue>
bool ExportLazily(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports,
                  const char* name) {
  const Getter get = [](v8::Local<v8::Name>, const GetterInfo& info) {
    // Whoever looks: the class is one of the exports' own world.
    const v8::Context::Scope scope(compat::CreationContext(info.GetIsolate(), compat::Holder(info)));
    v8::Local<v8::Value> value;
    if (kValue(EnvironmentOf(info)).ToLocal(&value)) info.GetReturnValue().Set(value);
  };
  v8::Local<v8::String> key;
  return NewName(isolate, name).ToLocal(&key) &&
         exports->SetLazyDataProperty(isolate->GetCurrentContext(), key, get, external).FromMaybe(false);
}

}  // namespace KilnNodeWrapper
