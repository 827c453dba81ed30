// A checkerboard over texture coordinates.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class CheckerTexture : public render::Texture {
 public:
  render::ColorInput a, b;
  const render::UvwGen* uvw = nullptr;
  float scale = 1;

  Color EvaluateColor(const render::ShadingPoint& point, uint32_t) const override {
    const Vec3 at = render::UvwAt(point, uvw).at;
    const bool odd = Parity(at.x * scale) != Parity(at.y * scale);
    return (odd ? b : a).Evaluate(point);
  }

 private:
  static bool Parity(float x) {
    const float cell = std::floor(x);
    // What is not finite counts as the first cell.
    return std::isfinite(cell) && cell - 2 * std::floor(cell * 0.5f) == 1;
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<CheckerTexture>();
  texture->a = in.ColorTexture("colorA");
  texture->b = in.ColorTexture("colorB");
  texture->scale = in.Float("scale");
  texture->uvw = in.UvwGenOf("uvwgen");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureChecker",
      .description = "A checkerboard over texture coordinates.",
      .categories = CategoryBit(Category::kTexture),
      .properties =
          {
              {"colorA", Type::kTexture, Color{0.8f, 0.8f, 0.8f}, "Colour of the square at the origin."},
              {"colorB", Type::kTexture, Color{0.2f, 0.2f, 0.2f}, "Colour of its neighbours."},
              {"scale", Type::kFloat, 1.0f, "Squares along one unit of the coordinates.", {}, "1/uv"},
              {"uvwgen", Type::kPlugin, PluginRef{},
               "Where the texture coordinates come from; none: the first set of the mesh."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
