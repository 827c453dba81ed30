// stringify: a JSON-like printer for values of the scene API.
#include <string>
#include <vector>

#include "binding/environment.h"
#include "binding/stack_guard.h"
#include "binding/text.h"
#include "module/module.h"
#include "values/typed_lists.h"

namespace KilnNodeWrapper {
namespace {

using KilnValuesNodeWrapper::MaxItems;
using KilnValuesNodeWrapper::TypedListText;

// Each element goes through the exported function again, with the receiver, the extra arguments and the count
// of this call. False leaves an exception pending.
bool AppendElement(const Arguments& info, v8::Local<v8::Function> stringify, v8::Local<v8::Array> array,
                   uint32_t index, std::string* text) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> arguments[3] = {v8::Undefined(isolate), info[1], info[2]};
  v8::Local<v8::Value> element;
  if (!array->Get(context, index).ToLocal(&arguments[0]) ||
      !stringify->Call(context, info.This(), std::min(info.Length(), 3), arguments).ToLocal(&element)) {
    return false;
  }
  Text piece;
  if (!piece.Read(context, element)) return false;
  text->append(piece.view());
  return true;
}

void StringifyArray(const Arguments& info, v8::Local<v8::Array> array) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Function> stringify = EnvironmentOf(info).stringifyFunction.Get(isolate);
  std::string text = "[";
  const uint32_t length = array->Length();
  for (uint32_t i = 0; i < length; i++) {
    if (!AppendElement(info, stringify, array, i, &text)) return;
    if (i + 1 < length) text += ", ";
  }
  text += "]";
  v8::Local<v8::String> result;
  if (NewText(isolate, text).ToLocal(&result)) info.GetReturnValue().Set(result);
}

}  // namespace

void Stringify(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Value> value = info[0];
  if (!CheckStack(EnvironmentOf(info))) return;
  if (value->IsArray()) return StringifyArray(info, value.As<v8::Array>());
  v8::Local<v8::String> result;
  if (value->IsString() || value->IsStringObject()) {
    Text text;
    if (!text.Read(context, value)) return;
    if (!NewText(isolate, "\"" + std::string(text.view()) + "\"").ToLocal(&result)) return;
  } else if (value->IsTypedArray()) {
    if (!TypedListText(EnvironmentOf(info), value, MaxItems(info)).ToLocal(&result)) return;
  } else if (value->IsNullOrUndefined()) {
    result = v8::String::NewFromUtf8Literal(isolate, "null");
  } else if (!value->ToString(context).ToLocal(&result)) {
    return;
  }
  info.GetReturnValue().Set(result);
}

}  // namespace KilnNodeWrapper
