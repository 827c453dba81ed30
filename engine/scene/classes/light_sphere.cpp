// A glowing ball.
#include "engine/render/light.h"
#include "engine/render/sampling.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

// Sampled uniformly in the cone of directions in which it is seen.
class SphereLight : public render::Light {
 public:
  SphereLight(Vec3 center, float radius, Color radiance, bool visible)
      : center_(center), radius_(radius), radiance_(radiance) {
    visible_to_camera_ = visible;
  }

  bool Sample(const render::LightContext& at, Vec2 u, render::LightSample* sample) const override {
    const Vec3 to = center_ - at.position;
    const float squared = Dot(to, to);
    const float one_minus_cos = ConeOf(squared);
    if (!(one_minus_cos > 0)) return false;
    const float distance = std::sqrt(squared);
    sample->wi = Frame(to / distance).ToWorld(render::SampleCone(u, one_minus_cos));
    const float along = Dot(to, sample->wi);
    const float inside = radius_ * radius_ - (squared - along * along);
    sample->distance = std::max(0.0f, along - std::sqrt(std::max(0.0f, inside)));
    sample->radiance = radiance_;
    sample->pdf = render::ConePdf(one_minus_cos);
    sample->delta = false;
    return true;
  }
  float Pdf(const render::LightContext& at, Vec3) const override {
    const Vec3 to = center_ - at.position;
    const float one_minus_cos = ConeOf(Dot(to, to));
    return one_minus_cos > 0 ? render::ConePdf(one_minus_cos) : 0;
  }
  float Power(float) const override { return 4 * kPi * kPi * radius_ * radius_ * Luminance(radiance_); }

  bool HasShape() const override { return true; }
  bool Intersect(Vec3 origin, Vec3 direction, float near, float far, render::LightHit* hit) const override {
    const Vec3 to = center_ - origin;
    const float along = Dot(to, direction);
    const Vec3 miss = to - direction * along;
    const float inside = radius_ * radius_ - Dot(miss, miss);
    // From within the ball nothing is seen: it emits outwards.
    if (inside <= 0 || Dot(to, to) <= radius_ * radius_) return false;
    const float distance = along - std::sqrt(inside);
    if (distance <= near || distance >= far) return false;
    *hit = {distance, radiance_};
    return true;
  }
  Bounds3 Bounds() const override {
    const Vec3 r{radius_, radius_, radius_};
    return {center_ - r, center_ + r};
  }

 private:
  // 1 - cos of the half angle under which it is seen, exact for far lights too; 0 within it.
  float ConeOf(float squared) const {
    const float sine2 = radius_ * radius_ / squared;
    if (!(sine2 < 1)) return 0;
    return sine2 / (1 + std::sqrt(1 - sine2));
  }

  Vec3 center_;
  float radius_;
  Color radiance_;
};

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  const Transform transform = in.Transform("transform");
  const float radius = in.Float("radius") * std::cbrt(std::abs(Determinant(transform.matrix)));
  Color radiance = ReadLight(in);
  if (IsBlack(radiance) || !(radius > 0)) return nullptr;
  if (IsPower(in)) radiance *= 1 / (4 * kPi * kPi * radius * radius);
  return std::make_unique<SphereLight>(Offset(transform), radius, radiance, in.Bool("visibleToCamera"));
}

PluginClass Describe() {
  return {
      .name = "LightSphere",
      .description = "A glowing ball.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{},
               "Place of the centre; scale multiplies the radius."},
              {"radius", Type::kFloat, 0.1f, "Radius.", {0}, "m"},
              LightColorRow(),
              GlowRow(),
              GlowUnitRow(kGlowUnits),
              {"visibleToCamera", Type::kBoolean, true, "Whether the camera sees the ball."},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
