// Laying the coarse picture over the film.
#include "engine/render/picture.h"

#include <algorithm>

namespace kiln::engine::render {

void Picture::ShowCoarse(image::ImagePtr coarse, int step, const Bucket& area) {
  if (!coarse) return;
  auto shown = std::make_shared<Coarse>();
  shown->image = std::move(coarse);
  shown->step = step;
  shown->area = area;
  const std::scoped_lock lock(mutex_);
  coarse_ = std::move(shown);
}

void Picture::ShowFilm() {
  const std::scoped_lock lock(mutex_);
  coarse_.reset();
}

image::Image* Picture::MakeImage() const {
  std::shared_ptr<const Coarse> coarse;
  {
    const std::scoped_lock lock(mutex_);
    coarse = coarse_;
  }
  image::Image* const image = film.MakeImage();
  if (!image || !coarse) return image;
  const Bucket& area = coarse->area;
  const int right = std::min(area.x + area.width, image->width);
  const int bottom = std::min(area.y + area.height, image->height);
  for (int y = area.y; y < bottom; ++y) {
    const float* const from = coarse->image->row(y / coarse->step);
    float* const to = image->row(y);
    for (int x = area.x; x < right; ++x) std::copy_n(from + 4 * (x / coarse->step), 4, to + 4 * x);
  }
  return image;
}

}  // namespace kiln::engine::render
