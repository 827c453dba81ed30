// Files for decoder tests.
#include "test/engine/image/file_builders.h"

#include <png.h>
#include <unistd.h>

#include <atomic>
#include <iterator>

#include "engine/image/byte_order.h"

namespace kiln::engine::image {

namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory() {
  static std::atomic<int> counter{0};
  path_ = fs::temp_directory_path() /
          ("kiln-image-test-" + std::to_string(getpid()) + "-" + std::to_string(counter++));
  fs::create_directories(path_);
}
ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}
size_t ScratchDirectory::Count() const {
  return static_cast<size_t>(std::distance(fs::directory_iterator(path_), fs::directory_iterator()));
}

Bytes BuildPng(const PngSource& source) {
  Bytes out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &out,
      [](png_structp p, png_bytep data, png_size_t size) {
        auto* bytes = static_cast<Bytes*>(png_get_io_ptr(p));
        const auto* from = reinterpret_cast<const std::byte*>(data);
        bytes->insert(bytes->end(), from, from + size);
      },
      [](png_structp) {});
  png_set_IHDR(png, info, static_cast<png_uint_32>(source.width), static_cast<png_uint_32>(source.height),
               source.depth, source.color_type, source.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (source.color_type == PNG_COLOR_TYPE_PALETTE) {
    const png_color palette[4] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    const png_byte alpha[2] = {255, 51};
    png_set_PLTE(png, info, palette, source.depth == 1 ? 2 : 4);
    png_set_tRNS(png, info, alpha, 2, nullptr);
  }
  auto rows = source.rows;
  std::vector<png_bytep> pointers;
  for (auto& row : rows) pointers.push_back(row.data());
  png_set_rows(png, info, pointers.data());
  png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&png, &info);
  return out;
}

Bytes BuildBmp(int width, int height, int depth, int compression, const std::vector<int>& tables,
               const std::vector<int>& pixels) {
  Bytes out;
  const auto offset = static_cast<uint32_t>(54 + tables.size());
  Append(out, {'B', 'M'});
  AppendLittle(out, offset + static_cast<uint32_t>(pixels.size()), 4);
  AppendLittle(out, 0, 4);
  AppendLittle(out, offset, 4);
  AppendLittle(out, 40, 4);
  AppendLittle(out, static_cast<uint32_t>(width), 4);
  AppendLittle(out, static_cast<uint32_t>(height), 4);
  AppendLittle(out, 1, 2);
  AppendLittle(out, static_cast<uint32_t>(depth), 2);
  AppendLittle(out, static_cast<uint32_t>(compression), 4);
  for (int i = 0; i < 5; ++i) AppendLittle(out, 0, 4);
  Append(out, tables);
  Append(out, pixels);
  return out;
}

}  // namespace kiln::engine::image
