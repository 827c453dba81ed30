// An integer for each tile of texture coordinates.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class SelectTexture : public render::Texture {
 public:
  const render::UvwGen* uvw = nullptr;
  int64_t columns = 10;
  IntArray values;  // empty: the number of the tile

  int32_t EvaluateInt(const render::ShadingPoint& point, uint32_t) const override {
    const Vec3 at = render::UvwAt(point, uvw).at;
    const int64_t tile = Cell(at.x) + columns * Cell(at.y);
    if (values.empty()) return static_cast<int32_t>(tile);
    const auto count = static_cast<int64_t>(values.size());
    return values[static_cast<size_t>(((tile % count) + count) % count)];
  }
  float EvaluateFloat(const render::ShadingPoint& point, uint32_t output) const override {
    return static_cast<float>(EvaluateInt(point, output));
  }
  Color EvaluateColor(const render::ShadingPoint& point, uint32_t output) const override {
    const float value = EvaluateFloat(point, output);
    return {value, value, value};
  }

 private:
  // Far away and what is not finite count as the first tile.
  static int64_t Cell(float x) { return std::abs(x) < 1e6f ? static_cast<int64_t>(std::floor(x)) : 0; }
};

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<SelectTexture>();
  texture->uvw = in.UvwGenOf("uvwgen");
  texture->columns = std::clamp(in.Int("columns"), 1, 1000);
  texture->values = in.List<IntArray>("values");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureIntSelect",
      .description =
          "An integer for each unit tile of the texture coordinates: its number, or an entry of a list.",
      .categories = CategoryBit(Category::kTextureInt),
      .properties =
          {
              {"values", Type::kIntList, IntArray{},
               "What tile n gives is entry n of the list, which starts again at its end; empty: n itself."},
              {"columns", Type::kInt, 10, "Tile n is floor(u) + columns * floor(v).", {1, 1000}},
              {"uvwgen", Type::kPlugin, PluginRef{},
               "Where the texture coordinates come from; none: the first set of the mesh."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
