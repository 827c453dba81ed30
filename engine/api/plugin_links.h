// The references between the plugins of a scene.
#pragma once

#include <vector>

#include "engine/scene/scene.h"
#include "utilities.h"

namespace kiln::engine::api {

enum class Toward { kChildren, kParents };

// What a link says for its property: the numbers of properties begin behind those of outputs, so that one
// function names both.
inline constexpr int32_t kFirstPropertyIndex = 1 << 16;

// The name of an output (from 1 on) or of a property (from kFirstPropertyIndex on); empty for neither.
std::string_view NameFromIndex(const scene::PluginClass& type, int32_t index);

// The links from a plugin to what it refers to, or to it from who refers to it, each once. `recursive` goes
// on from each plugin that is found so, the nearest first; circles end where they close.
//
// Order: of the links of one plugin, by the holder in order of creation, then by property in order of the
// class, then by place in its value, key frames in order of time. Empty for an unknown plugin. The caller
// holds the scene's lock.
std::vector<PluginLink> FindLinks(const scene::Scene& scene, scene::PluginId plugin, Toward toward,
                                  bool recursive);

}  // namespace kiln::engine::api
