// Memory described by a test, and the recorder's images.
#include "memory.h"

#include <algorithm>
#include <cstring>

#include "allocator.h"

namespace recorder {

void Place(const Memory& memory, void* address) {
  auto* const bytes = static_cast<char*>(address);
  std::memcpy(bytes, memory.bytes.data(), memory.bytes.size());
  for (const Memory::Pointer& pointer : memory.pointers) {
    const char* const target = bytes + pointer.target;
    std::memcpy(bytes + pointer.offset, &target, sizeof(target));
  }
  for (const Memory::Image& image : memory.images) {
    void* const made = NewImage(image.width, image.height, "event");
    std::memcpy(bytes + image.offset, &made, sizeof(made));
  }
}

void* NewImage(int32_t width, int32_t height, const std::string& origin) {
  FakeImage head{kImageMagic, std::max(width, 0), std::max(height, 0), 1.0F, {}};
  void* const image = Allocate(ImageBytes(head), origin);
  std::memcpy(image, &head, sizeof(head));
  return image;
}

FakeImage* AsImage(uint64_t handle) {
  auto* const image = reinterpret_cast<FakeImage*>(handle);
  if (handle == 0 || LiveSize(image) < sizeof(FakeImage) || image->magic != kImageMagic) return nullptr;
  return image;
}

uint64_t ImageBytes(const FakeImage& image) {
  return sizeof(FakeImage) +
         static_cast<uint64_t>(image.width) * static_cast<uint64_t>(image.height) * kPixelBytes;
}

}  // namespace recorder
