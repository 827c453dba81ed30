// Gradient noise in octaves: Perlin 2002, "Improving Noise", its table of numbers replaced by a hash
// (Jarzynski and Olano 2020, "Hash Functions for GPU Rendering").
#include "engine/render/inputs.h"
#include "engine/render/noise.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class NoiseTexture : public render::Texture {
 public:
  render::ColorInput a, b;
  const render::UvwGen* uvw = nullptr;
  bool world = false;
  float scale = 8;
  render::NoiseOctaves octaves;

  Color EvaluateColor(const render::ShadingPoint& point, uint32_t) const override {
    const Vec3 at = world ? point.position : render::UvwAt(point, uvw).at;
    const float t = std::clamp(0.5f + 0.5f * render::FractalNoise(at * scale, octaves), 0.0f, 1.0f);
    return Lerp(a.Evaluate(point), b.Evaluate(point), t);
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<NoiseTexture>();
  texture->a = in.ColorTexture("colorA");
  texture->b = in.ColorTexture("colorB");
  texture->uvw = in.UvwGenOf("uvwgen");
  texture->world = in.Int("space") == 1;
  texture->scale = in.Float("scale");
  texture->octaves = {std::clamp(in.Int("octaves"), 1, 16), in.Float("lacunarity"), in.Float("gain"),
                      static_cast<uint32_t>(in.Int("seed"))};
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureNoise",
      .description = "Gradient noise (Perlin 2002) in octaves, between two colours.",
      .categories = CategoryBit(Category::kTexture) | CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {"colorA", Type::kTexture, Color{0, 0, 0}, "Colour where the noise is lowest."},
              {"colorB", Type::kTexture, Color{1, 1, 1}, "Colour where it is highest."},
              {"space",
               Type::kInt,
               0,
               "0: over texture coordinates. 1: through the space of the world.",
               {0, 1}},
              {"scale", Type::kFloat, 8.0f,
               "Cells of the first octave along one unit of the coordinates or metre."},
              {"octaves", Type::kInt, 4, "How many layers of noise are summed.", {1, 16}},
              {"lacunarity", Type::kFloat, 2.0f, "How much finer each layer is than the one before.", {1}},
              {"gain", Type::kFloat, 0.5f, "How strong each layer is, as a part of the one before.", {0, 1}},
              {"seed", Type::kInt, 0, "Another number gives another noise."},
              {"uvwgen", Type::kPlugin, PluginRef{},
               "Where the texture coordinates come from; none: the first set of the mesh."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
