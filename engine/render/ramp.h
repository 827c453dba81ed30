// A curve through points, for ramps of numbers and colours.
#pragma once

#include <algorithm>

#include "engine/scene/value.h"

namespace kiln::engine::render {

template <class T>
class Ramp {
 public:
  // Interpolation: 0 steps, 1 straight lines, 2 smooth steps. False, and nothing changes, when the lists are
  // empty, of different lengths, or the positions fall somewhere.
  bool Set(const scene::FloatArray& positions, const scene::Array<T>& values, int interpolation) {
    if (positions.empty() || positions.size() != values.size()) return false;
    for (size_t i = 0; i < positions.size(); ++i) {
      if (i == 0 ? positions[0] != positions[0] : !(positions[i] >= positions[i - 1])) return false;
    }
    positions_ = positions;
    values_ = values;
    interpolation_ = interpolation;
    return true;
  }

  // Flat before the first point and after the last; what is not a number counts as before the first.
  T At(float x) const {
    const float* next = std::upper_bound(positions_.begin(), positions_.end(), x);
    if (!(x == x) || next == positions_.begin()) return values_[0];
    if (next == positions_.end()) return values_[values_.size() - 1];
    const size_t i = static_cast<size_t>(next - positions_.begin());
    float t = (x - positions_[i - 1]) / (positions_[i] - positions_[i - 1]);
    if (interpolation_ == 0) t = 0;
    if (interpolation_ == 2) t = t * t * (3 - 2 * t);
    return values_[i - 1] * (1 - t) + values_[i] * t;
  }

 private:
  scene::FloatArray positions_;
  scene::Array<T> values_;
  int interpolation_ = 1;
};

}  // namespace kiln::engine::render
