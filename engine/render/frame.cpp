// Pixels to camera rays, and paths to sums.
#include "engine/render/frame.h"

#include "engine/render/camera_samples.h"
#include "engine/render/layer_sums.h"

namespace kiln::engine::render {

FrameRenderer::FrameRenderer(std::shared_ptr<const RenderScene> scene, int width, int height,
                             const std::optional<RegionF>& crop, LightStrategy strategy)
    : scene_(std::move(scene)),
      integrator_(*scene_, strategy),
      filter_(scene_->settings.box_filter, scene_->settings.filter_radius),
      window_(width, height, crop),
      spread_(scene_->camera->PixelSpread(window_.pixel_height, window_.aspect)) {}

struct FrameRenderer::Pass {
  CameraSamples samples;
  int first, count;  // the samples of each pixel
  const std::atomic<bool>& interrupt;
  TraceStatistics* statistics;
};

bool FrameRenderer::RenderBucket(const Bucket& bucket, int first, int count,
                                 const std::atomic<bool>& interrupt, Film* film,
                                 TraceStatistics* statistics) const {
  const LayerLayout layout(scene_->layers);
  film->KeepLayers(scene_->layers);
  const size_t stride = layout.stride();
  std::vector<FilmPixel> pixels(static_cast<size_t>(bucket.width) * bucket.height);
  std::vector<float> layers(pixels.size() * stride);
  film->Load(bucket, pixels.data(), layers.data());
  Pass pass{{{*scene_, filter_, window_}, bucket, first, count}, first, count, interrupt, statistics};
  for (size_t i = 0; i < pixels.size(); ++i) {
    const bool done = stride == 0 ? RenderPixel(pass, &pixels[i])
                                  : RenderLayers(pass, &pixels[i], layout, &layers[i * stride]);
    if (!done) return false;
  }
  film->Store(bucket, pixels.data(), layers.data());
  return true;
}

bool FrameRenderer::RenderPixel(Pass& pass, FilmPixel* pixel) const {
  for (int i = 0; i < pass.count; ++i) {
    if (pass.interrupt.load(std::memory_order_relaxed)) return false;
    const PathResult path = integrator_.Trace(pass.samples.Next(), spread_, pass.statistics);
    const Color radiance = path.radiance * scene_->camera->exposure();
    if (!IsFinite(radiance)) {
      ++pass.statistics->dropped;
      continue;
    }
    pixel->Add(radiance, path.alpha);
  }
  return true;
}

bool FrameRenderer::RenderLayers(Pass& pass, FilmPixel* pixel, const LayerLayout& layout,
                                 float* layers) const {
  LayerSums sums(layout, layers);
  const float exposure = scene_->camera->exposure();
  for (int i = pass.first; i < pass.first + pass.count; ++i) {
    if (pass.interrupt.load(std::memory_order_relaxed)) return false;
    const CameraSample& sample = pass.samples.Next();
    PathLayers left(layout.mask());
    const PathResult path = integrator_.Trace(sample, spread_, pass.statistics, &left);
    const Color radiance = path.radiance * exposure;
    if (!IsFinite(radiance)) {
      ++pass.statistics->dropped;
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
