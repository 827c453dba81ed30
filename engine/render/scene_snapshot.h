// A private copy of a scene's instances, brought up to date under the scene's lock by copying only what
// changed.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "engine/scene/scene.h"

namespace kiln::engine::render {

class SceneSnapshot {
 public:
  // Takes the shared lock, for as long as the changed instances take to copy; their lists are shared, not
  // copied.
  void Update(const scene::Scene& scene);

  // Null when there is none.
  const scene::Instance* Find(scene::PluginId id) const;
  // In order of creation.
  const std::vector<scene::PluginId>& ids() const { return ids_; }
  uint64_t change_index() const { return change_index_; }

 private:
  std::unordered_map<scene::PluginId, scene::Instance> instances_;
  std::vector<scene::PluginId> ids_;
  uint64_t change_index_ = 0;
  bool filled_ = false;
};

}  // namespace kiln::engine::render
