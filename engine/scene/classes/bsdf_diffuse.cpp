// Matte reflection and, for leaves and paper, matte transmission (Lambert).
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class DiffuseBsdf : public render::Material {
 public:
  render::ColorInput reflectance, transmittance;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginFront(point, bump, bsdf);
    const Color reflected = render::Unit(reflectance.Evaluate(point) * point.vertex_color);
    const Color passed = render::Unit(transmittance.Evaluate(point));
    // Together they never give more than they get.
    const float scale = 1 / std::max(1.0f, MaxComponent(reflected + passed));
    bsdf->AddDiffuse(reflected * scale);
    bsdf->AddDiffuseTransmission(passed * scale);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<DiffuseBsdf>();
  material->reflectance = in.ColorTexture("reflectance");
  material->transmittance = in.ColorTexture("transmittance");
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfDiffuse",
      .description = "Matte reflection and transmission, the same in all directions.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"reflectance",
               Type::kTexture,
               Color{0.5f, 0.5f, 0.5f},
               "What is reflected, times the vertex colour.",
               {0, 1}},
              {"transmittance", Type::kTexture, Color{0, 0, 0}, "What passes to the other side.", {0, 1}},
              NormalMapRow(),
              NormalScaleRow(),
          },
      .evaluation = {.material = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
