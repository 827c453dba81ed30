// Constant and textured domes.
#include "engine/render/dome.h"

#include "engine/render/distribution.h"
#include "engine/render/sampling.h"
#include "engine/render/threads.h"

namespace kiln::engine::render {
namespace {

class ConstantDome : public Light {
 public:
  ConstantDome(Color radiance, bool visible) : radiance_(radiance) { visible_to_camera_ = visible; }

  bool Sample(const LightContext& at, Vec2 u, LightSample* sample) const override {
    sample->wi = Frame(at.normal).ToWorld(SampleCosineHemisphere(u));
    sample->pdf = Pdf(at, sample->wi);
    sample->radiance = radiance_;
    sample->distance = INFINITY;
    sample->delta = false;
    return sample->pdf > 0;
  }
  float Pdf(const LightContext& at, Vec3 wi) const override {
    return std::max(0.0f, Dot(at.normal, wi)) / kPi;
  }
  float Power(float radius) const override { return kPi * radius * radius * 4 * kPi * Luminance(radiance_); }
  bool IsInfinite() const override { return true; }
  Color Background(Vec3) const override { return radiance_; }

 private:
  Color radiance_;
};

class TexturedDome : public Light {
 public:
  explicit TexturedDome(const DomeDescription& d) : d_(d) {
    visible_to_camera_ = d.visible_to_camera;
    const Matrix& m = d.rotation;
    axes_ = {Normalize(m.c0), Normalize(m.c1), Normalize(m.c2)};
    std::vector<float> weights(static_cast<size_t>(kWidth) * kHeight);
    RunPieces(kHeight, 8, [&](uint32_t begin, uint32_t end) {
      for (uint32_t y = begin; y != end; ++y) FillRow(static_cast<int>(y), &weights[size_t{y} * kWidth]);
    });
    distribution_ = Distribution2D(weights, kWidth, kHeight);
  }

  bool Sample(const LightContext&, Vec2 u, LightSample* sample) const override {
    const Vec2 uv = distribution_.Sample(u, &sample->pdf);
    const float sine = std::sin(kPi * uv.y);
    if (!(sine > 1e-6f) || !(sample->pdf > 0)) return false;
    sample->pdf /= 2 * kPi * kPi * sine;
    sample->wi = axes_ * LatLongDirection(uv);
    sample->radiance = Look(uv);
    sample->distance = INFINITY;
    sample->delta = false;
    return true;
  }
  float Pdf(const LightContext&, Vec3 wi) const override {
    const Vec2 uv = LatLong(ToMap(wi));
    const float sine = std::sin(kPi * uv.y);
    return sine > 1e-6f ? distribution_.Pdf(uv) / (2 * kPi * kPi * sine) : 0;
  }
  // The weights carry the sine of the latitude, so their mean times pi / 2 is the mean radiance over the
  // sphere.
  float Power(float radius) const override {
    return kPi * radius * radius * 4 * kPi * distribution_.mean() * (kPi / 2);
  }
  bool IsInfinite() const override { return true; }
  Color Background(Vec3 direction) const override { return Look(LatLong(ToMap(direction))); }

 private:
  static constexpr int kWidth = 1024;
  static constexpr int kHeight = 512;

  Vec3 ToMap(Vec3 world) const { return {Dot(world, axes_.c0), Dot(world, axes_.c1), Dot(world, axes_.c2)}; }

  Color Look(Vec2 uv) const {
    ShadingPoint point{};
    for (Vec2& set : point.uv) set = uv;
    return d_.texture->EvaluateColor(point, d_.output) * d_.radiance;
  }

  // A cell's weight is the mean of four probes, so that a small sun in a large map is not overlooked.
  void FillRow(int y, float* row) const {
    for (int x = 0; x < kWidth; ++x) {
      float sum = 0;
      for (int probe = 0; probe < 4; ++probe) {
        const Vec2 uv{(x + 0.25f + 0.5f * (probe & 1)) / kWidth, (y + 0.25f + 0.5f * (probe >> 1)) / kHeight};
        sum += Luminance(Look(uv));
      }
      const float weight = 0.25f * sum * std::sin(kPi * (y + 0.5f) / kHeight);
      row[x] = std::isfinite(weight) ? std::max(0.0f, weight) : 0;
    }
  }

  DomeDescription d_;
  Matrix axes_;
  Distribution2D distribution_;
};

}  // namespace

Vec2 LatLong(Vec3 d) {
  const float u = 0.5f + std::atan2(d.x, -d.z) * (0.5f / kPi);
  return {u - std::floor(u), std::acos(std::clamp(d.y, -1.0f, 1.0f)) / kPi};
}

Vec3 LatLongDirection(Vec2 uv) {
  const float phi = (uv.x - 0.5f) * 2 * kPi;
  const float theta = uv.y * kPi;
  const float sine = std::sin(theta);
  return {sine * std::sin(phi), std::cos(theta), -sine * std::cos(phi)};
}

std::unique_ptr<Light> MakeDome(const DomeDescription& description) {
  if (description.texture == nullptr) {
    return std::make_unique<ConstantDome>(description.radiance, description.visible_to_camera);
  }
  return std::make_unique<TexturedDome>(description);
}

}  // namespace kiln::engine::render
