// What a render channel reads at the first surface that the camera sees.
#pragma once

#include "engine/render/shading.h"

namespace kiln::engine::render {

// Thread-safe.
class Channel {
 public:
  virtual ~Channel() = default;
  // `distance` is that from the camera to the point.
  virtual Color Evaluate(const ShadingPoint& point, float distance) const = 0;
};

}  // namespace kiln::engine::render
