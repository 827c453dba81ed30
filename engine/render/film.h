// The sums of a frame's samples, pixel by pixel.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "engine/image/image.h"
#include "engine/render/session.h"
#include "engine/utilities/math.h"

namespace kiln::engine::render {

struct FilmPixel {
  double r = 0, g = 0, b = 0, a = 0;
  uint32_t samples = 0;

  void Add(Color c, float alpha) {
    r += c.r;
    g += c.g;
    b += c.b;
    a += alpha;
    ++samples;
  }
};

// Any thread. A bucket's writer is the only one that reads it until the next pass, so that Load needs what
// Store wrote in an earlier pass and nothing else.
class Film {
 public:
  // Clears, except when `keep` is set and the size is the same.
  void Resize(int width, int height, bool keep);
  void Clear(const Bucket& bucket);
  int width() const { return width_; }
  int height() const { return height_; }

  void Load(const Bucket& bucket, FilmPixel* pixels) const;
  void Store(const Bucket& bucket, const FilmPixel* pixels);
  // Means of the samples so far; null without memory or before Resize.
  image::Image* MakeImage() const;
  image::Image* MakeImage(const Bucket& part) const;

 private:
  mutable std::mutex mutex_;
  int width_ = 0;
  int height_ = 0;
  std::vector<FilmPixel> pixels_;
};

}  // namespace kiln::engine::render
