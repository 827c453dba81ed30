// Size of the picture and its filter. The scene builder reads it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "SettingsImage",
      .description = "Size and filter of the picture.",
      .categories = CategoryBit(Category::kSettings),
      .properties =
          {
              {"width", Type::kInt, 640, "Width.", {1, 65535}, "px"},
              {"height", Type::kInt, 480, "Height.", {1, 65535}, "px"},
              {"pixelFilter", Type::kInt, 1, "0: a box of one pixel. 1: Blackman-Harris.", {0, 1}},
              {"filterRadius", Type::kFloat, 1.5f, "Reach of the Blackman-Harris filter.", {0.5, 8}, "px"},
          },
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
