// Encoding images into files' bytes.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "engine/image/image.h"

namespace kiln::engine::image {

using Bytes = std::vector<std::byte>;

// Each fills *out and returns true, or returns false with a sentence without a full stop in *error when
// given. Any thread. How pixels become integers is told in image.h and quantize.h; every file but BMP names
// the program that wrote it, and all state their colour space (the primaries are those of sRGB).

inline constexpr int kDefaultJpegQuality = 90;
// Quality 1..100, held to that range; 0 is the default. Without alpha; colour in full resolution from 90 on.
bool EncodeJpeg(const Image& image, int quality, Bytes* out, std::string* error = nullptr);

struct PngOptions {
  bool strip_alpha = false;
  bool sixteen_bits = false;
};
bool EncodePng(const Image& image, const PngOptions& options, Bytes* out, std::string* error = nullptr);

struct BmpOptions {
  bool strip_alpha = false;  // 24 bits a pixel instead of 32
  bool top_down = false;     // rows from the top; the usual order is from the bottom
};
bool EncodeBmp(const Image& image, const BmpOptions& options, Bytes* out, std::string* error = nullptr);

// 8 or 16 bit integers, or 32 bit floats as they stand; 0 is 8. Other depths are refused. Always with alpha.
bool EncodeTiff(const Image& image, int bit_depth, Bytes* out, std::string* error = nullptr);

struct ExrOptions {
  bool half = false;                              // 16 bit floats instead of 32
  std::map<std::string, std::string> attributes;  // text put into the header
};
// The pixels as they stand, losslessly packed.
bool EncodeExr(const Image& image, const ExrOptions& options, Bytes* out, std::string* error = nullptr);

}  // namespace kiln::engine::image
