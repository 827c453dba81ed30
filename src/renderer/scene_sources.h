// How scenes are named in arguments: strings and Buffers, one array or a run of leading arguments. And why
// reading them failed.
#pragma once

#include <string>
#include <vector>

#include "binding/environment.h"
#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// What a call names: texts, or memory that the SDK gives back by itself once it has seen it.
struct SceneOperands {
  std::vector<std::string> texts;
  std::vector<KilnSceneBuffer> buffers;

  bool empty() const { return texts.empty() && buffers.empty(); }
  // For memory that the SDK has never seen and will not give back.
  void GiveBack();
};

// A primitive string or a String object.
bool IsText(v8::Local<v8::Value> value);

// All strings, converted: of the array in argument 0 by ToString, or of the leading arguments that are texts.
// False with an exception pending when one can't be converted. next: the index of the first argument behind
// them.
bool CollectStrings(const Arguments& info, std::vector<std::string>* strings, int* next);

// All Buffers: of the array in argument 0, none when an element is anything else, or the leading arguments
// that are. Otherwise as above.
bool CollectBuffers(const Arguments& info, std::vector<KilnSceneBuffer>* buffers, int* next);

// A record over the Buffer's own memory, which stays alive until the SDK has called its release function.
KilnSceneBuffer BorrowBuffer(Environment& environment, v8::Local<v8::Object> buffer);

// The texts as C strings, valid as long as the texts stay as they are.
std::vector<const char*> PointersOf(const std::vector<std::string>& texts);

// Why the last load of a renderer failed. Any thread.
std::string LoadErrorText(KilnRendererHandle renderer);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
