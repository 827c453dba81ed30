// A pinhole or thin-lens camera.
#include "engine/render/camera.h"
#include "engine/render/inputs.h"
#include "engine/render/sampling.h"

namespace kiln::engine::scene {
namespace {

class PerspectiveCamera : public render::Camera {
 public:
  explicit PerspectiveCamera(const render::Inputs& in)
      : frame_(in.Transform("transform")),
        tangent_(std::tan(std::clamp(in.Float("fov"), 0.01f, 179.0f) * kPi / 360)),
        horizontal_(in.Int("fovAxis") == 1),
        aperture_(std::max(0.0f, in.Float("aperture"))),
        focus_(std::max(1e-6f, in.Float("focusDistance"))),
        blades_(std::clamp(in.Int("bladeCount"), 0, 64)),
        near_(std::max(0.0f, in.Float("nearClip"))),
        far_(in.Float("farClip")) {
    exposure_ = in.Float("exposure");
    forward_ = -frame_.back;
  }

  render::CameraRay Generate(Vec2 screen, float aspect, Vec2 lens) const override {
    const float tan_y = Vertical(aspect);
    const Vec3 axis{screen.x * tan_y * aspect, screen.y * tan_y, -1};
    Vec3 start{};
    Vec3 direction = axis;
    if (aperture_ > 0) {
      const Vec2 p = LensPoint(lens) * aperture_;
      start = {p.x, p.y, 0};
      direction = axis * focus_ - start;
    }
    direction = Normalize(direction);
    // Clip planes are perpendicular to the view; distances along the ray grow with its slant.
    const float slant = -1 / direction.z;
    return {frame_.origin + frame_.Direction(start), frame_.Direction(direction), near_ * slant,
            far_ * slant};
  }

  float PixelSpread(float size, float aspect) const override { return 2 * Vertical(aspect) * size; }

 private:
  float Vertical(float aspect) const { return horizontal_ ? tangent_ / aspect : tangent_; }

  // Uniform on the unit disk, or on the regular polygon inside it.
  Vec2 LensPoint(Vec2 u) const {
    if (blades_ < 3) return render::SampleDisk(u);
    const auto count = static_cast<float>(blades_);
    const float scaled = u.x * count;
    const float blade = std::min(std::floor(scaled), count - 1);
    const Vec2 b = render::SampleTriangle({std::min(scaled - blade, 1.0f), u.y});
    const float step = 2 * kPi / count;
    const Vec2 p{std::cos(blade * step), std::sin(blade * step)};
    const Vec2 q{std::cos((blade + 1) * step), std::sin((blade + 1) * step)};
    return p * b.x + q * b.y;
  }

  render::CameraFrame frame_;
  float tangent_;
  bool horizontal_;
  float aperture_, focus_;
  int blades_;
  float near_, far_;
};

PluginClass Describe() {
  return {
      .name = "CameraPerspective",
      .description = "A perspective camera with depth of field. It looks down -Z of its transform, +Y is up.",
      .categories = CategoryBit(Category::kRenderView),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Place and orientation; scale is ignored."},
              {"fov", Type::kFloat, 45.0f, "Field of view.", {0.01, 179}, "deg"},
              {"fovAxis", Type::kInt, 0, "What fov measures: 0 the image's height, 1 its width.", {0, 1}},
              {"aperture",
               Type::kFloat,
               0.0f,
               "Radius of the lens; 0 is a pinhole, everything sharp.",
               {0},
               "m"},
              {"focusDistance", Type::kFloat, 1.0f, "Distance of the plane in focus.", {0}, "m"},
              {"bladeCount", Type::kInt, 0, "Edges of the lens opening; below 3 it is round.", {0, 64}},
              {"nearClip", Type::kFloat, 0.001f, "Nothing nearer is seen.", {0}, "m"},
              {"farClip", Type::kFloat, 1e30f, "Nothing farther is seen.", {0}, "m"},
              {"exposure", Type::kFloat, 1.0f, "Linear factor on the picture.", {0}},
          },
      .evaluation = {.camera = [](const render::Inputs& in) -> std::unique_ptr<render::Camera> {
        return std::make_unique<PerspectiveCamera>(in);
      }},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
