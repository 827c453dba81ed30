// Bundles of camera rays.
#include "engine/render/camera_samples.h"

namespace kiln::engine::render {

CameraSamples::CameraSamples(const FrameView& view, const Bucket& bucket, int first, int count)
    : view_(view), bucket_(bucket), first_(first), count_(count) {}

const CameraSample& CameraSamples::Next() {
  if (next_ == filled_) Fill();
  return bundle_[next_++];
}

void CameraSamples::Fill() {
  std::array<Ray, RenderScene::kBundle> rays;
  std::array<Hit, RenderScene::kBundle> hits;
  next_ = filled_ = 0;
  while (filled_ < bundle_.size() && y_ < bucket_.height) {
    CameraSample& sample = bundle_[filled_];
    sample = Make(bucket_.x + x_, bucket_.y + y_, first_ + index_);
    rays[filled_++] = {sample.ray.origin, sample.ray.near, sample.ray.direction, sample.ray.far};
    if (++index_ < count_) continue;
    index_ = 0;
    if (++x_ < bucket_.width) continue;
    x_ = 0;
    ++y_;
  }
  view_.scene.IntersectBundle({rays.data(), filled_}, hits.data());
  for (size_t i = 0; i < filled_; ++i) bundle_[i].hit = hits[i];
}

inline CameraSample CameraSamples::Make(int x, int y, int index) const {
  const RenderScene& scene = view_.scene;
  const Sampler sampler(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(index),
                        scene.settings.seed);
  const Sample4 u = sampler.Get(0);
  const Vec2 offset = view_.filter.Sample(u.xy());
  const Vec2 screen = view_.window.ToScreen(
      {static_cast<float>(x) + 0.5f + offset.x, static_cast<float>(y) + 0.5f + offset.y});
  return {sampler, offset, scene.camera->Generate(screen, view_.window.aspect, u.zw()), {}};
}

}  // namespace kiln::engine::render
