// Radiance HDR and TGA, by stb_image.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/quantize.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_ONLY_HDR
#define STBI_ONLY_TGA
#define STBI_FAILURE_USERMSG
#define STBI_MAX_DIMENSIONS 65535
#include <stb/stb_image.h>

namespace kiln::engine::image {
namespace {

struct PixelsDeleter {
  void operator()(void* pixels) const { stbi_image_free(pixels); }
};

// stb_image takes zeros for what a cut file lacks; this source remembers that it was asked for more than
// there is.
struct Source {
  std::span<const std::byte> bytes;
  size_t position = 0;
  bool exhausted = false;
  // Past the end: nothing, which ends the search for a header's lines, or all ones while pixels are read.
  bool pixels = false;
};

int Read(void* user, char* to, int size) {
  auto* source = static_cast<Source*>(user);
  const size_t count = std::min(static_cast<size_t>(size), source->bytes.size() - source->position);
  if (count == 0) {
    source->exhausted = true;
    if (!source->pixels) return 0;
    // At an end stb_image reads zeros, and its HDR reader takes those for empty runs and looks for more for
    // ever. Bytes of all ones move every reader on.
    std::memset(to, 0xff, static_cast<size_t>(size));
    return size;
  }
  std::memcpy(to, source->bytes.data() + source->position, count);
  source->position += count;
  return static_cast<int>(count);
}
void Skip(void* user, int count) {
  auto* source = static_cast<Source*>(user);
  const auto target = static_cast<int64_t>(source->position) + count;
  if (target > static_cast<int64_t>(source->bytes.size())) source->exhausted = true;
  source->position =
      static_cast<size_t>(std::clamp<int64_t>(target, 0, static_cast<int64_t>(source->bytes.size())));
}
int AtEnd(void* user) {
  const auto* source = static_cast<Source*>(user);
  return source->position >= source->bytes.size();
}
constexpr stbi_io_callbacks kCallbacks = {Read, Skip, AtEnd};

// The largest number of pixels that a byte of either packing yields, with room.
constexpr uint64_t kPixelsPerByte = 128;

// An unfilled image of the size that the header tells.
ImagePtr Prepare(std::span<const std::byte> bytes, const char* format, float gamma, std::string* error) {
  Source source{bytes};
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_callbacks(&kCallbacks, &source, &width, &height, &channels) || source.exhausted) {
    Fail(error, std::string("the ") + format + " has no readable header");
    return nullptr;
  }
  ImagePtr image = CreateDecoded(width, height, gamma, true, error);
  if (image && !Plausible(image->pixel_count(), bytes.size(), kPixelsPerByte)) {
    Fail(error, std::string("the ") + format + " ends before its picture does");
    return nullptr;
  }
  return image;
}

Image* Finish(ImagePtr image, bool read, const Source& source, const char* format, std::string* error) {
  if (source.exhausted)
    return FailImage(error, std::string("the ") + format + " ends before its picture does");
  if (!read)
    return FailImage(error, std::string("the ") + format + " cannot be read: " + stbi_failure_reason());
  return image.release();
}

}  // namespace

Image* DecodeHdr(std::span<const std::byte> bytes, std::string* error) try {
  ImagePtr image = Prepare(bytes, "HDR", 1, error);
  if (!image) return nullptr;
  Source source{bytes, 0, false, true};
  int width = 0, height = 0, channels = 0;
  const std::unique_ptr<float, PixelsDeleter> pixels(
      stbi_loadf_from_callbacks(&kCallbacks, &source, &width, &height, &channels, 4));
  const bool whole = pixels && width == image->width && height == image->height;
  if (whole) std::copy_n(pixels.get(), image->pixel_count() * 4, image->pixels());
  image->straight_alpha = 0;
  return Finish(std::move(image), whole, source, "HDR", error);
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

Image* DecodeTga(std::span<const std::byte> bytes, std::string* error) try {
  Source probe{bytes};
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_callbacks(&kCallbacks, &probe, &width, &height, &channels)) {
    return FailImage(error, "the bytes are no image format that can be read");
  }
  ImagePtr image = Prepare(bytes, "TGA", kDisplayGamma, error);
  if (!image) return nullptr;
  Source source{bytes, 0, false, true};
  const std::unique_ptr<stbi_uc, PixelsDeleter> pixels(
      stbi_load_from_callbacks(&kCallbacks, &source, &width, &height, &channels, 4));
  const bool whole = pixels && width == image->width && height == image->height;
  if (whole) {
    for (size_t i = 0; i < image->pixel_count() * 4; ++i) image->pixels()[i] = FromByte(pixels.get()[i]);
  }
  return Finish(std::move(image), whole, source, "TGA", error);
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
