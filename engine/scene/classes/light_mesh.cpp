// A geometry that is a light by itself.
#include "engine/render/bsdf.h"
#include "engine/render/mesh.h"
#include "engine/render/shading.h"
#include "engine/scene/classes/light_rows.h"

namespace kiln::engine::scene {
namespace {

class GlowMaterial : public render::Material {
 public:
  render::ColorInput color;
  float radiance = 0;
  bool double_sided = false;

  void Evaluate(const render::ShadingPoint& point, render::Bsdf* bsdf) const override {
    bsdf->Begin(Frame(point.normal), point.geometric_normal);
  }
  Color Emission(const render::ShadingPoint& point) const override {
    if (point.backfacing && !double_sided) return {};
    const Color c = color.Evaluate(point) * radiance;
    return IsFinite(c) ? Color{std::max(c.r, 0.0f), std::max(c.g, 0.0f), std::max(c.b, 0.0f)} : Color{};
  }
  bool IsEmissive() const override { return true; }
};

double AreaOf(const render::Mesh& mesh, const Matrix& m) {
  double area = 0;
  for (size_t i = 0; i < mesh.triangle_count(); ++i) {
    Vec3 p[3];
    mesh.Corners(static_cast<uint32_t>(i), p);
    area += 0.5 * Length(Cross(m * (p[1] - p[0]), m * (p[2] - p[0])));
  }
  return area;
}

// Null when it does not shine.
std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  const render::GeometrySource* geometry = in.GeometryOf("geometry");
  if (geometry == nullptr) return nullptr;
  auto material = std::make_unique<GlowMaterial>();
  material->color = in.ColorTexture("color");
  material->double_sided = in.Bool("doubleSided") && geometry->mesh().double_sided();
  material->radiance = in.Float("intensity");
  if (IsPower(in)) {
    const double area = AreaOf(geometry->mesh(), in.Transform("transform").matrix);
    if (!(area > 0)) return nullptr;
    material->radiance /= static_cast<float>(area * kPi * (material->double_sided ? 2 : 1));
  }
  return material->radiance > 0 && std::isfinite(material->radiance) ? std::move(material) : nullptr;
}

PluginClass Describe() {
  return {
      .name = "LightMesh",
      .description = "A geometry of any form that shines and reflects nothing.",
      .categories = CategoryBit(Category::kLight) | CategoryBit(Category::kGeometricObject),
      .properties =
          {
              {"geometry", Type::kPlugin, PluginRef{}, "What shines, a geometry source."},
              {"transform", Type::kTransform, Transform{}, "Place, orientation and scale."},
              {"color", Type::kTexture, Color{1, 1, 1}, "Colour of the light.", {0}},
              GlowRow(),
              GlowUnitRow(
                  "0: radiance, W/(m^2 sr). 1: power of the whole light where its colour is white, W."),
              {"doubleSided", Type::kBoolean, false, "Whether the back shines as well."},
              {"visibleToCamera", Type::kBoolean, true,
               "Whether the camera sees it; light and mirrors always do."},
              {.name = "enabled",
               .type = Type::kBoolean,
               .default_value = true,
               .description = "Whether it is there at all.",
               .aliases = "visible"},
          },
      .evaluation = {.material = Make},
      .is_object = true,
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
