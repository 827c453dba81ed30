// Where the pixels of a picture lie on the camera's screen.
#pragma once

#include <optional>

#include "engine/render/session.h"
#include "engine/utilities/math.h"

namespace kiln::engine::render {

struct ImageWindow {
  // `crop`: the window of the whole camera image that fills the picture. Pixels stay square: the whole camera
  // image is as much larger than the picture as the window is smaller than it.
  ImageWindow(int width, int height, const std::optional<RegionF>& crop) {
    const RegionF window = crop ? *crop : RegionF{0, 0, 1, 1};
    aspect = (static_cast<float>(width) / window.width) / (static_cast<float>(height) / window.height);
    scale = {2 * window.width / static_cast<float>(width), -2 * window.height / static_cast<float>(height)};
    shift = {2 * window.left - 1, 1 - 2 * window.top};
    pixel_height = window.height / static_cast<float>(height);
  }

  // From pixels, the centre of the first one at 0.5, to what Camera::Generate takes.
  Vec2 ToScreen(Vec2 pixel) const { return {pixel.x * scale.x + shift.x, pixel.y * scale.y + shift.y}; }

  Vec2 scale, shift;
  float aspect = 1;
  float pixel_height = 0;  // as a fraction of the camera image's height
};

}  // namespace kiln::engine::render
