// Memory described by a test: bytes, with pointers into themselves and images to be made.
#ifndef KILN_TEST_RECORDER_MEMORY_H_
#define KILN_TEST_RECORDER_MEMORY_H_

#include <cstdint>
#include <string>
#include <vector>

namespace recorder {

struct Memory {
  struct Pointer {
    uint64_t offset;  // where the pointer stands
    uint64_t target;  // offset of what it points to
  };
  struct Image {
    uint64_t offset;
    int32_t width;
    int32_t height;
  };
  std::string bytes;
  std::vector<Pointer> pointers;
  std::vector<Image> images;
};

// Writes the bytes to the address, with the pointers set and the images made.
void Place(const Memory& memory, void* address);

// An image as the recorder makes it: 64 bytes of head, then 16 bytes for each pixel.
struct FakeImage {
  uint32_t magic;
  int32_t width;
  int32_t height;
  float gamma;
  uint8_t reserved[48];
};
constexpr uint32_t kImageMagic = 0x4B494D47;
constexpr uint64_t kPixelBytes = 16;

// A live block with an empty image, its gamma 1.
void* NewImage(int32_t width, int32_t height, const std::string& origin);

// Null for a pointer that is no live image.
FakeImage* AsImage(uint64_t handle);
uint64_t ImageBytes(const FakeImage& image);

}  // namespace recorder

#endif
