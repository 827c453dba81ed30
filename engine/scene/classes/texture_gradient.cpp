// A ramp of colours over texture coordinates.
#include "engine/render/inputs.h"
#include "engine/render/ramp.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

enum class Axis { kU, kV, kRadial };

class GradientTexture : public render::Texture {
 public:
  const render::UvwGen* uvw = nullptr;
  Axis axis = Axis::kU;
  render::Ramp<Color> ramp;

  Color EvaluateColor(const render::ShadingPoint& point, uint32_t) const override {
    const Vec3 at = render::UvwAt(point, uvw).at;
    if (axis == Axis::kRadial) return ramp.At(2 * std::hypot(at.x - 0.5f, at.y - 0.5f));
    return ramp.At(axis == Axis::kU ? at.x : at.y);
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<GradientTexture>();
  texture->uvw = in.UvwGenOf("uvwgen");
  texture->axis = static_cast<Axis>(std::clamp(in.Int("axis"), 0, 2));
  if (!texture->ramp.Set(in.List<FloatArray>("positions"), in.List<ColorArray>("colors"),
                         in.Int("interpolation"))) {
    in.Warn("positions and colors are not of one length or positions fall, so it goes from black to white");
    texture->ramp.Set(FloatArray(std::vector<float>{0, 1}), ColorArray({{0, 0, 0}, {1, 1, 1}}), 1);
  }
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureGradient",
      .description = "A ramp of colours over texture coordinates.",
      .categories = CategoryBit(Category::kTexture) | CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {"axis",
               Type::kInt,
               0,
               "0 along u, 1 along v, 2 from the middle, (0.5, 0.5), to the edge at half a unit.",
               {0, 2}},
              {"positions",
               Type::kFloatList,
               FloatArray(std::vector<float>{0, 1}),
               "Places in rising order; before the first and after the last the colour stays.",
               {},
               "uv"},
              {"colors", Type::kColorList, ColorArray({{0, 0, 0}, {1, 1, 1}}), "The colours there."},
              {"interpolation", Type::kInt, 1, "0 steps, 1 straight lines, 2 smooth steps.", {0, 2}},
              {"uvwgen", Type::kPlugin, PluginRef{},
               "Where the texture coordinates come from; none: the first set of the mesh."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
