// Overrides of a scene's settings from the environment.
#include "engine/api/render_overrides.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <shared_mutex>

#include "entry_points.h"

namespace kiln::engine::api {
namespace {

// 0 where the variable is not set or is no number above 0.
template <class Number>
Number PositiveNumber(const char* name) {
  const char* const text = Kiln_getEnvironmentVariable(name);
  if (!text) return 0;
  Number number{};
  const char* const end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, number);
  if (error != std::errc() || rest != end || !(number > 0)) return 0;
  return std::isfinite(static_cast<double>(number)) ? number : 0;
}

}  // namespace

bool ApplyOverrides(const scene::Scene& scene, render::RenderOptions* options) {
  if (const int samples = PositiveNumber<int>("KILN_RENDER_SAMPLES")) options->samples = samples;
  if (const double seconds = PositiveNumber<double>("KILN_RENDER_TIME_LIMIT")) options->time_limit = seconds;
  const char* const name = Kiln_getEnvironmentVariable("KILN_RENDER_CAMERA");
  if (!name || !*name) return true;
  const std::shared_lock lock(scene.mutex);
  const scene::Instance* const camera = scene.FindByName(name);
  if (!camera || !(camera->type->categories & CategoryBit(scene::Category::kRenderView))) return false;
  options->camera = camera->id;
  return true;
}

}  // namespace kiln::engine::api
