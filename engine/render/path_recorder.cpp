// Sorts a path's light into layers by what happened at the first surface.
#include "engine/render/path_recorder.h"

namespace kiln::engine::render {
namespace {

// What is the whole but for rounding leaves no rest.
float Share(float part, float whole) {
  constexpr float kAll = 1 - 1e-6f;
  if (!(part < whole * kAll)) return whole > 0 ? 1.0f : 0.0f;
  return std::max(0.0f, part / whole);
}

Color AsColor(Vec3 v) {
  return {v.x, v.y, v.z};
}

uint32_t PluginNumber(scene::PluginId id) {
  return id == scene::kNoPlugin ? 0 : static_cast<uint32_t>(id);
}

}  // namespace

void PathRecorder::Surface(const RenderScene& scene, const SurfacePoint& point, const Hit& hit,
                           const CameraRay& camera) {
  const Vec3 normal = point.backfacing ? -point.normal : point.normal;
  layers_[Layer::kNormal] = AsColor(normal);
  layers_[Layer::kBumpNormal] = AsColor(normal);
  layers_[Layer::kAlbedo] = {1, 1, 1};
  if (layers_.Wants(LayerBit(Layer::kVelocity))) layers_[Layer::kVelocity] = AsColor(scene.VelocityAt(point));
  if (!layers_.Wants(LayerBit(Layer::kCentre))) return;
  CentreSample& centre = layers_.centre;
  centre.depth = Dot(point.position - camera.origin, scene.camera->forward());
  centre.position = point.position;
  centre.object = hit.object + 1;
  centre.node = PluginNumber(point.object->id);
  centre.material = PluginNumber(point.object->material_id);
}

void PathRecorder::Closure(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view) {
  const Vec3 normal = bsdf.normal();
  layers_[Layer::kBumpNormal] = AsColor(Dot(normal, point.wo) < 0 ? -normal : normal);
  layers_[Layer::kDiffuse] = bsdf.DiffuseAlbedo(view);
  layers_[Layer::kAlbedo] = bsdf.Albedo(view);
}

PathRecorder::Split PathRecorder::SplitOf(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view,
                                          Vec3 wi, Color f) {
  const Color diffuse = bsdf.EvaluateDiffuse(view, wi);
  Split split;
  split.diffuse = {Share(diffuse.r, f.r), Share(diffuse.g, f.g), Share(diffuse.b, f.b)};
  split.transmitted = (Dot(wi, point.geometric_normal) < 0) != point.backfacing;
  return split;
}

void PathRecorder::Scattered(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view,
                             const BsdfSample& sample) {
  if (!splits_) return;
  if ((sample.flags & kLobeSpecular) != 0) {
    first_ = {{}, (sample.flags & kLobeTransmission) != 0, true};
  } else {
    first_ = SplitOf(point, bsdf, view, sample.wi, sample.weight * sample.pdf);
  }
}

void PathRecorder::Sampled(Color light, Color unshadowed, int bounces, const SurfacePoint& point,
                           const Bsdf& bsdf, const BsdfView& view, Vec3 wi, Color f) {
  if (bounces == 0) layers_[Layer::kShadow] += unshadowed - light;
  if (!splits_ || IsBlack(light)) return;
  if (bounces == 0) {
    Add(light, SplitOf(point, bsdf, view, wi, f), true);
  } else {
    Add(light, first_, false);
  }
}

void PathRecorder::Add(Color light, const Split& split, bool direct) {
  const Color diffuse = light * split.diffuse;
  layers_[direct ? Layer::kLighting : Layer::kGi] += diffuse;
  const Color rest = light - diffuse;
  if (split.transmitted) {
    layers_[Layer::kRefraction] += rest;
  } else {
    layers_[direct && !split.mirrored ? Layer::kSpecular : Layer::kReflection] += rest;
  }
}

}  // namespace kiln::engine::render
