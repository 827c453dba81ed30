// Preparation of a render.
#include "engine/render/render_job.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "engine/render/threads.h"

namespace kiln::engine::render {
namespace {

Bucket Intersection(const Bucket& a, const Bucket& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  const int64_t right = std::min(int64_t{a.x} + a.width, int64_t{b.x} + b.width);
  const int64_t bottom = std::min(int64_t{a.y} + a.height, int64_t{b.y} + b.height);
  return {left, top, static_cast<int>(std::max<int64_t>(0, right - left)),
          static_cast<int>(std::max<int64_t>(0, bottom - top))};
}

bool IsWindow(const RegionF& crop) {
  return std::isfinite(crop.left) && std::isfinite(crop.top) && std::isfinite(crop.width) &&
         std::isfinite(crop.height) && crop.width > 0 && crop.height > 0;
}

// Empty when the size is none.
Bucket AreaOf(const RenderOptions& options, int width, int height) {
  if (width <= 0 || height <= 0 || width > image::kMaxSide || height > image::kMaxSide) return {};
  const Bucket whole{0, 0, width, height};
  return options.region ? Intersection(whole, *options.region) : whole;
}

}  // namespace

RenderError BuildJob(const scene::Scene& scene, SceneBuilder& builder, RenderListener& listener,
                     RenderJob* job) {
  const RenderOptions& options = job->options;
  const BuildRequest request{options.time, options.camera, options.scene_folder};
  const auto log = [&](int level, std::string_view text) { listener.OnLog(level, text); };
  const int workers = WorkerCount(options.threads);
  std::shared_ptr<const RenderScene> built;
  RunInArena(workers, [&] { built = builder.Build(scene, request, log); });
  if (built->camera == nullptr) {
    log(0, "There is no camera in the scene");
    return RenderError::kNoCamera;
  }
  const int width = options.width != 0 ? options.width : built->settings.width;
  const int height = options.height != 0 ? options.height : built->settings.height;
  const Bucket area = AreaOf(options, width, height);
  if (area.width <= 0 || area.height <= 0 || (options.crop && !IsWindow(*options.crop))) {
    log(0, fmt::format("The image of {} x {} pixels, or the part of it to render, is empty", width, height));
    return RenderError::kEmptyImage;
  }
  job->frame = std::make_unique<FrameRenderer>(built, width, height, options.crop);
  job->scene = std::move(built);
  job->area = area;
  job->width = width;
  job->height = height;
  job->workers = workers;
  return RenderError::kNone;
}

int SampleLimit(const RenderOptions& options, const RenderSettings& settings) {
  if (options.mode == Mode::kInteractive && options.endless) return INT_MAX;
  return options.samples > 0 ? options.samples : settings.samples;
}

double TimeLimit(const RenderOptions& options, const RenderSettings& settings) {
  return options.time_limit > 0 ? options.time_limit : settings.time_limit;
}

}  // namespace kiln::engine::render
