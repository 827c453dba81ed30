// PNG by libpng: every colour type and depth, interlaced or not.
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <new>
#include <vector>

#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

// Everything that has to live through a longjmp out of libpng; what owns memory is released by the caller.
struct Reader {
  std::span<const std::byte> bytes;
  size_t position = 0;
  std::string message;
  png_structp png = nullptr;
  png_infop info = nullptr;
  ImagePtr image;
  std::vector<png_bytep> rows;
  bool sixteen_bits = false;

  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
  static_cast<Reader*>(png_get_error_ptr(png))->message = message;
  png_longjmp(png, 1);
}
void OnWarning(png_structp, png_const_charp) {}

void OnRead(png_structp png, png_bytep to, png_size_t size) {
  auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
  if (size > reader->bytes.size() - reader->position) png_error(png, "it ends too early");
  std::memcpy(to, reader->bytes.data() + reader->position, size);
  reader->position += size;
}

// The header, and every kind of pixel brought to RGBA of 8 or 16 bits.
bool ReadHeader(Reader& r) {
  if (setjmp(png_jmpbuf(r.png)) != 0) return false;
  png_set_read_fn(r.png, &r, OnRead);
  png_set_user_limits(r.png, kMaxSide, kMaxSide);
  png_read_info(r.png, r.info);
  r.sixteen_bits = png_get_bit_depth(r.png, r.info) == 16;
  png_set_expand(r.png);
  png_set_gray_to_rgb(r.png);
  png_set_add_alpha(r.png, 0xffff, PNG_FILLER_AFTER);
  png_set_interlace_handling(r.png);
  png_read_update_info(r.png, r.info);
  return true;
}

bool ReadPixels(Reader& r) {
  if (setjmp(png_jmpbuf(r.png)) != 0) return false;
  png_read_image(r.png, r.rows.data());
  png_read_end(r.png, nullptr);
  return true;
}

// Rows are decoded into the tail of the float row they will become, so no second picture is needed: going
// from left to right, a pixel's floats end at or before the place where the next stored pixel begins.
size_t StoredOffset(const Reader& r) {
  const size_t stored = r.sixteen_bits ? 8 : 4;
  return static_cast<size_t>(r.image->width) * (4 * sizeof(float) - stored);
}

void Widen(Reader& r) {
  const auto width = static_cast<size_t>(r.image->width);
  for (int y = 0; y < r.image->height; ++y) {
    float* to = r.image->row(y);
    const uint8_t* from = r.rows[static_cast<size_t>(y)];
    for (size_t x = 0; x < width; ++x) {
      float rgba[4];
      for (size_t c = 0; c < 4; ++c) {
        const uint8_t* sample = from + (x * 4 + c) * (r.sixteen_bits ? 2 : 1);
        rgba[c] =
            r.sixteen_bits ? FromWord(static_cast<uint16_t>(sample[0] << 8 | sample[1])) : FromByte(*sample);
      }
      std::memcpy(to + x * 4, rgba, sizeof rgba);
    }
  }
}

}  // namespace

Image* DecodePng(std::span<const std::byte> bytes, std::string* error) try {
  Reader reader{bytes, 0, {}, nullptr, nullptr, nullptr, {}, false};
  reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader, OnError, OnWarning);
  if (reader.png) reader.info = png_create_info_struct(reader.png);
  if (!reader.info) return FailImage(error, kOutOfMemory);
  if (!ReadHeader(reader)) return FailImage(error, "the PNG cannot be read: " + reader.message);

  const uint64_t width = png_get_image_width(reader.png, reader.info);
  const uint64_t height = png_get_image_height(reader.png, reader.info);
  // The least a row takes in the file is a bit a pixel.
  if (!Plausible(width / 8 * height, bytes.size(), kDeflateRatio)) {
    return FailImage(error, "the PNG ends before its picture does");
  }
  reader.image =
      CreateDecoded(static_cast<int64_t>(width), static_cast<int64_t>(height), kDisplayGamma, true, error);
  if (!reader.image) return nullptr;
  reader.rows.resize(height);
  for (int y = 0; y < reader.image->height; ++y) {
    reader.rows[static_cast<size_t>(y)] =
        reinterpret_cast<png_bytep>(reader.image->row(y)) + StoredOffset(reader);
  }
  if (!ReadPixels(reader)) return FailImage(error, "the PNG cannot be read: " + reader.message);
  Widen(reader);
  return reader.image.release();
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
