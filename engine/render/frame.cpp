// Pixels to camera rays, and paths to sums.
#include "engine/render/frame.h"

namespace kiln::engine::render {

FrameRenderer::FrameRenderer(std::shared_ptr<const RenderScene> scene, int width, int height,
                             const std::optional<RegionF>& crop, LightStrategy strategy)
    : scene_(std::move(scene)),
      integrator_(*scene_, strategy),
      filter_(scene_->settings.box_filter, scene_->settings.filter_radius),
      window_(width, height, crop),
      spread_(scene_->camera->PixelSpread(window_.pixel_height, window_.aspect)) {}

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
    const Vec2 screen =
        window_.ToScreen({static_cast<float>(x) + 0.5f + offset.x, static_cast<float>(y) + 0.5f + offset.y});
    const CameraRay ray = camera.Generate(screen, window_.aspect, u.zw());
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
