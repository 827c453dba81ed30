// A transform to share between properties.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class ConstantTexture : public render::Texture {
 public:
  explicit ConstantTexture(const Transform& value) : value_(value) {}
  // As a colour and a vector: the offset.
  Color EvaluateColor(const render::ShadingPoint&, uint32_t) const override {
    const Vec3 offset = Offset(value_);
    return {offset.x, offset.y, offset.z};
  }
  Matrix EvaluateMatrix(const render::ShadingPoint&, uint32_t) const override { return value_.matrix; }
  Transform EvaluateTransform(const render::ShadingPoint&, uint32_t) const override { return value_; }

 private:
  Transform value_;
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  return std::make_unique<ConstantTexture>(in.Transform("transform"));
}

PluginClass Describe() {
  return {
      .name = "TextureTransformConstant",
      .description = "A transform that several properties share; as a vector its offset.",
      .categories = CategoryBit(Category::kTextureTransform),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "The transform."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
