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

void SceneOperands::GiveBack() {
  for (const KilnSceneBuffer& buffer : buffers) buffer.release(nullptr, 0, buffer.user);
  buffers.clear();
}

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

bool CollectBuffers(const Arguments& info, std::vector<KilnSceneBuffer>* buffers, int* next) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  std::vector<v8::Local<v8::Object>> found;
  int behind = 1;
  if (info[0]->IsArray()) {
    v8::Local<v8::Array> array = info[0].As<v8::Array>();
    const uint32_t length = array->Length();
    for (uint32_t i = 0; i < length; i++) {
      v8::Local<v8::Value> element;
      if (!array->Get(context, i).ToLocal(&element)) return false;
      if (!node::Buffer::HasInstance(element)) {
        found.clear();
        break;
      }
      found.push_back(element.As<v8::Object>());
    }
  } else {
    for (behind = 0; behind < info.Length() && node::Buffer::HasInstance(info[behind]); behind++) {
      found.push_back(info[behind].As<v8::Object>());
    }
  }
  // Only now: a getter of the array may have moved the memory of a Buffer in front of it.
  for (v8::Local<v8::Object> buffer : found) buffers->push_back(BorrowBuffer(EnvironmentOf(info), buffer));
  *next = behind;
  return true;
}

KilnSceneBuffer BorrowBuffer(Environment& environment, v8::Local<v8::Object> buffer) {
  return {node::Buffer::Data(buffer), node::Buffer::Length(buffer), ReleaseKeptObject,
          KeepObject(environment, buffer)};
}

std::vector<const char*> PointersOf(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
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
