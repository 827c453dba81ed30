// Renders buckets of a frame: from pixels and sample numbers to sums on the film.
#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "engine/render/film.h"
#include "engine/render/image_window.h"
#include "engine/render/integrator.h"
#include "engine/render/pixel_filter.h"
#include "engine/render/render_scene.h"

namespace kiln::engine::render {

// Thread-safe: any number of workers render different buckets.
class FrameRenderer {
 public:
  // `crop`: the window of the whole camera image that fills the frame. The scene has a camera.
  FrameRenderer(std::shared_ptr<const RenderScene> scene, int width, int height,
                const std::optional<RegionF>& crop, LightStrategy strategy = LightStrategy::kBoth);

  // Adds the samples [first, first + count) of each pixel. False, and the film as it was, when `interrupt`
  // was set on the way. The film keeps the scene's layers from then on.
  bool RenderBucket(const Bucket& bucket, int first, int count, const std::atomic<bool>& interrupt,
                    Film* film, TraceStatistics* statistics) const;

  const RenderScene& scene() const { return *scene_; }

 private:
  // What the pixels of a bucket have in common.
  struct Pass;
  bool RenderPixel(Pass& pass, FilmPixel* pixel) const;
  // The same, and the layout's floats of the pixel.
  bool RenderLayers(Pass& pass, FilmPixel* pixel, const LayerLayout& layout, float* layers) const;

  std::shared_ptr<const RenderScene> scene_;
  PathIntegrator integrator_;
  PixelFilter filter_;
  ImageWindow window_;
  float spread_;
};

}  // namespace kiln::engine::render
