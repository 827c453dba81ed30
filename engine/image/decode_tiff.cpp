// TIFF by libtiff: grey or RGB in integers or floats at full precision, every other kind in 8 bits.
#include <half.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/operations.h"
#include "engine/image/quantize.h"
#include "engine/image/tiff_stream.h"

namespace kiln::engine::image {
namespace {

struct Layout {
  uint32_t width = 0, height = 0;
  uint16_t bits = 1, samples = 1, format = SAMPLEFORMAT_UINT, photometric = PHOTOMETRIC_MINISBLACK;
  uint16_t planes = PLANARCONFIG_CONTIG, orientation = ORIENTATION_TOPLEFT, compression = COMPRESSION_NONE;
  uint16_t extra_count = 0;
  uint16_t* extra = nullptr;

  bool floats() const { return format == SAMPLEFORMAT_IEEEFP; }
  uint16_t colors() const { return photometric == PHOTOMETRIC_RGB ? 3 : 1; }
  bool alpha() const { return samples > colors(); }
  bool straight() const { return !(alpha() && extra_count > 0 && extra[0] == EXTRASAMPLE_ASSOCALPHA); }
  size_t sample_bytes() const { return bits / 8u; }
};

Layout ReadLayout(TIFF* tiff) {
  Layout l;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &l.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &l.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &l.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &l.format);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &l.photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &l.planes);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &l.orientation);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &l.compression);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &l.extra_count, &l.extra);
  return l;
}

// What is read sample by sample; the rest (palettes, YCbCr, CMYK, packed bits) goes through libtiff's 8 bit
// reader.
bool Direct(const Layout& l) {
  const bool grey_or_rgb = l.photometric == PHOTOMETRIC_MINISBLACK ||
                           l.photometric == PHOTOMETRIC_MINISWHITE || l.photometric == PHOTOMETRIC_RGB;
  const bool integers = l.format == SAMPLEFORMAT_UINT && (l.bits == 8 || l.bits == 16 || l.bits == 32);
  const bool floats = l.floats() && (l.bits == 16 || l.bits == 32 || l.bits == 64);
  return grey_or_rgb && (integers || floats) && l.samples >= l.colors() && l.samples <= 16;
}

float Sample(const uint8_t* at, const Layout& l) {
  const auto load = [at]<class T>(T value) {
    std::memcpy(&value, at, sizeof value);
    return value;
  };
  if (!l.floats()) {
    if (l.bits == 8) return FromByte(*at);
    if (l.bits == 16) return FromWord(load(uint16_t{}));
    return static_cast<float>(load(uint32_t{}) / 4294967295.0);
  }
  if (l.bits == 16) return load(Imath::half());
  return l.bits == 32 ? load(float{}) : static_cast<float>(load(double{}));
}

// `count` pixels from x, y on, out of a buffer with all samples of a pixel together, or with only sample
// `plane`.
void Put(const uint8_t* from, const Layout& l, uint32_t x, uint32_t y, uint32_t count, int plane,
         Image& image) {
  const size_t bytes = l.sample_bytes();
  const size_t step = plane < 0 ? bytes * l.samples : bytes;
  const int first = std::max(plane, 0);
  const int last = plane < 0 ? std::min<int>(l.samples, l.colors() + 1) - 1 : plane;
  float* to = image.row(static_cast<int>(y)) + size_t{4} * x;
  for (uint32_t i = 0; i < count; ++i, from += step, to += 4) {
    for (int s = first; s <= last; ++s) {
      float v = Sample(from + static_cast<size_t>(s - first) * bytes, l);
      if (s == l.colors()) {
        to[3] = v;
        continue;
      }
      if (l.photometric == PHOTOMETRIC_MINISWHITE) v = 1 - v;
      to[s] = v;
      if (l.colors() == 1) to[1] = to[2] = v;
    }
  }
}

bool ReadStrips(TIFF* tiff, const Layout& l, int plane, Image& image) {
  std::vector<uint8_t> row(static_cast<size_t>(TIFFScanlineSize(tiff)));
  const size_t samples = plane < 0 ? l.samples : 1;
  if (row.size() < l.width * samples * l.sample_bytes()) return false;
  for (uint32_t y = 0; y < l.height; ++y) {
    if (TIFFReadScanline(tiff, row.data(), y, static_cast<uint16_t>(std::max(plane, 0))) != 1) return false;
    Put(row.data(), l, 0, y, l.width, plane, image);
  }
  return true;
}

bool ReadTiles(TIFF* tiff, const Layout& l, int plane, Image& image) {
  uint32_t tile_width = 0, tile_height = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tile_width);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tile_height);
  const size_t samples = plane < 0 ? l.samples : 1;
  const size_t stride = size_t{tile_width} * samples * l.sample_bytes();
  if (tile_width == 0 || tile_height == 0 || tile_width > kMaxSide + 1 || tile_height > kMaxSide + 1)
    return false;
  const tmsize_t size = TIFFTileSize(tiff);
  if (size <= 0 || static_cast<size_t>(size) < stride * tile_height) return false;
  std::vector<uint8_t> tile(static_cast<size_t>(size));
  for (uint32_t top = 0; top < l.height; top += tile_height) {
    for (uint32_t left = 0; left < l.width; left += tile_width) {
      if (TIFFReadTile(tiff, tile.data(), left, top, 0, static_cast<uint16_t>(std::max(plane, 0))) < 0)
        return false;
      const uint32_t rows = std::min(tile_height, l.height - top);
      const uint32_t columns = std::min(tile_width, l.width - left);
      for (uint32_t y = 0; y < rows; ++y) {
        Put(tile.data() + stride * y, l, left, top + y, columns, plane, image);
      }
    }
  }
  return true;
}

bool ReadDirect(TIFF* tiff, const Layout& l, Image& image) {
  if (!l.alpha()) {
    for (size_t i = 0; i < image.pixel_count(); ++i) image.pixels()[i * 4 + 3] = 1;
  }
  const auto read = TIFFIsTiled(tiff) ? ReadTiles : ReadStrips;
  if (l.planes == PLANARCONFIG_CONTIG) return read(tiff, l, -1, image);
  const int planes = std::min<int>(l.samples, l.colors() + 1);
  for (int plane = 0; plane < planes; ++plane) {
    if (!read(tiff, l, plane, image)) return false;
  }
  return true;
}

// libtiff's reader answers rows from the top in premultiplied bytes.
bool ReadAsBytes(TIFF* tiff, Image& image) {
  std::vector<uint32_t> raster(image.pixel_count());
  const auto width = static_cast<uint32_t>(image.width);
  const auto height = static_cast<uint32_t>(image.height);
  if (TIFFReadRGBAImageOriented(tiff, width, height, raster.data(), ORIENTATION_TOPLEFT, 1) != 1)
    return false;
  for (size_t i = 0; i < raster.size(); ++i) {
    const uint32_t v = raster[i];
    float* to = image.pixels() + i * 4;
    to[0] = FromByte(static_cast<uint8_t>(TIFFGetR(v)));
    to[1] = FromByte(static_cast<uint8_t>(TIFFGetG(v)));
    to[2] = FromByte(static_cast<uint8_t>(TIFFGetB(v)));
    to[3] = FromByte(static_cast<uint8_t>(TIFFGetA(v)));
  }
  return true;
}

// Rows and columns as the orientation tag wants them. Files that lie on their side stay so.
Image* Oriented(ImagePtr image, uint16_t orientation, std::string* error) {
  const bool mirror = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
  const bool flip = orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT;
  if (!mirror && !flip) return image.release();
  Image* turned =
      Crop(*image, 0, 0, mirror ? -image->width : image->width, flip ? -image->height : image->height);
  return turned ? turned : FailImage(error, kOutOfMemory);
}

}  // namespace

Image* DecodeTiff(std::span<const std::byte> bytes, std::string* error) try {
  TiffStream stream;
  stream.input = bytes;
  const TiffPtr tiff = OpenTiff(stream);
  const auto fail = [&] {
    const char* unknown = "it is damaged";
    return FailImage(error,
                     "the TIFF cannot be read: " + (stream.message.empty() ? unknown : stream.message));
  };
  if (!tiff) return fail();
  const Layout layout = ReadLayout(tiff.get());
  const bool direct = Direct(layout);
  const float gamma = direct && layout.floats() ? 1.0f : kDisplayGamma;
  ImagePtr image = CreateDecoded(layout.width, layout.height, gamma, direct && layout.straight(), error);
  if (!image) return nullptr;
  if (layout.compression == COMPRESSION_NONE &&
      !Plausible(uint64_t{layout.width} * layout.height * layout.bits / 8, bytes.size(), 1)) {
    return FailImage(error, "the TIFF ends before its picture does");
  }
  if (!direct) return ReadAsBytes(tiff.get(), *image) ? image.release() : fail();
  if (!ReadDirect(tiff.get(), layout, *image)) return fail();
  return Oriented(std::move(image), layout.orientation, error);
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
