// How entry points reach the render elements of a scene and the pixels that a render keeps for them.
#pragma once

#include <optional>

#include "engine/api/renderer_object.h"
#include "engine/render/elements.h"
#include "entry_points.h"

namespace kiln::engine::api {

// The element that an instance asks for; null for one that asks for none. Under the scene's lock.
const render::Element* ElementOf(const scene::Instance& instance);

// A plugin of the scene that asks for an element, as it was when it was looked up.
struct ElementPlugin {
  scene::PluginId id = scene::kNoPlugin;
  const render::Element* element = nullptr;
  std::string name;    // what it is called in lists and files, never empty
  float near = 0;      // z_depth
  float far = 0;       // z_depth
  float strength = 1;  // denoised
  bool enabled = true;
};
// `type`: what it must be, or anything where that is negative. Nothing for an instance that is no element or
// another one.
std::optional<ElementPlugin> FindElementPlugin(const Renderer& renderer, scene::PluginId id, int32_t type);
// In order of creation; of one type, or of all when it is negative.
std::vector<scene::PluginId> ElementPlugins(const Renderer& renderer, int32_t type);

// The pixels in a region of the frame; the whole of it for null or a region of zeros. Nothing when there is
// no frame yet, the region is not inside it, or the render does not keep the element. An element that is
// denoised is filtered first, which takes its time.
std::optional<render::ElementPixels> ReadPixels(Renderer& renderer, const ElementPlugin& plugin,
                                                const RenderElementRegion* region);

}  // namespace kiln::engine::api
