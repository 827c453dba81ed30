// The frames of a sequence, in the order in which they are rendered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kiln::engine::render {

// From first towards last, whichever is larger; the sign of the step means nothing, and 0 counts as 1.
struct FrameRange {
  int first = 0, last = 0, step = 1;
};

class FrameSequence {
 public:
  FrameSequence() = default;
  explicit FrameSequence(std::vector<FrameRange> ranges) : ranges_(std::move(ranges)) {}

  // The frame that comes next; nothing after the last.
  std::optional<int> Next();
  bool AtEnd() const { return range_ == ranges_.size(); }
  // How many frames there are, and how many Next has given.
  int64_t size() const;
  int64_t taken() const { return taken_; }

 private:
  std::vector<FrameRange> ranges_;
  size_t range_ = 0;
  int64_t index_ = 0;  // within the range
  int64_t taken_ = 0;
};

}  // namespace kiln::engine::render
