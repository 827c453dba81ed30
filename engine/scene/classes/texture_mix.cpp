// Two textures by a third.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class MixTexture : public render::Texture {
 public:
  render::ColorInput a, b;
  render::FloatInput amount;

  Color EvaluateColor(const render::ShadingPoint& point, uint32_t) const override {
    const float t = amount.Evaluate(point);
    if (!(t > 0)) return a.Evaluate(point);
    if (t >= 1) return b.Evaluate(point);
    return Lerp(a.Evaluate(point), b.Evaluate(point), t);
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<MixTexture>();
  texture->a = in.ColorTexture("colorA");
  texture->b = in.ColorTexture("colorB");
  texture->amount = in.FloatTexture("amount");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureMix",
      .description = "Two textures, mixed by a number or a texture.",
      .categories = CategoryBit(Category::kTexture) | CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {"colorA", Type::kTexture, Color{0, 0, 0}, "The first texture."},
              {"colorB", Type::kTexture, Color{1, 1, 1}, "The second texture."},
              {"amount", Type::kTextureFloat, 0.5f, "How much of the second there is.", {0, 1}},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
