#include "utilities/bin_user_attributes_writer.h"

#include "binding/error.h"
#include "binding/lazy_class.h"
#include "binding/object_wrap.h"
#include "binding/text.h"
#include "utilities/user_attributes_stream.h"
#include "values/typed_lists.h"
#include "values/value_objects.h"

namespace KilnNodeWrapper {
namespace {

using namespace KilnValuesNodeWrapper;

struct UserAttributesWriter final : ObjectWrap {
  UserAttributesWriter(Environment& environment, v8::Local<v8::Object> object)
      : ObjectWrap(environment, object) {}
  UserAttributesStream stream;
};

void Construct(const Arguments& info) {
  Environment& environment = EnvironmentOf(info);
  if (info.NewTarget()->IsUndefined()) {
    return ConstructAgain(info, environment.binUserAttributesWriterTemplate.Get(info.GetIsolate()));
  }
  new UserAttributesWriter(environment, info.This());
  info.GetReturnValue().Set(info.This());
}

template <class... Components>
void AddComponents(UserAttributesStream& stream, const Text& name, Components... components) {
  const float narrowed[] = {static_cast<float>(components)...};
  stream.AddComponents(name.view(), narrowed);
}

// False for a value of another kind, of which nothing is written.
bool AddValue(v8::Isolate* isolate, UserAttributesStream& stream, const Text& name,
              v8::Local<v8::Value> value) {
  AColor acolor;
  Color color;
  Vector vector;
  if (value->IsInt32()) {
    stream.AddInt(name.view(), value.As<v8::Int32>()->Value());
  } else if (value->IsNumber()) {
    stream.AddFloat(name.view(), static_cast<float>(value.As<v8::Number>()->Value()));
  } else if (value->IsString()) {
    stream.AddText(name.view(), Text(isolate, value.As<v8::String>()).view());
  } else if (ReadValue(value, &acolor)) {
    AddComponents(stream, name, acolor.r, acolor.g, acolor.b, acolor.a);
  } else if (ReadValue(value, &color)) {
    AddComponents(stream, name, color.r, color.g, color.b, 1.0);
  } else if (ReadValue(value, &vector)) {
    AddComponents(stream, name, vector.x, vector.y, vector.z);
  } else {
    return false;
  }
  return true;
}

void Add(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 2 || !info[0]->IsString()) {
    return ThrowError(isolate, "Expected exactly 2 arguments - a string and an object to serialize");
  }
  const Text name(isolate, info[0].As<v8::String>());
  info.GetReturnValue().Set(AddValue(isolate, Unwrap<UserAttributesWriter>(info).stream, name, info[1]));
}

void ToIntList(const Arguments& info) {
  const std::vector<int32_t> words = Unwrap<UserAttributesWriter>(info).stream.Take();
  v8::Local<v8::Object> list;
  if (NewList(EnvironmentOf(info), ListKind::kInt, words.data(), words.size()).ToLocal(&list)) {
    info.GetReturnValue().Set(list);
  }
}

void ToString(const Arguments& info) {
  ReturnText(info, Unwrap<UserAttributesWriter>(info).stream.Text());
}

constexpr Method kMethods[] = {
    {"add", Add},
    {"toIntList", ToIntList},
    {"toString", ToString},
};

v8::Local<v8::FunctionTemplate> BuildWriter(v8::Isolate* isolate, v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> writer =
      NewClass(isolate, external, "BinUserAttributesWriter", Construct, 1);
  DefineMethods(isolate, external, writer, kMethods);
  definePrototypeMethodByKey(isolate, external, writer, InspectSymbol(isolate), ToString, kHidden);
  return writer;
}

v8::Local<v8::FunctionTemplate> WriterTemplate(Environment& environment) {
  return KeptTemplate(environment, environment.binUserAttributesWriterTemplate, BuildWriter);
}

}  // namespace

void RegisterBinUserAttributesWriter(v8::Isolate* isolate, v8::Local<v8::External> external,
                                     v8::Local<v8::Object> exports) {
  ExportLazily<FunctionOf<WriterTemplate>>(isolate, external, exports, "BinUserAttributesWriter");
}

}  // namespace KilnNodeWrapper
