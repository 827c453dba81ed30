// The entry point of the denoiser on demand.
#include <algorithm>

#include "engine/api/element_access.h"
#include "engine/api/registry.h"

namespace kiln::engine::api {
namespace {

// What the scene's own element says, or else as much as can go.
float StrengthOf(const Renderer& renderer) {
  for (const scene::PluginId id :
       ElementPlugins(renderer, static_cast<int32_t>(render::ElementType::kDenoised))) {
    const auto plugin = FindElementPlugin(renderer, id, -1);
    if (plugin && plugin->enabled) return plugin->strength;
  }
  return 1;
}

}  // namespace

extern "C" {

// A blocking request is answered before this returns; one that fails is not answered at all. Any other is
// answered by a thread of the renderer, with null when it is interrupted.
int32_t Kiln_KilnRenderer_denoiseNow(KilnRendererHandle renderer, KilnDenoiseRequest* request) {
  if (!request) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const std::shared_ptr<const render::Film> film = r.Film();
    if (!film || film->width() == 0) return false;
    const float strength = StrengthOf(r);
    const int threads = r.WithSettings([](const Settings& settings) { return settings.threads; });
    const KilnDenoiseCompletion completion = request->completion;
    if (request->blocking == 0) {
      return r.denoiser.Start(film, strength, threads, [completion, request](image::ImagePtr image) {
        if (completion) completion(image.release(), request);
      });
    }
    image::ImagePtr image = r.denoiser.Run(film, strength, threads);
    if (!image) return false;
    if (completion) completion(image.release(), request);
    return true;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
