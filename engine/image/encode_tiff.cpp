// TIFF by libtiff: 8 or 16 bit integers, or 32 bit floats.
#include <algorithm>
#include <new>

#include "engine/image/codec_failure.h"
#include "engine/image/encode.h"
#include "engine/image/quantize.h"
#include "engine/image/tiff_stream.h"

namespace kiln::engine::image {
namespace {

constexpr float kWhitePoint[2] = {0.3127f, 0.3290f};
constexpr float kPrimaries[6] = {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f};

bool WriteTags(TIFF* tiff, const Image& image, int depth) {
  const bool floats = depth == 32;
  // Floats go out as they stand, so their kind of alpha does too; integers are always straight.
  const uint16_t extra[1] = {static_cast<uint16_t>(floats && !image.straight_alpha ? EXTRASAMPLE_ASSOCALPHA
                                                                                   : EXTRASAMPLE_UNASSALPHA)};
  return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width) &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height) &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, depth) && TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4) &&
         TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, extra) &&
         TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, floats ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT) &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) &&
         TIFFSetField(tiff, TIFFTAG_PREDICTOR, floats ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL) &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0)) &&
         TIFFSetField(tiff, TIFFTAG_SOFTWARE, "Kiln") &&
         TIFFSetField(tiff, TIFFTAG_WHITEPOINT, kWhitePoint) &&
         TIFFSetField(tiff, TIFFTAG_PRIMARYCHROMATICITIES, kPrimaries);
}

bool WritePixels(TIFF* tiff, const Image& image, int depth) {
  const auto samples = static_cast<size_t>(image.width) * 4;
  // libtiff's predictor works in the row it is given, so it never gets the image's own.
  std::vector<uint8_t> row8(depth == 8 ? samples : 0);
  std::vector<uint16_t> row16(depth == 16 ? samples : 0);
  std::vector<float> row32(depth == 32 ? samples : 0);
  for (int y = 0; y < image.height; ++y) {
    void* row = row8.data();
    if (depth == 8) {
      QuantizeRow8(image, y, Alpha::kKeep, row8.data());
    } else if (depth == 16) {
      QuantizeRow16(image, y, Alpha::kKeep, row16.data());
      row = row16.data();
    } else {
      std::copy_n(image.row(y), samples, row32.data());
      row = row32.data();
    }
    if (TIFFWriteScanline(tiff, row, static_cast<uint32_t>(y)) != 1) return false;
  }
  return TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

bool EncodeTiff(const Image& image, int bit_depth, Bytes* out, std::string* error) try {
  const int depth = bit_depth == 0 ? 8 : bit_depth;
  if (depth != 8 && depth != 16 && depth != 32) {
    return Fail(error, "a TIFF has 8, 16 or 32 bits a channel, not " + std::to_string(bit_depth));
  }
  out->clear();
  TiffStream stream;
  stream.output = out;
  const TiffPtr tiff = OpenTiff(stream);
  if (tiff && WriteTags(tiff.get(), image, depth) && WritePixels(tiff.get(), image, depth)) return true;
  return Fail(error, "the TIFF encoder failed: " + (stream.message.empty() ? kOutOfMemory : stream.message));
} catch (const std::bad_alloc&) {
  return Fail(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
