// The entry point that chooses between speed and quality: one number in place of a handful of settings.
#include <string_view>

#include "engine/api/property_access.h"

namespace kiln::engine::api {
namespace {

using scene::PluginId;
using scene::Scene;

struct Preset {
  int32_t samples;
  int32_t max_depth;
  int32_t min_depth;
  float clamp;
};

// Draft, low, medium, high, very high. Four times the samples are half the noise; a limit on single samples
// takes the bright specks out of the quick ones, at the price of some light.
constexpr Preset kPresets[] = {
    {16, 4, 2, 10}, {64, 8, 3, 20}, {256, 12, 3, 0}, {1024, 16, 4, 0}, {4096, 32, 6, 0},
};

// The scene's settings of that class, made when there are none; kNoPlugin only without such a class.
PluginId SettingsOf(Scene& scene, std::string_view class_name) {
  const scene::PluginClass* type = scene::FindClass(class_name);
  if (!type) return scene::kNoPlugin;
  const auto ids = scene.Ids(type);
  PluginId id = ids.empty() ? scene::kNoPlugin : ids.front();
  if (ids.empty()) scene.Create(*type, {}, &id);
  return id;
}

bool Apply(Scene& scene, const Preset& preset) {
  const PluginId sampler = SettingsOf(scene, "SettingsSampler");
  const PluginId integrator = SettingsOf(scene, "SettingsIntegrator");
  return scene.Set(sampler, "samples", preset.samples) &&
         scene.Set(integrator, "maxDepth", preset.max_depth) &&
         scene.Set(integrator, "minDepth", preset.min_depth) && scene.Set(integrator, "clamp", preset.clamp);
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_setImprovedDefaults(KilnRendererHandle renderer, int32_t level) {
  if (level < 0 || static_cast<size_t>(level) >= std::size(kPresets)) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    return ChangeScene(r, true, [&](Scene& scene) { return Apply(scene, kPresets[level]); });
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
