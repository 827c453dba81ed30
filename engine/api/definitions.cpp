// Entry points of property definitions. A definition is a row of a class table: its address and its texts,
// which are literals, live as long as the library.
#include <cmath>
#include <string>
#include <unordered_map>

#include "engine/api/blocks.h"
#include "engine/api/property_access.h"
#include "engine/api/value_stream.h"
#include "engine/scene/value_text.h"

namespace kiln::engine::api {
namespace {

using scene::PluginClass;
using scene::Property;

const Property* AsProperty(KilnPropertyDefinition definition) {
  return static_cast<const Property*>(definition);
}

const char* TextOrNull(std::string_view text) {
  return text.empty() ? nullptr : text.data();
}

// "min=0, max=1, unit=m", as far as the row says so.
std::string UiGuides(const Property& property) {
  std::string guides;
  const auto add = [&](std::string_view key, std::string_view value) {
    if (!guides.empty()) guides += ", ";
    (guides += key) += value;
  };
  if (std::isfinite(property.range.min)) add("min=", scene::FormatNumber(property.range.min));
  if (std::isfinite(property.range.max)) add("max=", scene::FormatNumber(property.range.max));
  if (!property.unit.empty()) add("unit=", property.unit);
  return guides;
}

using Guides = std::unordered_map<const Property*, std::string>;

Guides AllGuides() {
  Guides guides;
  for (const PluginClass* type : scene::AllClasses()) {
    for (const Property& property : type->properties) guides.emplace(&property, UiGuides(property));
  }
  return guides;
}

}  // namespace

extern "C" {

KilnPropertyDefinition Kiln_KilnRenderer_getPropertyDefinitionByID(KilnRendererHandle renderer,
                                                                   KilnPluginId plugin,
                                                                   const char* property) {
  return WithProperty<KilnPropertyDefinition>(
      renderer, plugin, property, nullptr,
      [](const Renderer&, const scene::Instance&, const Property& p) { return &p; });
}

KilnPropertyDefinition Kiln_KilnRenderer_getPropertyDefinition(KilnRendererHandle renderer,
                                                               const char* plugin, const char* property) {
  return Kiln_KilnRenderer_getPropertyDefinitionByID(
      renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin), property);
}

KilnPropertyDefinition Kiln_KilnRenderer_getPropertyDefinitionFromClass(KilnRendererHandle renderer,
                                                                        const char* class_name,
                                                                        const char* property) {
  return WithRenderer<KilnPropertyDefinition>(renderer, nullptr, [&](const Renderer&) -> const Property* {
    const PluginClass* type = class_name ? scene::FindClass(class_name) : nullptr;
    return type && property ? type->FindProperty(property) : nullptr;
  });
}

int32_t Kiln_PluginUtils_getPropertyDefaultValue(KilnPropertyDefinition definition, uint32_t** stream) {
  if (stream) *stream = nullptr;
  if (!definition || !stream) return 0;
  return Guarded<int32_t>(0, [&] {
    const Property& property = *AsProperty(definition);
    const size_t bytes = EncodedSize(property.default_value, property.type);
    if (bytes == 0) return 0;
    *stream = NewBlock<uint32_t>(bytes / sizeof(uint32_t));
    EncodeValue(property.default_value, property.type, *stream);
    return 1;
  });
}

const char* Kiln_PluginUtils_getPropertyName(KilnPropertyDefinition definition) {
  return definition ? AsProperty(definition)->name.data() : nullptr;
}

const char* Kiln_PluginUtils_getPropertyDescription(KilnPropertyDefinition definition) {
  return definition ? TextOrNull(AsProperty(definition)->description) : nullptr;
}

const char* Kiln_PluginUtils_getPropertyAliases(KilnPropertyDefinition definition) {
  return definition ? TextOrNull(AsProperty(definition)->aliases) : nullptr;
}

const char* Kiln_PluginUtils_getPropertyDeprecation(KilnPropertyDefinition definition) {
  return definition ? TextOrNull(AsProperty(definition)->deprecation) : nullptr;
}

const char* Kiln_PluginUtils_getPropertyUIGuides(KilnPropertyDefinition definition) {
  return Guarded<const char*>(nullptr, [&]() -> const char* {
    static const Guides guides = AllGuides();
    const auto found = guides.find(AsProperty(definition));
    return found == guides.end() || found->second.empty() ? nullptr : found->second.c_str();
  });
}

int32_t Kiln_PluginUtils_getPropertyType(KilnPropertyDefinition definition) {
  return static_cast<int32_t>(definition ? AsProperty(definition)->type : scene::Type::kUnspecified);
}

int32_t Kiln_PluginUtils_getPropertyElementsCount(KilnPropertyDefinition definition) {
  return definition ? AsProperty(definition)->elements : -1;
}

// None for a definition that is not of the class.
int32_t Kiln_PluginUtils_getPropertyGpuSupport(KilnRendererHandle renderer, const char* class_name,
                                               KilnPropertyDefinition definition) {
  constexpr auto kNone = static_cast<int32_t>(scene::PropertyGpuSupport::kNone);
  return WithRenderer<int32_t>(renderer, kNone, [&](const Renderer&) {
    const PluginClass* type = class_name ? scene::FindClass(class_name) : nullptr;
    if (!type) return kNone;
    for (const Property& property : type->properties) {
      if (&property == definition) return static_cast<int32_t>(property.gpu);
    }
    return kNone;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
