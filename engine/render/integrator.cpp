// The path tracer's loop.
#include "engine/render/integrator.h"

#include "engine/render/bsdf.h"
#include "engine/render/mesh_light.h"
#include "engine/render/path_recorder.h"
#include "engine/render/sampling.h"

namespace kiln::engine::render {
namespace {

// Surfaces in a row that a ray may pass unscattered; beyond it the rest counts as blocked.
constexpr int kMaxPassThrough = 128;

// Groups of the sampler: two for each bounce, and others for each surface that may let a ray pass.
constexpr uint32_t LightGroup(int depth) {
  return 1 + 2 * static_cast<uint32_t>(depth);
}
constexpr uint32_t ScatterGroup(int depth) {
  return 2 + 2 * static_cast<uint32_t>(depth);
}
constexpr uint32_t OpacityGroup(int passed) {
  return 0x40000000u + static_cast<uint32_t>(passed);
}

// One path in flight. The recorder is told what happens at the first surface and where light comes from.
template <class Recorder>
class Path {
 public:
  Path(const RenderScene& scene, LightStrategy strategy, const Sampler& sampler, float spread,
       TraceStatistics* statistics, Recorder recorder)
      : scene_(scene),
        strategy_(strategy),
        sampler_(sampler),
        statistics_(statistics),
        spread_(spread),
        recorder_(recorder) {}

  PathResult Run(const CameraSample& sample);

 private:
  void Count(const Ray& ray);
  void GatherShapeLights(float far);
  void GatherBackground();
  void GatherEmission(const SurfacePoint& point, const Hit& hit);
  bool PassesThrough(const SurfacePoint& point);
  void SampleLight(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view, const Sample4& u);
  Color Transmittance(Ray ray);
  bool Scatter(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view, const Sample4& u);
  bool SurvivesRoulette(float u);
  void CrossBoundary(const SurfacePoint& point);
  // Limits a contribution and adds it; what was added.
  Color Add(Color contribution, bool bounced);
  // The weight of light met by scattering that light sampling would have found with density `light_pdf`.
  float WeightOfHit(float light_pdf) const;

  const RenderScene& scene_;
  const LightStrategy strategy_;
  const Sampler& sampler_;
  TraceStatistics* const statistics_;

  Ray ray_;
  PathResult result_;
  Color throughput_{1, 1, 1};
  int depth_ = 0;                        // bounces so far
  int passed_ = 0;                       // surfaces passed unscattered
  float spread_;                         // angle of the ray's footprint
  float travelled_ = 0;                  // from the camera
  float since_bounce_ = 0;               // from the last bounce, across surfaces that let the ray pass
  bool specular_ = true;                 // the last bounce was a delta, or there was none
  float pdf_ = 0;                        // of the last bounce's direction
  LightContext from_{};                  // the last bounce
  const SceneObject* medium_ = nullptr;  // the body that the ray is in
  [[no_unique_address]] Recorder recorder_;
};

template <class Recorder>
PathResult Path<Recorder>::Run(const CameraSample& sample) {
  const CameraRay& camera = sample.ray;
  Hit hit = sample.hit;
  bool found = std::isfinite(hit.distance);
  ray_ = {camera.origin, camera.near, camera.direction, camera.far};
  Bsdf bsdf;
  BsdfView view;
  SurfacePoint point;
  for (;; found = scene_.Intersect(ray_, &hit)) {
    Count(ray_);
    if (scene_.channel == nullptr) GatherShapeLights(found ? hit.distance : ray_.far);
    if (!found) {
      if (scene_.channel == nullptr) GatherBackground();
      break;
    }
    scene_.MakeSurfacePoint(hit, ray_.direction, spread_, travelled_ + hit.distance, &point);
    if (medium_ != nullptr) throughput_ *= medium_->Transmittance(hit.distance);
    travelled_ += hit.distance;
    since_bounce_ += hit.distance;
    if (PassesThrough(point)) {
      if (++passed_ > kMaxPassThrough) break;
      ray_.far = std::isinf(ray_.far) ? ray_.far : ray_.far - hit.distance;
      ray_.origin = point.RayOrigin(ray_.direction);
      ray_.near = 0;
      continue;
    }
    result_.alpha = 1;
    if (depth_ == 0) recorder_.Surface(scene_, point, hit, camera);
    if (scene_.channel != nullptr) {
      result_.radiance = scene_.channel->Evaluate(point, travelled_);
      break;
    }
    if (point.object->emissive) GatherEmission(point, hit);
    if (depth_ >= scene_.settings.max_depth) break;
    point.object->material->Evaluate(point, &bsdf);
    if (bsdf.empty() || !bsdf.Look(point.wo, &view)) break;
    if (depth_ == 0) recorder_.Closure(point, bsdf, view);
    // Both here, so that the processor works on them side by side.
    const Sample4 u_light = sampler_.Get(LightGroup(depth_));
    const Sample4 u_scatter = sampler_.Get(ScatterGroup(depth_));
    from_ = {point.position, point.backfacing ? -point.normal : point.normal};
    if (strategy_ != LightStrategy::kScatteringOnly && bsdf.HasNonDelta()) {
      SampleLight(point, bsdf, view, u_light);
    }
    if (!Scatter(point, bsdf, view, u_scatter) || !SurvivesRoulette(u_light.w)) break;
  }
  return result_;
}

template <class Recorder>
void Path<Recorder>::Count(const Ray& ray) {
  ++statistics_->rays;
  if (statistics_->record != nullptr) statistics_->record->push_back(ray);
}

template <class Recorder>
Color Path<Recorder>::Add(Color contribution, bool bounced) {
  const float limit = scene_.settings.clamp;
  if (limit > 0 && bounced) {
    const float most = MaxComponent(contribution);
    if (most > limit) contribution *= limit / most;
  }
  result_.radiance += contribution;
  return contribution;
}

template <class Recorder>
float Path<Recorder>::WeightOfHit(float light_pdf) const {
  if (specular_ || strategy_ == LightStrategy::kScatteringOnly) return 1;
  return strategy_ == LightStrategy::kLightsOnly ? (light_pdf > 0 ? 0.0f : 1.0f) : MisWeight(pdf_, light_pdf);
}

template <class Recorder>
void Path<Recorder>::GatherShapeLights(float far) {
  for (const uint32_t index : scene_.shape_lights()) {
    const Light& light = *scene_.lights[index];
    LightHit hit;
    if (depth_ == 0 && !light.visible_to_camera()) continue;
    if (!light.Intersect(ray_.origin, ray_.direction, ray_.near, far, &hit)) continue;
    if (depth_ == 0) result_.alpha = 1;
    Color arriving = throughput_ * hit.radiance;
    if (medium_ != nullptr) arriving *= medium_->Transmittance(hit.distance);
    const float light_pdf = specular_ ? 0 : scene_.LightProbability(index) * light.Pdf(from_, ray_.direction);
    recorder_.Met(Add(arriving * WeightOfHit(light_pdf), depth_ > 1), depth_, Layer::kSelfIllumination);
  }
}

template <class Recorder>
void Path<Recorder>::GatherBackground() {
  for (const uint32_t index : scene_.infinite_lights()) {
    const Light& light = *scene_.lights[index];
    if (depth_ == 0 && !light.visible_to_camera()) continue;
    const Color radiance = light.Background(ray_.direction);
    if (IsBlack(radiance)) continue;
    const float light_pdf = specular_ ? 0 : scene_.LightProbability(index) * light.Pdf(from_, ray_.direction);
    recorder_.Met(Add(throughput_ * radiance * WeightOfHit(light_pdf), depth_ > 1), depth_,
                  Layer::kBackground);
  }
}

template <class Recorder>
void Path<Recorder>::GatherEmission(const SurfacePoint& point, const Hit& hit) {
  const Color radiance = SurfaceEmission(point);
  if (IsBlack(radiance)) return;
  float light_pdf = 0;
  if (!specular_ && point.object->mesh_light >= 0) {
    light_pdf = scene_.LightProbability(static_cast<uint32_t>(point.object->mesh_light)) *
                scene_.mesh_light(*point.object).PdfOfHit(hit.triangle, since_bounce_, ray_.direction);
  }
  recorder_.Met(Add(throughput_ * radiance * WeightOfHit(light_pdf), depth_ > 1), depth_,
                Layer::kSelfIllumination);
}

template <class Recorder>
bool Path<Recorder>::PassesThrough(const SurfacePoint& point) {
  const SceneObject& object = *point.object;
  if (depth_ == 0 && !object.visible_to_camera) return true;
  if (object.opaque) return false;
  const float opacity = object.material->Opacity(point);
  if (opacity >= 1) return false;
  return opacity <= 0 || sampler_.Get(OpacityGroup(passed_)).x >= opacity;
}

template <class Recorder>
Color Path<Recorder>::Transmittance(Ray ray) {
  Count(ray);
  if (scene_.Occluded(ray)) return {};
  float transmitted = 1;
  if (scene_.all_opaque()) return {transmitted, transmitted, transmitted};
  SurfacePoint point;
  Hit hit;
  for (int i = 0; scene_.IntersectClear(ray, &hit); ++i) {
    if (i == kMaxPassThrough) return {};
    scene_.MakeSurfacePoint(hit, ray.direction, 0, 0, &point);
    transmitted *= 1 - std::clamp(point.object->material->Opacity(point), 0.0f, 1.0f);
    if (transmitted <= 0) return {};
    ray.origin = point.RayOrigin(ray.direction);
    ray.far -= hit.distance;
    ray.near = 0;
    Count(ray);
  }
  return {transmitted, transmitted, transmitted};
}

template <class Recorder>
void Path<Recorder>::SampleLight(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view,
                                 const Sample4& u) {
  float choice = u.x;
  float probability = 0;
  const Light* light = scene_.ChooseLight(&choice, &probability);
  LightSample sample;
  if (light == nullptr || !light->Sample(from_, {u.y, u.z}, &sample)) return;
  float scatter_pdf = 0;
  const Color f = bsdf.Evaluate(view, sample.wi, &scatter_pdf);
  if (IsBlack(f) || IsBlack(sample.radiance)) return;
  const float light_pdf = probability * sample.pdf;
  float weight = 1;
  if (!sample.delta && strategy_ == LightStrategy::kBoth) weight = MisWeight(light_pdf, scatter_pdf);
  Color contribution = throughput_ * f * sample.radiance * (weight / light_pdf);
  if (medium_ != nullptr) contribution *= medium_->Transmittance(std::min(sample.distance, 1e30f));
  // Stops a little short, so that what the light is fixed to does not block it.
  constexpr float kShort = 1 - 1e-5f;
  const Color unshadowed = contribution;
  contribution *= Transmittance({point.RayOrigin(sample.wi), 0, sample.wi, sample.distance * kShort});
  if (!IsBlack(contribution)) contribution = Add(contribution, depth_ > 0);
  recorder_.Sampled(contribution, unshadowed, depth_, point, bsdf, view, sample.wi, f);
}

template <class Recorder>
bool Path<Recorder>::Scatter(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view,
                             const Sample4& u) {
  BsdfSample sample;
  if (!bsdf.Sample(view, u.x, {u.y, u.z}, &sample) || IsBlack(sample.weight)) return false;
  if (depth_ == 0) recorder_.Scattered(point, bsdf, view, sample);
  throughput_ *= sample.weight;
  specular_ = (sample.flags & kLobeSpecular) != 0;
  pdf_ = sample.pdf;
  if ((sample.flags & kLobeTransmission) != 0) CrossBoundary(point);
  // Wider footprints after rough bounces read coarser, faster mip levels of what is seen blurred anyway.
  constexpr float kRoughSpread = 0.03f;
  if (!specular_) spread_ = std::max(spread_, kRoughSpread);
  ray_ = {point.RayOrigin(sample.wi), 0, sample.wi, INFINITY};
  since_bounce_ = 0;
  ++depth_;
  return true;
}

template <class Recorder>
void Path<Recorder>::CrossBoundary(const SurfacePoint& point) {
  if (!point.object->has_volume) return;
  medium_ = point.backfacing ? nullptr : point.object;
}

template <class Recorder>
bool Path<Recorder>::SurvivesRoulette(float u) {
  if (depth_ < scene_.settings.min_depth) return true;
  const float survival = std::min(1.0f, MaxComponent(throughput_));
  if (!(u < survival)) return false;
  throughput_ *= 1 / survival;
  return true;
}

}  // namespace

PathResult PathIntegrator::Trace(const CameraSample& sample, float spread,
                                 TraceStatistics* statistics) const {
  return Path(scene_, strategy_, sample.sampler, spread, statistics, NoRecorder()).Run(sample);
}

PathResult PathIntegrator::Trace(const CameraSample& sample, float spread, TraceStatistics* statistics,
                                 PathLayers* layers) const {
  return Path(scene_, strategy_, sample.sampler, spread, statistics, PathRecorder(layers)).Run(sample);
}

}  // namespace kiln::engine::render
