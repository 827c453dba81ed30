// A flat rectangle.
#include "engine/render/inputs.h"
#include "engine/render/tessellate.h"

namespace kiln::engine::scene {
namespace {

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  const float x = 0.5f * in.Float("width");
  const float z = 0.5f * in.Float("depth");
  render::MeshArrays arrays;
  arrays.vertices = VectorArray({{-x, 0, -z}, {-x, 0, z}, {x, 0, z}, {x, 0, -z}});
  arrays.uv[0] = VectorArray({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}});
  arrays.faces = IntArray({0, 1, 2, 0, 2, 3});
  return render::FinishGeometry(in, std::move(arrays));
}

PluginClass Describe() {
  return {
      .name = "GeomPlane",
      .description =
          "A flat rectangle in the xz plane around the origin, its front up; the image on it is upright seen "
          "with -z up.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {"width", Type::kFloat, 1.0f, "Extent along x.", {0}, "m"},
              {"depth", Type::kFloat, 1.0f, "Extent along z.", {0}, "m"},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
