// A surface that only shines.
#include "engine/render/bsdf.h"
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class EmissiveMaterial : public render::Material {
 public:
  render::ColorInput color;
  float intensity = 1;
  bool double_sided = true;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    bsdf->Begin(Frame(point.normal), point.geometric_normal);
  }
  Color Emission(const render::ShadingPoint& point) const override {
    if (point.backfacing && !double_sided) return {};
    return Radiance(color.Evaluate(point));
  }
  bool EmitsEvenly(Color* front, Color* back) const override {
    *front = Radiance(color.constant);
    *back = double_sided ? *front : Color{};
    return color.IsConstant();
  }
  bool IsEmissive() const override {
    return intensity > 0 && !(color.IsConstant() && MaxComponent(color.constant) <= 0);
  }

 private:
  Color Radiance(Color shown) const {
    const Color radiance = shown * intensity;
    return IsFinite(radiance)
               ? Color{std::max(radiance.r, 0.0f), std::max(radiance.g, 0.0f), std::max(radiance.b, 0.0f)}
               : Color{};
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<EmissiveMaterial>();
  material->color = in.ColorTexture("color");
  material->intensity = in.Float("intensity");
  material->double_sided = in.Bool("doubleSided");
  return material;
}

PluginClass Describe() {
  return {
      .name = "MaterialEmissive",
      .description = "A surface that shines and reflects nothing.",
      .categories = CategoryBit(Category::kMaterial),
      .properties =
          {
              {"color", Type::kTexture, Color{1, 1, 1}, "Colour of the light.", {0}},
              {"intensity", Type::kFloat, 1.0f, "Radiance, as a factor on the colour.", {0}, "W/(m^2 sr)"},
              {"doubleSided", Type::kBoolean, true, "Whether the back shines as well."},
          },
      .evaluation = {.material = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
