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
#include <unordered_set>
#include <vector>

#include "engine/scene/plugin_class.h"
#include "engine/scene/value.h"

namespace kiln::engine::scene {

// A value that changes over time: key frames sorted by time. Between two keys of equal type, floats, doubles,
// vectors, colours, matrices, transforms and lists of equal length of them are interpolated linearly;
// everything else (an int may number a mode) holds the earlier key.
using KeyFrames = std::map<double, Value>;

// One property of one instance, as far as somebody set it: a plain value or key frames, never both.
struct PropertyState {
  Value plain;     // no value when there are key frames
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
  // True for a name that is not empty and, unless anything is allowed, has only allowed characters.
  bool ValidName(std::string_view name) const;
  // False for an unknown ID, a duplicate or an invalid name.
  bool Rename(PluginId id, std::string_view name);

  // Coerces the value to the property's declared type and stores it, as a key frame when time is given. A
  // plain value ends an animation, a key frame ends a plain value. A reference to no plugin resets the
  // property to its default, or with a time removes that key frame. In plugin and texture properties a text
  // that names an instance, or an output as "name::output", is a reference to it. Ranges are advice: a value
  // outside is stored. False for an unknown instance or property, a value that the type does not take, a list
  // of another than the declared fixed length, or a time that is not finite.
  bool Set(PluginId id, std::string_view property, Value value, std::optional<double> time = {});
  // The value at the time (the plain value, or the key frames' first, without a time or with NaN); the
  // default when nobody set one; no value when the instance or the property is unknown. A deleted plugin
  // reads as no plugin.
  Value Get(PluginId id, std::string_view property, std::optional<double> time = {}) const;
  // The same for a property of the instance's own class table.
  Value Get(const Instance& instance, const Property& property, std::optional<double> time = {}) const;
  // Points every reference to `id` (not those that the target itself holds) at the target, or at nothing when
  // that is kNoPlugin; outputs that the target's class lacks become the target itself. False for an unknown
  // ID.
  bool Replace(PluginId id, PluginId target);

  // "name" or "name::output"; nothing when there is no such instance or output.
  std::optional<PluginRef> FindReference(std::string_view text) const;
  // The text that FindReference takes; empty for no plugin.
  std::string ReferenceText(const PluginRef& reference) const;

  // Replaces all content by that of the other scene, which is empty afterwards; the instances get new IDs, so
  // that an ID that somebody kept never means another plugin. The way to load without losing the old scene on
  // an error.
  void TakeContent(Scene& other);

  // Rises by one with every change.
  uint64_t change_index() const { return change_index_; }

 private:
  friend class SceneBatch;

  struct Node;
  struct Link {
    Node* previous = nullptr;
    Node* next = nullptr;
  };
  struct Node : Instance {
    Link in_scene;
    Link in_class;
  };
  // Nodes in order of creation, linked through themselves: adding and removing one costs the same at any
  // size.
  struct Chain {
    Node* first = nullptr;
    Node* last = nullptr;
    size_t count = 0;
    void Append(Node& node, Link Node::*link);
    void Remove(Node& node, Link Node::*link);
  };
  struct ClassEntry {
    Chain chain;
    uint64_t name_counter = 0;
  };

  std::string GeneratedName(const PluginClass& type);
  // The name, made valid, with the first free suffix when it is taken, in the scene or by one of `others`;
  // `suffixes` keeps a long row of equal names from counting anew each time.
  std::string FreeName(std::string name, std::unordered_map<std::string, uint64_t>& suffixes,
                       const std::unordered_set<std::string>& others = {}) const;
  Node* FindNode(PluginId id);
  Node& Insert(const PluginClass& type, std::string name);
  void Remove(Node& node);
  void Touch(Instance& instance);

  std::unordered_map<PluginId, Node> nodes_;
  std::unordered_map<std::string_view, Node*> nodes_by_name_;  // views of Instance::name
  std::unordered_map<const PluginClass*, ClassEntry> classes_;
  Chain chain_;
  PluginId next_id_ = 1;
  uint64_t change_index_ = 0;
};

// The value in the declared type, or nothing when it can't be one. What converts: numbers and booleans into
// each other, a number with a fraction into no int; arrays of 3, 4, 9 or 12 numbers into vectors and colours,
// AColor, matrices and transforms; a colour or a number (as grey) into a colour texture's constant, a colour
// with equal channels into a number texture's; arrays of any kind into typed lists whose elements they hold;
// a text by parsing it against the type (see value_text.h); a reference into every plugin and texture type.
// Names are not resolved here: a text for a plugin type is refused.
std::optional<Value> Coerce(Value value, Type type);
// What a declared type holds when nobody says otherwise: zero, empty, identity, no plugin.
Value ZeroValue(Type type);
// True for the types that hold a reference, alone or as one of several forms.
bool TakesReference(Type type);
// The value at a time between key frames (see KeyFrames); the first or last key outside them. keys is not
// empty.
Value Interpolate(const KeyFrames& keys, double time);

}  // namespace kiln::engine::scene
