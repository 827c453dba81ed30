// Parallel light from far away, or from a small disk of sky.
#include "engine/render/light.h"
#include "engine/render/sampling.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

class DirectionalLight : public render::Light {
 public:
  DirectionalLight(Vec3 to_light, Color irradiance, float degrees)
      : frame_(to_light), irradiance_(irradiance) {
    visible_to_camera_ = false;
    if (!(degrees > 0)) return;
    const float half = std::min(degrees, 179.0f) * kPi / 360;
    const float sine_half = std::sin(half / 2);
    one_minus_cos_ = 2 * sine_half * sine_half;
    const float sine = std::sin(half);
    radiance_ = irradiance / (kPi * sine * sine);
  }

  bool Sample(const render::LightContext&, Vec2 u, render::LightSample* sample) const override {
    sample->distance = INFINITY;
    sample->delta = one_minus_cos_ == 0;
    if (sample->delta) {
      sample->wi = frame_.n;
      sample->radiance = irradiance_;
      sample->pdf = 1;
    } else {
      sample->wi = frame_.ToWorld(render::SampleCone(u, one_minus_cos_));
      sample->radiance = radiance_;
      sample->pdf = render::ConePdf(one_minus_cos_);
    }
    return true;
  }
  float Pdf(const render::LightContext&, Vec3 wi) const override {
    return Inside(wi) ? render::ConePdf(one_minus_cos_) : 0;
  }
  float Power(float radius) const override { return kPi * radius * radius * Luminance(irradiance_); }
  bool IsInfinite() const override { return one_minus_cos_ > 0; }
  Color Background(Vec3 direction) const override { return Inside(direction) ? radiance_ : Color{}; }

 private:
  // 1 - cos from the chord, since the cosine itself is too coarse for a disk of half a degree.
  bool Inside(Vec3 wi) const {
    const Vec3 chord = wi - frame_.n;
    return Dot(chord, chord) * 0.5f <= one_minus_cos_ && one_minus_cos_ > 0;
  }

  Frame frame_;
  Color irradiance_, radiance_{};
  float one_minus_cos_ = 0;  // of the half angle; 0: parallel light
};

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  const Color irradiance = ReadLight(in);
  const Vec3 to_light = Normalize(in.Transform("transform").matrix.c2);
  if (IsBlack(irradiance) || !(Length(to_light) > 0)) return nullptr;
  return std::make_unique<DirectionalLight>(to_light, irradiance, in.Float("angle"));
}

PluginClass Describe() {
  return {
      .name = "LightDirectional",
      .description = "Light from far away, as the sun's. It shines down -Z of its transform.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Orientation; place and scale are ignored."},
              {"angle", Type::kFloat, 0.0f, "Angular diameter; 0 casts hard shadows.", {0, 179}, "deg"},
              LightColorRow(),
              {"intensity", Type::kFloat, 1.0f, "Irradiance of a surface that faces it.", {0}, "W/m^2"},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
