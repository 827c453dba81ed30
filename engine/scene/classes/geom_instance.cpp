// A mesh in the scene, with its place and its material. The scene builder reads it.
#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {
namespace {

PluginClass Describe() {
  return {
      .name = "GeomInstance",
      .description = "Puts a geometry into the scene.",
      .categories = CategoryBit(Category::kGeometricObject),
      .properties =
          {
              {"geometry", Type::kPlugin, PluginRef{}, "What to show, a geometry source."},
              {"material", Type::kPlugin, PluginRef{}, "How it looks; none is a grey matte."},
              {"volume", Type::kPlugin, PluginRef{},
               "What fills the closed body, where its material lets light in; none for nothing."},
              {"transform", Type::kTransform, Transform{}, "Place, orientation and scale."},
              {"visible", Type::kBoolean, true, "Whether it is there at all."},
              {"visibleToCamera", Type::kBoolean, true,
               "Whether the camera sees it; light and mirrors always do."},
          },
      .is_object = true,
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
