// A set of the mesh's texture coordinates.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class ChannelGen : public render::UvwGen {
 public:
  render::IntInput channel;

  render::Uvw Evaluate(const render::ShadingPoint& point) const override {
    return render::UvwAt(point, nullptr, std::clamp(channel.Evaluate(point), 0, render::kMaxUvSets - 1));
  }
};

std::unique_ptr<render::UvwGen> Make(const render::Inputs& in) {
  auto generator = std::make_unique<ChannelGen>();
  generator->channel = in.IntTexture("channel");
  return generator;
}

PluginClass Describe() {
  return {
      .name = "UvChannel",
      .description =
          "A set of texture coordinates of the mesh, chosen by a number that may vary over the surface.",
      .categories = CategoryBit(Category::kUvwGen),
      .properties =
          {
              {"channel", Type::kTextureInt, 0, "Which set.", {0, render::kMaxUvSets - 1}},
          },
      .evaluation = {.uvw_gen = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
