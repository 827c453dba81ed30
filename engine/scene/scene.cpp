// The scene graph: instances, their names and values.
#include "engine/scene/scene.h"

#include <algorithm>
#include <cmath>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {
namespace {

constexpr std::string_view kOutputSeparator = "::";

bool ValidCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '@' || c == '|' ||
         c == '_';
}

template <class Change>
void ForEachReference(Value& value, const Change& change);

// Lists are shared, so a list with a reference to change is copied first.
template <class Change>
void ForEachReference(ValueArray& list, const Change& change) {
  std::vector<Value> elements(list.begin(), list.end());
  for (Value& element : elements) ForEachReference(element, change);
  ValueArray changed(std::move(elements));
  if (!(changed == list)) list = std::move(changed);
}

template <class Change>
void ForEachReference(Value& value, const Change& change) {
  if (auto* reference = std::get_if<PluginRef>(&value.data)) change(*reference);
  if (auto* list = std::get_if<ValueArray>(&value.data)) ForEachReference(*list, change);
}

// True when one of the instance's values is another afterwards.
template <class Change>
bool ChangeReferences(Instance& instance, const Change& change) {
  bool changed = false;
  const auto visit = [&](PluginRef& reference) {
    const PluginRef before = reference;
    change(reference);
    changed = changed || !(before == reference);
  };
  for (auto& [property, state] : instance.values) {
    ForEachReference(state.plain, visit);
    for (auto& [time, value] : state.keys) ForEachReference(value, visit);
  }
  return changed;
}

}  // namespace

std::filesystem::path ResolveFile(const Instance& instance, std::string_view name) {
  std::filesystem::path file(name);
  if (name.empty() || instance.folder == nullptr || file.is_absolute()) return file;
  return *instance.folder / file;
}

void Scene::Chain::Append(Node& node, Link Node::*link) {
  (node.*link) = {last, nullptr};
  (last != nullptr ? (last->*link).next : first) = &node;
  last = &node;
  ++count;
}

void Scene::Chain::Remove(Node& node, Link Node::*link) {
  const Link& l = node.*link;
  (l.previous != nullptr ? (l.previous->*link).next : first) = l.next;
  (l.next != nullptr ? (l.next->*link).previous : last) = l.previous;
  --count;
}

bool Scene::ValidName(std::string_view name) const {
  if (name.empty()) return false;
  return allow_invalid_names || std::ranges::all_of(name, ValidCharacter);
}

std::string Scene::GeneratedName(const PluginClass& type) {
  uint64_t& counter = classes_[&type].name_counter;
  std::string name;
  do {
    name = std::string(type.name) + '@' + std::to_string(++counter);
  } while (nodes_by_name_.contains(name));
  return name;
}

std::string Scene::FreeName(std::string name, std::unordered_map<std::string, uint64_t>& suffixes,
                            const std::unordered_set<std::string>& others) const {
  const auto taken = [&](const std::string& text) {
    return nodes_by_name_.contains(text) || others.contains(text);
  };
  if (!allow_invalid_names)
    std::ranges::replace_if(
        name, [](char c) { return !ValidCharacter(c); }, '_');
  if (!taken(name)) return name;
  uint64_t& suffix = suffixes.try_emplace(name, 1).first->second;
  std::string free;
  do {
    free = name + '_' + std::to_string(++suffix);
  } while (taken(free));
  return free;
}

Scene::Node* Scene::FindNode(PluginId id) {
  const auto found = nodes_.find(id);
  return found != nodes_.end() ? &found->second : nullptr;
}

Scene::Node& Scene::Insert(const PluginClass& type, std::string name) {
  const PluginId id = next_id_;
  ClassEntry& entry = classes_[&type];
  Node& node = nodes_.try_emplace(id).first->second;
  node.id = id;
  node.name = std::move(name);
  node.type = &type;
  try {
    nodes_by_name_.emplace(node.name, &node);
  } catch (...) {
    nodes_.erase(id);
    throw;
  }
  chain_.Append(node, &Node::in_scene);
  entry.chain.Append(node, &Node::in_class);
  ++next_id_;
  Touch(node);
  return node;
}

void Scene::Remove(Node& node) {
  chain_.Remove(node, &Node::in_scene);
  classes_.find(node.type)->second.chain.Remove(node, &Node::in_class);
  nodes_by_name_.erase(node.name);
  nodes_.erase(node.id);
  ++change_index_;
}

void Scene::Touch(Instance& instance) {
  instance.revision = ++change_index_;
}

CreateStatus Scene::Create(const PluginClass& type, std::optional<std::string_view> name, PluginId* id) {
  if (name && !ValidName(*name)) return CreateStatus::kInvalidName;
  if (name && nodes_by_name_.contains(*name)) return CreateStatus::kDuplicateName;
  *id = Insert(type, name ? std::string(*name) : GeneratedName(type)).id;
  return CreateStatus::kOk;
}

bool Scene::Delete(PluginId id) {
  Node* node = FindNode(id);
  if (node == nullptr) return false;
  Remove(*node);
  return true;
}

void Scene::Clear() {
  nodes_by_name_.clear();
  nodes_.clear();
  classes_.clear();
  chain_ = {};
  ++change_index_;
}

const Instance* Scene::Find(PluginId id) const {
  const auto found = nodes_.find(id);
  return found != nodes_.end() ? &found->second : nullptr;
}

const Instance* Scene::FindByName(std::string_view name) const {
  const auto found = nodes_by_name_.find(name);
  return found != nodes_by_name_.end() ? found->second : nullptr;
}

std::vector<PluginId> Scene::Ids(const PluginClass* type) const {
  std::vector<PluginId> ids;
  ids.reserve(Count(type));
  if (type == nullptr) {
    for (const Node* node = chain_.first; node != nullptr; node = node->in_scene.next)
      ids.push_back(node->id);
    return ids;
  }
  const auto entry = classes_.find(type);
  if (entry == classes_.end()) return ids;
  const Node* node = entry->second.chain.first;
  for (; node != nullptr; node = node->in_class.next) ids.push_back(node->id);
  return ids;
}

size_t Scene::Count(const PluginClass* type) const {
  if (type == nullptr) return chain_.count;
  const auto entry = classes_.find(type);
  return entry != classes_.end() ? entry->second.chain.count : 0;
}

bool Scene::Rename(PluginId id, std::string_view name) {
  Node* node = FindNode(id);
  if (node == nullptr || !ValidName(name)) return false;
  if (node->name == name) return true;
  if (nodes_by_name_.contains(name)) return false;
  // The map's keys are views of the names: the old key goes while its text still stands.
  std::string text(name);
  auto handle = nodes_by_name_.extract(node->name);
  node->name = std::move(text);
  handle.key() = node->name;
  nodes_by_name_.insert(std::move(handle));
  Touch(*node);
  return true;
}

bool Scene::Set(PluginId id, std::string_view property, Value value, std::optional<double> time) {
  Node* node = FindNode(id);
  const Property* declared = node != nullptr ? node->type->FindProperty(property) : nullptr;
  if (declared == nullptr || (time && !std::isfinite(*time))) return false;
  if (!IsReset(value)) {
    std::optional<Value> coerced =
        CoerceTo(std::move(value), *declared, [this](std::string_view text) { return FindReference(text); });
    if (!coerced) return false;
    value = std::move(*coerced);
  }
  const auto found = node->values.find(declared);
  if (IsReset(value)) {
    if (found == node->values.end()) return true;
    if (time) found->second.keys.erase(*time);
    if (!time || (found->second.keys.empty() && found->second.plain.Empty())) node->values.erase(found);
  } else {
    PropertyState& state = found != node->values.end() ? found->second : node->values[declared];
    if (time) {
      state.keys.insert_or_assign(*time, std::move(value));
      state.plain = {};
    } else {
      state.plain = std::move(value);
      state.keys.clear();
    }
  }
  Touch(*node);
  return true;
}

Value Scene::Get(PluginId id, std::string_view property, std::optional<double> time) const {
  const Instance* instance = Find(id);
  const Property* declared = instance != nullptr ? instance->type->FindProperty(property) : nullptr;
  return declared != nullptr ? Get(*instance, *declared, time) : Value();
}

Value Scene::Get(const Instance& instance, const Property& property, std::optional<double> time) const {
  const auto found = instance.values.find(&property);
  if (found == instance.values.end()) return property.default_value;
  const PropertyState& state = found->second;
  const bool at_time = time && !std::isnan(*time);
  Value value = state.keys.empty() ? state.plain
                : at_time          ? Interpolate(state.keys, *time)
                                   : state.keys.begin()->second;
  const auto* reference = value.As<PluginRef>();
  if (reference != nullptr && *reference && Find(reference->id) == nullptr) return PluginRef{};
  return value;
}

bool Scene::Replace(PluginId id, PluginId target) {
  const Node* replaced = FindNode(id);
  const Node* replacement = FindNode(target);
  if (replaced == nullptr || (target != kNoPlugin && replacement == nullptr)) return false;
  if (id == target) return true;
  const size_t outputs = replacement != nullptr ? replacement->type->outputs.size() : 0;
  const auto change = [&](PluginRef& reference) {
    if (reference.id == id) reference = {target, reference.output <= outputs ? reference.output : 0};
  };
  for (Node* node = chain_.first; node != nullptr; node = node->in_scene.next) {
    // The target's own references stay, or a texture put before the one that it reads would read itself.
    if (node != replacement && ChangeReferences(*node, change)) Touch(*node);
  }
  return true;
}

std::optional<PluginRef> Scene::FindReference(std::string_view text) const {
  if (const Instance* instance = FindByName(text)) return PluginRef{instance->id, 0};
  const size_t separator = text.rfind(kOutputSeparator);
  if (separator == std::string_view::npos) return {};
  const Instance* instance = FindByName(text.substr(0, separator));
  if (instance == nullptr) return {};
  const int32_t output = instance->type->OutputIndex(text.substr(separator + kOutputSeparator.size()));
  if (output < 1) return {};
  return PluginRef{instance->id, static_cast<uint32_t>(output)};
}

std::string Scene::ReferenceText(const PluginRef& reference) const {
  const Instance* instance = Find(reference.id);
  if (instance == nullptr) return {};
  const std::string_view output = instance->type->OutputName(reference.output);
  return output.empty() ? instance->name
                        : instance->name + std::string(kOutputSeparator) + std::string(output);
}

void Scene::TakeContent(Scene& other) {
  Clear();
  const PluginId offset = next_id_ - 1;
  for (Node* node = other.chain_.first; node != nullptr; node = node->in_scene.next) {
    ChangeReferences(*node, [&](PluginRef& reference) {
      if (reference) reference.id += offset;
    });
    const PluginId id = node->id + offset;
    auto handle = other.nodes_.extract(node->id);
    handle.key() = id;
    node->id = id;
    nodes_.insert(std::move(handle));
    Touch(*node);
  }
  nodes_by_name_ = std::move(other.nodes_by_name_);
  classes_ = std::move(other.classes_);
  chain_ = other.chain_;
  next_id_ = other.next_id_ + offset;
  other.Clear();
}

}  // namespace kiln::engine::scene
