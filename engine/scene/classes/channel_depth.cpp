// The distance from the camera.
#include "engine/render/channel.h"
#include "engine/render/inputs.h"

namespace kiln::engine::scene {
namespace {

class DepthChannel : public render::Channel {
 public:
  float near = 0;
  float far = 0;

  Color Evaluate(const render::ShadingPoint&, float distance) const override {
    const float value = far > near ? std::clamp((distance - near) / (far - near), 0.0f, 1.0f) : distance;
    return {value, value, value};
  }
};

std::unique_ptr<render::Channel> Make(const render::Inputs& in) {
  auto channel = std::make_unique<DepthChannel>();
  channel->near = in.Float("near");
  channel->far = in.Float("far");
  return channel;
}

PluginClass Describe() {
  return {
      .name = "ChannelDepth",
      .description = "The distance from the camera to the first surface, in metres or between two distances.",
      .categories = CategoryBit(Category::kRenderChannel),
      .properties =
          {
              {"near", Type::kFloat, 0.0f, "The distance that is 0.", {0}, "m"},
              {"far",
               Type::kFloat,
               0.0f,
               "The distance that is 1; when it is not beyond near, distances are in metres.",
               {0},
               "m"},
          },
      .evaluation = {.channel = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
