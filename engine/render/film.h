// The sums of a frame's samples, pixel by pixel.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "engine/image/image.h"
#include "engine/render/layers.h"
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
  int width() const;
  int height() const;

  // Keeps these layers from now on, beside the beauty. Others than until now begin empty; nothing happens
  // when they are the same. Throws std::bad_alloc.
  void KeepLayers(LayerMask layers);
  LayerMask layers() const;

  // `layers`: the layout's floats for each pixel of the bucket; null, or those of the layers that are kept.
  void Load(const Bucket& bucket, FilmPixel* pixels, float* layers = nullptr) const;
  void Store(const Bucket& bucket, const FilmPixel* pixels, const float* layers = nullptr);

  // Means of the samples so far; null without memory or before Resize.
  image::Image* MakeImage() const;
  image::Image* MakeImage(const Bucket& part) const;

  // What stands in a part of the film, row by row; false when the part is not inside it, or the layer is not
  // kept. Means of the samples so far, three floats a pixel.
  bool ReadMeans(Layer layer, const Bucket& part, float* rgb) const;
  bool ReadCentres(const Bucket& part, CentreSample* centres) const;
  bool ReadSampleCounts(const Bucket& part, uint32_t* counts) const;
  // The means of the beauty, four floats a pixel.
  bool ReadBeauty(const Bucket& part, float* rgba) const;

  // Another number after every change of what can be read.
  uint64_t version() const;

 private:
  bool Contains(const Bucket& part) const;
  // What the body makes of each pixel's place; under the lock.
  template <class Body>
  void ForEach(const Bucket& part, Body body) const;
  float* LayersAt(int x, int y) { return &layers_[(static_cast<size_t>(y) * width_ + x) * layout_.stride()]; }

  mutable std::mutex mutex_;
  int width_ = 0;
  int height_ = 0;
  uint64_t version_ = 0;
  std::vector<FilmPixel> pixels_;
  LayerLayout layout_;
  std::vector<float> layers_;
};

}  // namespace kiln::engine::render
