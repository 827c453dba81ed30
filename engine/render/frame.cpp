// Pixels to camera rays, and paths to sums.
#include "engine/render/frame.h"

#include "engine/render/layer_sums.h"

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
  const LayerLayout layout(scene_->layers);
  film->KeepLayers(scene_->layers);
  const size_t stride = layout.stride();
  std::vector<FilmPixel> pixels(static_cast<size_t>(bucket.width) * bucket.height);
  std::vector<float> layers(pixels.size() * stride);
  film->Load(bucket, pixels.data(), layers.data());
  for (int y = 0; y < bucket.height; ++y) {
    for (int x = 0; x < bucket.width; ++x) {
      const size_t i = static_cast<size_t>(y) * bucket.width + x;
      const bool done = stride == 0 ? RenderPixel(bucket.x + x, bucket.y + y, first, count, &pixels[i],
                                                  interrupt, statistics)
                                    : RenderLayers(bucket.x + x, bucket.y + y, first, count, &pixels[i],
                                                   layout, &layers[i * stride], interrupt, statistics);
      if (!done) return false;
    }
  }
  film->Store(bucket, pixels.data(), layers.data());
  return true;
}

struct FrameRenderer::PixelSample {
  Sampler sampler;
  Vec2 offset;  // from the pixel's centre
  CameraRay ray;
};

inline FrameRenderer::PixelSample FrameRenderer::MakeSample(int x, int y, int index) const {
  const Sampler sampler(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(index),
                        scene_->settings.seed);
  const Sample4 u = sampler.Get(0);
  const Vec2 offset = filter_.Sample(u.xy());
  const Vec2 screen =
      window_.ToScreen({static_cast<float>(x) + 0.5f + offset.x, static_cast<float>(y) + 0.5f + offset.y});
  return {sampler, offset, scene_->camera->Generate(screen, window_.aspect, u.zw())};
}

bool FrameRenderer::RenderPixel(int x, int y, int first, int count, FilmPixel* pixel,
                                const std::atomic<bool>& interrupt, TraceStatistics* statistics) const {
  for (int i = first; i < first + count; ++i) {
    if (interrupt.load(std::memory_order_relaxed)) return false;
    const PixelSample sample = MakeSample(x, y, i);
    const PathResult path = integrator_.Trace(sample.ray, spread_, sample.sampler, statistics);
    const Color radiance = path.radiance * scene_->camera->exposure();
    if (!IsFinite(radiance)) {
      ++statistics->dropped;
      continue;
    }
    pixel->Add(radiance, path.alpha);
  }
  return true;
}

bool FrameRenderer::RenderLayers(int x, int y, int first, int count, FilmPixel* pixel,
                                 const LayerLayout& layout, float* layers, const std::atomic<bool>& interrupt,
                                 TraceStatistics* statistics) const {
  LayerSums sums(layout, layers);
  const float exposure = scene_->camera->exposure();
  for (int i = first; i < first + count; ++i) {
    if (interrupt.load(std::memory_order_relaxed)) return false;
    const PixelSample sample = MakeSample(x, y, i);
    PathLayers left(layout.mask());
    const PathResult path = integrator_.Trace(sample.ray, spread_, sample.sampler, statistics, &left);
    const Color radiance = path.radiance * exposure;
    if (!IsFinite(radiance)) {
      ++statistics->dropped;
      continue;
    }
    pixel->Add(radiance, path.alpha);
    left.Expose(exposure);
    left[Layer::kSquares] = radiance * radiance;
    if ((i & 1) != 0) left[Layer::kHalf] = radiance;
    left.centre.nearness = 1 / (1 + sample.offset.x * sample.offset.x + sample.offset.y * sample.offset.y);
    sums.Add(left);
  }
  sums.Store(layers);
  return true;
}

}  // namespace kiln::engine::render
