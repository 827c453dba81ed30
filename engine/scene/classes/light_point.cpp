// Light from a point, the same in all directions.
#include "engine/render/light.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

class PointLight : public render::Light {
 public:
  PointLight(Vec3 position, Color intensity) : position_(position), intensity_(intensity) {}

  bool Sample(const render::LightContext& at, Vec2, render::LightSample* sample) const override {
    const Vec3 to = position_ - at.position;
    const float squared = Dot(to, to);
    if (!(squared > 0)) return false;
    sample->distance = std::sqrt(squared);
    sample->wi = to / sample->distance;
    sample->radiance = intensity_ / squared;
    sample->pdf = 1;
    sample->delta = true;
    return true;
  }
  float Power(float) const override { return 4 * kPi * Luminance(intensity_); }
  Bounds3 Bounds() const override { return {position_, position_}; }

 private:
  Vec3 position_;
  Color intensity_;
};

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  const Color intensity = ReadLight(in);
  if (IsBlack(intensity)) return nullptr;
  return std::make_unique<PointLight>(Offset(in.Transform("transform")), intensity);
}

PluginClass Describe() {
  return {
      .name = "LightPoint",
      .description = "Light from a point.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Place; orientation and scale are ignored."},
              LightColorRow(),
              {"intensity", Type::kFloat, 1.0f, "Radiant intensity.", {0}, "W/sr"},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
