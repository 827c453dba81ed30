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

}  // namespace KilnNodeWrapper
