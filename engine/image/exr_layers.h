// OpenEXR files of any channels, in any compression.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <variant>

#include "engine/image/encode.h"

namespace kiln::engine::image {

// The numbers are those that cross the boundary.
enum class ExrCompression : int32_t {
  kNone = 1,
  kRunLength = 2,
  kZipLines = 3,
  kZipBlocks = 4,
  kPiz = 5,
  kPxr24 = 6,
  kB44 = 7,
  kB44a = 8,
  kDwaa = 9,
  kDwab = 10,
};

struct ExrChannel {
  std::string name;  // a layer is what stands before the last point
  // Those of the pixel at x, y stand at stride * (x + width * y).
  std::variant<std::span<const float>, std::span<const uint32_t>> samples;
  size_t stride = 1;
  bool half = false;  // of floats: 16 bits, finite values held to what those can say
};

// Fills *out and returns true, or returns false with a sentence without a full stop in *error when given: for
// a size that is none, no channels, two of one name, or samples that are too few. Any thread.
bool EncodeExrLayers(int width, int height, std::span<const ExrChannel> channels, ExrCompression compression,
                     Bytes* out, std::string* error = nullptr);

}  // namespace kiln::engine::image
