// Images as plain arrays of integers, for canvases and windows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/image/image.h"

namespace kiln::engine::image {

struct BitmapOptions {
  bool swap_channels = false;   // blue, green, red, alpha instead of red, green, blue, alpha
  bool reverse_y = false;       // rows from the bottom
  bool preserve_alpha = false;  // the image's own alpha instead of 255
  int stride = 0;               // bytes from row to row; 0 is four times the width, less than that is refused
  int alpha = -1;               // 0..255 goes before the image's alpha; -1 is none, anything else is refused
};

// Four bytes a pixel; bytes between the end of a row and the stride are 0. The block is shared memory of the
// caller's; null with *size 0 on failure. How floats become bytes is told in quantize.h.
uint8_t* ToBitmap(const Image& image, const BitmapOptions& options, size_t* size) noexcept;

// Element orders of ToIntList, by the codes that cross the boundary.
enum class IntListType { kBgraBytes = 0, kRgbaFloats = 1, kRgba16 = 3, kBgrBytes = 4 };

// Fills `destination` of `size` bytes: bytes in the order of the name, words of 16 bits, or the floats as
// they stand. Alpha is the image's. What lies behind the last pixel is 0. False for another code, or when the
// memory is too small.
bool ToIntList(const Image& image, void* destination, uint64_t size, int type) noexcept;

}  // namespace kiln::engine::image
