// JPEG by TurboJPEG: grey, YCbCr and RGB, and the inverted CMYK that printing programs write.
#include <turbojpeg.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

struct HandleDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};

// Even a progressive stream of one colour spends more than a byte on this many pixels.
constexpr uint64_t kPixelsPerByte = 4096;

// TurboJPEG reports as warnings both a picture cut short, which is filled with grey, and harmless stray
// bytes.
bool Acceptable(tjhandle handle) {
  return tjGetErrorCode(handle) == TJERR_WARNING &&
         std::string_view(tjGetErrorStr2(handle)).find("extraneous bytes") != std::string_view::npos;
}

void FillFromRgb(const uint8_t* from, Image& image) {
  float* to = image.pixels();
  for (size_t i = 0; i < image.pixel_count(); ++i, from += 3, to += 4) {
    for (int c = 0; c < 3; ++c) to[c] = FromByte(from[c]);
    to[3] = 1;
  }
}

void FillFromCmyk(const uint8_t* from, Image& image) {
  float* to = image.pixels();
  for (size_t i = 0; i < image.pixel_count(); ++i, from += 4, to += 4) {
    for (int c = 0; c < 3; ++c) to[c] = FromByte(from[c]) * FromByte(from[3]);
    to[3] = 1;
  }
}

}  // namespace

Image* DecodeJpeg(std::span<const std::byte> bytes, std::string* error) try {
  const std::unique_ptr<void, HandleDeleter> decoder(tjInitDecompress());
  if (!decoder) return FailImage(error, kOutOfMemory);
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  int width = 0, height = 0, sampling = 0, space = 0;
  if (tjDecompressHeader3(decoder.get(), data, bytes.size(), &width, &height, &sampling, &space) != 0) {
    return FailImage(error, std::string("the JPEG cannot be read: ") + tjGetErrorStr2(decoder.get()));
  }
  ImagePtr image = CreateDecoded(width, height, kDisplayGamma, true, error);
  if (!image) return nullptr;
  if (!Plausible(image->pixel_count(), bytes.size(), kPixelsPerByte)) {
    return FailImage(error, "the JPEG ends before its picture does");
  }

  const bool cmyk = space == TJCS_CMYK || space == TJCS_YCCK;
  const int format = cmyk ? TJPF_CMYK : TJPF_RGB;
  std::vector<uint8_t> pixels(image->pixel_count() * (cmyk ? 4 : 3));
  const int flags = TJFLAG_ACCURATEDCT | TJFLAG_LIMITSCANS;
  if (tjDecompress2(decoder.get(), data, bytes.size(), pixels.data(), width, 0, height, format, flags) != 0 &&
      !Acceptable(decoder.get())) {
    return FailImage(error, std::string("the JPEG cannot be read: ") + tjGetErrorStr2(decoder.get()));
  }
  if (cmyk) {
    FillFromCmyk(pixels.data(), *image);
  } else {
    FillFromRgb(pixels.data(), *image);
  }
  return image.release();
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
