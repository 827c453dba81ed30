// An image: one contiguous block of shared memory, a header and then RGBA float pixels, rows from the top.
// The block's address is the handle that crosses the boundary, and FreeShared releases it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kiln::engine::image {

inline constexpr int kMaxSide = 65535;

struct Image {
  uint64_t magic;
  uint64_t bytes;  // of the whole block
  int32_t width;   // pixels
  int32_t height;  // pixels
  float gamma;     // what the pixels are encoded with; 1 is linear
  uint32_t reserved[9];

  // width * height * 4 floats: red, green, blue, alpha; linear scene radiance as rendered, colour not premultiplied
  // by alpha for opaque backgrounds, premultiplied coverage otherwise.
  float* pixels() { return reinterpret_cast<float*>(this + 1); }
  const float* pixels() const { return reinterpret_cast<const float*>(this + 1); }
  size_t pixel_count() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};
static_assert(sizeof(Image) == 64 && sizeof(Image) % 16 == 0);

// A new image of transparent black with gamma 1; null for sides outside 1..kMaxSide or without memory. Any thread.
Image* Create(int width, int height) noexcept;
Image* Clone(const Image& source) noexcept;

}  // namespace kiln::engine::image
