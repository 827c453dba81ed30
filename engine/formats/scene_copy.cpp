// Copying of a scene's instances, and the choice among them.
#include "engine/formats/scene_copy.h"

#include <unordered_set>

namespace kiln::engine::formats {
namespace {

void AppendReferences(const scene::Value& value, std::vector<scene::PluginId>* ids) {
  if (const auto* reference = value.As<scene::PluginRef>()) ids->push_back(reference->id);
  if (const auto* list = value.As<scene::ValueArray>()) {
    for (const scene::Value& element : *list) AppendReferences(element, ids);
  }
}

}  // namespace

SceneCopy::SceneCopy(const scene::Scene& scene) {
  const std::vector<scene::PluginId> ids = scene.Ids();
  instances_.reserve(ids.size());
  for (const scene::PluginId id : ids) instances_.push_back(*scene.Find(id));
  Index();
}

void SceneCopy::Index() {
  places_.clear();
  for (size_t i = 0; i < instances_.size(); ++i) places_.emplace(instances_[i].id, i);
}

const scene::Instance* SceneCopy::Find(scene::PluginId id) const {
  const auto found = places_.find(id);
  return found != places_.end() ? &instances_[found->second] : nullptr;
}

std::string SceneCopy::ReferenceText(const scene::PluginRef& reference) const {
  const scene::Instance* instance = Find(reference.id);
  if (instance == nullptr) return {};
  const std::string_view output = instance->type->OutputName(reference.output);
  return output.empty() ? instance->name : instance->name + "::" + std::string(output);
}

void SceneCopy::Keep(const std::vector<scene::PluginId>& ids) {
  std::vector<scene::PluginId> waiting = ids;
  std::unordered_set<scene::PluginId> kept;
  while (!waiting.empty()) {
    const scene::Instance* instance = Find(waiting.back());
    waiting.pop_back();
    if (instance == nullptr || !kept.insert(instance->id).second) continue;
    for (const auto& [property, state] : instance->values) {
      AppendReferences(state.plain, &waiting);
      for (const auto& [time, value] : state.keys) AppendReferences(value, &waiting);
    }
  }
  std::erase_if(instances_, [&](const scene::Instance& instance) { return !kept.contains(instance.id); });
  Index();
}

}  // namespace kiln::engine::formats
