// The normal of the first surface.
#include "engine/render/channel.h"
#include "engine/render/inputs.h"

namespace kiln::engine::scene {
namespace {

class NormalChannel : public render::Channel {
 public:
  bool geometric = false;
  bool encoded = false;

  Color Evaluate(const render::ShadingPoint& point, float) const override {
    const Vec3 n = (geometric ? point.geometric_normal : point.normal) * (point.backfacing ? -1.0f : 1.0f);
    return encoded ? Color{0.5f + 0.5f * n.x, 0.5f + 0.5f * n.y, 0.5f + 0.5f * n.z} : Color{n.x, n.y, n.z};
  }
};

std::unique_ptr<render::Channel> Make(const render::Inputs& in) {
  auto channel = std::make_unique<NormalChannel>();
  channel->geometric = in.Bool("geometric");
  channel->encoded = in.Bool("encoded");
  return channel;
}

PluginClass Describe() {
  return {
      .name = "ChannelNormal",
      .description = "The normal of the first surface in world space, on the side of the camera.",
      .categories = CategoryBit(Category::kRenderChannel),
      .properties =
          {
              {"geometric", Type::kBoolean, false,
               "Whether it is that of the triangle, not the interpolated one."},
              {"encoded", Type::kBoolean, false, "Whether -1 to 1 becomes 0 to 1."},
          },
      .evaluation = {.channel = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
