// Many small balls in one geometry.
#include "engine/render/inputs.h"
#include "engine/render/tessellate.h"

namespace kiln::engine::scene {
namespace {

constexpr size_t kMaxTriangles = size_t{1} << 27;

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  const auto positions = in.List<VectorArray>("positions");
  const auto radii = in.List<FloatArray>("radii");
  const auto colors = in.List<ColorArray>("colors");
  const render::BallMesh ball = render::MakeIcosphere(std::clamp(in.Int("subdivisions"), 0, 5));
  if (positions.empty()) return nullptr;
  if (positions.size() > kMaxTriangles / (ball.faces.size() / 3)) {
    in.Warn("so many particles need fewer subdivisions, so it is left out");
    return nullptr;
  }
  const bool own_radii = radii.size() == positions.size();
  const bool own_colors = colors.size() == positions.size();
  if (!own_radii && radii.size() > 1) in.Warn("radii don't fit the positions and are left out");
  if (!own_colors && !colors.empty()) in.Warn("colors don't fit the positions and are left out");
  const float common = radii.size() == 1 ? radii[0] : in.Float("radius");

  std::vector<Vec3> vertices;
  std::vector<Vec3> normals;
  std::vector<Color> vertex_colors;
  std::vector<int32_t> faces;
  for (size_t i = 0; i < positions.size(); ++i) {
    const float radius = own_radii ? radii[i] : common;
    if (!(radius > 0)) continue;
    const auto first = static_cast<int32_t>(vertices.size());
    for (const Vec3& n : ball.normals) vertices.push_back(positions[i] + n * radius);
    normals.insert(normals.end(), ball.normals.begin(), ball.normals.end());
    for (const int32_t corner : ball.faces) faces.push_back(first + corner);
    if (own_colors) vertex_colors.insert(vertex_colors.end(), ball.normals.size(), colors[i]);
  }
  render::MeshArrays arrays;
  arrays.vertices = VectorArray(std::move(vertices));
  arrays.normals = VectorArray(std::move(normals));
  arrays.faces = IntArray(std::move(faces));
  arrays.colors = ColorArray(std::move(vertex_colors));
  return render::FinishGeometry(in, std::move(arrays));
}

PluginClass Describe() {
  return {
      .name = "GeomParticleSystem",
      .description =
          "Many balls in one geometry, each made of triangles inscribed in it and shaded smoothly.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {"positions", Type::kVectorList, VectorArray{}, "Centres.", {}, "m"},
              {"radii",
               Type::kFloatList,
               FloatArray{},
               "A radius for each, or one for all; empty: radius. 0 leaves a ball out.",
               {0},
               "m"},
              {"radius", Type::kFloat, 0.01f, "The radius where radii says none.", {0}, "m"},
              {"colors", Type::kColorList, ColorArray{},
               "A colour for each, which multiplies the material's."},
              {"subdivisions",
               Type::kInt,
               1,
               "Each one makes four triangles of one, beginning at 20 for a ball.",
               {0, 5}},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
