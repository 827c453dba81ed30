#include "binding/members.h"

#include <vector>

#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

// A native data property without a setter becomes an ordinary one on the first write; one that swallows the
// write keeps it what it is, in strict mode too.
void IgnoreWrite(v8::Local<v8::Name>, v8::Local<v8::Value>, const SetterInfo&) {}

}  // namespace

// V8 goes over to a table when a property goes that was not the last to come.
void MakeDictionary(v8::Isolate* isolate, v8::Local<v8::Object> object) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  for (const uint32_t pass : {0, 1}) {
    for (const char* name : {"first", "second"}) {
      v8::Local<v8::String> key;
      if (!NewName(isolate, name).ToLocal(&key)) return;
      (void)(pass == 0 ? object->CreateDataProperty(context, key, key) : object->Delete(context, key))
          .FromMaybe(false);
    }
  }
}

bool defineAccessor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> target,
                    const Accessor& accessor) {
  v8::Local<v8::String> name;
  if (!NewName(isolate, accessor.name).ToLocal(&name)) return false;
  return target
      ->SetNativeDataProperty(isolate->GetCurrentContext(), name, accessor.getter,
                              accessor.setter ? accessor.setter : IgnoreWrite, external, accessor.attributes)
      .FromMaybe(false);
}

bool defineTemplateAccessor(v8::Isolate* isolate, v8::Local<v8::External> external,
                            v8::Local<v8::ObjectTemplate> target, const Accessor& accessor) {
  v8::Local<v8::String> name;
  if (!NewName(isolate, accessor.name).ToLocal(&name)) return false;
  target->SetNativeDataProperty(v8::Local<v8::Name>(name), accessor.getter,
                                accessor.setter ? accessor.setter : IgnoreWrite, external,
                                accessor.attributes);
  return true;
}

bool defineStaticFunction(v8::Isolate* isolate, v8::Local<v8::External> external,
                          v8::Local<v8::FunctionTemplate> target, const Method& method) {
  v8::Local<v8::String> name;
  if (!NewName(isolate, method.name).ToLocal(&name)) return false;
  v8::Local<v8::FunctionTemplate> function = v8::FunctionTemplate::New(isolate, method.callback, external);
  function->SetClassName(name);
  target->Set(name, function, method.attributes);
  return true;
}

bool defineFunction(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> target,
                    const Method& method) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::String> name;
  v8::Local<v8::Function> function;
  if (!NewName(isolate, method.name).ToLocal(&name)) return false;
  if (!v8::Function::New(context, method.callback, external).ToLocal(&function)) return false;
  function->SetName(name);
  return target->DefineOwnProperty(context, name, function, method.attributes).FromMaybe(false);
}

bool defineValue(v8::Isolate* isolate, v8::Local<v8::Object> target, const char* name,
                 v8::Local<v8::Value> value, v8::PropertyAttribute attributes) {
  v8::Local<v8::String> key;
  if (!NewName(isolate, name).ToLocal(&key)) return false;
  return target->DefineOwnProperty(isolate->GetCurrentContext(), key, value, attributes).FromMaybe(false);
}

bool definePrototypeMethodByKey(v8::Isolate* isolate, v8::Local<v8::External> external,
                                v8::Local<v8::FunctionTemplate> target, v8::Local<v8::Name> key,
                                v8::FunctionCallback callback, v8::PropertyAttribute attributes) {
  v8::Local<v8::FunctionTemplate> method =
      v8::FunctionTemplate::New(isolate, callback, external, v8::Signature::New(isolate, target));
  target->PrototypeTemplate()->Set(key, method, attributes);
  return true;
}

bool definePrototypeMethod(v8::Isolate* isolate, v8::Local<v8::External> external,
                           v8::Local<v8::FunctionTemplate> target, const Method& method) {
  v8::Local<v8::String> name;
  if (!NewName(isolate, method.name).ToLocal(&name)) return false;
  v8::Local<v8::FunctionTemplate> function =
      v8::FunctionTemplate::New(isolate, method.callback, external, v8::Signature::New(isolate, target));
  function->SetClassName(name);
  target->PrototypeTemplate()->Set(name, function, method.attributes);
  return true;
}

void DefineMethods(v8::Isolate* isolate, v8::Local<v8::External> external,
                   v8::Local<v8::FunctionTemplate> target, std::span<const Method> methods) {
  for (const Method& method : methods) definePrototypeMethod(isolate, external, target, method);
}

void DefineAccessors(v8::Isolate* isolate, v8::Local<v8::External> external,
                     v8::Local<v8::ObjectTemplate> target, std::span<const Accessor> accessors) {
  // V8 lists the accessors of a template from the last to the first.
  for (auto accessor = accessors.rbegin(); accessor != accessors.rend(); ++accessor) {
    defineTemplateAccessor(isolate, external, target, *accessor);
  }
}

v8::Local<v8::FunctionTemplate> NewClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                                         const char* name, v8::FunctionCallback constructor,
                                         int internal_fields) {
  v8::Local<v8::FunctionTemplate> result = v8::FunctionTemplate::New(isolate, constructor, external);
  v8::Local<v8::String> class_name;
  if (NewName(isolate, name).ToLocal(&class_name)) result->SetClassName(class_name);
  result->InstanceTemplate()->SetInternalFieldCount(internal_fields);
  return result;
}

v8::Local<v8::Symbol> InspectSymbol(v8::Isolate* isolate) {
  return v8::Symbol::For(isolate, v8::String::NewFromUtf8Literal(isolate, "nodejs.util.inspect.custom"));
}

void ConstructAgain(const Arguments& info, v8::Local<v8::FunctionTemplate> target) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  std::vector<v8::Local<v8::Value>> arguments;
  arguments.reserve(info.Length());
  for (int i = 0; i < info.Length(); i++) arguments.push_back(info[i]);
  v8::Local<v8::Function> function;
  v8::Local<v8::Object> instance;
  if (target->GetFunction(context).ToLocal(&function) &&
      function->NewInstance(context, info.Length(), arguments.data()).ToLocal(&instance)) {
    info.GetReturnValue().Set(instance);
  }
}

}  // namespace KilnNodeWrapper
