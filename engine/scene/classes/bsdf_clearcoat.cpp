// Varnish of index 1.5 over a matte ground.
#include "engine/scene/classes/normal_map.h"

namespace kiln::engine::scene {
namespace {

class ClearcoatBsdf : public render::Material {
 public:
  render::ColorInput base;
  render::FloatInput amount, roughness;
  render::NormalInput bump;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    render::BeginFront(point, bump, bsdf);
    const float rough = render::Unit(roughness.Evaluate(point));
    const Vec3 normal = render::ShadingNormal(point, bump.texture, bump.scale);
    bsdf->AddDiffuse(render::Unit(base.Evaluate(point) * point.vertex_color));
    bsdf->AddClearcoat(render::Unit(amount.Evaluate(point)), rough * rough,
                       point.backfacing ? -normal : normal);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<ClearcoatBsdf>();
  material->base = in.ColorTexture("baseColor");
  material->amount = in.FloatTexture("amount");
  material->roughness = in.FloatTexture("roughness");
  material->bump = ReadNormalMap(in);
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfClearcoat",
      .description = "A clear varnish over a matte ground.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"amount", Type::kTextureFloat, 1.0f, "Coverage of the varnish.", {0, 1}},
              {"roughness",
               Type::kTextureFloat,
               0.1f,
               "Roughness of the varnish; its square is the alpha of GGX.",
               {0, 1}},
              {"baseColor",
               Type::kTexture,
               Color{0.5f, 0.5f, 0.5f},
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
