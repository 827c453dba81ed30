#include "utilities/osl_parameters.h"

#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "utilities/osl_description.h"
#include "values/value_objects.h"

namespace KilnNodeWrapper {
namespace {

using KilnValuesNodeWrapper::Color;
using KilnValuesNodeWrapper::NewValue;
using KilnValuesNodeWrapper::Vector;

constexpr char kNoFileName[] = "Argument 0 (fileName: string) should be passed";
constexpr char kBroken[] = "The description of the shader's parameters is broken";

// By type; the outputs have none.
constexpr const char* kTypeNames[] = {"Unsupported", "Int",     "Boolean", "Float",
                                      "String",      "Texture", "Color",   "Vector"};

v8::MaybeLocal<v8::Value> DefaultOf(Environment& environment, const OslParameter& parameter) {
  v8::Isolate* isolate = environment.isolate();
  const auto [a, b, c] = parameter.numbers;
  switch (parameter.type) {
    case OslType::kInt:
      return v8::Integer::New(isolate, parameter.integer);
    case OslType::kBoolean:
      return v8::Boolean::New(isolate, parameter.integer != 0);
    case OslType::kFloat:
      return v8::Number::New(isolate, static_cast<double>(a));
    case OslType::kString:
      return NewText(isolate, parameter.text).FromMaybe(v8::Local<v8::Value>());
    case OslType::kColor:
      return NewValue(environment, Color{a, b, c}).FromMaybe(v8::Local<v8::Value>());
    case OslType::kVector:
      return NewValue(environment, Vector{a, b, c}).FromMaybe(v8::Local<v8::Value>());
    default:
      return v8::Null(isolate);
  }
}

using Elements = std::vector<v8::Local<v8::Value>>;

bool AddName(v8::Isolate* isolate, const OslParameter& parameter, Elements* names) {
  v8::Local<v8::String> name;
  if (!NewText(isolate, parameter.name).ToLocal(&name)) return false;
  names->push_back(name);
  return true;
}

bool AddInput(Environment& environment, const OslParameter& parameter, Elements* inputs) {
  v8::Local<v8::String> name;
  v8::Local<v8::Value> default_value;
  v8::Local<v8::Object> input;
  if (!NewText(environment.isolate(), parameter.name).ToLocal(&name) ||
      !DefaultOf(environment, parameter).ToLocal(&default_value)) {
    return false;
  }
  ObjectBuilder object(environment.isolate());
  object.Value("name", name);
  object.Text("type", kTypeNames[static_cast<size_t>(parameter.type)]);
  object.Value("defaultValue", default_value);
  if (!object.Take().ToLocal(&input)) return false;
  inputs->push_back(input);
  return true;
}

// Empty when the object can't be made.
v8::MaybeLocal<v8::Object> MakeObject(Environment& environment, const std::vector<OslParameter>& parameters) {
  v8::Isolate* isolate = environment.isolate();
  Elements colors;
  Elements floats;
  Elements closures;
  Elements inputs;
  for (const OslParameter& parameter : parameters) {
    bool added = false;
    switch (parameter.type) {
      case OslType::kColorOutput:
        added = AddName(isolate, parameter, &colors);
        break;
      case OslType::kFloatOutput:
        added = AddName(isolate, parameter, &floats);
        break;
      case OslType::kClosureOutput:
        added = AddName(isolate, parameter, &closures);
        break;
      default:
        added = AddInput(environment, parameter, &inputs);
    }
    if (!added) return {};
  }
  const auto array = [isolate](Elements& elements) {
    return v8::Array::New(isolate, elements.data(), elements.size());
  };
  ObjectBuilder object(isolate);
  object.Value("outputColorParams", array(colors));
  object.Value("outputFloatParams", array(floats));
  object.Value("outputClosureParams", array(closures));
  object.Value("inputParams", array(inputs));
  return object.Take();
}

// One question to the SDK; the parameters point into the block, which goes with it.
struct ReadParameters {
  std::string file;
  void* block = nullptr;
  std::string error{};
  std::vector<OslParameter> parameters{};
  bool described = false;

  void Run() {
    uint64_t size = 0;
    const int32_t code = sdk.Kiln_getOSLParameters(file.c_str(), &block, &size);
    if (code != 0) {
      const char* text = sdk.Kiln_getErrorTextStringFromErrorCode(code);
      error = text ? text : "";
      failed = true;
    } else if (block && size != 0) {
      described = ReadOslDescription(block, size, &parameters);
      failed = !described;
      if (failed) error = kBroken;
    }
  }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Isolate* isolate = environment.isolate();
    arguments[0] = v8::Null(isolate);
    arguments[1] = v8::Null(isolate);
    v8::Local<v8::Object> object;
    bool made = true;
    if (failed) {
      made = MakeError(isolate, error.c_str()).ToLocal(&arguments[0]);
    } else if (described && (made = MakeObject(environment, parameters).ToLocal(&object))) {
      arguments[1] = object;
    }
    Abandon();
    return made ? 2 : kNoCall;
  }

  void Abandon() { ReleaseBlock(block); }

  bool failed = false;
};

}  // namespace

// Throws the bare text when there is no file name.
void GetOSLParameters(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined()) {
    isolate->ThrowException(v8::String::NewFromUtf8Literal(isolate, kNoFileName));
    return;
  }
  ReadParameters operation;
  if (!ReadString(isolate->GetCurrentContext(), info[0], &operation.file)) return;
  Queue(info, CallbackAt(info, 1), std::move(operation));
}

void GetOSLParametersSync(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined()) return ThrowError(isolate, kNoFileName);
  ReadParameters operation;
  if (!ReadString(isolate->GetCurrentContext(), info[0], &operation.file)) return;
  operation.Run();
  v8::Local<v8::Value> outcome[kMaxCallbackArguments];
  if (operation.Finish(EnvironmentOf(info), outcome) == kNoCall) return;
  if (outcome[0]->IsNull()) {
    info.GetReturnValue().Set(outcome[1]);
  } else {
    isolate->ThrowException(outcome[0]);
  }
}

}  // namespace KilnNodeWrapper
