// A cone of light from a point, with a soft edge.
#include "engine/render/light.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

class SpotLight : public render::Light {
 public:
  SpotLight(Vec3 position, Vec3 axis, Color intensity, float inner_degrees, float outer_degrees)
      : position_(position), axis_(axis), intensity_(intensity) {
    const float outer = std::clamp(outer_degrees, 0.01f, 180.0f) * kPi / 180;
    const float inner = std::clamp(inner_degrees * kPi / 180, 0.0f, outer);
    // The falloff of glTF's KHR_lights_punctual.
    scale_ = 1 / std::max(0.001f, std::cos(inner) - std::cos(outer));
    shift_ = -std::cos(outer) * scale_;
    solid_angle_ = 2 * kPi * (1 - 0.5f * (std::cos(inner) + std::cos(outer)));
  }

  bool Sample(const render::LightContext& at, Vec2, render::LightSample* sample) const override {
    const Vec3 to = position_ - at.position;
    const float squared = Dot(to, to);
    if (!(squared > 0)) return false;
    sample->distance = std::sqrt(squared);
    sample->wi = to / sample->distance;
    const float edge = std::clamp(-Dot(sample->wi, axis_) * scale_ + shift_, 0.0f, 1.0f);
    if (edge <= 0) return false;
    sample->radiance = intensity_ * (edge * edge / squared);
    sample->pdf = 1;
    sample->delta = true;
    return true;
  }
  float Power(float) const override { return solid_angle_ * Luminance(intensity_); }
  Bounds3 Bounds() const override { return {position_, position_}; }

 private:
  Vec3 position_, axis_;
  Color intensity_;
  float scale_, shift_, solid_angle_;
};

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  const Color intensity = ReadLight(in);
  const Transform transform = in.Transform("transform");
  const Vec3 axis = -Normalize(transform.matrix.c2);
  if (IsBlack(intensity) || !(Length(axis) > 0)) return nullptr;
  return std::make_unique<SpotLight>(Offset(transform), axis, intensity, in.Float("innerAngle"),
                                     in.Float("outerAngle"));
}

PluginClass Describe() {
  return {
      .name = "LightSpot",
      .description = "A cone of light from a point. It shines down -Z of its transform.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Place and orientation; scale is ignored."},
              LightColorRow(),
              {"intensity", Type::kFloat, 1.0f, "Radiant intensity on the axis.", {0}, "W/sr"},
              {"innerAngle",
               Type::kFloat,
               0.0f,
               "Half angle of the cone of full intensity.",
               {0, 180},
               "deg"},
              {"outerAngle", Type::kFloat, 45.0f, "Half angle where the light ends.", {0, 180}, "deg"},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
