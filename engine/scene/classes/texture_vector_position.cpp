// Vectors of the shading point: its place, its directions and its coordinates.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

enum class Source { kPosition, kNormal, kGeometricNormal, kTangent, kUv, kView };

class PointTexture : public render::Texture {
 public:
  Source source = Source::kPosition;
  Transform transform;

  Vec3 EvaluateVector(const render::ShadingPoint& point, uint32_t) const override {
    return source == Source::kPosition || source == Source::kUv ? TransformPoint(transform, Read(point))
                                                                : transform.matrix * Read(point);
  }
  Color EvaluateColor(const render::ShadingPoint& point, uint32_t output) const override {
    const Vec3 v = EvaluateVector(point, output);
    return {v.x, v.y, v.z};
  }

 private:
  Vec3 Read(const render::ShadingPoint& point) const {
    switch (source) {
      case Source::kPosition:
        return point.position;
      case Source::kNormal:
        return point.normal;
      case Source::kGeometricNormal:
        return point.geometric_normal;
      case Source::kTangent:
        return point.tangent;
      case Source::kUv:
        return {point.uv[0].x, point.uv[0].y, 0};
      case Source::kView:
        return point.wo;
    }
    return {};
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<PointTexture>();
  texture->source = static_cast<Source>(std::clamp(in.Int("source"), 0, 5));
  texture->transform = in.Transform("transform");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureVectorPosition",
      .description = "A vector of the point that is shaded, in world space; shown as a colour, x is red.",
      .categories = CategoryBit(Category::kTextureVector) | CategoryBit(Category::kTexture),
      .properties =
          {
              {"source",
               Type::kInt,
               0,
               "0 position, 1 normal, 2 normal of the triangle, 3 tangent, 4 texture coordinates, 5 "
               "direction to the viewer.",
               {0, 5}},
              {"transform", Type::kTransform, Transform{},
               "Applied to the vector; its offset to positions and coordinates only."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
