// The members that read a scene, which are four choices: replace or add, from what, with a script's filter or
// without, and on which thread.
#pragma once

#include <cstdint>

#include "binding/members.h"
#include "renderer/scene_sources.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

enum class Verb : uint8_t { kLoad, kAppend };
enum class Source : uint8_t { kFile, kText, kBuffer };
enum class Filter : uint8_t { kNone, kScript };
enum class Form : uint8_t { kAsync, kSync };

struct SceneMember {
  Verb verb;
  Source source;
  Filter filter;
  Form form;

  bool operator==(const SceneMember&) const = default;
};

// The sentence for arguments that are not the member's.
const char* ArgumentsMessage(const SceneMember& member);

// Reads what the leading arguments name; a member that replaces the scene forgets the old one's plugins
// meanwhile. False when the call is over: with the member's message thrown or another exception pending.
// next: the index of the first argument behind them.
bool ReadOperands(const Arguments& info, const SceneMember& member, SceneOperands* operands, int* next);

void ReadScene(const Arguments& info, const SceneMember& member);          // scene_loading.cpp
void ReadFilteredScene(const Arguments& info, const SceneMember& member);  // filtered_loading.cpp

// The handler of one member.
template <Verb kVerb, Source kSource, Filter kFilter = Filter::kNone, Form kForm = Form::kAsync>
void SceneHandler(const Arguments& info) {
  constexpr SceneMember kMember{kVerb, kSource, kFilter, kForm};
  if constexpr (kFilter == Filter::kNone) {
    ReadScene(info, kMember);
  } else {
    ReadFilteredScene(info, kMember);
  }
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
