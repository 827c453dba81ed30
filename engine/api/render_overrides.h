// Variables of the engine's environment that override a scene's settings when a render starts.
#pragma once

#include "engine/render/session.h"

namespace kiln::engine::api {

// Takes over KILN_RENDER_SAMPLES and KILN_RENDER_TIME_LIMIT where they are numbers above 0, and the camera
// that KILN_RENDER_CAMERA names. False when the scene has no such camera. Takes the scene's lock. Any thread.
bool ApplyOverrides(const scene::Scene& scene, render::RenderOptions* options);

}  // namespace kiln::engine::api
