// Frames of a sequence: order, steps, and the ends of the integers.
#include "engine/render/sequence.h"

#include <gtest/gtest.h>

#include <climits>

namespace kiln::engine::render {
namespace {

std::vector<int> Frames(std::vector<FrameRange> ranges) {
  FrameSequence sequence(std::move(ranges));
  const int64_t size = sequence.size();
  std::vector<int> frames;
  while (const auto frame = sequence.Next()) frames.push_back(*frame);
  EXPECT_EQ(static_cast<int64_t>(frames.size()), size);
  EXPECT_EQ(sequence.taken(), size);
  EXPECT_TRUE(sequence.AtEnd());
  return frames;
}

TEST(FrameSequence, WalksRangeAfterRange) {
  EXPECT_EQ(Frames({{1, 1, 0}, {4, 8, 2}, {2, 3, 1}}), (std::vector<int>{1, 4, 6, 8, 2, 3}));
  EXPECT_EQ(Frames({}), (std::vector<int>{}));
}

TEST(FrameSequence, AStepOfZeroCountsAsOne) {
  EXPECT_EQ(Frames({{3, 5, 0}}), (std::vector<int>{3, 4, 5}));
}

TEST(FrameSequence, RunsBackwardsWhereTheEndComesFirst) {
  EXPECT_EQ(Frames({{8, 4, -2}}), (std::vector<int>{8, 6, 4}));
  EXPECT_EQ(Frames({{8, 4, 3}}), (std::vector<int>{8, 5}));
  EXPECT_EQ(Frames({{1, -1, 0}}), (std::vector<int>{1, 0, -1}));
}

TEST(FrameSequence, TheSignOfAStepDoesNotTurnARangeRound) {
  EXPECT_EQ(Frames({{4, 8, -2}}), (std::vector<int>{4, 6, 8}));
}

TEST(FrameSequence, StopsBeforeAnEndThatAStepPasses) {
  EXPECT_EQ(Frames({{0, 10, 4}}), (std::vector<int>{0, 4, 8}));
}

TEST(FrameSequence, ReachesTheEndsOfTheIntegers) {
  EXPECT_EQ(Frames({{INT_MIN, INT_MAX, INT_MIN}}), (std::vector<int>{INT_MIN, 0}));
  EXPECT_EQ(Frames({{INT_MAX, INT_MAX, INT_MAX}}), (std::vector<int>{INT_MAX}));
  const FrameSequence all({{INT_MIN, INT_MAX, 1}});
  EXPECT_EQ(all.size(), int64_t{1} << 32);
}

}  // namespace
}  // namespace kiln::engine::render
