// A scene's instances as they were at one moment, so that they can be written without holding its lock.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "engine/scene/scene.h"

namespace kiln::engine::formats {

// Lists are shared with the scene, not copied.
class SceneCopy {
 public:
  // The caller holds the scene's lock.
  explicit SceneCopy(const scene::Scene& scene);

  // In order of creation.
  const std::vector<scene::Instance>& instances() const { return instances_; }
  // Null when there is none.
  const scene::Instance* Find(scene::PluginId id) const;
  // As Scene::ReferenceText.
  std::string ReferenceText(const scene::PluginRef& reference) const;

  // Leaves only the given instances and what they refer to, directly or through others.
  void Keep(const std::vector<scene::PluginId>& ids);

 private:
  void Index();

  std::vector<scene::Instance> instances_;
  std::unordered_map<scene::PluginId, size_t> places_;
};

}  // namespace kiln::engine::formats
