// What a session shows: its film or, until that holds a first pass of the scene as it is now, a coarse
// picture of it.
#pragma once

#include <memory>
#include <mutex>

#include "engine/image/image.h"
#include "engine/render/film.h"

namespace kiln::engine::render {

// Any thread; the film by its own rules.
class Picture {
 public:
  Film film;

  // Each pixel of `coarse` stands for `step` x `step` pixels of `area`, counted from the frame's corner.
  void ShowCoarse(image::ImagePtr coarse, int step, const Bucket& area);
  void ShowFilm();
  // Null without memory, or when nothing was rendered.
  image::Image* MakeImage() const;

 private:
  struct Coarse {
    image::ImagePtr image;
    int step = 1;
    Bucket area;
  };
  mutable std::mutex mutex_;
  std::shared_ptr<const Coarse> coarse_;
};

}  // namespace kiln::engine::render
