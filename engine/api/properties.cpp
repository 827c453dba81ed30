// Entry points that ask about the properties of an instance: which there are, of what type, animated or not.
#include <cmath>
#include <shared_mutex>
#include <type_traits>
#include <vector>

#include "engine/api/blocks.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

using scene::Instance;
using scene::PluginId;
using scene::Property;
using scene::PropertyState;

// What the body makes of the instance under the scene's lock, or the failure when there is none.
template <class R, class F>
R WithInstance(KilnRendererHandle renderer, PluginId id, R failure, F&& body) noexcept {
  return WithRenderer<R>(renderer, failure, [&](Renderer& r) -> R {
    const std::shared_lock lock(r.scene.mutex);
    const Instance* instance = r.scene.Find(id);
    return instance ? static_cast<R>(body(r, *instance)) : failure;
  });
}

// The same for a property of an instance.
template <class R, class F>
R WithProperty(KilnRendererHandle renderer, PluginId id, const char* name, R failure, F&& body) noexcept {
  return WithInstance<R>(renderer, id, failure, [&](Renderer& r, const Instance& instance) -> R {
    const Property* property = name ? instance.type->FindProperty(name) : nullptr;
    return property ? static_cast<R>(body(r, instance, *property)) : failure;
  });
}

const PropertyState* StateOf(const Instance& instance, const Property& property) {
  const auto found = instance.values.find(&property);
  return found == instance.values.end() ? nullptr : &found->second;
}

// How many elements a list has; negative for any other value.
int32_t CountOf(const scene::Value& value) {
  return std::visit(
      [](const auto& data) -> int32_t {
        using Data = std::decay_t<decltype(data)>;
        if constexpr (std::is_same_v<Data, scene::IntArray> || std::is_same_v<Data, scene::FloatArray> ||
                      std::is_same_v<Data, scene::VectorArray> || std::is_same_v<Data, scene::ColorArray> ||
                      std::is_same_v<Data, scene::StringArray> || std::is_same_v<Data, scene::ValueArray>) {
          return static_cast<int32_t>(data.size());
        }
        return -1;
      },
      value.data);
}

constexpr auto kNoType = static_cast<int32_t>(scene::Type::kUnspecified);

}  // namespace

extern "C" {

KilnStringVector Kiln_KilnRenderer_getPropertyNamesByID(KilnRendererHandle renderer, KilnPluginId plugin) {
  return WithInstance<KilnStringVector>(renderer, plugin, nullptr, [](Renderer&, const Instance& instance) {
    StringVector names;
    for (const Property& property : instance.type->properties) names.emplace_back(property.name);
    return NewStringVector(std::move(names));
  });
}

KilnStringVector Kiln_KilnRenderer_getPropertyNames(KilnRendererHandle renderer, const char* plugin) {
  return Kiln_KilnRenderer_getPropertyNamesByID(renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin));
}

int32_t Kiln_KilnRenderer_propertyExistsByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                             const char* property) {
  return WithProperty<int32_t>(renderer, plugin, property, 0,
                               [](Renderer&, const Instance&, const Property&) { return 1; });
}

int32_t Kiln_KilnRenderer_getPropertyTypeByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                              const char* property) {
  return WithProperty<int32_t>(renderer, plugin, property, kNoType,
                               [](Renderer&, const Instance&, const Property& p) { return p.type; });
}

int32_t Kiln_KilnRenderer_getPropertyType(KilnRendererHandle renderer, const char* plugin,
                                          const char* property) {
  return Kiln_KilnRenderer_getPropertyTypeByID(renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin),
                                               property);
}

int32_t Kiln_KilnRenderer_getPropertyElementsCountByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                       const char* property) {
  return WithProperty<int32_t>(renderer, plugin, property, -1,
                               [](const Renderer& r, const Instance& instance, const Property& p) {
                                 return CountOf(r.scene.Get(instance, p));
                               });
}

int32_t Kiln_KilnRenderer_getPropertyElementsCount(KilnRendererHandle renderer, const char* plugin,
                                                   const char* property) {
  return Kiln_KilnRenderer_getPropertyElementsCountByID(
      renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin), property);
}

int32_t Kiln_KilnRenderer_isPropertyAnimatedByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                 const char* property) {
  return WithProperty<int32_t>(renderer, plugin, property, 0,
                               [](Renderer&, const Instance& instance, const Property& p) {
                                 const PropertyState* state = StateOf(instance, p);
                                 return state && !state->keys.empty();
                               });
}

int32_t Kiln_KilnRenderer_getPropertyKeyframeTimesByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                       const char* property, double** times) {
  if (!times) return -1;
  *times = nullptr;
  return WithProperty<int32_t>(renderer, plugin, property, -1,
                               [&](Renderer&, const Instance& instance, const Property& p) {
                                 std::vector<double> keys;
                                 if (const PropertyState* state = StateOf(instance, p)) {
                                   for (const auto& [time, value] : state->keys) keys.push_back(time);
                                 }
                                 *times = CopyToBlock(keys);
                                 return keys.size();
                               });
}

int32_t Kiln_KilnRenderer_getPropertyIndexFromNameByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                       const char* name) {
  return WithInstance<int32_t>(renderer, plugin, -1, [&](Renderer&, const Instance& instance) {
    return name ? instance.type->OutputIndex(name) : -1;
  });
}

const char* Kiln_KilnRenderer_getPropertyNameFromIndexByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                           int32_t index) {
  return WithInstance<const char*>(renderer, plugin, nullptr, [&](Renderer&, const Instance& instance) {
    const std::string_view name = instance.type->OutputName(index < 0 ? 0 : static_cast<uint32_t>(index));
    return name.empty() ? nullptr : name.data();
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
