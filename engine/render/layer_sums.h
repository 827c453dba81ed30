// The layers of one pixel while its samples are added: in double precision, so that the film's floats round
// once a pass and not once a sample.
#pragma once

#include <array>

#include "engine/render/layers.h"

namespace kiln::engine::render {

class LayerSums {
 public:
  // `layers`: what the film has of the pixel so far.
  LayerSums(const LayerLayout& layout, const float* layers) : layout_(layout) {
    if (layout.Has(Layer::kCentre)) centre_ = LoadCentre(layers + layout.OffsetOf(Layer::kCentre));
  }

  // What is not finite, as a material's texture can make it, counts as black.
  void Add(const PathLayers& path) {
    for (int i = 0; i < kMeanLayers; ++i) {
      const Color c = path.means[i];
      if (!IsFinite(c)) continue;
      sums_[3 * i] += c.r;
      sums_[3 * i + 1] += c.g;
      sums_[3 * i + 2] += c.b;
    }
    if (path.centre.nearness > centre_.nearness) centre_ = path.centre;
  }

  void Store(float* layers) const {
    for (int i = 0; i < kMeanLayers; ++i) {
      const auto layer = static_cast<Layer>(i);
      if (!layout_.Has(layer)) continue;
      float* to = layers + layout_.OffsetOf(layer);
      for (int c = 0; c < 3; ++c) to[c] = static_cast<float>(to[c] + sums_[3 * i + c]);
    }
    if (layout_.Has(Layer::kCentre)) StoreCentre(centre_, layers + layout_.OffsetOf(Layer::kCentre));
  }

 private:
  const LayerLayout& layout_;
  std::array<double, 3 * kMeanLayers> sums_{};
  CentreSample centre_;
};

}  // namespace kiln::engine::render
