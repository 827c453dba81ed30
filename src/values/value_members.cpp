#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

double NumberOf(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  if (value->IsNumber()) return value.As<v8::Number>()->Value();
  return value->NumberValue(context).FromMaybe(0);
}

bool ElementOf(v8::Local<v8::Context> context, v8::Local<v8::Value> array, uint32_t index, double* number) {
  v8::Local<v8::Value> element;
  if (!array.As<v8::Object>()->Get(context, index).ToLocal(&element)) return false;
  *number = NumberOf(context, element);
  return true;
}

Triple ReadComponents(const Arguments& info, std::array<double, 3>* components) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  *components = {};
  if (info.Length() >= 3) {
    for (int i = 0; i < 3; i++) (*components)[i] = NumberOf(context, info[i]);
    return Triple::kRead;
  }
  if (!info[0]->IsArray()) return Triple::kOther;
  if (info[0].As<v8::Array>()->Length() < 3) return Triple::kRead;
  for (uint32_t i = 0; i < 3; i++) {
    if (!ElementOf(context, info[0], i, &(*components)[i])) return Triple::kFailed;
  }
  return Triple::kRead;
}

v8::Local<v8::FunctionTemplate> NewValueClass(v8::Isolate* isolate, v8::Local<v8::External> external,
                                              const ValueFace& face, int fields) {
  v8::Local<v8::FunctionTemplate> result =
      NewClass(isolate, external, face.name, face.constructor, PhysicalFieldCount(fields));
  DefineAccessors(isolate, external, result->InstanceTemplate(), face.accessors);
  result->InstanceTemplate()->SetHandler(face.indexed);
  v8::Local<v8::String> to_string = v8::String::NewFromUtf8Literal(isolate, "toString");
  v8::Local<v8::FunctionTemplate> print =
      v8::FunctionTemplate::New(isolate, face.to_string, external, v8::Signature::New(isolate, result));
  print->SetClassName(to_string);
  result->PrototypeTemplate()->Set(to_string, print, kReadOnly);
  result->PrototypeTemplate()->Set(InspectSymbol(isolate), print, face.inspect_attributes);
  DefineMethods(isolate, external, result, face.methods);
  return result;
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
