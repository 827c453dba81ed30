#include "renderer/scene_sources.h"

#include <node_buffer.h>

#include <cstdio>

#include "binding/kept_object.h"
#include "binding/text.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr int32_t kParserError = 10;

const char* OrEmpty(const char* text) {
  return text ? text : "";
}

}  // namespace

bool IsText(v8::Local<v8::Value> value) {
  return value->IsString() || value->IsStringObject();
}

bool CollectStrings(const Arguments& info, std::vector<std::string>* strings, int* next) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  std::string text;
  if (info[0]->IsArray()) {
    v8::Local<v8::Array> array = info[0].As<v8::Array>();
    const uint32_t length = array->Length();
    for (uint32_t i = 0; i < length; i++) {
      v8::Local<v8::Value> element;
      if (!array->Get(context, i).ToLocal(&element) || !ReadString(context, element, &text)) return false;
      strings->push_back(text);
    }
    *next = 1;
    return true;
  }
  int index = 0;
  for (; index < info.Length() && IsText(info[index]); index++) {
    if (!ReadString(context, info[index], &text)) return false;
    strings->push_back(text);
  }
  *next = index;
  return true;
}

KilnSceneBuffer BorrowBuffer(Environment& environment, v8::Local<v8::Object> buffer) {
  return {node::Buffer::Data(buffer), node::Buffer::Length(buffer), ReleaseKeptObject,
          KeepObject(environment, buffer)};
}

std::string LoadErrorText(KilnRendererHandle renderer) {
  const int32_t code = sdk.Kiln_KilnRenderer_getLastErrorCode(renderer);
  if (code == 0) return "Error loading scene file or file not found.";
  const char* error = OrEmpty(sdk.Kiln_getErrorTextStringFromErrorCode(code));
  if (code != kParserError) return error;
  const char* text = OrEmpty(sdk.Kiln_KilnRenderer_getLastParserErrorText(renderer));
  const char* file = sdk.Kiln_KilnRenderer_getLastParserErrorFileName(renderer);
  if (!file) file = "unknown";
  const uint32_t line = sdk.Kiln_KilnRenderer_getLastParserErrorFileLine(renderer);
  static constexpr char kFormat[] = "%s File \"%s\" at line %u: %s.";
  std::string result(std::snprintf(nullptr, 0, kFormat, error, file, line, text), '\0');
  std::snprintf(result.data(), result.size() + 1, kFormat, error, file, line, text);
  return result;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
