// The image block: how it is made, copied and recognised.
#include "engine/image/image.h"

#include <cstring>
#include <new>

namespace kiln::engine::image {
namespace {

constexpr uint64_t kMagic = 0x31474d494e4c494bull;  // "KILNIMG1" in memory

bool ValidSize(int64_t width, int64_t height) {
  return width >= 1 && width <= kMaxSide && height >= 1 && height <= kMaxSide && width * height <= kMaxPixels;
}

uint64_t BlockBytes(int64_t width, int64_t height) {
  return sizeof(Image) + static_cast<uint64_t>(width * height) * 4 * sizeof(float);
}

}  // namespace

Image* CreateUnfilled(int width, int height) noexcept {
  if (!ValidSize(width, height)) return nullptr;
  const uint64_t bytes = BlockBytes(width, height);
  void* block = AllocateShared(bytes);
  if (!block) return nullptr;
  return new (block) Image{kMagic, bytes, width, height, 1.0f, 0, {}};
}

Image* Create(int width, int height) noexcept {
  Image* image = CreateUnfilled(width, height);
  if (image) std::memset(image->pixels(), 0, image->bytes - sizeof(Image));
  return image;
}

Image* Clone(const Image& source) noexcept {
  Image* copy = CreateUnfilled(source.width, source.height);
  if (copy) std::memcpy(copy, &source, source.bytes);
  return copy;
}

bool IsImage(const void* handle) noexcept {
  if (!handle || reinterpret_cast<uintptr_t>(handle) % alignof(Image) != 0) return false;
  const auto& image = *static_cast<const Image*>(handle);
  // The sizes are looked at too: the host sees the header in the array buffer under its pixels and could
  // write there.
  return image.magic == kMagic && ValidSize(image.width, image.height) &&
         image.bytes == BlockBytes(image.width, image.height);
}

}  // namespace kiln::engine::image
