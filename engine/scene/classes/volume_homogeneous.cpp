// An absorbing body (Beer-Lambert).
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class HomogeneousVolume : public render::Volume {
 public:
  Color absorption;  // per metre

  Color Transmittance(float distance) const override {
    if (!(distance > 0)) return {1, 1, 1};
    return {Left(absorption.r, distance), Left(absorption.g, distance), Left(absorption.b, distance)};
  }

 private:
  static float Left(float coefficient, float distance) {
    return coefficient > 0 ? std::exp(-coefficient * distance) : 1.0f;
  }
};

std::unique_ptr<render::Volume> Make(const render::Inputs& in) {
  auto volume = std::make_unique<HomogeneousVolume>();
  volume->absorption = in.Color("absorption") * in.Float("density");
  return volume;
}

PluginClass Describe() {
  return {
      .name = "VolumeHomogeneous",
      .description =
          "Fills a closed body evenly and absorbs light on its way through; GeomInstance.volume attaches it, "
          "and the material of the body lets light in.",
      .categories = CategoryBit(Category::kVolumetric),
      .properties =
          {
              {"absorption", Type::kColor, Color{1, 1, 1}, "Coefficient of absorption.", {0}, "1/m"},
              {"density", Type::kFloat, 1.0f, "Factor on the coefficient.", {0}},
          },
      .evaluation = {.volume = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
