// The plugins of render elements: one in a scene asks a render to keep the element. They differ in data
// alone.
#include <array>
#include <utility>

#include "engine/render/elements.h"

namespace kiln::engine::scene {
namespace {

template <size_t kIndex>
PluginClass Describe() {
  const render::Element& element = render::AllElements()[kIndex];
  PluginClass type{
      .name = element.class_name,
      .description = element.description,
      .categories = CategoryBit(Category::kRenderChannel),
      .properties =
          {
              {.name = "name",
               .type = Type::kString,
               .default_value = "",
               .description = "What the element is called in lists and files; empty: as its type.",
               .aliases = "displayName"},
              {"enabled", Type::kBoolean, true, "Whether it is rendered."},
          },
      .element = static_cast<int32_t>(element.type),
  };
  if (element.type == render::ElementType::kZDepth) {
    type.properties.push_back({"near", Type::kFloat, 0.0f, "The distance that is 0.", {0}, "m"});
    type.properties.push_back({"far",
                               Type::kFloat,
                               0.0f,
                               "The distance that is 1; when it is not beyond near, distances are in metres.",
                               {0},
                               "m"});
  }
  if (element.type == render::ElementType::kDenoised) {
    type.properties.push_back(
        {"strength", Type::kFloat, 1.0f, "How much of the noise goes: 0 nothing, 1 as much as can.", {0, 1}});
  }
  return type;
}

template <size_t... kIndices>
std::array<RegisterClass, sizeof...(kIndices)> RegisterAll(std::index_sequence<kIndices...>) {
  return {RegisterClass(Describe<kIndices>)...};
}

const auto kRegistrations = RegisterAll(std::make_index_sequence<render::kElementCount>());

}  // namespace
}  // namespace kiln::engine::scene
