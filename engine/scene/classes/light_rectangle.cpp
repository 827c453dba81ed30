// A glowing rectangle.
#include "engine/render/light.h"
#include "engine/render/sampling.h"
#include "engine/render/shading.h"
#include "engine/render/spherical_rectangle.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

class RectangleLight : public render::Light {
 public:
  struct Description {
    Transform transform;
    float width = 1, height = 1;
    Color radiance;
    render::ColorInput texture;
    bool double_sided = false;
    bool visible = true;
  };

  explicit RectangleLight(const Description& d)
      : edge_x_(d.transform.matrix.c0 * d.width),
        edge_y_(d.transform.matrix.c1 * d.height),
        corner_(Offset(d.transform) - (edge_x_ + edge_y_) * 0.5f),
        area_(Length(Cross(edge_x_, edge_y_))),
        width_(Length(edge_x_)),
        height_(Length(edge_y_)),
        x_(edge_x_ / width_),
        y_(edge_y_ / height_),
        radiance_(d.radiance),
        texture_(d.texture),
        double_sided_(d.double_sided) {
    visible_to_camera_ = d.visible;
    z_ = Normalize(Cross(edge_x_, edge_y_));
    normal_ = Dot(z_, d.transform.matrix.c2) < 0 ? z_ : -z_;
    square_ = std::abs(Dot(x_, y_)) < 1e-4f;
  }

  float area() const { return area_; }

  bool Sample(const render::LightContext& at, Vec2 u, render::LightSample* sample) const override {
    if (!double_sided_ && Dot(at.position - corner_, normal_) <= 0) return false;
    Vec3 to;
    const render::SphericalRectangle seen = Seen(at.position);
    const bool near = square_ && seen.solid_angle() > kSmallSolidAngle;
    to = near ? seen.Sample(u) : corner_ + edge_x_ * u.x + edge_y_ * u.y - at.position;
    sample->distance = Length(to);
    if (!(sample->distance > 0)) return false;
    sample->wi = to / sample->distance;
    sample->pdf = near ? 1 / seen.solid_angle() : AreaPdf(sample->distance, sample->wi);
    if (!(sample->pdf > 0) || !std::isfinite(sample->pdf)) return false;
    sample->radiance = Radiance(at.position + to);
    sample->delta = false;
    return true;
  }

  float Pdf(const render::LightContext& at, Vec3 wi) const override {
    const float solid_angle = Seen(at.position).solid_angle();
    if (square_ && solid_angle > kSmallSolidAngle) return 1 / solid_angle;
    const float cosine = Dot(wi, z_);
    if (cosine == 0) return 0;
    return AreaPdf(Dot(corner_ - at.position, z_) / cosine, wi);
  }

  float Power(float) const override {
    Color mean = radiance_;
    if (texture_.IsConstant()) {
      mean *= texture_.constant;
    } else {
      Color sum{};
      constexpr int kGrid = 8;
      for (int y = 0; y < kGrid; ++y) {
        for (int x = 0; x < kGrid; ++x)
          sum += Radiance(corner_ + edge_x_ * ((x + 0.5f) / kGrid) + edge_y_ * ((y + 0.5f) / kGrid));
      }
      mean = sum / (kGrid * kGrid);
    }
    return Luminance(mean) * kPi * area_ * (double_sided_ ? 2.0f : 1.0f);
  }

  bool HasShape() const override { return true; }
  bool Intersect(Vec3 origin, Vec3 direction, float near, float far, render::LightHit* hit) const override {
    const float cosine = Dot(direction, normal_);
    if (cosine == 0 || (cosine > 0 && !double_sided_)) return false;
    const float distance = Dot(corner_ - origin, normal_) / cosine;
    if (!(distance > near) || !(distance < far)) return false;
    const Vec3 point = origin + direction * distance;
    const Vec2 uv = Place(point);
    if (uv.x < 0 || uv.x > 1 || uv.y < 0 || uv.y > 1) return false;
    *hit = {distance, Radiance(point)};
    return true;
  }
  Bounds3 Bounds() const override {
    Bounds3 bounds;
    for (const float i : {0.0f, 1.0f}) {
      for (const float j : {0.0f, 1.0f}) bounds.Add(corner_ + edge_x_ * i + edge_y_ * j);
    }
    return bounds;
  }

 private:
  // Below it the angles' rounding shows, and the plane area is as good a measure.
  static constexpr float kSmallSolidAngle = 0.01f;

  render::SphericalRectangle Seen(Vec3 from) const { return {corner_, x_, y_, z_, width_, height_, from}; }
  float AreaPdf(float distance, Vec3 wi) const {
    const float cosine = std::abs(Dot(wi, z_));
    return cosine > 1e-7f ? distance * distance / (area_ * cosine) : 0;
  }
  // In units of the edges, which need not be perpendicular.
  Vec2 Place(Vec3 point) const {
    const Vec3 d = point - corner_;
    const float xx = Dot(edge_x_, edge_x_);
    const float xy = Dot(edge_x_, edge_y_);
    const float yy = Dot(edge_y_, edge_y_);
    const float dx = Dot(d, edge_x_);
    const float dy = Dot(d, edge_y_);
    const float det = xx * yy - xy * xy;
    return {(dx * yy - dy * xy) / det, (dy * xx - dx * xy) / det};
  }
  Color Radiance(Vec3 point) const {
    if (texture_.IsConstant()) return radiance_ * texture_.constant;
    const Vec2 place = Place(point);
    render::ShadingPoint at{};
    at.position = point;
    for (Vec2& set : at.uv) set = {place.x, 1 - place.y};
    return radiance_ * texture_.Evaluate(at);
  }

  Vec3 edge_x_, edge_y_, corner_;
  float area_, width_, height_;
  Vec3 x_, y_, z_, normal_;
  Color radiance_;
  render::ColorInput texture_;
  bool double_sided_, square_;
};

std::unique_ptr<render::Light> Make(const render::Inputs& in) {
  RectangleLight::Description d;
  d.transform = in.Transform("transform");
  d.width = in.Float("width");
  d.height = in.Float("height");
  d.radiance = ReadLight(in);
  d.texture = in.ColorTexture("texture");
  d.double_sided = in.Bool("doubleSided");
  d.visible = in.Bool("visibleToCamera");
  const float area = Length(Cross(d.transform.matrix.c0 * d.width, d.transform.matrix.c1 * d.height));
  if (IsBlack(d.radiance) || !(area > 0) || !std::isfinite(area)) return nullptr;
  if (IsPower(in)) d.radiance *= 1 / (kPi * area * (d.double_sided ? 2.0f : 1.0f));
  return std::make_unique<RectangleLight>(d);
}

PluginClass Describe() {
  return {
      .name = "LightRectangle",
      .description = "A glowing rectangle in the XY plane of its transform, which shines down -Z.",
      .categories = CategoryBit(Category::kLight),
      .properties =
          {
              {"transform", Type::kTransform, Transform{},
               "Place and orientation; scale multiplies the size."},
              {"width", Type::kFloat, 1.0f, "Size along X.", {0}, "m"},
              {"height", Type::kFloat, 1.0f, "Size along Y.", {0}, "m"},
              LightColorRow(),
              GlowRow(),
              GlowUnitRow(kGlowUnits),
              {"doubleSided", Type::kBoolean, false, "Whether it shines to +Z as well."},
              {"visibleToCamera", Type::kBoolean, true, "Whether the camera sees it."},
              {"texture", Type::kTexture, Color{1, 1, 1}, "A picture on it, which multiplies its radiance."},
              LightEnabledRow(),
          },
      .evaluation = {.light = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
