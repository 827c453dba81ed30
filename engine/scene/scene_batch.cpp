// Staging of instances, and the one step that adds them to a scene.
#include "engine/scene/scene_batch.h"

#include <cmath>
#include <mutex>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {
namespace {

// Staged references wear IDs from the top of the range, where no scene ever counts to.
constexpr PluginId kStagedBase = PluginId{1} << 63;

bool IsStaged(PluginId id) {
  return id >= kStagedBase && id != kNoPlugin;
}

// The IDs that the staged instances got; kNoPlugin for those left out.
void Rebind(Value& value, const std::vector<PluginId>& ids) {
  if (auto* reference = std::get_if<PluginRef>(&value.data);
      reference != nullptr && IsStaged(reference->id)) {
    const PluginId id = ids[reference->id - kStagedBase];
    *reference = id == kNoPlugin ? PluginRef{} : PluginRef{id, reference->output};
  }
  if (const auto* list = value.As<ValueArray>()) {
    std::vector<Value> elements(list->begin(), list->end());
    for (Value& element : elements) Rebind(element, ids);
    value = ValueArray(std::move(elements));
  }
}

}  // namespace

void SceneBatch::SetFolder(const std::filesystem::path& folder) {
  folder_ = std::make_shared<const std::filesystem::path>(folder);
}

void SceneBatch::Fail(const std::string& reason) {
  if (failure_.empty()) failure_ = reason;
}

SceneBatch::Handle SceneBatch::Add(std::string_view class_name, std::string_view name) {
  const PluginClass* type = FindClass(class_name);
  if (type == nullptr) {
    Fail("there is no plugin class \"" + std::string(class_name) + "\"");
    return kNoHandle;
  }
  instances_.push_back({type, std::string(name), {}});
  return instances_.size() - 1;
}

bool SceneBatch::Set(Handle instance, std::string_view property, Value value, std::optional<double> time,
                     std::string* why) {
  const auto fail = [&](const std::string& reason) {
    Fail(reason);
    if (why != nullptr) *why = reason;
    return false;
  };
  if (instance >= instances_.size()) return fail("there is no such instance");
  Staged& staged = instances_[instance];
  const std::string class_name(staged.type->name);
  const Property* declared = staged.type->FindProperty(property);
  if (declared == nullptr) return fail(class_name + " has no property \"" + std::string(property) + "\"");
  if (time && !std::isfinite(*time)) return fail("a key frame's time is not finite");
  if (IsReset(value)) {
    const auto found = staged.values.find(declared);
    if (found == staged.values.end()) return true;
    if (time) found->second.keys.erase(*time);
    if (!time || found->second.keys.empty()) staged.values.erase(found);
    return true;
  }
  std::optional<Value> coerced = CoerceTo(std::move(value), *declared, {});
  if (!coerced)
    return fail(class_name + "'s property \"" + std::string(property) + "\" does not take this value");
  PropertyState& state = staged.values[declared];
  if (time) {
    state.keys.insert_or_assign(*time, std::move(*coerced));
    state.plain = {};
  } else {
    state = {std::move(*coerced), {}};
  }
  return true;
}

Value SceneBatch::Ref(Handle instance, uint32_t output) const {
  return instance < instances_.size() ? PluginRef{kStagedBase + instance, output} : PluginRef{};
}

const PluginClass* SceneBatch::TypeOf(Handle instance) const {
  return instance < instances_.size() ? instances_[instance].type : nullptr;
}

const std::string& SceneBatch::NameOf(Handle instance) const {
  return instances_.at(instance).name;
}

bool SceneBatch::CommitTo(Scene& scene, std::string* why, const LoadFilter& filter) {
  std::vector<Staged> staged = std::move(instances_);
  instances_.clear();
  if (!failure_.empty()) {
    if (why != nullptr) *why = failure_;
    failure_.clear();
    return false;
  }
  std::vector<bool> kept(staged.size(), true);
  for (size_t i = 0; filter && i < staged.size(); ++i) {
    std::optional<std::string> name = filter(staged[i].type->name, staged[i].name);
    kept[i] = name.has_value();
    if (name) staged[i].name = std::move(*name);
  }

  const std::unique_lock lock(scene.mutex);
  std::vector<PluginId> ids(staged.size(), kNoPlugin);
  try {
    std::unordered_map<std::string, uint64_t> suffixes;
    for (size_t i = 0; i < staged.size(); ++i) {
      if (!kept[i]) continue;
      std::string name = staged[i].name.empty() ? scene.GeneratedName(*staged[i].type) : staged[i].name;
      ids[i] = scene.Insert(*staged[i].type, scene.FreeName(std::move(name), suffixes)).id;
    }
    for (size_t i = 0; i < staged.size(); ++i) {
      if (!kept[i]) continue;
      for (auto& [property, state] : staged[i].values) {
        Rebind(state.plain, ids);
        for (auto& [time, value] : state.keys) Rebind(value, ids);
      }
      Scene::Node& node = *scene.FindNode(ids[i]);
      node.values = std::move(staged[i].values);
      node.folder = folder_;
    }
  } catch (...) {
    for (const PluginId id : ids) scene.Delete(id);
    throw;
  }
  return true;
}

}  // namespace kiln::engine::scene
