// Entry points that ask about the properties of an instance: which there are, of what type, animated or not.
#include <type_traits>
#include <vector>

#include "engine/api/blocks.h"
#include "engine/api/plugin_links.h"
#include "engine/api/property_access.h"
#include "engine/scene/coerce.h"

namespace kiln::engine::api {
namespace {

using scene::Instance;
using scene::Property;
using scene::PropertyState;
using scene::Type;

const PropertyState* StateOf(const Instance& instance, const Property& property) {
  const auto found = instance.values.find(&property);
  return found == instance.values.end() ? nullptr : &found->second;
}

// How many elements a list has; negative for any other value.
int32_t CountOf(const scene::Value& value) {
  const std::optional<size_t> size = scene::ListSize(value);
  return size ? static_cast<int32_t>(*size) : -1;
}

// The type of what a property holds, where its declared type leaves that open: a constant in place of a
// texture, or anything at all.
Type TypeOfData(const scene::Value& value) {
  return std::visit(
      []<class T>(const T&) {
        if constexpr (std::is_same_v<T, int32_t>) return Type::kInt;
        if constexpr (std::is_same_v<T, float>) return Type::kFloat;
        if constexpr (std::is_same_v<T, double>) return Type::kDouble;
        if constexpr (std::is_same_v<T, bool>) return Type::kBoolean;
        if constexpr (std::is_same_v<T, Vec3>) return Type::kVector;
        if constexpr (std::is_same_v<T, Color>) return Type::kColor;
        if constexpr (std::is_same_v<T, AColor>) return Type::kAColor;
        if constexpr (std::is_same_v<T, Matrix>) return Type::kMatrix;
        if constexpr (std::is_same_v<T, Transform>) return Type::kTransform;
        if constexpr (std::is_same_v<T, std::string>) return Type::kString;
        if constexpr (std::is_same_v<T, scene::PluginRef>) return Type::kPlugin;
        if constexpr (std::is_same_v<T, scene::IntArray>) return Type::kIntList;
        if constexpr (std::is_same_v<T, scene::FloatArray>) return Type::kFloatList;
        if constexpr (std::is_same_v<T, scene::VectorArray>) return Type::kVectorList;
        if constexpr (std::is_same_v<T, scene::ColorArray>) return Type::kColorList;
        if constexpr (std::is_same_v<T, scene::StringArray>) return Type::kStringList;
        if constexpr (std::is_same_v<T, scene::ValueArray>) return Type::kObjectList;
        return Type::kUnspecified;
      },
      value.data);
}

Type RuntimeType(const Renderer& renderer, const Instance& instance, const Property& property) {
  const bool is_texture = scene::TakesReference(property.type) && property.type != Type::kPlugin;
  if (!is_texture && property.type != Type::kUnspecified) return property.type;
  const scene::Value value = renderer.scene.Get(instance, property);
  if (is_texture && value.As<scene::PluginRef>()) return property.type;
  return TypeOfData(value);
}

constexpr auto kNoType = static_cast<int32_t>(Type::kUnspecified);

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
                               [](const Renderer& r, const Instance& instance, const Property& p) {
                                 return RuntimeType(r, instance, p);
                               });
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
    const std::string_view name = NameFromIndex(*instance.type, index);
    return name.empty() ? nullptr : name.data();
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
