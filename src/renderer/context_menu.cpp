// The entries that a script adds to the context menu of the frame-buffer window.
#include <deque>
#include <string>
#include <vector>

#include "binding/error.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// The records, and the texts that they point to.
struct MenuItems {
  std::vector<KilnContextMenuItem> records;
  std::deque<std::string> texts;
};

bool HasOwn(v8::Local<v8::Context> context, v8::Local<v8::Object> object, const char* key) {
  v8::Local<v8::String> name;
  return NewName(v8::Isolate::GetCurrent(), key).ToLocal(&name) &&
         object->HasRealNamedProperty(context, name).FromMaybe(false);
}

// What is no item is left out without a word.
void AddItem(v8::Local<v8::Context> context, v8::Local<v8::Value> value, MenuItems* items) {
  if (!value->IsObject()) return;
  v8::Local<v8::Object> object = value.As<v8::Object>();
  if (!HasOwn(context, object, "id") || !HasOwn(context, object, "type") ||
      !HasOwn(context, object, "text")) {
    return;
  }
  OptionReader keys(context, object);
  KilnContextMenuItem item{};
  std::string type;
  std::string text;
  bool enabled = true;
  if (!keys.Int("id", &item.id) || !keys.String("type", &type) || !keys.String("text", &text)) return;
  keys.Flag("enabled", &enabled);
  keys.Int("defaultValue", &item.defaultValue);
  item.type = EqualsIgnoringCase(type, "checkbox") ? 1 : 0;
  item.enabled = enabled ? 1 : 0;
  item.text = items->texts.emplace_back(std::move(text)).c_str();
  items->records.push_back(item);
}

}  // namespace

void SetKVWContextMenuItems(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  if (!info[0]->IsArray()) return ThrowError(isolate, "Argument 0 must be an array of menu item objects");
  v8::Local<v8::Array> array = info[0].As<v8::Array>();
  MenuItems items;
  const uint32_t length = array->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> value;
    if (!array->Get(context, i).ToLocal(&value)) return;
    AddItem(context, value, &items);
  }
  sdk.Kiln_KilnRenderer_setKvwContextMenuItems(RendererOf(info).renderer,
                                               items.records.empty() ? nullptr : items.records.data(),
                                               static_cast<int32_t>(items.records.size()));
}

void SetKVWContextMenuItemValue(const Arguments& info) {
  if (!info[0]->IsInt32() || !info[1]->IsInt32()) {
    return ThrowError(info.GetIsolate(), "Argument 0 (integer) and Argument 1 (integer) should be passed");
  }
  const int32_t id = info[0].As<v8::Int32>()->Value();
  const int32_t value = info[1].As<v8::Int32>()->Value();
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_setKvwContextMenuItemValue(RendererOf(info).renderer, id, value) != 0);
}

void GetKVWContextMenuItemValue(const Arguments& info) {
  if (!info[0]->IsInt32()) return ThrowError(info.GetIsolate(), "Argument 0 (integer)should be passed");
  int32_t value = 0;
  const int32_t id = info[0].As<v8::Int32>()->Value();
  if (sdk.Kiln_KilnRenderer_getKvwContextMenuItemValue(RendererOf(info).renderer, id, &value) != 0) {
    info.GetReturnValue().Set(value);
  }
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
