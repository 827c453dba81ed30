#include "renderer/renderer_options.h"

#include "binding/option_reader.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// In the order in which they are read and reported.
constexpr KeyBit kFlags[] = {
    {"enableFrameBuffer", KILN_RENDERER_ENABLE_FRAME_BUFFER},
    {"showFrameBuffer", KILN_RENDERER_SHOW_FRAME_BUFFER},
    {"useDefaultKvwTheme", KILN_RENDERER_USE_DEFAULT_KVW_THEME},
    {"showKvwButtonInteractiveStart", KILN_RENDERER_SHOW_KVW_BUTTON_INTERACTIVE_START},
    {"previewRenderer", KILN_RENDERER_PREVIEW_RENDERER},
    {"allowInvalidCharactersInPluginNames", KILN_RENDERER_ALLOW_INVALID_CHARACTERS},
    {"hideToSceneButton", KILN_RENDERER_HIDE_TO_SCENE_BUTTON},
    {"useKvwLog", KILN_RENDERER_USE_KVW_LOG},
};
// Can be set, and is not reported.
constexpr KeyBit kUnreportedFlag = {"enableKvwPlugins", KILN_RENDERER_ENABLE_KVW_PLUGINS};

struct DrawStyle {
  const char* input;
  const char* output;
};
// By value, from 1; every other value is "auto", which has no input form.
constexpr DrawStyle kDrawStyles[] = {
    {"standalone", "standalone"}, {"3dsmax", "3dsMax"}, {"3dsmaxqt", "3dsMaxQt"}, {"maya", "maya"}};

void ReadText(OptionReader& keys, const char* key, std::string* text, bool* has_text) {
  v8::Local<v8::Value> value;
  if (!keys.Value(key).ToLocal(&value) || value->IsNullOrUndefined()) return;
  if (ReadString(keys.context(), value, text)) *has_text = true;
}

int32_t ReadDrawStyle(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  if (value->IsNullOrUndefined()) return 0;
  if (value->IsNumber()) return value->Int32Value(context).FromMaybe(0);
  Text text;
  if (!text.Read(context, value)) return 0;
  int32_t style = 0;
  for (const DrawStyle& row : kDrawStyles) {
    style++;
    if (EqualsIgnoringCase(text.view(), row.input)) return style;
  }
  return 0;
}

bool SetText(v8::Isolate* isolate, v8::Local<v8::Object> object, const char* key, const char* text) {
  v8::Local<v8::String> name;
  v8::Local<v8::Value> value = v8::Undefined(isolate);
  v8::Local<v8::String> string;
  if (!NewName(isolate, key).ToLocal(&name)) return false;
  if (text) {
    if (!NewText(isolate, text).ToLocal(&string)) return false;
    value = string;
  }
  return object->Set(isolate->GetCurrentContext(), name, value).FromMaybe(false);
}

bool SetFlag(v8::Isolate* isolate, v8::Local<v8::Object> object, const KeyBit& row, uint32_t flags) {
  v8::Local<v8::String> name;
  return NewName(isolate, row.key).ToLocal(&name) &&
         object->Set(isolate->GetCurrentContext(), name, v8::Boolean::New(isolate, (flags & row.bit) != 0))
             .FromMaybe(false);
}

bool Report(v8::Isolate* isolate, const KilnRendererOptions& record, v8::Local<v8::Object> object) {
  const bool known = record.kvwDrawStyle >= 1 && record.kvwDrawStyle <= 4;
  if (!SetText(isolate, object, "kvwDrawStyle",
               known ? kDrawStyles[record.kvwDrawStyle - 1].output : "auto")) {
    return false;
  }
  for (const KeyBit& row : kFlags) {
    if (!SetFlag(isolate, object, row, record.flags)) return false;
  }
  return SetText(isolate, object, "pluginLibraryPath", record.pluginLibraryPath) &&
         SetText(isolate, object, "kvwLanguage", record.kvwLanguage);
}

}  // namespace

void RendererOptions::Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  OptionReader keys(context, object);
  ReadText(keys, "pluginLibraryPath", &plugin_library_path_, &has_plugin_library_path_);
  v8::Local<v8::Value> style;
  if (keys.Value("kvwDrawStyle").ToLocal(&style)) record_.kvwDrawStyle = ReadDrawStyle(context, style);
  keys.Bits(kFlags, &record_.flags);
  keys.Bit(kUnreportedFlag.key, kUnreportedFlag.bit, &record_.flags);
  ReadText(keys, "kvwLanguage", &kvw_language_, &has_kvw_language_);
}

const KilnRendererOptions* RendererOptions::Record() {
  record_.pluginLibraryPath = has_plugin_library_path_ ? plugin_library_path_.c_str() : nullptr;
  record_.kvwLanguage = has_kvw_language_ ? kvw_language_.c_str() : nullptr;
  return &record_;
}

void GetOptions(v8::Local<v8::Name>, const GetterInfo& info) {
  KilnRendererOptions* record = sdk.Kiln_KilnRenderer_getRenderOptions(RendererOf(info).renderer);
  if (!record) return;
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Object> object = v8::Object::New(isolate);
  const bool complete = Report(isolate, *record, object);
  ReleaseBlock(record);
  if (complete) info.GetReturnValue().Set(object);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
