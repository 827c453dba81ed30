// How scenes are named in arguments: strings and buffers, one array or a run of leading arguments.
#pragma once

#include <string>
#include <vector>

#include "binding/environment.h"
#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// A primitive string or a String object.
bool IsText(v8::Local<v8::Value> value);

// All strings, converted: of the array in argument 0 by ToString, or of the leading arguments that are texts.
// False with an exception pending when one can't be converted. next: the index of the first argument behind
// them.
bool CollectStrings(const Arguments& info, std::vector<std::string>* strings, int* next);

// A record over the Buffer's own memory, which stays alive until the SDK has called its release function.
KilnSceneBuffer BorrowBuffer(Environment& environment, v8::Local<v8::Object> buffer);

// Why the last load of a renderer failed. Any thread.
std::string LoadErrorText(KilnRendererHandle renderer);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
