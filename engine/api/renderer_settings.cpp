// Entry points of a renderer's settings: mode, threads, size, regions, cameras, time.
#include <algorithm>
#include <climits>
#include <cmath>
#include <shared_mutex>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

// The modes that need a GPU, by the numbers of the boundary.
constexpr bool IsGpuMode(int32_t mode) {
  return mode == 4 || mode == 7 || mode == 104 || mode == 107;
}

// Refuses with the reason as the last error.
int32_t Refuse(Renderer& renderer, ApiError error) {
  renderer.SetError(static_cast<int32_t>(error));
  return 0;
}

// Changes settings that an interactive render takes over at once.
template <class F>
void Change(Renderer& renderer, F&& body) {
  renderer.WithSettings(body);
  renderer.SettingsChanged();
}

void SetTime(Renderer& renderer, double time) {
  Change(renderer, [&](Settings& settings) { settings.time = time; });
}

bool IsRegion(const KilnCropRegion& crop) {
  const float sides[] = {crop.rgnLeft, crop.rgnTop, crop.rgnWidth, crop.rgnHeight};
  for (const float side : sides) {
    if (!std::isfinite(side)) return false;
  }
  return crop.srcWidth > 0 && crop.srcHeight > 0 && crop.rgnWidth > 0 && crop.rgnHeight > 0;
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_setRenderMode(KilnRendererHandle renderer, int32_t mode) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    if (IsGpuMode(mode)) return Refuse(r, ApiError::kNoGpu);
    const auto known = static_cast<render::Mode>(mode);
    if (known != render::Mode::kProduction && known != render::Mode::kInteractive) {
      return Refuse(r, ApiError::kUnknownRenderMode);
    }
    if (r.rendering()) return Refuse(r, ApiError::kNotWhileRendering);
    r.WithSettings([&](Settings& settings) { settings.mode = known; });
    return 1;
  });
}

int32_t Kiln_KilnRenderer_getRenderMode(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    return r.WithSettings([](const Settings& settings) { return static_cast<int32_t>(settings.mode); });
  });
}

// 0: no number of samples ends a refinement.
int32_t Kiln_KilnRenderer_setInteractiveSampleLevel(KilnRendererHandle renderer, int32_t level) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (level < 0) return 1;
    Change(r, [&](Settings& settings) { settings.interactive_samples = level; });
    return 0;
  });
}

// In milliseconds.
int32_t Kiln_KilnRenderer_setInteractiveTimeout(KilnRendererHandle renderer, int32_t timeout) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (timeout < 0) return 1;
    Change(r, [&](Settings& settings) { settings.interactive_seconds = timeout / 1000.0; });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_setInteractiveNoiseThreshold(KilnRendererHandle renderer, float threshold) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (!std::isfinite(threshold) || threshold < 0) return 1;
    Change(r, [&](Settings& settings) { settings.noise_threshold = threshold; });
    return 0;
  });
}

// What holds from now on: the value, or the one before when there is no such difference.
float Kiln_KilnRenderer_setRTImageUpdateDifference(KilnRendererHandle renderer, float difference) {
  return WithRenderer<float>(renderer, 0, [&](Renderer& r) {
    if (std::isfinite(difference) && difference >= 0) {
      Change(r, [&](Settings& settings) { settings.update_difference = difference; });
    }
    return r.WithSettings([](const Settings& settings) { return settings.update_difference; });
  });
}

// The same; in milliseconds.
int32_t Kiln_KilnRenderer_setRTImageUpdateTimeout(KilnRendererHandle renderer, int64_t timeout) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    if (timeout >= 0) {
      const auto limited = static_cast<int32_t>(std::min<int64_t>(timeout, INT_MAX));
      Change(r, [&](Settings& settings) { settings.update_timeout = limited; });
    }
    return r.WithSettings([](const Settings& settings) { return settings.update_timeout; });
  });
}

int32_t Kiln_KilnRenderer_setKeepInteractiveRunning(KilnRendererHandle renderer, int32_t keep) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    Change(r, [&](Settings& settings) { settings.keep_running = keep != 0; });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getKeepInteractiveRunning(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    return r.WithSettings([](const Settings& settings) { return settings.keep_running; });
  });
}

int32_t Kiln_KilnRenderer_setNumThreads(KilnRendererHandle renderer, int32_t threads) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    if (r.rendering()) return Refuse(r, ApiError::kNotWhileRendering);
    r.WithSettings([&](Settings& settings) { settings.threads = threads > 0 ? threads : 0; });
    return 1;
  });
}

int32_t Kiln_KilnRenderer_getNumThreads(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    return r.WithSettings([](const Settings& settings) { return settings.threads; });
  });
}

// The engine renders in the host's process and nowhere else.
int32_t Kiln_KilnRenderer_setInProcess(KilnRendererHandle renderer, int32_t in_process) {
  return WithRenderer<int32_t>(renderer, 0, [&](const Renderer& r) { return in_process && !r.rendering(); });
}

int32_t Kiln_KilnRenderer_getInProcess(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](const Renderer&) { return 1; });
}

int32_t Kiln_KilnRenderer_setCurrentTime(KilnRendererHandle renderer, double time) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (!std::isfinite(time)) return 1;
    SetTime(r, time);
    return 0;
  });
}

double Kiln_KilnRenderer_getCurrentTime(KilnRendererHandle renderer) {
  return WithRenderer<double>(renderer, 0, [](Renderer& r) {
    return r.WithSettings([](const Settings& settings) { return settings.time; });
  });
}

int32_t Kiln_KilnRenderer_setCurrentFrame(KilnRendererHandle renderer, int32_t frame) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    SetTime(r, frame);
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getCurrentFrame(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    const double time = r.WithSettings([](const Settings& settings) { return settings.time; });
    return static_cast<int32_t>(std::clamp<double>(std::floor(time), INT_MIN, INT_MAX));
  });
}

int32_t Kiln_KilnRenderer_setAnimateProperties(KilnRendererHandle renderer, int32_t animate) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    r.WithSettings([&](Settings& settings) { settings.animate = animate != 0; });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getAnimateProperties(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    return r.WithSettings([](const Settings& settings) { return settings.animate; });
  });
}

int32_t Kiln_KilnRenderer_getImageSize(KilnRendererHandle renderer, int32_t* width, int32_t* height) {
  return WithRenderer<int32_t>(renderer, 1, [&](const Renderer& r) {
    const ImageSize size = r.GetImageSize();
    if (width) *width = size.width;
    if (height) *height = size.height;
    return 0;
  });
}

int32_t Kiln_KilnRenderer_setImageSize(KilnRendererHandle renderer, int32_t width, int32_t height) {
  return Kiln_KilnRenderer_setImageSizeEx(renderer, width, height,
                                          KILN_KEEP_CROP_REGION | KILN_KEEP_RENDER_REGION);
}

int32_t Kiln_KilnRenderer_setImageSizeEx(KilnRendererHandle renderer, int32_t width, int32_t height,
                                         int32_t flags) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    const auto is_side = [](int32_t side) { return side > 0 && side <= image::kMaxSide; };
    if (!is_side(width) || !is_side(height) || int64_t{width} * height > image::kMaxPixels) return 1;
    r.SetImageSize({width, height});
    Change(r, [&](Settings& settings) {
      if (!(flags & KILN_KEEP_CROP_REGION)) settings.crop.reset();
      if (!(flags & KILN_KEEP_RENDER_REGION)) settings.region.reset();
    });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getRenderRegion(KilnRendererHandle renderer, KilnRenderRegion* region) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const auto current = r.WithSettings([](const Settings& settings) { return settings.region; });
    if (current && region) *region = *current;
    return current.has_value();
  });
}

// A region without pixels is how a host takes the region away.
int32_t Kiln_KilnRenderer_setRenderRegion(KilnRendererHandle renderer, const KilnRenderRegion* region) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    const bool any = region && region->width > 0 && region->height > 0;
    Change(r, [&](Settings& settings) {
      settings.region = any ? std::optional<KilnRenderRegion>(*region) : std::nullopt;
    });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_getCropRegion(KilnRendererHandle renderer, KilnCropRegion* region) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const auto current = r.WithSettings([](const Settings& settings) { return settings.crop; });
    if (current && region) *region = *current;
    return current.has_value();
  });
}

int32_t Kiln_KilnRenderer_setCropRegion(KilnRendererHandle renderer, const KilnCropRegion* region) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    const bool any = region && IsRegion(*region);
    Change(r, [&](Settings& settings) {
      settings.crop = any ? std::optional<KilnCropRegion>(*region) : std::nullopt;
    });
    return 0;
  });
}

int32_t Kiln_KilnRenderer_setCurrentCamera(KilnRendererHandle renderer, const char* name) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (!name) return Kiln_KilnRenderer_setCurrentCameraByID(renderer, KILN_NO_PLUGIN);
    scene::PluginId camera = scene::kNoPlugin;
    {
      const std::shared_lock lock(r.scene.mutex);
      if (const scene::Instance* instance = r.scene.FindByName(name)) camera = instance->id;
    }
    if (camera == scene::kNoPlugin) {
      Refuse(r, ApiError::kNoSuchCamera);
      return 1;
    }
    return Kiln_KilnRenderer_setCurrentCameraByID(renderer, camera);
  });
}

// No plugin means the scene's own choice again, as a null name does.
int32_t Kiln_KilnRenderer_setCurrentCameraByID(KilnRendererHandle renderer, KilnPluginId camera) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (camera != 0 && camera != KILN_NO_PLUGIN) {
      const std::shared_lock lock(r.scene.mutex);
      const scene::Instance* instance = r.scene.Find(camera);
      if (!instance || !(instance->type->categories & CategoryBit(scene::Category::kRenderView))) {
        Refuse(r, ApiError::kNoSuchCamera);
        return 1;
      }
    }
    Change(r, [&](Settings& settings) {
      settings.camera = camera ? camera : KILN_NO_PLUGIN;
      settings.camera_name.reset();
    });
    return 0;
  });
}

KilnPluginId Kiln_KilnRenderer_getCurrentCamera(KilnRendererHandle renderer) {
  return WithRenderer<KilnPluginId>(renderer, KILN_NO_PLUGIN,
                                    [](const Renderer& r) { return r.CurrentCamera(); });
}

// A name may be set before the scene has the camera: it is looked up when a render begins.
int32_t Kiln_KilnRenderer_setCameraName(KilnRendererHandle renderer, const char* name) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    Change(r, [&](Settings& settings) {
      settings.camera = KILN_NO_PLUGIN;
      settings.camera_name = name ? std::optional<std::string>(name) : std::nullopt;
    });
    return 0;
  });
}

const char* Kiln_KilnRenderer_getCameraName(KilnRendererHandle renderer) {
  return WithRenderer<const char*>(renderer, nullptr, [](Renderer& r) {
    const auto name = r.WithSettings([](const Settings& settings) { return settings.camera_name; });
    return name ? r.Keep(*name) : nullptr;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
