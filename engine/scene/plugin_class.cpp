// The registry of plugin classes: filled by static objects, built into tables at the first look.
#include "engine/scene/plugin_class.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "engine/scene/scene.h"

namespace kiln::engine::scene {
namespace {

using Describe = PluginClass (*)();

// Function-local, so that a class file initialised before this one finds it.
std::vector<Describe>& Registrations() {
  static std::vector<Describe> registrations;
  return registrations;
}

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool HasAlias(std::string_view aliases, std::string_view name) {
  while (!aliases.empty()) {
    const size_t comma = std::min(aliases.find(','), aliases.size());
    if (Trim(aliases.substr(0, comma)) == name) return true;
    aliases.remove_prefix(std::min(comma + 1, aliases.size()));
  }
  return false;
}

void NormaliseDefaults(PluginClass& type) {
  for (Property& property : type.properties) {
    if (property.default_value.Empty()) {
      property.default_value = ZeroValue(property.type);
      continue;
    }
    std::optional<Value> value = Coerce(std::move(property.default_value), property.type);
    assert(value && "a default value that its own declared type does not take");
    property.default_value = value ? std::move(*value) : ZeroValue(property.type);
  }
}

struct Registry {
  std::vector<std::unique_ptr<const PluginClass>> owned;
  std::vector<const PluginClass*> sorted;
};

Registry Build() {
  Registry registry;
  for (const Describe describe : Registrations()) {
    auto type = std::make_unique<PluginClass>(describe());
    NormaliseDefaults(*type);
    registry.sorted.push_back(type.get());
    registry.owned.push_back(std::move(type));
  }
  std::ranges::sort(registry.sorted, {}, &PluginClass::name);
  assert(std::ranges::adjacent_find(registry.sorted, {}, &PluginClass::name) == registry.sorted.end() &&
         "two classes of one name");
  return registry;
}

}  // namespace

RegisterClass::RegisterClass(PluginClass (*describe)()) {
  Registrations().push_back(describe);
}

const std::vector<const PluginClass*>& AllClasses() {
  static const Registry registry = Build();
  return registry.sorted;
}

const PluginClass* FindClass(std::string_view name) {
  const std::vector<const PluginClass*>& all = AllClasses();
  const auto found = std::ranges::lower_bound(all, name, {}, &PluginClass::name);
  return found != all.end() && (*found)->name == name ? *found : nullptr;
}

const Property* PluginClass::FindProperty(std::string_view property) const {
  const auto named = std::ranges::find(properties, property, &Property::name);
  if (named != properties.end()) return &*named;
  const auto aliased =
      std::ranges::find_if(properties, [&](const Property& p) { return HasAlias(p.aliases, property); });
  return aliased != properties.end() ? &*aliased : nullptr;
}

int32_t PluginClass::OutputIndex(std::string_view output) const {
  if (output.empty()) return 0;
  const auto found = std::ranges::find(outputs, output, &Output::name);
  return found != outputs.end() ? static_cast<int32_t>(found - outputs.begin()) + 1 : -1;
}

std::string_view PluginClass::OutputName(uint32_t index) const {
  return index >= 1 && index <= outputs.size() ? outputs[index - 1].name : std::string_view{};
}

}  // namespace kiln::engine::scene
