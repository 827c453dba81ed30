// From an image's floats to the integers of files, bitmaps and lists, and back.
#pragma once

#include <cstdint>

#include "engine/image/image.h"

namespace kiln::engine::image {

// What becomes of alpha. Dropped alpha reads as 1, and premultiplied colour then stands over black.
enum class Alpha { kDrop, kKeep };

// Row y as integer formats store it, in 8 or 16 bits a channel: straight colour, the sRGB curve applied when
// the image is linear, held to 0..1 (NaN is 0) and rounded to the nearest. `rgba` takes width * 4 values.
void QuantizeRow8(const Image& image, int y, Alpha alpha, uint8_t* rgba);
void QuantizeRow16(const Image& image, int y, Alpha alpha, uint16_t* rgba);

// 8 or 16 bits as stored to 0..1; the way back gives the same integer.
inline float FromByte(uint8_t v) {
  return static_cast<float>(v) / 255.0f;
}
inline float FromWord(uint16_t v) {
  return static_cast<float>(v) / 65535.0f;
}

}  // namespace kiln::engine::image
