// Staging of instances, and the one step that adds them to a scene.
#include "engine/scene/scene_batch.h"

#include <cmath>
#include <iterator>
#include <mutex>
#include <unordered_set>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {
namespace {

// Staged references wear IDs from the top of the range, where no scene ever counts to.
constexpr PluginId kStagedBase = PluginId{1} << 63;

bool IsStaged(PluginId id) {
  return id >= kStagedBase && id != kNoPlugin;
}

// Notes beyond this many are counted only.
constexpr size_t kMaxNotes = 50;

// Puts the IDs that the staged instances got in place of the staged ones. `lose` is called with the number of
// each instance that was left out and is referred to.
template <class Lose>
void Rebind(Value& value, const std::vector<PluginId>& ids, const Lose& lose) {
  if (auto* reference = std::get_if<PluginRef>(&value.data);
      reference != nullptr && IsStaged(reference->id)) {
    const size_t staged = reference->id - kStagedBase;
    if (ids[staged] == kNoPlugin) lose(staged);
    *reference = ids[staged] == kNoPlugin ? PluginRef{} : PluginRef{ids[staged], reference->output};
  }
  if (const auto* list = value.As<ValueArray>()) {
    std::vector<Value> elements(list->begin(), list->end());
    for (Value& element : elements) Rebind(element, ids, lose);
    value = ValueArray(std::move(elements));
  }
}

class Notes {
 public:
  void Add(const std::string& note) {
    if (++count_ > kMaxNotes) return;
    if (!text_.empty()) text_ += '\n';
    text_ += note;
  }
  std::string Take() {
    if (count_ > kMaxNotes) text_ += "\nand " + std::to_string(count_ - kMaxNotes) + " notes more";
    return std::move(text_);
  }

 private:
  size_t count_ = 0;
  std::string text_;
};

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
  instances_.push_back({type, std::string(name), {}, folder_});
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

void SceneBatch::ChooseNames(Scene& scene) {
  const std::unique_lock lock(scene.mutex);
  std::unordered_map<std::string, uint64_t> suffixes;
  std::unordered_set<std::string> chosen;
  for (Staged& staged : instances_) {
    std::string wish = staged.name.empty() ? scene.GeneratedName(*staged.type) : std::move(staged.name);
    staged.name = scene.FreeName(std::move(wish), suffixes, chosen);
    chosen.insert(staged.name);
  }
}

void SceneBatch::Ask(const LoadFilter& filter) {
  for (Staged& staged : instances_) {
    std::optional<std::string> name = filter(staged.type->name, staged.name);
    staged.kept = name.has_value();
    staged.renamed = name && *name != staged.name;
    if (staged.renamed) staged.name = std::move(*name);
  }
}

CommitReport SceneBatch::CheckRenamed(const Scene& scene) const {
  std::unordered_map<std::string_view, int> uses;
  for (const Staged& staged : instances_) {
    if (staged.kept) ++uses[staged.name];
  }
  for (const Staged& staged : instances_) {
    if (!staged.kept || !staged.renamed) continue;
    if (!scene.ValidName(staged.name)) {
      return {CreateStatus::kInvalidName,
              "the filter gave an instance the name \"" + staged.name + "\", which no instance can have"};
    }
    if (uses[staged.name] > 1 || scene.FindByName(staged.name) != nullptr) {
      return {CreateStatus::kDuplicateName,
              "the filter gave an instance the name \"" + staged.name + "\", which another one has"};
    }
  }
  return {};
}

void SceneBatch::Insert(Scene& scene, CommitReport* report) {
  std::vector<PluginId> ids(instances_.size(), kNoPlugin);
  Notes notes;
  try {
    std::unordered_map<std::string, uint64_t> suffixes;
    for (size_t i = 0; i < ids.size(); ++i) {
      const Staged& staged = instances_[i];
      if (!staged.kept) continue;
      std::string name = staged.name.empty() ? scene.GeneratedName(*staged.type) : staged.name;
      ids[i] = scene.Insert(*staged.type, scene.FreeName(std::move(name), suffixes)).id;
    }
    for (size_t i = 0; i < ids.size(); ++i) {
      Staged& staged = instances_[i];
      if (!staged.kept) continue;
      for (auto property = staged.values.begin(); property != staged.values.end();) {
        PropertyState& state = property->second;
        const auto lose = [&](size_t lost) {
          notes.Add("\"" + staged.name + "\": its \"" + std::string(property->first->name) +
                    "\" refers to \"" + instances_[lost].name + "\", which the filter left out");
        };
        Rebind(state.plain, ids, lose);
        for (auto& [time, value] : state.keys) Rebind(value, ids, lose);
        std::erase_if(state.keys, [](const auto& key) { return IsReset(key.second); });
        const bool unset = state.keys.empty() && (state.plain.Empty() || IsReset(state.plain));
        property = unset ? staged.values.erase(property) : std::next(property);
      }
      Scene::Node& node = *scene.FindNode(ids[i]);
      node.values = std::move(staged.values);
      node.folder = std::move(staged.folder);
    }
  } catch (...) {
    for (const PluginId id : ids) scene.Delete(id);
    throw;
  }
  report->notes = notes.Take();
}

CommitReport SceneBatch::CommitTo(Scene& scene, const LoadFilter& filter) {
  CommitReport report;
  report.why = std::move(failure_);
  failure_.clear();
  if (report.ok() && filter) {
    ChooseNames(scene);
    Ask(filter);
  }
  if (report.ok()) {
    const std::unique_lock lock(scene.mutex);
    if (filter) report = CheckRenamed(scene);
    if (report.ok()) Insert(scene, &report);
  }
  instances_.clear();
  return report;
}

}  // namespace kiln::engine::scene
