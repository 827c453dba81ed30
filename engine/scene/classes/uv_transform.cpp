// Texture coordinates turned, scaled and moved.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class TransformGen : public render::UvwGen {
 public:
  const render::UvwGen* source = nullptr;
  int uv_set = 0;
  render::MatrixInput matrix;
  render::TransformInput transform;

  render::Uvw Evaluate(const render::ShadingPoint& point) const override {
    render::Uvw uvw = render::UvwAt(point, source, uv_set);
    const Transform whole = transform.Evaluate(point);
    const Matrix linear = whole.matrix * matrix.Evaluate(point);
    uvw.at = linear * uvw.at + Offset(whole);
    uvw.per_pixel *= std::max(Length(linear.c0), Length(linear.c1));
    return uvw;
  }
};

std::unique_ptr<render::UvwGen> Make(const render::Inputs& in) {
  auto generator = std::make_unique<TransformGen>();
  generator->source = in.UvwGenOf("source");
  generator->uv_set = std::clamp(in.Int("uvSet"), 0, render::kMaxUvSets - 1);
  generator->matrix = in.MatrixTexture("matrix");
  generator->transform = in.TransformTexture("transform");
  return generator;
}

PluginClass Describe() {
  return {
      .name = "UvTransform",
      .description =
          "Texture coordinates turned, scaled and moved; the third coordinate is 0 unless the source gives "
          "one.",
      .categories = CategoryBit(Category::kUvwGen),
      .properties =
          {
              {"source", Type::kPlugin, PluginRef{},
               "The coordinates that are transformed; none: those of uvSet."},
              {"uvSet",
               Type::kInt,
               0,
               "Which set of the mesh is used without a source.",
               {0, render::kMaxUvSets - 1}},
              {"matrix", Type::kTextureMatrix, Matrix{}, "Applied first."},
              {"transform", Type::kTextureTransform, Transform{}, "Applied to the result."},
          },
      .evaluation = {.uvw_gen = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
