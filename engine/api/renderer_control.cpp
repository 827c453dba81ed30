// Entry points that run a render and take its picture.
#include <algorithm>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/image/operations.h"

namespace kiln::engine::api {
namespace {

// The part of the frame that the options name: its right and lower edge where they say 0.
image::ImagePtr CropFrame(image::ImagePtr frame, const KilnImageOptions& options) {
  const int left = std::max(options.left, 0);
  const int top = std::max(options.top, 0);
  const int right = options.right ? std::min(options.right, frame->width) : frame->width;
  const int bottom = options.bottom ? std::min(options.bottom, frame->height) : frame->height;
  if (left >= right || top >= bottom) return nullptr;
  const int height = options.flipImage ? top - bottom : bottom - top;
  if (left == 0 && top == 0 && right == frame->width && height == frame->height) return frame;
  return image::ImagePtr(image::Crop(*frame, left, top, right - left, height));
}

void StripAlpha(image::Image& image) {
  float* pixel = image.pixels();
  for (size_t i = 0; i < image.pixel_count(); ++i) pixel[4 * i + 3] = 1;
}

image::ImagePtr Develop(image::ImagePtr frame, const KilnImageOptions& options) {
  if (frame) frame = CropFrame(std::move(frame), options);
  if (!frame) return nullptr;
  if (options.stripAlpha) StripAlpha(*frame);
  if (options.doColorCorrect && !image::ChangeSrgb(*frame, true)) return nullptr;
  return frame;
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_render(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) { return r.Start(false); });
}

int32_t Kiln_KilnRenderer_startSync(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) { return r.Start(true); });
}

int32_t Kiln_KilnRenderer_stop(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) {
    r.Stop();
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getState(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0,
                               [](const Renderer& r) { return static_cast<int32_t>(r.state()); });
}

int32_t Kiln_KilnRenderer_isRenderEnded(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](const Renderer& r) { return !r.rendering(); });
}

int32_t Kiln_KilnRenderer_waitRenderEnd(KilnRendererHandle renderer, int32_t timeout) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) { return r.Wait(timeout); });
}

int32_t Kiln_KilnRenderer_pauseRT(KilnRendererHandle renderer, int32_t pause) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) { return r.SetPaused(pause != 0); });
}

int32_t Kiln_KilnRenderer_getPauseRTStatus(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(
      renderer, 0, [](const Renderer& r) { return r.state() == render::State::kRenderingPaused; });
}

void Kiln_KilnRenderer_bucketRenderNearest(KilnRendererHandle renderer, int32_t x, int32_t y) {
  WithRenderer(renderer, [&](Renderer& r) { r.RenderNearest(x, y); });
}

// The engine has no lighting analysis that could be behind the scene.
int32_t Kiln_KilnRenderer_updateLightingAnalysis(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    r.SetError(static_cast<int32_t>(ApiError::kNoLightingAnalysis));
    return 0;
  });
}

uint64_t Kiln_KilnRenderer_commit(KilnRendererHandle renderer, int32_t force) {
  return WithRenderer<uint64_t>(renderer, 0, [&](Renderer& r) { return r.Commit(force != 0); });
}

uint64_t Kiln_KilnRenderer_getChangeIndex(KilnRendererHandle renderer) {
  return WithRenderer<uint64_t>(renderer, 0, [](const Renderer& r) { return r.ChangeIndex(); });
}

KilnImageHandle Kiln_KilnRenderer_getImage(KilnRendererHandle renderer, const KilnImageOptions* options) {
  return WithRenderer<KilnImageHandle>(renderer, nullptr, [&](const Renderer& r) {
    return Develop(r.Snapshot(), options ? *options : KilnImageOptions{}).release();
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
