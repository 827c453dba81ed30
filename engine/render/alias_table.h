// Choice from a discrete distribution in constant time (Walker 1977, built as by Vose 1991).
#pragma once

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

}  // namespace kiln::engine::render
