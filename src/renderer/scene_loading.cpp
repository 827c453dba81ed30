// Reading a scene from files, from texts and from memory, without a filter.
#include "renderer/scene_loading.h"

#include <node_buffer.h>

#include <string>
#include <vector>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

const char* PlainMessage(const SceneMember& member) {
  switch (member.source) {
    case Source::kFile:
      return "Argument 0 (fileName: string) should be passed";
    case Source::kText:
      return "Argument 0 (sceneText: string) should be passed";
    case Source::kBuffer:
      break;
  }
  if (member.verb == Verb::kLoad) return "Argument 0 (sceneData: buffer) should be passed";
  return member.form == Form::kAsync ? "A buffer array or multiple buffer arguments should be passed"
                                     : "Argument(s)  (sceneData: buffer) should be passed";
}

const char* FilteredMessage(const SceneMember& member) {
  const bool is_async = member.form == Form::kAsync;
  if (member.verb == Verb::kLoad) {
    return is_async ? "Argument 0 (string - file name/scene content), argument 1 (a plugin filter callback "
                      "function), and argument 2 (an after load callback function) should be passed"
                    : "Argument 0 (string - file name/scene content), and argument 1 (a callback function) "
                      "should be passed";
  }
  if (member.source == Source::kBuffer) {
    return is_async ? "A buffer array or multiple buffer arguments, a plugin filter callback function and an "
                      "after load callback function should be passed"
                    : "A buffer array or multiple buffer arguments and a plugin filter callback function "
                      "should be passed";
  }
  return is_async ? "A string array or multiple string arguments, a plugin filter callback function and an "
                    "after load callback function should be passed"
                  : "A string array or multiple string arguments and a plugin filter callback function "
                    "should be passed";
}

// One text. Without a filter a String object is one too.
bool ReadOneText(const Arguments& info, const SceneMember& member, SceneOperands* operands) {
  if (member.filter == Filter::kNone ? !IsText(info[0]) : !info[0]->IsString()) return true;
  std::string text;
  if (!ReadString(info.GetIsolate()->GetCurrentContext(), info[0], &text)) return false;
  operands->texts.push_back(std::move(text));
  return true;
}

bool ReadOneBuffer(const Arguments& info, SceneOperands* operands) {
  if (node::Buffer::HasInstance(info[0])) {
    operands->buffers.push_back(BorrowBuffer(EnvironmentOf(info), info[0].As<v8::Object>()));
  }
  return true;
}

// False with an exception pending; what is not there leaves the operands empty.
bool Collect(const Arguments& info, const SceneMember& member, SceneOperands* operands, int* next) {
  *next = 1;
  const bool appends = member.verb == Verb::kAppend;
  if (member.source == Source::kBuffer) {
    return appends ? CollectBuffers(info, &operands->buffers, next) : ReadOneBuffer(info, operands);
  }
  // The blocking loads take every form of strings, and load the first.
  const bool takes_many = appends || (member.filter == Filter::kNone && member.form == Form::kSync);
  return takes_many ? CollectStrings(info, &operands->texts, next) : ReadOneText(info, member, operands);
}

struct SceneReading {
  SceneMember member;
  KilnRendererHandle renderer;
  SceneOperands operands;
  bool flag = false;
  bool failed = false;
  std::string error{};

  // The text of a failure is asked for at once, since the last error of a renderer may change later.
  void Run() {
    failed = (member.verb == Verb::kLoad ? Load() : Append()) != 0;
    if (failed) error = LoadErrorText(renderer);
  }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, !failed, error.c_str(), arguments);
  }

  void Cancel() { operands.GiveBack(); }

 private:
  int32_t Load() {
    switch (member.source) {
      case Source::kFile:
        return sdk.Kiln_KilnRenderer_load(renderer, operands.texts.front().c_str());
      case Source::kText:
        return sdk.Kiln_KilnRenderer_loadAsText(renderer, operands.texts.front().c_str());
      case Source::kBuffer:
        break;
    }
    return sdk.Kiln_KilnRenderer_loadAsBuffer(renderer, operands.buffers.data());
  }

  int32_t Append() {
    const std::vector<const char*> texts = PointersOf(operands.texts);
    const auto count = static_cast<int32_t>(texts.size());
    switch (member.source) {
      case Source::kFile:
        return sdk.Kiln_KilnRenderer_appendMulti(renderer, texts.data(), count, flag);
      case Source::kText:
        return sdk.Kiln_KilnRenderer_appendMultiAsText(renderer, texts.data(), count);
      case Source::kBuffer:
        break;
    }
    return sdk.Kiln_KilnRenderer_appendMultiAsBuffer(renderer, operands.buffers.data(),
                                                     static_cast<int32_t>(operands.buffers.size()));
  }
};

}  // namespace

const char* ArgumentsMessage(const SceneMember& member) {
  return member.filter == Filter::kNone ? PlainMessage(member) : FilteredMessage(member);
}

bool ReadOperands(const Arguments& info, const SceneMember& member, SceneOperands* operands, int* next) {
  const bool replaces = member.verb == Verb::kLoad;
  // loadFromBuffer alone looks at its argument first; all others have forgotten the scene's plugins before
  // they refuse anything.
  const bool looks_first = member.source == Source::kBuffer && member.form == Form::kAsync;
  if (replaces && !looks_first) RendererOf(info).pluginCache.Clear();
  if (!Collect(info, member, operands, next)) return false;
  if (operands->empty()) {
    ThrowError(info.GetIsolate(), ArgumentsMessage(member));
    return false;
  }
  if (replaces && looks_first) RendererOf(info).pluginCache.Clear();
  return true;
}

void ReadScene(const Arguments& info, const SceneMember& member) {
  v8::Isolate* isolate = info.GetIsolate();
  SceneOperands operands;
  int next = 0;
  if (!ReadOperands(info, member, &operands, &next)) return;
  v8::Local<v8::Function> callback;
  if (member.form == Form::kAsync) {
    callback = CallbackAt(info, next);
    if (!callback.IsEmpty()) next++;
  }
  const bool flag = info[next]->BooleanValue(isolate);
  // Only now: a String object's own toString may close the renderer.
  SceneReading operation{member, RendererOf(info).renderer, std::move(operands), flag};
  if (member.form == Form::kAsync) return Queue(info, callback, std::move(operation));
  operation.Run();
  if (operation.failed) ThrowError(isolate, operation.error.c_str());
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
