// The scene graph: plugin instances by ID and by name, their values, and what changed since the last look.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/scene/plugin_class.h"
#include "engine/scene/value.h"

namespace kiln::engine::scene {

// A value that changes over time: key frames sorted by time. Between keys numbers, vectors, colours, matrices
// and transforms are interpolated linearly; everything else holds the earlier key.
using KeyFrames = std::map<double, Value>;

// One property of one instance, as far as somebody set it.
struct PropertyState {
  Value plain;     // no value when only key frames were set
  KeyFrames keys;  // empty: not animated
};

struct Instance {
  PluginId id = kNoPlugin;
  std::string name;
  const PluginClass* type = nullptr;
  std::unordered_map<const Property*, PropertyState> values;
  uint64_t revision = 0;  // the scene's change index when this instance last changed
  // Where relative names in its file properties start: the folder of the file that it was loaded from. Null:
  // the working directory. The names themselves stay as they were written.
  std::shared_ptr<const std::filesystem::path> folder;
};

// The path behind a file name in a property of the instance: absolute names as they are, others from its
// folder. An empty name gives an empty path.
std::filesystem::path ResolveFile(const Instance& instance, std::string_view name);

enum class CreateStatus { kOk, kDuplicateName, kInvalidName, kUnknownClass };

// Not thread-safe by itself: callers hold `mutex` (shared for reading, unique for any change).
class Scene {
 public:
  mutable std::shared_mutex mutex;
  // Names outside A-Z a-z 0-9 @ | _ are accepted when set.
  bool allow_invalid_names = false;

  // Creates an instance; an empty optional as name lets the scene choose "<Class>@<n>".
  CreateStatus Create(const PluginClass& type, std::optional<std::string_view> name, PluginId* id);
  bool Delete(PluginId id);
  void Clear();

  const Instance* Find(PluginId id) const;
  const Instance* FindByName(std::string_view name) const;
  // IDs in order of creation; of one class, or all when type is null.
  std::vector<PluginId> Ids(const PluginClass* type = nullptr) const;
  size_t Count(const PluginClass* type = nullptr) const;
  // False for an unknown ID, a duplicate or an invalid name.
  bool Rename(PluginId id, std::string_view name);

  // Coerces the value to the property's declared type and stores it, as a key frame when time is given.
  // False for an unknown instance or property, or a value that the type does not take.
  bool Set(PluginId id, std::string_view property, Value value, std::optional<double> time = {});
  // The value at the time (the plain value, or the key frames' first, without a time); the default when
  // nobody set one; no value when the instance or the property is unknown.
  Value Get(PluginId id, std::string_view property, std::optional<double> time = {}) const;

  // Rises by one with every change.
  uint64_t change_index() const { return change_index_; }

 private:
  bool ValidName(std::string_view name) const;
  void Touch(Instance& instance);

  std::map<PluginId, Instance> instances_;
  std::unordered_map<std::string, PluginId> ids_by_name_;
  std::unordered_map<const PluginClass*, std::vector<PluginId>> ids_by_class_;
  std::unordered_map<const PluginClass*, uint64_t> name_counters_;
  PluginId next_id_ = 1;
  uint64_t change_index_ = 0;
};

// The value in the declared type, or nothing when it can't be one: int to float, bool to int, a string parsed
// against the type, a colour to a texture constant, a plugin reference to any plugin or texture type.
std::optional<Value> Coerce(Value value, Type type);
// The value at a time between key frames (see KeyFrames); the first or last key outside them. keys is not
// empty.
Value Interpolate(const KeyFrames& keys, double time);

}  // namespace kiln::engine::scene
