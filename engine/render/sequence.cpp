// Walking through ranges of frames.
#include "engine/render/sequence.h"

#include <algorithm>
#include <cstdlib>

namespace kiln::engine::render {
namespace {

int64_t Stride(const FrameRange& range) {
  return std::max<int64_t>(1, std::llabs(int64_t{range.step}));
}

int64_t Count(const FrameRange& range) {
  return std::llabs(int64_t{range.last} - range.first) / Stride(range) + 1;
}

}  // namespace

std::optional<int> FrameSequence::Next() {
  if (AtEnd()) return {};
  const FrameRange& range = ranges_[range_];
  const int64_t way = index_ * Stride(range);
  const int64_t frame = range.last >= range.first ? range.first + way : range.first - way;
  if (++index_ == Count(range)) {
    ++range_;
    index_ = 0;
  }
  ++taken_;
  return static_cast<int>(frame);
}

int64_t FrameSequence::size() const {
  int64_t total = 0;
  for (const FrameRange& range : ranges_) total += Count(range);
  return total;
}

}  // namespace kiln::engine::render
