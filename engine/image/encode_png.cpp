// PNG by libpng, 8 or 16 bits a channel.
#include <png.h>

#include <cmath>
#include <csetjmp>
#include <cstring>
#include <new>

#include "engine/image/codec_failure.h"
#include "engine/image/encode.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

// Everything that has to live through a longjmp out of libpng; what owns memory is released by the caller.
struct Writer {
  const Image& image;
  PngOptions options;
  Bytes* out;
  std::vector<uint8_t> row8;
  std::vector<uint16_t> row16;
  std::string message;
  png_structp png = nullptr;
  png_infop info = nullptr;
  int y = 0;

  ~Writer() { png_destroy_write_struct(&png, &info); }
};

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
  static_cast<Writer*>(png_get_error_ptr(png))->message = message;
  png_longjmp(png, 1);
}
void OnWarning(png_structp, png_const_charp) {}

void OnWrite(png_structp png, png_bytep data, png_size_t size) {
  auto* writer = static_cast<Writer*>(png_get_io_ptr(png));
  const auto* bytes = reinterpret_cast<const std::byte*>(data);
  bool stored = true;
  try {
    writer->out->insert(writer->out->end(), bytes, bytes + size);
  } catch (const std::bad_alloc&) {
    stored = false;
  }
  // Outside the handler: leaving it by a longjmp would leak the exception.
  if (!stored) png_error(png, kOutOfMemory);
}
void OnFlush(png_structp) {}

void WriteHeader(Writer& w) {
  const int color = w.options.strip_alpha ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA;
  png_set_IHDR(w.png, w.info, static_cast<png_uint_32>(w.image.width),
               static_cast<png_uint_32>(w.image.height), w.options.sixteen_bits ? 16 : 8, color,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (w.image.gamma == 1 || w.image.gamma == kDisplayGamma) {
    png_set_sRGB_gAMA_and_cHRM(w.png, w.info, PNG_sRGB_INTENT_PERCEPTUAL);
  } else {
    png_set_gAMA(w.png, w.info, 1.0 / static_cast<double>(w.image.gamma));
    png_set_cHRM(w.png, w.info, 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06);
  }
  char key[] = "Software";
  char text[] = "Kiln";
  png_text software = {};
  software.compression = PNG_TEXT_COMPRESSION_NONE;
  software.key = key;
  software.text = text;
  software.text_length = std::strlen(text);
  png_set_text(w.png, w.info, &software, 1);
  png_write_info(w.png, w.info);
}

void WriteRow(Writer& w) {
  const Alpha alpha = w.options.strip_alpha ? Alpha::kDrop : Alpha::kKeep;
  const auto width = static_cast<size_t>(w.image.width);
  const size_t channels = w.options.strip_alpha ? 3 : 4;
  if (w.options.sixteen_bits) {
    QuantizeRow16(w.image, w.y, alpha, w.row16.data());
    for (size_t x = 0; x < width; ++x) {
      for (size_t c = 0; c < channels; ++c) {
        const uint16_t v = w.row16[x * 4 + c];
        w.row8[(x * channels + c) * 2] = static_cast<uint8_t>(v >> 8);
        w.row8[(x * channels + c) * 2 + 1] = static_cast<uint8_t>(v);
      }
    }
  } else {
    QuantizeRow8(w.image, w.y, alpha, w.row8.data());
    if (channels == 3) {
      for (size_t x = 0; x < width; ++x) std::memmove(w.row8.data() + x * 3, w.row8.data() + x * 4, 3);
    }
  }
  png_write_row(w.png, w.row8.data());
}

bool Write(Writer& w) {
  if (setjmp(png_jmpbuf(w.png)) != 0) return false;
  png_set_write_fn(w.png, &w, OnWrite, OnFlush);
  WriteHeader(w);
  for (w.y = 0; w.y < w.image.height; ++w.y) WriteRow(w);
  png_write_end(w.png, w.info);
  return true;
}

}  // namespace

bool EncodePng(const Image& image, const PngOptions& options, Bytes* out, std::string* error) try {
  out->clear();
  Writer writer{image, options, out, {}, {}, {}};
  const auto width = static_cast<size_t>(image.width);
  writer.row8.resize(width * 8);
  if (options.sixteen_bits) writer.row16.resize(width * 4);
  writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer, OnError, OnWarning);
  if (writer.png) writer.info = png_create_info_struct(writer.png);
  if (!writer.info) return Fail(error, kOutOfMemory);
  if (!Write(writer)) return Fail(error, "the PNG encoder failed: " + writer.message);
  return true;
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
