// A curve through points, applied to a number.
#include "engine/render/inputs.h"
#include "engine/render/ramp.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class RampTexture : public render::Texture {
 public:
  render::FloatInput input;
  render::Ramp<float> ramp;

  float EvaluateFloat(const render::ShadingPoint& point, uint32_t) const override {
    return ramp.At(input.Evaluate(point));
  }
  Color EvaluateColor(const render::ShadingPoint& point, uint32_t output) const override {
    const float value = EvaluateFloat(point, output);
    return {value, value, value};
  }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<RampTexture>();
  texture->input = in.FloatTexture("input");
  if (!texture->ramp.Set(in.List<FloatArray>("positions"), in.List<FloatArray>("values"),
                         in.Int("interpolation"))) {
    in.Warn("positions and values are not of one length or positions fall, so it passes its input on");
    texture->ramp.Set(FloatArray(std::vector<float>{0, 1}), FloatArray(std::vector<float>{0, 1}), 1);
  }
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureFloatRamp",
      .description = "A curve through points, applied to a number.",
      .categories = CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {"input", Type::kTextureFloat, 0.0f, "The number that goes in."},
              {"positions", Type::kFloatList, FloatArray(std::vector<float>{0, 1}),
               "Inputs in rising order; before the first and after the last the curve is flat."},
              {"values", Type::kFloatList, FloatArray(std::vector<float>{0, 1}), "What comes out there."},
              {"interpolation", Type::kInt, 1, "0 steps, 1 straight lines, 2 smooth steps.", {0, 2}},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
