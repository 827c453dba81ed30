// A sphere of triangles, latitude by longitude.
#include "engine/render/inputs.h"
#include "engine/render/tessellate.h"

namespace kiln::engine::scene {
namespace {

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  const int rows = std::clamp(in.Int("segments"), 3, 2048);
  const int columns = 2 * rows;
  const float radius = in.Float("radius");
  std::vector<Vec3> vertices;
  std::vector<Vec3> normals;
  std::vector<Vec3> uv;
  std::vector<int32_t> faces;
  for (int i = 0; i <= rows; ++i) {
    const float v = static_cast<float>(i) / static_cast<float>(rows);
    // Exactly on the axis, so that the caps close.
    const float ring = i == 0 || i == rows ? 0 : std::sin(kPi * v);
    for (int j = 0; j <= columns; ++j) {
      const float u = static_cast<float>(j) / static_cast<float>(columns);
      const float angle = 2 * kPi * static_cast<float>(j % columns) / static_cast<float>(columns);
      const Vec3 n{ring * std::sin(angle), std::cos(kPi * v), ring * std::cos(angle)};
      normals.push_back(n);
      vertices.push_back(n * radius);
      uv.push_back({u, v, 0});
    }
  }
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < columns; ++j) {
      const int a = i * (columns + 1) + j;
      const int below = a + columns + 1;
      if (i > 0) faces.insert(faces.end(), {a, below + 1, a + 1});
      if (i + 1 < rows) faces.insert(faces.end(), {a, below, below + 1});
    }
  }
  render::MeshArrays arrays;
  arrays.vertices = VectorArray(std::move(vertices));
  arrays.normals = VectorArray(std::move(normals));
  arrays.uv[0] = VectorArray(std::move(uv));
  arrays.faces = IntArray(std::move(faces));
  return render::FinishGeometry(in, std::move(arrays));
}

PluginClass Describe() {
  return {
      .name = "GeomSphere",
      .description =
          "A ball around the origin, made of triangles inscribed in it and shaded smoothly; the image goes "
          "round it once, its top at the top.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {"radius", Type::kFloat, 0.5f, "Radius.", {0}, "m"},
              {"segments",
               Type::kInt,
               64,
               "Rows of triangles from pole to pole, and half as many as there are around.",
               {3, 2048}},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
