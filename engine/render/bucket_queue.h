// The buckets of a pass that are still to be rendered, in the order in which they are handed out.
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "engine/render/session.h"

namespace kiln::engine::render {

// Covers `area` with buckets of `size`, in a spiral from its centre.
std::vector<Bucket> SpiralBuckets(const Bucket& area, int size);

// Any thread.
class BucketQueue {
 public:
  void Fill(std::vector<Bucket> buckets);
  // Forgets the buckets, and the preference.
  void Clear();
  bool Empty() const;
  // False when none is left.
  bool Next(Bucket* bucket);
  // A bucket that was taken and not finished; it comes next.
  void Return(const Bucket& bucket);
  // From now on, in later passes too, the bucket nearest to the pixel comes next.
  void Prefer(int x, int y);

 private:
  void Sort();

  mutable std::mutex mutex_;
  std::deque<Bucket> buckets_;
  std::optional<std::pair<int, int>> preferred_;
};

}  // namespace kiln::engine::render
