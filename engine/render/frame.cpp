// Pixels to camera rays, and paths to sums.
#include "engine/render/frame.h"

namespace kiln::engine::render {

FrameRenderer::FrameRenderer(std::shared_ptr<const RenderScene> scene, int width, int height,
                             const std::optional<RegionF>& crop, LightStrategy strategy)
    : scene_(std::move(scene)),
      integrator_(*scene_, strategy),
      filter_(scene_->settings.box_filter, scene_->settings.filter_radius) {
  const RegionF window = crop.value_or(RegionF{0, 0, 1, 1});
  // Pixels stay square: the whole camera image is as much larger than the frame as the window is smaller than
  // it.
  aspect_ = (static_cast<float>(width) / window.width) / (static_cast<float>(height) / window.height);
  scale_x_ = 2 * window.width / static_cast<float>(width);
  shift_x_ = 2 * window.left - 1;
  scale_y_ = -2 * window.height / static_cast<float>(height);
  shift_y_ = 1 - 2 * window.top;
  spread_ = scene_->camera->PixelSpread(window.height / static_cast<float>(height), aspect_);
}

bool FrameRenderer::RenderBucket(const Bucket& bucket, int first, int count,
                                 const std::atomic<bool>& interrupt, Film* film,
                                 TraceStatistics* statistics) const {
  std::vector<FilmPixel> pixels(static_cast<size_t>(bucket.width) * bucket.height);
  film->Load(bucket, pixels.data());
  for (int y = 0; y < bucket.height; ++y) {
    for (int x = 0; x < bucket.width; ++x) {
      if (!RenderPixel(bucket.x + x, bucket.y + y, first, count,
                       &pixels[static_cast<size_t>(y) * bucket.width + x], interrupt, statistics))
        return false;
    }
  }
  film->Store(bucket, pixels.data());
  return true;
}

bool FrameRenderer::RenderPixel(int x, int y, int first, int count, FilmPixel* pixel,
                                const std::atomic<bool>& interrupt, TraceStatistics* statistics) const {
  const Camera& camera = *scene_->camera;
  for (int i = first; i < first + count; ++i) {
    if (interrupt.load(std::memory_order_relaxed)) return false;
    const Sampler sampler(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(i),
                          scene_->settings.seed);
    const Sample4 u = sampler.Get(0);
    const Vec2 offset = filter_.Sample(u.xy());
    const Vec2 screen{(static_cast<float>(x) + 0.5f + offset.x) * scale_x_ + shift_x_,
                      (static_cast<float>(y) + 0.5f + offset.y) * scale_y_ + shift_y_};
    const CameraRay ray = camera.Generate(screen, aspect_, u.zw());
    const PathResult path = integrator_.Trace(ray, spread_, sampler, statistics);
    const Color radiance = path.radiance * camera.exposure();
    if (!IsFinite(radiance)) {
      ++statistics->dropped;
      continue;
    }
    pixel->Add(radiance, path.alpha);
  }
  return true;
}

}  // namespace kiln::engine::render
