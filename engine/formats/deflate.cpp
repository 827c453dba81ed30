// Whole blocks of bytes, deflated and back.
#include "engine/formats/deflate.h"

#include <libdeflate.h>

#include <memory>
#include <new>

namespace kiln::engine::formats {
namespace {

constexpr int kLevel = 6;
// No deflated byte makes more than this many; a size beyond is a lie, and is not allocated.
constexpr size_t kMaxRatio = 1032;

struct Closer {
  void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
  void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};

}  // namespace

std::vector<std::byte> Deflate(std::span<const std::byte> bytes) {
  const std::unique_ptr<libdeflate_compressor, Closer> compressor(libdeflate_alloc_compressor(kLevel));
  if (!compressor) throw std::bad_alloc();
  std::vector<std::byte> deflated(libdeflate_deflate_compress_bound(compressor.get(), bytes.size()));
  deflated.resize(libdeflate_deflate_compress(compressor.get(), bytes.data(), bytes.size(), deflated.data(),
                                              deflated.size()));
  return deflated;
}

std::optional<std::vector<std::byte>> Inflate(std::span<const std::byte> deflated, size_t size) {
  if (size / kMaxRatio > deflated.size()) return std::nullopt;
  const std::unique_ptr<libdeflate_decompressor, Closer> decompressor(libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();
  std::vector<std::byte> bytes(size);
  size_t read = 0;
  size_t written = 0;
  const libdeflate_result result = libdeflate_deflate_decompress_ex(
      decompressor.get(), deflated.data(), deflated.size(), bytes.data(), bytes.size(), &read, &written);
  if (result != LIBDEFLATE_SUCCESS || written != size || read != deflated.size()) return std::nullopt;
  return bytes;
}

}  // namespace kiln::engine::formats
