// The sheen of cloth (Estevez and Kulla 2017, "Production Friendly Microfacet Sheen BRDF") over a matte
// ground.
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class SheenBsdf : public render::Material {
 public:
  render::ColorInput color, base;
  render::FloatInput roughness;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginFront(point, bump, bsdf);
    bsdf->AddDiffuse(render::Unit(base.Evaluate(point) * point.vertex_color));
    bsdf->AddSheen(render::Unit(color.Evaluate(point)), render::Unit(roughness.Evaluate(point)));
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<SheenBsdf>();
  material->color = in.ColorTexture("color");
  material->base = in.ColorTexture("baseColor");
  material->roughness = in.FloatTexture("roughness");
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfSheen",
      .description = "Velvet and other cloth: fibres that glow at grazing angles, over a matte ground.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"color", Type::kTexture, Color{1, 1, 1}, "Colour of the fibres.", {0, 1}},
              {"roughness", Type::kTextureFloat, 0.3f, "How far the glow reaches from the edge.", {0, 1}},
              {"baseColor",
               Type::kTexture,
               Color{0, 0, 0},
               "Reflectance of the ground, times the vertex colour.",
               {0, 1}},
              NormalMapRow(),
              NormalScaleRow(),
          },
      .evaluation = {.material = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
