// A camera with parallel rays.
#include "engine/render/camera.h"
#include "engine/render/inputs.h"

namespace kiln::engine::scene {
namespace {

class OrthographicCamera : public render::Camera {
 public:
  explicit OrthographicCamera(const render::Inputs& in)
      : frame_(in.Transform("transform")),
        half_height_(in.Float("height") / 2),
        near_(std::max(0.0f, in.Float("nearClip"))),
        far_(in.Float("farClip")) {
    exposure_ = in.Float("exposure");
    forward_ = -frame_.back;
  }

  render::CameraRay Generate(Vec2 screen, float aspect, Vec2) const override {
    const Vec3 start{screen.x * half_height_ * aspect, screen.y * half_height_, 0};
    return {frame_.origin + frame_.Direction(start), -frame_.back, near_, far_};
  }

  // Parallel rays don't spread; textures are read at full detail.
  float PixelSpread(float, float) const override { return 0; }

 private:
  render::CameraFrame frame_;
  float half_height_, near_, far_;
};

PluginClass Describe() {
  return {
      .name = "CameraOrthographic",
      .description = "An orthographic camera. It looks down -Z of its transform, +Y is up.",
      .categories = CategoryBit(Category::kRenderView),
      .properties =
          {
              {"transform", Type::kTransform, Transform{}, "Place and orientation; scale is ignored."},
              {"height", Type::kFloat, 2.0f, "Height of the image in the scene.", {0}, "m"},
              {"nearClip", Type::kFloat, 0.001f, "Nothing nearer is seen.", {0}, "m"},
              {"farClip", Type::kFloat, 1e30f, "Nothing farther is seen.", {0}, "m"},
              {"exposure", Type::kFloat, 1.0f, "Linear factor on the picture.", {0}},
          },
      .evaluation = {.camera = [](const render::Inputs& in) -> std::unique_ptr<render::Camera> {
        return std::make_unique<OrthographicCamera>(in);
      }},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
