// What surrounds the scene, and who looks at it. The scene builder reads it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "SettingsEnvironment",
      .description = "Surroundings of the scene and its current camera.",
      .categories = CategoryBit(Category::kSettings),
      .properties =
          {
              {"background",
               Type::kColor,
               Color{0, 0, 0},
               "Radiance from where nothing is; it lights the scene.",
               {},
               "W/(m^2 sr)"},
              {"camera", Type::kPlugin, PluginRef{},
               "The current camera; none: the first one that was made."},
          },
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
