// How many samples a render takes. The scene builder reads it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "SettingsSampler",
      .description = "How much work goes into a picture.",
      .categories = CategoryBit(Category::kSettings),
      .properties =
          {
              {"samples", Type::kInt, 64, "Paths per pixel.", {1, 16777216}},
              {"timeLimit",
               Type::kFloat,
               0.0f,
               "A refinement ends after this time; 0: at its samples.",
               {0},
               "s"},
              {"seed", Type::kInt, 0, "Another number gives other noise; the same the same picture."},
              {"bucketSize", Type::kInt, 32, "Side of a bucket.", {4, 1024}, "px"},
          },
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
