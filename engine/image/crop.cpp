// Cutting a rectangle out of an image, mirrored where a side is given as negative.
#include <cstdlib>
#include <cstring>

#include "engine/image/operations.h"

namespace kiln::engine::image {

Image* Crop(const Image& source, int x, int y, int width, int height) noexcept {
  // 64 bits: the absolute value of the smallest int and the sums overflow in 32.
  const int64_t columns = std::llabs(width);
  const int64_t rows = std::llabs(height);
  if (x < 0 || y < 0 || columns == 0 || rows == 0) return nullptr;
  if (x + columns > source.width || y + rows > source.height) return nullptr;

  Image* result = CreateUnfilled(static_cast<int>(columns), static_cast<int>(rows));
  if (!result) return nullptr;
  result->gamma = source.gamma;
  result->straight_alpha = source.straight_alpha;
  for (int row = 0; row < result->height; ++row) {
    const int64_t source_row = height < 0 ? y + rows - 1 - row : y + row;
    const float* from = source.row(static_cast<int>(source_row)) + size_t{4} * x;
    float* to = result->row(row);
    if (width > 0) {
      std::memcpy(to, from, static_cast<size_t>(columns) * 4 * sizeof(float));
      continue;
    }
    for (int64_t column = 0; column < columns; ++column) {
      std::memcpy(to + 4 * column, from + 4 * (columns - 1 - column), 4 * sizeof(float));
    }
  }
  return result;
}

}  // namespace kiln::engine::image
