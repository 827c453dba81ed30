// The size of the picture and the parts of it that are rendered, as accessors of a KilnRenderer.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

void GetSize(v8::Local<v8::Name> name, const GetterInfo& info);
void SetSize(v8::Local<v8::Name> name, v8::Local<v8::Value> value, const SetterInfo& info);
void GetRenderRegion(v8::Local<v8::Name> name, const GetterInfo& info);
void SetRenderRegion(v8::Local<v8::Name> name, v8::Local<v8::Value> value, const SetterInfo& info);
void GetCropRegion(v8::Local<v8::Name> name, const GetterInfo& info);
void SetCropRegion(v8::Local<v8::Name> name, v8::Local<v8::Value> value, const SetterInfo& info);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
