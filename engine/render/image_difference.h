// How much two pictures differ.
#pragma once

#include "engine/image/image.h"
#include "engine/render/session.h"

namespace kiln::engine::render {

// The mean over the pixels of the area of |b - a|, relative to the pixel's brightness: 0 for equal pictures,
// 1 where every pixel doubled, say. Infinite when the pictures are of different sizes.
double RelativeDifference(const image::Image& a, const image::Image& b, const Bucket& area);

}  // namespace kiln::engine::render
