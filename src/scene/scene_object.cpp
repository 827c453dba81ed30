#include "scene/scene_object.h"

namespace KilnNodeWrapper {

void GetRenderer(const Arguments& info) {
  info.GetReturnValue().Set(GetObjectField(info.This(), kRendererField));
}

int32_t InspectDepth(const Arguments& info) {
  if (info[0]->IsNull()) return 2;
  if (!info[0]->IsNumber()) return 0;
  return info[0]->Int32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(0);
}

void ReturnText(const Arguments& info, const char* text) {
  v8::Local<v8::String> string;
  if (text && NewText(info.GetIsolate(), text).ToLocal(&string)) info.GetReturnValue().Set(string);
}

void ReturnText(const Arguments& info, const std::string& text) {
  v8::Local<v8::String> string;
  if (NewText(info.GetIsolate(), text).ToLocal(&string)) info.GetReturnValue().Set(string);
}

}  // namespace KilnNodeWrapper
