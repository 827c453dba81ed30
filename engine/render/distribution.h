// A piecewise constant density over the unit square, sampled by inversion so that stratification survives.
#pragma once

#include <vector>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

class Distribution2D {
 public:
  Distribution2D() = default;
  // `weights` row by row, width * height of them, each finite and not negative.
  Distribution2D(const std::vector<float>& weights, int width, int height);

  bool empty() const { return width_ == 0; }
  // A point of [0, 1)^2 and its density there.
  Vec2 Sample(Vec2 u, float* pdf) const;
  float Pdf(Vec2 point) const;
  // The mean of the weights.
  float mean() const { return mean_; }

 private:
  const float* Row(int y) const { return &conditional_[static_cast<size_t>(y) * (width_ + 1)]; }

  int width_ = 0;
  int height_ = 0;
  float mean_ = 0;
  std::vector<float> conditional_;  // per row: width + 1 cumulative values from 0 to 1
  std::vector<float> marginal_;     // height + 1 cumulative values
};

}  // namespace kiln::engine::render
