// Entry points of property definitions. A definition is a row of a class table: its address and its texts
// live as long as the library.
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

// In prose a whole number has no point, which the scene text asks for.
std::string Number(double number) {
  std::string text = scene::FormatNumber(number);
  if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0) text.resize(text.size() - 2);
  return text;
}

// " 0.01 to 179 deg.", " At least 0 m.", " In W/sr.", as far as the row says so.
std::string Bounds(const Property& property) {
  const auto [min, max] = property.range;
  std::string bounds;
  if (std::isfinite(min) && std::isfinite(max)) {
    bounds = Number(min) + " to " + Number(max);
  } else if (std::isfinite(min)) {
    bounds = "At least " + Number(min);
  } else if (std::isfinite(max)) {
    bounds = "At most " + Number(max);
  } else if (!property.unit.empty()) {
    bounds = "In";
  }
  if (bounds.empty()) return bounds;
  if (!property.unit.empty()) (bounds += ' ') += property.unit;
  return ' ' + bounds + '.';
}

// What is put together from a row. A script sees a range and a unit in the description alone.
struct Texts {
  std::string guides;
  std::string description;
};

using TextsOfRows = std::unordered_map<const Property*, Texts>;

TextsOfRows AllTexts() {
  TextsOfRows texts;
  for (const PluginClass* type : scene::AllClasses()) {
    for (const Property& property : type->properties) {
      texts.emplace(&property,
                    Texts{UiGuides(property), std::string(property.description) + Bounds(property)});
    }
  }
  return texts;
}

// Null for a definition of no class and for an empty text.
const char* TextOf(KilnPropertyDefinition definition, std::string Texts::*text) {
  return Guarded<const char*>(nullptr, [&]() -> const char* {
    static const TextsOfRows texts = AllTexts();
    const auto found = texts.find(AsProperty(definition));
    return found == texts.end() || (found->second.*text).empty() ? nullptr : (found->second.*text).c_str();
  });
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
  return TextOf(definition, &Texts::description);
}

const char* Kiln_PluginUtils_getPropertyAliases(KilnPropertyDefinition definition) {
  return definition ? TextOrNull(AsProperty(definition)->aliases) : nullptr;
}

const char* Kiln_PluginUtils_getPropertyDeprecation(KilnPropertyDefinition definition) {
  return definition ? TextOrNull(AsProperty(definition)->deprecation) : nullptr;
}

const char* Kiln_PluginUtils_getPropertyUIGuides(KilnPropertyDefinition definition) {
  return TextOf(definition, &Texts::guides);
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
