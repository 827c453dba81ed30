// The samples of a bucket as they leave the camera: each with its ray and what that ray meets first.
#pragma once

#include <array>

#include "engine/render/film.h"
#include "engine/render/image_window.h"
#include "engine/render/pixel_filter.h"
#include "engine/render/render_scene.h"
#include "engine/render/sampler.h"

namespace kiln::engine::render {

// One sample of a pixel, before it becomes a path.
struct CameraSample {
  Sampler sampler;  // its group 0 is used
  Vec2 offset;      // from the pixel's centre
  CameraRay ray;
  Hit hit;  // infinitely far where there is none
};

// The view of a frame: the scene with its camera, and where on the image the pixels lie. All of it outlives
// the view.
struct FrameView {
  const RenderScene& scene;
  const PixelFilter& filter;
  const ImageWindow& window;
};

// Hands out the samples [first, first + count) of each pixel, row by row. Neighbours in that order see nearly
// the same, so their rays are traced together, which takes a quarter of the time that each alone would.
class CameraSamples {
 public:
  CameraSamples(const FrameView& view, const Bucket& bucket, int first, int count);

  // As often as there are samples. What it returns lasts until the next call.
  const CameraSample& Next();

 private:
  void Fill();
  CameraSample Make(int x, int y, int index) const;

  const FrameView view_;
  const Bucket bucket_;
  const int first_, count_;
  int x_ = 0, y_ = 0, index_ = 0;  // of the next to be made, within the bucket and its samples
  size_t next_ = 0, filled_ = 0;   // of the bundle
  std::array<CameraSample, RenderScene::kBundle> bundle_;
};

}  // namespace kiln::engine::render
