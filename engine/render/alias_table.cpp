// Building and sampling of alias tables.
#include "engine/render/alias_table.h"

#include <algorithm>
#include <cmath>

namespace kiln::engine::render {

AliasTable::AliasTable(std::span<const float> weights) : entries_(weights.size()) {
  const size_t n = weights.size();
  if (n == 0) return;
  std::vector<double> scaled(n);
  double sum = 0;
  for (size_t i = 0; i < n; ++i) {
    scaled[i] = std::isfinite(weights[i]) && weights[i] > 0 ? weights[i] : 0;
    sum += scaled[i];
  }
  if (sum <= 0) {
    std::fill(scaled.begin(), scaled.end(), 1.0);
    sum = static_cast<double>(n);
  }
  std::vector<uint32_t> small;
  std::vector<uint32_t> large;
  for (size_t i = 0; i < n; ++i) {
    entries_[i].probability = static_cast<float>(scaled[i] / sum);
    entries_[i].alias = static_cast<uint32_t>(i);
    scaled[i] *= static_cast<double>(n) / sum;
    (scaled[i] < 1 ? small : large).push_back(static_cast<uint32_t>(i));
  }
  while (!small.empty() && !large.empty()) {
    const uint32_t low = small.back();
    const uint32_t high = large.back();
    small.pop_back();
    entries_[low].threshold = static_cast<float>(scaled[low]);
    entries_[low].alias = high;
    scaled[high] -= 1 - scaled[low];
    if (scaled[high] < 1) {
      large.pop_back();
      small.push_back(high);
    }
  }
  // What rounding left over in `small` must not have weight zero turned into a certainty.
  for (const uint32_t i : small) {
    if (entries_[i].probability == 0) {
      entries_[i].threshold = 0;
      entries_[i].alias = static_cast<uint32_t>(
          std::max_element(entries_.begin(), entries_.end(),
                           [](const Entry& a, const Entry& b) { return a.probability < b.probability; }) -
          entries_.begin());
    }
  }
}

}  // namespace kiln::engine::render
