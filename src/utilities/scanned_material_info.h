// ScannedMaterialInfo: the description and the presets out of a scan file.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper {

void RegisterScannedMaterialInfo(v8::Isolate* isolate, v8::Local<v8::External> external,
                                 v8::Local<v8::Object> exports);

}  // namespace KilnNodeWrapper
