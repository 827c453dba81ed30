// A number to share between properties.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class ConstantTexture : public render::Texture {
 public:
  explicit ConstantTexture(float value) : value_(value) {}
  Color EvaluateColor(const render::ShadingPoint&, uint32_t) const override {
    return {value_, value_, value_};
  }
  float EvaluateFloat(const render::ShadingPoint&, uint32_t) const override { return value_; }

 private:
  float value_;
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  return std::make_unique<ConstantTexture>(in.Float("value"));
}

PluginClass Describe() {
  return {
      .name = "TextureFloatConstant",
      .description = "A number that several properties share.",
      .categories = CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {"value", Type::kFloat, 1.0f, "The number."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
