// A rotation about an axis by an angle that may vary over a surface (Rodrigues' formula).
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class RotateTexture : public render::Texture {
 public:
  Vec3 axis{0, 0, 1};
  render::FloatInput angle;  // degrees

  Matrix EvaluateMatrix(const render::ShadingPoint& point, uint32_t) const override {
    const float radians = angle.Evaluate(point) * (kPi / 180);
    if (!std::isfinite(radians)) return {};
    const float sine = std::sin(radians);
    const float cosine = std::cos(radians);
    const auto column = [&](Vec3 e) {
      return e * cosine + Cross(axis, e) * sine + axis * (Dot(axis, e) * (1 - cosine));
    };
    return {column({1, 0, 0}), column({0, 1, 0}), column({0, 0, 1})};
  }
  // As a colour and a vector: where the x axis goes.
  Color EvaluateColor(const render::ShadingPoint& point, uint32_t output) const override {
    const Vec3 x = EvaluateMatrix(point, output).c0;
    return {x.x, x.y, x.z};
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<RotateTexture>();
  const Vec3 axis = Normalize(in.Vector("axis"));
  const float length = Length(axis);
  if (length > 0.5f && std::isfinite(length)) {
    texture->axis = axis;
  } else {
    in.Warn("its axis has no direction, so it turns about z");
  }
  texture->angle = in.FloatTexture("angle");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureMatrixRotate",
      .description = "A rotation about an axis, by an angle that may vary over a surface.",
      .categories = CategoryBit(Category::kTextureMatrix),
      .properties =
          {
              {"axis", Type::kVector, Vec3{0, 0, 1}, "The axis, of any length but 0."},
              {"angle", Type::kTextureFloat, 0.0f, "Counter-clockwise seen against the axis.", {}, "deg"},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
