// Adjustments that treat every pixel alike.
#include <cmath>

#include "engine/image/operations.h"
#include "engine/image/transfer.h"

namespace kiln::engine::image {
namespace {

constexpr float kMidGrey = 0.18f;

template <class F>
void ForEachColor(Image& image, F&& change) {
  float* pixel = image.pixels();
  for (const float* end = pixel + image.pixel_count() * 4; pixel != end; pixel += 4) {
    for (int c = 0; c < 3; ++c) pixel[c] = change(pixel[c]);
  }
}

bool ValidGamma(float gamma) {
  return std::isnormal(gamma) && gamma > 0 && std::isnormal(1 / gamma);
}

}  // namespace

bool AddColor(Image& image, float red, float green, float blue) noexcept {
  if (!std::isfinite(red) || !std::isfinite(green) || !std::isfinite(blue)) return false;
  float* pixel = image.pixels();
  for (const float* end = pixel + image.pixel_count() * 4; pixel != end; pixel += 4) {
    pixel[0] += red;
    pixel[1] += green;
    pixel[2] += blue;
  }
  return true;
}

bool ChangeExposure(Image& image, float stops) noexcept {
  const float factor = std::exp2(stops);
  if (!std::isnormal(factor)) return false;
  ForEachColor(image, [factor](float v) { return v * factor; });
  return true;
}

bool ChangeContrast(Image& image, float contrast) noexcept {
  if (!std::isfinite(contrast) || contrast < 0) return false;
  const float pivot = FromLinear(kMidGrey, image.gamma);
  ForEachColor(image, [=](float v) { return SignedPower(v / pivot, contrast) * pivot; });
  return true;
}

bool ChangeGamma(Image& image, float gamma) noexcept {
  const float combined = image.gamma * gamma;
  if (!ValidGamma(gamma) || !ValidGamma(combined)) return false;
  const float exponent = 1 / gamma;
  ForEachColor(image, [exponent](float v) { return SignedPower(v, exponent); });
  image.gamma = combined;
  return true;
}

bool ChangeSrgb(Image& image, bool to_srgb) noexcept {
  if (to_srgb) {
    ForEachColor(image, LinearToSrgb);
  } else {
    ForEachColor(image, SrgbToLinear);
  }
  image.gamma = to_srgb ? kDisplayGamma : 1.0f;
  return true;
}

bool MakeNegative(Image& image) noexcept {
  ForEachColor(image, [](float v) { return 1 - v; });
  return true;
}

bool SetGamma(Image& image, float gamma) noexcept {
  if (!ValidGamma(gamma)) return false;
  image.gamma = gamma;
  return true;
}

}  // namespace kiln::engine::image
