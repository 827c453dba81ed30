// What a scene keeps of the frame-buffer window. The window fills it and is filled from it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "SettingsKVW",
      .description = "The settings and colour corrections of the frame-buffer window.",
      .categories = CategoryBit(Category::kSettings),
      .properties =
          {
              {"settings", Type::kString, "", "The settings as a JSON document."},
              {"layers", Type::kString, "", "The colour corrections as a JSON document."},
          },
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
