// The spiral, and handing out of buckets.
#include "engine/render/bucket_queue.h"

#include <algorithm>
#include <cstdint>

namespace kiln::engine::render {
namespace {

int64_t DistanceSquared(const Bucket& b, std::pair<int, int> to) {
  const int64_t dx = 2 * int64_t{b.x} + b.width - 2 * int64_t{to.first};
  const int64_t dy = 2 * int64_t{b.y} + b.height - 2 * int64_t{to.second};
  return dx * dx + dy * dy;
}

}  // namespace

std::vector<Bucket> SpiralBuckets(const Bucket& area, int size) {
  const int columns = (area.width + size - 1) / size;
  const int rows = (area.height + size - 1) / size;
  const size_t total = static_cast<size_t>(columns) * rows;
  std::vector<Bucket> buckets;
  buckets.reserve(total);
  int x = (columns - 1) / 2;
  int y = (rows - 1) / 2;
  int dx = 1;
  int dy = 0;
  // Arms of length 1, 1, 2, 2, 3, 3, ...; places outside the area are walked over.
  for (int arm = 0; buckets.size() < total; ++arm) {
    for (int step = 0; step < arm / 2 + 1; ++step) {
      if (x >= 0 && x < columns && y >= 0 && y < rows) {
        buckets.push_back({area.x + x * size, area.y + y * size, std::min(size, area.width - x * size),
                           std::min(size, area.height - y * size)});
      }
      x += dx;
      y += dy;
    }
    const int turned = -dy;
    dy = dx;
    dx = turned;
  }
  return buckets;
}

void BucketQueue::Fill(std::vector<Bucket> buckets) {
  const std::scoped_lock lock(mutex_);
  buckets_.assign(buckets.begin(), buckets.end());
  Sort();
}

void BucketQueue::Clear() {
  const std::scoped_lock lock(mutex_);
  buckets_.clear();
  preferred_.reset();
}

bool BucketQueue::Empty() const {
  const std::scoped_lock lock(mutex_);
  return buckets_.empty();
}

bool BucketQueue::Next(Bucket* bucket) {
  const std::scoped_lock lock(mutex_);
  if (buckets_.empty()) return false;
  *bucket = buckets_.front();
  buckets_.pop_front();
  return true;
}

void BucketQueue::Return(const Bucket& bucket) {
  const std::scoped_lock lock(mutex_);
  buckets_.push_front(bucket);
}

void BucketQueue::Prefer(int x, int y) {
  const std::scoped_lock lock(mutex_);
  preferred_ = {x, y};
  Sort();
}

void BucketQueue::Sort() {
  if (!preferred_) return;
  std::stable_sort(buckets_.begin(), buckets_.end(), [this](const Bucket& a, const Bucket& b) {
    return DistanceSquared(a, *preferred_) < DistanceSquared(b, *preferred_);
  });
}

}  // namespace kiln::engine::render
