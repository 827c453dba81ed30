// A TIFF in memory, opened with libtiff; its messages are kept instead of going to stderr.
#pragma once

#include <tiffio.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kiln::engine::image {

struct TiffStream {
  std::span<const std::byte> input;          // when reading
  std::vector<std::byte>* output = nullptr;  // when writing
  size_t position = 0;
  std::string message;  // the first error
};

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffCloser>;

// Null on failure. The stream must outlive the result.
TiffPtr OpenTiff(TiffStream& stream);

}  // namespace kiln::engine::image
