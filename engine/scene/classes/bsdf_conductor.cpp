// A metal: GGX reflection with Schlick's Fresnel and compensated multiple scattering.
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class ConductorBsdf : public render::Material {
 public:
  render::ColorInput f0, f90;
  render::FloatInput roughness;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginFront(point, bump, bsdf);
    const float rough = render::Unit(roughness.Evaluate(point));
    bsdf->AddMetal(render::Unit(f0.Evaluate(point) * point.vertex_color), render::Unit(f90.Evaluate(point)),
                   rough * rough);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<ConductorBsdf>();
  material->f0 = in.ColorTexture("f0");
  material->f90 = in.ColorTexture("f90");
  material->roughness = in.FloatTexture("roughness");
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfConductor",
      .description = "A metal, polished or rough.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"f0",
               Type::kTexture,
               Color{0.9f, 0.9f, 0.9f},
               "Reflectance seen head-on, times the vertex colour.",
               {0, 1}},
              {"f90", Type::kTexture, Color{1, 1, 1}, "Reflectance at grazing angles.", {0, 1}},
              {"roughness",
               Type::kTextureFloat,
               0.2f,
               "From mirror to rough; its square is the alpha of GGX.",
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
