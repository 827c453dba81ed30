// The KilnServer class and its factory.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper {

void RegisterKilnServer(v8::Isolate* isolate, v8::Local<v8::External> external,
                        v8::Local<v8::Object> exports);
// createKilnServer([options,] callback).
void CreateKilnServer(const Arguments& info);

}  // namespace KilnNodeWrapper
