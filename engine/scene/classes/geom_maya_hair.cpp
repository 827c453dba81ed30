// Strands of hair, as thin tubes.
#include "engine/render/inputs.h"
#include "engine/render/tessellate.h"

namespace kiln::engine::scene {
namespace {

constexpr size_t kMaxTriangles = size_t{1} << 27;

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  const auto vertices = in.List<VectorArray>("vertices");
  const auto counts = in.List<IntArray>("verticesPerStrand");
  const auto widths = in.List<FloatArray>("widths");
  const auto colors = in.List<ColorArray>("colors");
  const int sides = std::clamp(in.Int("sides"), 3, 64);
  if (vertices.empty() || counts.empty()) return nullptr;
  size_t total = 0;
  for (const int32_t count : counts) {
    if (count < 0 || static_cast<size_t>(count) > vertices.size() - total) {
      in.Warn("verticesPerStrand names more vertices than there are, so it is left out");
      return nullptr;
    }
    total += static_cast<size_t>(count);
  }
  if (total > kMaxTriangles / (2 * static_cast<size_t>(sides))) {
    in.Warn("so many vertices need fewer sides, so it is left out");
    return nullptr;
  }
  const bool own_widths = widths.size() >= total;
  const bool own_colors = colors.size() >= total;
  if (!own_widths && widths.size() > 1) in.Warn("widths don't fit the vertices and are left out");
  if (!own_colors && !colors.empty()) in.Warn("colors don't fit the vertices and are left out");
  const float common = widths.size() == 1 ? widths[0] : in.Float("width");

  render::TubeBuilder tubes(sides);
  size_t first = 0;
  for (const int32_t count : counts) {
    const auto n = static_cast<size_t>(count);
    tubes.Add({vertices.data() + first, n}, own_widths ? widths.data() + first : nullptr, common,
              own_colors ? colors.data() + first : nullptr);
    first += n;
  }
  if (tubes.empty()) {
    in.Warn("no strand has a length, so it is left out");
    return nullptr;
  }
  return render::FinishGeometry(in, tubes.Take());
}

PluginClass Describe() {
  return {
      .name = "GeomMayaHair",
      .description =
          "Strands of hair or grass: open tubes of triangles along polylines, shaded round. u goes around a "
          "strand, v from its root to its tip.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {"vertices",
               Type::kVectorList,
               VectorArray{},
               "The vertices of all strands, one strand after the other, from root to tip.",
               {},
               "m"},
              {"verticesPerStrand",
               Type::kIntList,
               IntArray{},
               "How many vertices each strand has; one of fewer than two is not shown.",
               {0}},
              {"widths",
               Type::kFloatList,
               FloatArray{},
               "A diameter for each vertex, or one for all; empty: width.",
               {0},
               "m"},
              {"width", Type::kFloat, 0.001f, "The diameter where widths says none.", {0}, "m"},
              {"colors", Type::kColorList, ColorArray{},
               "A colour for each vertex, which multiplies the material's."},
              {"sides", Type::kInt, 4, "Sides of a tube.", {3, 64}},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
