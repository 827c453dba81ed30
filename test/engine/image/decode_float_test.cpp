// EXR and TIFF in the shapes that other programs write.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfMultiPartOutputFile.h>
#include <ImfOutputFile.h>
#include <ImfPartType.h>
#include <ImfRgbaFile.h>
#include <ImfTiledOutputFile.h>

#include "engine/image/codec.h"
#include "engine/image/tiff_stream.h"
#include "test/engine/image/file_builders.h"
#include "test/engine/image/test_image.h"

namespace kiln::engine::image {
namespace {

constexpr int kWidth = 40;
constexpr int kHeight = 24;

ImagePtr Read(const std::filesystem::path& file) {
  std::string error;
  ImagePtr image(DecodeFile(file, &error));
  EXPECT_TRUE(image) << error;
  return image;
}

Imf::Header HeaderWith(const std::vector<std::string>& channels) {
  Imf::Header header(kWidth, kHeight);
  for (const auto& name : channels) header.channels().insert(name, Imf::Channel(Imf::FLOAT));
  return header;
}

// Channel i holds x + 100 y + 10000 i, or less where a lossy packing wants small numbers.
std::vector<float> Plane(size_t i, float scale = 1) {
  std::vector<float> plane;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x)
      plane.push_back(scale * static_cast<float>(x + 100 * y + 10000 * static_cast<int>(i)));
  }
  return plane;
}

void WriteExr(const std::filesystem::path& file, Imf::Header header, const std::vector<std::string>& channels,
              float scale = 1) {
  std::vector<std::vector<float>> planes;
  Imf::FrameBuffer frame;
  for (size_t i = 0; i < channels.size(); ++i) planes.push_back(Plane(i, scale));
  const Imath::Box2i window = header.dataWindow();
  for (size_t i = 0; i < channels.size(); ++i) {
    char* base = reinterpret_cast<char*>(planes[i].data() - window.min.x - window.min.y * kWidth);
    frame.insert(channels[i], Imf::Slice(Imf::FLOAT, base, sizeof(float), sizeof(float) * kWidth));
  }
  if (header.hasTileDescription()) {
    Imf::TiledOutputFile out(file.c_str(), header);
    out.setFrameBuffer(frame);
    out.writeTiles(0, out.numXTiles() - 1, 0, out.numYTiles() - 1);
  } else {
    Imf::OutputFile out(file.c_str(), header);
    out.setFrameBuffer(frame);
    out.writePixels(kHeight);
  }
}

TEST(DecodeExr, ScanLinesAndTilesWithoutAlpha) {
  const ScratchDirectory scratch;
  Imf::Header header = HeaderWith({"R", "G", "B"});
  WriteExr(scratch / "a.exr", header, {"R", "G", "B"});
  header.setTileDescription(Imf::TileDescription(16, 16));
  WriteExr(scratch / "b.exr", header, {"R", "G", "B"});
  for (const char* name : {"a.exr", "b.exr"}) {
    const ImagePtr image = Read(scratch / name);
    ExpectPixel(*image, 7, 3, {307, 10307, 20307, 1});
    EXPECT_EQ(image->straight_alpha, 0u);
  }
}

TEST(DecodeExr, EveryPacking) {
  const ScratchDirectory scratch;
  for (const auto packing :
       {Imf::NO_COMPRESSION, Imf::RLE_COMPRESSION, Imf::ZIPS_COMPRESSION, Imf::PIZ_COMPRESSION,
        Imf::PXR24_COMPRESSION, Imf::B44_COMPRESSION, Imf::DWAA_COMPRESSION, Imf::DWAB_COMPRESSION}) {
    Imf::Header header = HeaderWith({"R", "G", "B", "A"});
    header.compression() = packing;
    WriteExr(scratch / "a.exr", header, {"R", "G", "B", "A"}, 1e-4f);
    const ImagePtr image = Read(scratch / "a.exr");
    ExpectPixel(*image, 7, 3, {0.0307f, 1.0307f, 2.0307f, 3.0307f}, 0.02f);
  }
}

TEST(DecodeExr, LuminanceIsGrey) {
  const ScratchDirectory scratch;
  WriteExr(scratch / "a.exr", HeaderWith({"Y", "A"}), {"Y", "A"});
  ExpectPixel(*Read(scratch / "a.exr"), 7, 3, {307, 307, 307, 10307});
}

TEST(DecodeExr, LuminanceWithChroma) {
  const ScratchDirectory scratch;
  {
    const std::vector<Imf::Rgba> pixels(kWidth * kHeight, Imf::Rgba(0.5f, 0.25f, 0.75f, 1));
    Imf::RgbaOutputFile out((scratch / "a.exr").c_str(), Imf::Header(kWidth, kHeight), Imf::WRITE_YCA);
    out.setFrameBuffer(pixels.data(), 1, kWidth);
    out.writePixels(kHeight);
  }
  ExpectPixel(*Read(scratch / "a.exr"), 7, 3, {0.5f, 0.25f, 0.75f, 1}, 0.01f);
}

TEST(DecodeExr, FirstLayerWhenThereIsNoPlainColour) {
  const ScratchDirectory scratch;
  const std::vector<std::string> names = {"depth.Z", "light.R", "light.G", "light.B", "light.A"};
  WriteExr(scratch / "a.exr", HeaderWith(names), names);
  ExpectPixel(*Read(scratch / "a.exr"), 1, 0, {10001, 20001, 30001, 40001});
}

TEST(DecodeExr, DataWindowStandsInTheDisplayWindow) {
  const ScratchDirectory scratch;
  Imf::Header header = HeaderWith({"R", "G", "B"});
  header.displayWindow() = Imath::Box2i({10, 20}, {10 + 49, 20 + 39});
  header.dataWindow() = Imath::Box2i({15, 18}, {15 + kWidth - 1, 18 + kHeight - 1});
  WriteExr(scratch / "a.exr", header, {"R", "G", "B"});
  const ImagePtr image = Read(scratch / "a.exr");
  EXPECT_EQ(image->width, 50);
  EXPECT_EQ(image->height, 40);
  ExpectPixel(*image, 0, 0, {0, 0, 0, 0});
  ExpectPixel(*image, 5, 0, {200, 10200, 20200, 1});
}

TEST(DecodeExr, SeveralPartsAreRefusedInClearWords) {
  const ScratchDirectory scratch;
  Imf::Header header = HeaderWith({"R"});
  header.setType(Imf::SCANLINEIMAGE);
  std::vector<Imf::Header> headers(2, header);
  headers[0].setName("one");
  headers[1].setName("two");
  { const Imf::MultiPartOutputFile out((scratch / "a.exr").c_str(), headers.data(), 2); }
  std::string error;
  EXPECT_EQ(DecodeFile(scratch / "a.exr", &error), nullptr);
  EXPECT_EQ(error, "an EXR of several parts cannot be read, only one of a single part");
}

struct TiffKind {
  int bits = 8, samples = 3, photometric = PHOTOMETRIC_RGB, planes = PLANARCONFIG_CONTIG;
  int orientation = ORIENTATION_TOPLEFT, tile = 0, format = SAMPLEFORMAT_UINT;
};

// 20 x 18 pixels; sample s is 10 s + x + y, as bytes or as words of twice that byte.
Bytes BuildTiff(const TiffKind& kind) {
  constexpr int kSide = 20, kRows = 18;
  Bytes out;
  TiffStream stream;
  stream.output = &out;
  const TiffPtr tiff = OpenTiff(stream);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kSide);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kRows);
  TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, kind.bits);
  TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, kind.samples);
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, kind.photometric);
  TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, kind.planes);
  TIFFSetField(tiff.get(), TIFFTAG_ORIENTATION, kind.orientation);
  const bool separate = kind.planes == PLANARCONFIG_SEPARATE;
  const auto value = [](int x, int y, int s) { return static_cast<uint8_t>(10 * s + x + y); };
  std::vector<uint16_t> map(256);
  for (size_t i = 0; i < 256; ++i) map[i] = static_cast<uint16_t>(i * 257);
  if (kind.photometric == PHOTOMETRIC_PALETTE) {
    TIFFSetField(tiff.get(), TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
  }
  const int width = kind.tile ? kind.tile : kSide;
  const int height = kind.tile ? kind.tile : kRows;
  if (kind.tile) {
    TIFFSetField(tiff.get(), TIFFTAG_TILEWIDTH, kind.tile);
    TIFFSetField(tiff.get(), TIFFTAG_TILELENGTH, kind.tile);
  } else {
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, kRows);
  }
  uint32_t block = 0;
  for (int plane = 0; plane < (separate ? kind.samples : 1); ++plane) {
    for (int top = 0; top < kRows; top += height) {
      for (int left = 0; left < kSide; left += width) {
        std::vector<uint8_t> bytes;
        for (int y = top; y < top + height; ++y) {
          for (int x = left; x < left + width; ++x) {
            const int first = separate ? plane : 0;
            for (int s = first; s < (separate ? plane + 1 : kind.samples); ++s) {
              for (int i = 0; i < kind.bits / 8; ++i) bytes.push_back(value(x, y, s));
            }
          }
        }
        const auto size = static_cast<tmsize_t>(bytes.size());
        if (kind.tile) {
          TIFFWriteEncodedTile(tiff.get(), block++, bytes.data(), size);
        } else {
          TIFFWriteEncodedStrip(tiff.get(), block++, bytes.data(), size);
        }
      }
    }
  }
  TIFFWriteDirectory(tiff.get());
  return out;
}

ImagePtr ReadTiff(const TiffKind& kind) {
  Bytes bytes = BuildTiff(kind);
  std::string error;
  ImagePtr image(Decode(bytes, &error));
  EXPECT_TRUE(image) << error;
  return image;
}

TEST(DecodeTiff, StripsTilesAndPlanes) {
  for (const int bits : {8, 16}) {
    for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
      for (const int tile : {0, 16}) {
        TiffKind kind;
        kind.bits = bits;
        kind.planes = planes;
        kind.tile = tile;
        const ImagePtr image = ReadTiff(kind);
        for (const auto& [x, y] : {std::pair{0, 0}, {19, 17}, {3, 16}}) {
          const auto v = static_cast<float>(x + y);
          ExpectPixel(*image, x, y, {v / 255, (v + 10) / 255, (v + 20) / 255, 1});
        }
        EXPECT_EQ(image->gamma, kDisplayGamma);
      }
    }
  }
}

TEST(DecodeTiff, GreyBothWaysAndPalette) {
  TiffKind kind;
  kind.samples = 1;
  kind.photometric = PHOTOMETRIC_MINISBLACK;
  const float v = 7 / 255.0f;
  ExpectPixel(*ReadTiff(kind), 3, 4, {v, v, v, 1});
  kind.photometric = PHOTOMETRIC_MINISWHITE;
  ExpectPixel(*ReadTiff(kind), 3, 4, {1 - v, 1 - v, 1 - v, 1});
  kind.photometric = PHOTOMETRIC_PALETTE;
  ExpectPixel(*ReadTiff(kind), 3, 4, {v, v, v, 1});
}

TEST(DecodeTiff, OrientationIsApplied) {
  TiffKind kind;
  kind.orientation = ORIENTATION_BOTLEFT;
  ExpectPixel(*ReadTiff(kind), 0, 17, {0, 10 / 255.0f, 20 / 255.0f, 1});
  kind.orientation = ORIENTATION_TOPRIGHT;
  ExpectPixel(*ReadTiff(kind), 19, 0, {0, 10 / 255.0f, 20 / 255.0f, 1});
}

}  // namespace
}  // namespace kiln::engine::image
