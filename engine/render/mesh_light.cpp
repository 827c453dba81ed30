// Sampling of emissive meshes.
#include "engine/render/mesh_light.h"

#include "engine/render/sampling.h"
#include "engine/render/threads.h"

namespace kiln::engine::render {

Color SurfaceEmission(const SurfacePoint& point) {
  if (point.backfacing && !point.object->mesh->double_sided()) return {};
  return point.object->material->Emission(point);
}

MeshLight::MeshLight(const RenderScene& scene, const SceneObject& object) : scene_(scene), object_(object) {
  const auto count = static_cast<uint32_t>(object.mesh->triangle_count());
  std::vector<float> weights(count);
  faces_.resize(count);
  constexpr uint32_t kGrain = 512;
  RunPieces(count, kGrain, [&](uint32_t begin, uint32_t end) {
    for (uint32_t i = begin; i != end; ++i) {
      faces_[i] = MakeFace(i);
      weights[i] = EstimatePower(i);
    }
  });
  double total = 0;
  for (const float weight : weights) total += weight;
  power_ = static_cast<float>(total);
  choice_ = AliasTable(weights);
  even_ = object.material->EmitsEvenly(&front_, &back_);
  if (!object.mesh->double_sided()) back_ = {};
  const Bounds3& bounds = object.mesh->bounds();
  const auto far = [](float a, float b) { return std::max(std::abs(a), std::abs(b)); };
  const Vec3 corner{far(bounds.lower.x, bounds.upper.x), far(bounds.lower.y, bounds.upper.y),
                    far(bounds.lower.z, bounds.upper.z)};
  // A point of the world is at most as far out as the sums that make it, which are counted already.
  offset_ = 2 * RayOffset(object, corner, {});
}

float MeshLight::EstimatePower(uint32_t triangle) const {
  const auto& [normal, area, corner, edges] = faces_[triangle];
  if (!(area > 0)) return 0;
  constexpr Vec2 kProbes[] = {{1.0f / 3, 1.0f / 3}, {0.6f, 0.2f}, {0.2f, 0.6f}, {0.2f, 0.2f}};
  float radiance = 0;
  for (const Vec2 probe : kProbes) {
    for (const float side : {1.0f, -1.0f}) {
      SurfacePoint point;
      radiance += std::max(0.0f, Luminance(Emission(triangle, probe, normal * side, &point)));
    }
  }
  const float power = area * radiance * (kPi / 4);
  return std::isfinite(power) ? power : 0;
}

MeshLight::Face MeshLight::MakeFace(uint32_t triangle) const {
  Vec3 p[3];
  object_.mesh->Corners(triangle, p);
  const Matrix& m = object_.transform.matrix;
  const Vec3 edges[2] = {m * (p[1] - p[0]), m * (p[2] - p[0])};
  // A mirroring transform keeps the front of the mesh in front.
  const Vec3 n = Cross(edges[0], edges[1]) * (Determinant(m) < 0 ? -1.0f : 1.0f);
  const float length = Length(n);
  return {length > 0 ? n / length : Vec3{0, 0, 1},
          0.5f * length,
          TransformPoint(object_.transform, p[0]),
          {edges[0], edges[1]}};
}

Color MeshLight::Emission(uint32_t triangle, Vec2 barycentric, Vec3 wo, SurfacePoint* point) const {
  const Hit hit{0, static_cast<uint32_t>(&object_ - scene_.objects.data()), triangle, barycentric.x,
                barycentric.y};
  scene_.MakeSurfacePoint(hit, -wo, 0, 0, point);
  return SurfaceEmission(*point);
}

bool MeshLight::Sample(const LightContext& at, Vec2 u, LightSample* sample) const {
  const uint32_t triangle = choice_.Sample(&u.x);
  const Vec2 barycentric = SampleTriangle(u);
  const Face& face = faces_[triangle];
  const Vec3 to = face.corner + face.edges[0] * barycentric.x + face.edges[1] * barycentric.y - at.position;
  const float distance = Length(to);
  if (!(distance > 0)) return false;
  sample->wi = to / distance;
  sample->pdf = PdfOfHit(triangle, distance, sample->wi);
  if (!(sample->pdf > 0) || !std::isfinite(sample->pdf)) return false;
  const float cosine = Dot(sample->wi, face.normal);
  float offset = offset_;
  if (even_) {
    sample->radiance = cosine < 0 ? front_ : back_;
  } else {
    SurfacePoint point;
    sample->radiance = Emission(triangle, barycentric, -sample->wi, &point);
    offset = point.offset;
  }
  // Stops short of the emitter itself, which blocks like any other surface.
  sample->distance = std::max(0.0f, distance - 2 * offset / std::max(1e-3f, std::abs(cosine)));
  sample->delta = false;
  return !IsBlack(sample->radiance);
}

float MeshLight::PdfOfHit(uint32_t triangle, float distance, Vec3 wi) const {
  const auto& [normal, area, corner, edges] = faces_[triangle];
  const float cosine = std::abs(Dot(wi, normal));
  if (!(area > 0) || cosine < 1e-7f) return 0;
  return choice_.Probability(triangle) * distance * distance / (area * cosine);
}

}  // namespace kiln::engine::render
