// Copying changed instances.
#include "engine/render/scene_snapshot.h"

#include <mutex>

namespace kiln::engine::render {

void SceneSnapshot::Update(const scene::Scene& scene) {
  const std::shared_lock lock(scene.mutex);
  if (filled_ && scene.change_index() == change_index_) return;
  std::vector<scene::PluginId> ids = scene.Ids();
  for (const scene::PluginId id : ids) {
    const scene::Instance* instance = scene.Find(id);
    if (instance == nullptr) continue;
    const auto found = instances_.find(id);
    if (found == instances_.end()) {
      instances_.emplace(id, *instance);
    } else if (found->second.revision != instance->revision || found->second.type != instance->type) {
      found->second = *instance;
    }
  }
  if (instances_.size() != ids.size()) {
    std::erase_if(instances_, [&scene](const auto& entry) { return scene.Find(entry.first) == nullptr; });
  }
  ids_ = std::move(ids);
  change_index_ = scene.change_index();
  filled_ = true;
}

const scene::Instance* SceneSnapshot::Find(scene::PluginId id) const {
  const auto found = instances_.find(id);
  return found == instances_.end() ? nullptr : &found->second;
}

}  // namespace kiln::engine::render
