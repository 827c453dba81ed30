// Entry points of caches and of what other engines keep in files.
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/render/texture_cache.h"

namespace kiln::engine::api {
namespace {

// Light is found path by path for each pixel anew: there is no map, cache or photon to be kept.
int32_t NothingToSave(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    r.SetError(static_cast<int32_t>(ApiError::kNoLightCache));
    return 0;
  });
}

}  // namespace

void Renderer::KeepBitmaps(bool keep) {
  const std::lock_guard lock(mutex_);
  if (keep != keeps_bitmaps_) render::KeepTextures(keep);
  keeps_bitmaps_ = keep;
}

extern "C" {

int32_t Kiln_KilnRenderer_saveIrradianceMapFile(KilnRendererHandle renderer, const char*) {
  return NothingToSave(renderer);
}

int32_t Kiln_KilnRenderer_saveLightCacheFile(KilnRendererHandle renderer, const char*) {
  return NothingToSave(renderer);
}

int32_t Kiln_KilnRenderer_savePhotonMapFile(KilnRendererHandle renderer, const char*) {
  return NothingToSave(renderer);
}

int32_t Kiln_KilnRenderer_saveCausticsFile(KilnRendererHandle renderer, const char*) {
  return NothingToSave(renderer);
}

// A render that was stopped begins anew, so only doing without can be asked for.
int32_t Kiln_KilnRenderer_setResumableRendering(KilnRendererHandle renderer, int32_t enable,
                                                const KilnResumableOptions*) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    if (enable) r.SetError(static_cast<int32_t>(ApiError::kNotResumable));
    return enable == 0;
  });
}

// Decoded images that no scene shows any more are kept for the next one.
int32_t Kiln_KilnRenderer_setBitmapCache(KilnRendererHandle renderer, int32_t enable) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    r.KeepBitmaps(enable != 0);
    return 1;
  });
}

// The engine has no profiler: it says what a render takes in its statistics.
int32_t Kiln_KilnRenderer_setKilnProfiler(KilnRendererHandle renderer, const KilnProfilerOptions* options) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const bool wanted = options && options->mode != 0;
    if (wanted) r.SetError(static_cast<int32_t>(ApiError::kNoProfiler));
    return !wanted;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
