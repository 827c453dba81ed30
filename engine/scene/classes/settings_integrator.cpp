// How far light is followed. The scene builder reads it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "SettingsIntegrator",
      .description = "How far light is followed.",
      .categories = CategoryBit(Category::kSettings),
      .properties =
          {
              {"maxDepth", Type::kInt, 12, "Bounces of a path.", {0, 1024}},
              {"minDepth", Type::kInt, 3, "Bounces before a faint path may end at random.", {0, 1024}},
              {"clamp", Type::kFloat, 0.0f, "Limit on what one bounced path adds to a pixel; 0: none.", {0}},
              {"channel", Type::kPlugin, PluginRef{},
               "A render channel to show in place of the light; none: the light."},
          },
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
