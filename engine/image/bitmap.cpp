// Images as plain arrays of integers.
#include "engine/image/bitmap.h"

#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

bool FillBytes(const Image& image, IntListType type, uint8_t* to) try {
  const bool bgr = type == IntListType::kBgrBytes;
  const size_t channels = bgr ? 3 : 4;
  const auto width = static_cast<size_t>(image.width);
  std::vector<uint8_t> row(width * 4);
  for (int y = 0; y < image.height; ++y) {
    QuantizeRow8(image, y, bgr ? Alpha::kDrop : Alpha::kKeep, row.data());
    for (size_t x = 0; x < width; ++x, to += channels) {
      const uint8_t* p = row.data() + x * 4;
      const uint8_t bgra[4] = {p[2], p[1], p[0], p[3]};
      std::memcpy(to, bgra, channels);
    }
  }
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

// Through a row of its own: the host's memory need not be aligned to words.
bool FillWords(const Image& image, uint8_t* to) try {
  std::vector<uint16_t> row(static_cast<size_t>(image.width) * 4);
  const size_t bytes = row.size() * sizeof(uint16_t);
  for (int y = 0; y < image.height; ++y, to += bytes) {
    QuantizeRow16(image, y, Alpha::kKeep, row.data());
    std::memcpy(to, row.data(), bytes);
  }
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

// Bytes a pixel, 0 for a code that does not exist.
uint64_t PixelBytes(int type) {
  switch (static_cast<IntListType>(type)) {
    case IntListType::kBgraBytes:
      return 4;
    case IntListType::kRgbaFloats:
      return 16;
    case IntListType::kRgba16:
      return 8;
    case IntListType::kBgrBytes:
      return 3;
  }
  return 0;
}

}  // namespace

uint8_t* ToBitmap(const Image& image, const BitmapOptions& options, size_t* size) noexcept {
  *size = 0;
  const int64_t row_bytes = int64_t{4} * image.width;
  const int64_t stride = options.stride == 0 ? row_bytes : options.stride;
  if (stride < row_bytes || options.alpha < -1 || options.alpha > 255) return nullptr;
  // A stride out of all proportion would ask for terabytes that then get filled.
  const int64_t bytes = stride * image.height;
  if (bytes > kMaxPixels * 16) return nullptr;
  auto* block = static_cast<uint8_t*>(AllocateShared(static_cast<size_t>(bytes)));
  if (!block) return nullptr;

  const bool own_alpha = options.preserve_alpha && options.alpha < 0;
  const auto fixed_alpha = static_cast<uint8_t>(options.alpha < 0 ? 255 : options.alpha);
  for (int i = 0; i < image.height; ++i) {
    uint8_t* row = block + stride * i;
    const int y = options.reverse_y ? image.height - 1 - i : i;
    QuantizeRow8(image, y, own_alpha ? Alpha::kKeep : Alpha::kDrop, row);
    std::memset(row + row_bytes, 0, static_cast<size_t>(stride - row_bytes));
    for (uint8_t* pixel = row; pixel != row + row_bytes; pixel += 4) {
      if (options.swap_channels) std::swap(pixel[0], pixel[2]);
      if (!own_alpha) pixel[3] = fixed_alpha;
    }
  }
  *size = static_cast<size_t>(bytes);
  return block;
}

bool ToIntList(const Image& image, void* destination, uint64_t size, int type) noexcept {
  const uint64_t needed = PixelBytes(type) * image.pixel_count();
  if (needed == 0 || !destination || size < needed) return false;
  auto* to = static_cast<uint8_t*>(destination);
  bool filled = true;
  if (type == static_cast<int>(IntListType::kRgbaFloats)) {
    std::memcpy(to, image.pixels(), needed);
  } else if (type == static_cast<int>(IntListType::kRgba16)) {
    filled = FillWords(image, to);
  } else {
    filled = FillBytes(image, static_cast<IntListType>(type), to);
  }
  if (filled) std::memset(to + needed, 0, static_cast<size_t>(size - needed));
  return filled;
}

}  // namespace kiln::engine::image
