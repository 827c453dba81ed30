// Light from all around, constant or from a lat-long picture.
#include "engine/render/dome.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  if (!in.Bool("enabled")) return nullptr;
  const render::ColorInput texture = in.ColorTexture("texture");
  const Color radiance = in.Color("color") * in.Float("intensity");
  if (IsBlack(radiance)) return nullptr;
  return render::MakeDome({.radiance = texture.IsConstant() ? radiance * texture.constant : radiance,
                           .texture = texture.texture,
                           .output = texture.output,
                           .rotation = in.Transform("transform").matrix,
                           .visible_to_camera = in.Bool("visibleToCamera")});
}

PluginClass Describe() {
  return {
      .name = "LightDome",
      .description =
          "Light from all around. The middle of its picture lies in -Z, the top in +Y, right is +X.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Orientation; place and scale are ignored."},
              LightColorRow(),
              {"intensity",
               Type::kFloat,
               1.0f,
               "Radiance, as a factor on colour and picture.",
               {0},
               "W/(m^2 sr)"},
              {"texture", Type::kTexture, Color{1, 1, 1}, "A lat-long picture."},
              {"visibleToCamera", Type::kBoolean, true, "Whether the camera sees it behind the scene."},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
