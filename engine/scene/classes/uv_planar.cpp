// Texture coordinates by projection onto a plane.
#include "engine/render/inputs.h"
#include "engine/render/shading.h"

namespace kiln::engine::scene {
namespace {

class PlanarGen : public render::UvwGen {
 public:
  render::VectorInput position;
  bool from_point = true;
  Transform to_plane;  // from the world to the projector's space

  render::Uvw Evaluate(const render::ShadingPoint& point) const override {
    const Vec3 local = TransformPoint(to_plane, from_point ? point.position : position.Evaluate(point));
    // The plane's v runs down, as an image does. How large a pixel is there is not known.
    return {{local.x + 0.5f, 0.5f - local.y, local.z}, 0};
  }
};

std::unique_ptr<render::UvwGen> Make(const render::Inputs& in) {
  auto generator = std::make_unique<PlanarGen>();
  generator->position = in.VectorTexture("position");
  generator->from_point = generator->position.texture == nullptr;
  const Transform transform = in.Transform("transform");
  if (Determinant(transform.matrix) == 0) {
    in.Warn("its transform is singular, so it projects along z");
    return generator;
  }
  const Matrix inverse = Inverse(transform.matrix);
  const Vec3 offset = inverse * Offset(transform);
  generator->to_plane = {inverse, {-offset.x, -offset.y, -offset.z}};
  return generator;
}

PluginClass Describe() {
  return {
      .name = "UvPlanar",
      .description =
          "Texture coordinates by projection along the z axis of a transform; the image spans -0.5 to 0.5 of "
          "its x and y.",
      .categories = CategoryBit(Category::kUvwGen),
      .properties =
          {
              {"transform", Type::kTransform, Transform{},
               "Place, orientation and size of the projector in the world."},
              {"position", Type::kTextureVector, Vec3{0, 0, 0},
               "A texture gives the positions that are projected; a constant: those of the surface."},
          },
      .evaluation = {.uvw_gen = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
