// A sheet so thin that it does not bend light: panes, bubbles, foil.
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class ThinDielectricBsdf : public render::Material {
 public:
  render::ColorInput reflect_tint, transmit_tint;
  render::FloatInput roughness;
  float f0 = 0.04f;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginFront(point, bump, bsdf);
    const float rough = render::Unit(roughness.Evaluate(point));
    const Color tint = render::Unit(reflect_tint.Evaluate(point));
    bsdf->AddThinDielectric(tint * f0, tint, render::Unit(transmit_tint.Evaluate(point) * point.vertex_color),
                            rough * rough);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<ThinDielectricBsdf>();
  material->reflect_tint = in.ColorTexture("reflectTint");
  material->transmit_tint = in.ColorTexture("transmitTint");
  material->roughness = in.FloatTexture("roughness");
  const float ior = in.Float("ior");
  const float ratio = ior > 0 && std::isfinite(ior) ? (ior - 1) / (ior + 1) : 0;
  material->f0 = ratio * ratio;
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfThinDielectric",
      .description = "A thin sheet that reflects and lets light through without refraction.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"ior",
               Type::kFloat,
               1.5f,
               "Index of refraction, which says how much is reflected head-on.",
               {0.1, 10}},
              {"roughness",
               Type::kTextureFloat,
               0.0f,
               "From clear to frosted; its square is the alpha of GGX.",
               {0, 1}},
              {"reflectTint", Type::kTexture, Color{1, 1, 1}, "Factor on what is reflected.", {0, 1}},
              {"transmitTint",
               Type::kTexture,
               Color{1, 1, 1},
               "Factor on what passes, times the vertex colour.",
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
