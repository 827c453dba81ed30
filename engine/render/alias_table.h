// Choice from a discrete distribution in constant time (Walker 1977, built as by Vose 1991).
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace kiln::engine::render {

class AliasTable {
 public:
  AliasTable() = default;
  // Negative, infinite and NaN weights count as zero; when all are zero every entry is equally probable.
  explicit AliasTable(std::span<const float> weights);

  bool empty() const { return entries_.empty(); }
  size_t size() const { return entries_.size(); }
  // The index chosen by u in [0, 1); u comes back stretched to [0, 1) again.
  uint32_t Sample(float* u) const;
  float Probability(uint32_t index) const { return entries_[index].probability; }

 private:
  struct Entry {
    float threshold = 1;  // below it the entry itself, above it the alias
    uint32_t alias = 0;
    float probability = 0;
  };
  std::vector<Entry> entries_;
};

// Every light sample comes here, twice when the light is a mesh. Which side of the threshold u falls on is
// chance, so both sides take the same steps.
inline uint32_t AliasTable::Sample(float* u) const {
  constexpr float kBelowOne = 0x1.fffffep-1f;
  const auto last = static_cast<int32_t>(entries_.size()) - 1;
  if (last == 0) return 0;
  const float scaled = *u * static_cast<float>(last + 1);
  const int32_t index = std::min(static_cast<int32_t>(scaled), last);
  const float rest = std::min(scaled - static_cast<float>(index), kBelowOne);
  const Entry& entry = entries_[index];
  const uint32_t above = rest < entry.threshold ? 0 : ~0u;
  const float begin = above != 0 ? entry.threshold : 0;
  const float end = above != 0 ? 1 : entry.threshold;
  *u = std::min((rest - begin) / (end - begin), kBelowOne);
  return (static_cast<uint32_t>(index) & ~above) | (entry.alias & above);
}

}  // namespace kiln::engine::render
