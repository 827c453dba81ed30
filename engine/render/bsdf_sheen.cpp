// Evaluation of the Charlie sheen.
#include "engine/render/bsdf_sheen.h"

namespace kiln::engine::render {

namespace {

// The curve of section 3 of the publication, its parameters interpolated between alpha 0 and 1.
float LambdaCurve(float x, float alpha) {
  const float t = (1 - alpha) * (1 - alpha);
  const auto mix = [t](float rough, float smooth) { return (1 - t) * rough + t * smooth; };
  const float a = mix(21.5473f, 25.3245f);
  const float b = mix(3.82987f, 3.32435f);
  const float c = mix(0.19823f, 0.16801f);
  const float d = mix(-1.97760f, -1.27393f);
  const float e = mix(-4.32054f, -4.85967f);
  return a / (1 + b * std::pow(x, c)) + d * x + e;
}

}  // namespace

float CharlieD(float cos_h, float alpha) {
  const float inverse = 1 / alpha;
  const float sin2 = std::max(0.0f, 1 - cos_h * cos_h);
  return (2 + inverse) * std::pow(sin2, 0.5f * inverse) / (2 * kPi);
}

float CharlieLambda(float cosine, float alpha) {
  const float c = std::clamp(cosine, 0.0f, 1.0f);
  if (c < 0.5f) return std::exp(LambdaCurve(c, alpha));
  return std::exp(2 * LambdaCurve(0.5f, alpha) - LambdaCurve(1 - c, alpha));
}

float CharlieSheen(Vec3 wo, Vec3 wi, float roughness) {
  if (wo.z <= 0 || wi.z <= 0) return 0;
  const float r = std::clamp(roughness, kMinSheenRoughness, 1.0f);
  const float alpha = r * r;
  const Vec3 h = Normalize(wo + wi);
  const float shadowing = 1 / (1 + CharlieLambda(wo.z, alpha) + CharlieLambda(wi.z, alpha));
  // The cosine of wi cancels against the one below the fraction.
  return CharlieD(h.z, alpha) * shadowing / (4 * wo.z);
}

}  // namespace kiln::engine::render
