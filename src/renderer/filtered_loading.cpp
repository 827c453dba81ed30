// Reading a scene with a script's filter, which accepts, renames or leaves out each plugin as it is read.
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "module/sdk_library.h"
#include "renderer/on_filter_plugin.h"
#include "renderer/scene_loading.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

LoadFiltered LoadEntry(Source source) {
  return source == Source::kFile ? &SdkTable::Kiln_KilnRenderer_loadFiltered
                                 : &SdkTable::Kiln_KilnRenderer_loadAsTextFiltered;
}

AppendFiltered AppendEntry(Source source) {
  return source == Source::kFile ? &SdkTable::Kiln_KilnRenderer_appendMultiFiltered
                                 : &SdkTable::Kiln_KilnRenderer_appendMultiAsTextFiltered;
}

struct Callbacks {
  v8::Local<v8::Function> filter;
  v8::Local<v8::Function> after_load;
};

OnFilterPluginMultiSceneBase* NewCarrier(const Arguments& info, const SceneMember& member,
                                         const Callbacks& callbacks, SceneOperands operands) {
  const auto& [filter, after_load] = callbacks;
  if (member.source == Source::kBuffer) {
    return new OnFilterPluginMultiSceneFromBuffer(info, filter, after_load, std::move(operands));
  }
  if (member.verb == Verb::kAppend) {
    return new OnFilterPluginMultiScene(info, filter, after_load, AppendEntry(member.source),
                                        std::move(operands.texts));
  }
  return new OnFilterPluginSingleScene(info, filter, after_load, LoadEntry(member.source),
                                       std::move(operands.texts.front()));
}

void Serve(const Arguments& info, const SceneMember& member, v8::Local<v8::Function> filter,
           SceneOperands operands) {
  KilnRendererHandle renderer = RendererOf(info).renderer;
  if (member.source == Source::kBuffer) {
    OnFilterPluginMultiSceneFromBufferSync(renderer, std::move(operands)).Serve(info, filter);
  } else if (member.verb == Verb::kAppend) {
    OnFilterPluginMultiSceneSync(renderer, AppendEntry(member.source), operands.texts).Serve(info, filter);
  } else {
    OnFilterPluginSingleSceneSync(renderer, LoadEntry(member.source), operands.texts.front().c_str())
        .Serve(info, filter);
  }
}

}  // namespace

void ReadFilteredScene(const Arguments& info, const SceneMember& member) {
  SceneOperands operands;
  int next = 0;
  if (!ReadOperands(info, member, &operands, &next)) return;
  const bool is_async = member.form == Form::kAsync;
  const Callbacks callbacks{CallbackAt(info, next), CallbackAt(info, next + 1)};
  if (callbacks.filter.IsEmpty() || (is_async && callbacks.after_load.IsEmpty())) {
    operands.GiveBack();
    return ThrowError(info.GetIsolate(), ArgumentsMessage(member));
  }
  if (!is_async) return Serve(info, member, callbacks.filter, std::move(operands));
  if (!NewCarrier(info, member, callbacks, std::move(operands))->Begin()) {
    ThrowError(info.GetIsolate(), kNoThreadMessage);
  }
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
