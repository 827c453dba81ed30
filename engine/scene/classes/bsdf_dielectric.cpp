// A refracting boundary: glass, water, gems.
#include "engine/render/bsdf_albedo.h"
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class DielectricBsdf : public render::Material {
 public:
  render::ColorInput reflect_tint, transmit_tint;
  render::FloatInput roughness;
  std::shared_ptr<const render::DielectricTable> glass;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginBody(point, bump, bsdf);
    const float rough = render::Unit(roughness.Evaluate(point));
    bsdf->AddDielectric(render::Unit(reflect_tint.Evaluate(point)),
                        render::Unit(transmit_tint.Evaluate(point) * point.vertex_color), *glass,
                        rough * rough);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<DielectricBsdf>();
  material->reflect_tint = in.ColorTexture("reflectTint");
  material->transmit_tint = in.ColorTexture("transmitTint");
  material->roughness = in.FloatTexture("roughness");
  const float ior = in.Float("ior");
  material->glass = render::DielectricTable::For(ior > 0 ? std::clamp(ior, 0.1f, 10.0f) : 1.0f);
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfDielectric",
      .description =
          "The boundary of a body that refracts, such as glass or water. The mesh is closed and its normals "
          "point out.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"ior",
               Type::kFloat,
               1.5f,
               "Index of refraction, of the body over that of the outside.",
               {0.1, 10}},
              {"roughness",
               Type::kTextureFloat,
               0.0f,
               "From clear to frosted; its square is the alpha of GGX.",
               {0, 1}},
              {"reflectTint", Type::kTexture, Color{1, 1, 1}, "Factor on what the outside reflects.", {0, 1}},
              {"transmitTint",
               Type::kTexture,
               Color{1, 1, 1},
               "Factor on what passes each time, times the vertex colour.",
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
