// An image: one contiguous block of shared memory, a header and then RGBA float pixels, rows from the top.
// The block's address is the handle that crosses the boundary, and FreeShared releases it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "engine/utilities/memory.h"

namespace kiln::engine::image {

inline constexpr int kMaxSide = 65535;
// A block stays below 4 GiB, the largest buffer that every host can hold.
inline constexpr int64_t kMaxPixels = (int64_t{1} << 28) - 8;

// What the gamma field says of an image that carries the sRGB curve: conversions take 2.2 as that curve.
inline constexpr float kDisplayGamma = 2.2f;

struct Image {
  uint64_t magic;
  uint64_t bytes;  // of the whole block
  int32_t width;   // pixels
  int32_t height;  // pixels
  // What the pixels are encoded with: 1 is linear, 2.2 the sRGB curve, anything else a plain power. Encoders
  // of integer formats apply the sRGB curve when it is 1 and write the values as they stand otherwise;
  // decoders of integer formats set 2.2. Float formats hold the values as they stand, and their decoders
  // set 1.
  float gamma;
  // 1 when colour is independent of alpha, as PNG, BMP and TIFF store it; 0 when it is premultiplied, as a
  // render leaves it. Integer formats with alpha are written straight, whatever the image holds.
  uint32_t straight_alpha;
  uint32_t reserved[8];

  // width * height * 4 floats: red, green, blue, alpha; linear scene radiance as rendered, colour not
  // premultiplied by alpha for opaque backgrounds, premultiplied coverage otherwise.
  float* pixels() { return reinterpret_cast<float*>(this + 1); }
  const float* pixels() const { return reinterpret_cast<const float*>(this + 1); }
  float* row(int y) { return pixels() + size_t{4} * width * y; }
  const float* row(int y) const { return pixels() + size_t{4} * width * y; }
  size_t pixel_count() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};
static_assert(sizeof(Image) == 64 && sizeof(Image) % 16 == 0);

// A new image of transparent black with gamma 1 and premultiplied alpha; null for sides outside 1..kMaxSide,
// more than kMaxPixels pixels, or without memory. The caller owns it. Any thread.
Image* Create(int width, int height) noexcept;
// The same with pixels that the caller is about to fill.
Image* CreateUnfilled(int width, int height) noexcept;
Image* Clone(const Image& source) noexcept;

// Whether a handle from outside is an image: its header is whole and agrees with itself. Null is none.
bool IsImage(const void* handle) noexcept;

struct ImageDeleter {
  void operator()(Image* image) const noexcept { FreeShared(image); }
};
// An image owned inside the engine; release() hands it over.
using ImagePtr = std::unique_ptr<Image, ImageDeleter>;

}  // namespace kiln::engine::image
