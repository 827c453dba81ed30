// A small sound file of every format and kind of packing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "engine/image/encode.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {

struct Sample {
  std::string name;
  Bytes bytes;
};

inline std::vector<Sample> Samples() {
  const ImagePtr image = Make(37, 21, Noise);
  image->gamma = kDisplayGamma;
  image->straight_alpha = 1;
  std::vector<Sample> samples;
  const auto add = [&](const char* name, const std::function<bool(Bytes*)>& encode) {
    samples.push_back({name, {}});
    EXPECT_TRUE(encode(&samples.back().bytes)) << name;
  };
  add("jpeg", [&](Bytes* out) { return EncodeJpeg(*image, 90, out); });
  add("png", [&](Bytes* out) { return EncodePng(*image, {}, out); });
  add("png 16", [&](Bytes* out) { return EncodePng(*image, {true, true}, out); });
  add("bmp", [&](Bytes* out) { return EncodeBmp(*image, {}, out); });
  add("tiff 8", [&](Bytes* out) { return EncodeTiff(*image, 8, out); });
  add("tiff 32", [&](Bytes* out) { return EncodeTiff(*image, 32, out); });
  add("exr", [&](Bytes* out) { return EncodeExr(*image, {}, out); });
  add("exr half", [&](Bytes* out) { return EncodeExr(*image, {true, {}}, out); });

  Bytes hdr = FromText("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 3 +X 5\n");
  for (int i = 0; i < 15; ++i) Append(hdr, {100 + i, 64, 32, 129});
  samples.push_back({"hdr", hdr});
  // Packed in runs: each row names its width, then four planes.
  Bytes packed = FromText("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 8\n");
  for (int row = 0; row < 2; ++row)
    Append(packed, {2, 2, 0, 8, 136, 100, 136, 50, 8, 1, 2, 3, 4, 5, 6, 7, 8, 136, 129});
  samples.push_back({"hdr packed", packed});
  Bytes tga;
  Append(tga, {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 2, 0, 24, 0x20, 0x82, 0, 0, 255, 0x00, 255, 0, 0});
  samples.push_back({"tga", tga});
  Append(
      samples.emplace_back(Sample{"bmp runs", BuildBmp(4, 2, 8, 1, {0, 0, 255, 0, 0, 255, 0, 0}, {})}).bytes,
      {4, 1, 0, 0, 0, 4, 1, 1, 0, 0, 0, 1});
  return samples;
}

}  // namespace kiln::engine::image
