// BMP: 1 to 32 bits a pixel, by palette or masks, plain or run-length packed, from OS/2's header to
// version 5.
#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <vector>

#include "engine/image/byte_order.h"
#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"
#include "engine/image/quantize.h"

namespace kiln::engine::image {
namespace {

using Bytes = std::span<const std::byte>;

constexpr size_t kFileHeader = 14;
constexpr uint32_t kCoreHeader = 12;
constexpr uint32_t kInfoHeader = 40;
enum Compression : uint32_t { kPlain = 0, kRuns8 = 1, kRuns4 = 2, kMasks = 3, kMasksWithAlpha = 6 };

struct Layout {
  int64_t width = 0, height = 0;
  bool top_down = false;
  uint32_t depth = 0, compression = kPlain;
  size_t pixels_at = 0;
  std::array<uint32_t, 4> masks{};  // red, green, blue, alpha
  std::vector<std::array<uint8_t, 3>> palette;
};

bool ReadSizes(Bytes bytes, uint32_t header, Layout& layout) {
  constexpr size_t at = kFileHeader;
  if (header == kCoreHeader) {
    layout.width = Little16(bytes, at + 4);
    layout.height = Little16(bytes, at + 6);
    layout.depth = Little16(bytes, at + 10);
    return true;
  }
  layout.width = static_cast<int32_t>(Little32(bytes, at + 4));
  layout.height = static_cast<int32_t>(Little32(bytes, at + 8));
  layout.depth = Little16(bytes, at + 14);
  layout.compression = Little32(bytes, at + 16);
  layout.top_down = layout.height < 0;
  if (layout.top_down) layout.height = -layout.height;
  return true;
}

// Masks stand in the header from version 2 on, or right behind it.
bool ReadMasks(Bytes bytes, uint32_t header, Layout& layout) {
  const bool plain = layout.compression == kPlain;
  if (layout.depth == 16 && plain) layout.masks = {0x7c00, 0x03e0, 0x001f, 0};
  if (layout.depth == 32 && plain) layout.masks = {0xff0000, 0xff00, 0xff, 0xff000000};
  if (layout.compression != kMasks && layout.compression != kMasksWithAlpha) return true;
  const bool alpha = header >= 56 || layout.compression == kMasksWithAlpha;
  const size_t count = alpha ? 4 : 3;
  if (kFileHeader + kInfoHeader + count * 4 > bytes.size()) return false;
  for (size_t i = 0; i < count; ++i) layout.masks[i] = Little32(bytes, kFileHeader + kInfoHeader + i * 4);
  return true;
}

bool ReadPalette(Bytes bytes, uint32_t header, Layout& layout) {
  if (layout.depth > 8) return true;
  const size_t entry = header == kCoreHeader ? 3 : 4;
  const size_t most = size_t{1} << layout.depth;
  size_t count = header == kCoreHeader ? 0 : Little32(bytes, kFileHeader + 32);
  if (count == 0 || count > most) count = most;
  size_t at = kFileHeader + header;
  // Some writers store fewer colours than they announce; the pixels say where the palette must end.
  count = std::min(count, layout.pixels_at > at ? (layout.pixels_at - at) / entry : 0);
  layout.palette.assign(most, {0, 0, 0});
  for (size_t i = 0; i < count; ++i, at += entry) {
    if (at + entry > bytes.size()) return false;
    layout.palette[i] = {ByteAt(bytes, at + 2), ByteAt(bytes, at + 1), ByteAt(bytes, at)};
  }
  return count > 0;
}

bool Supported(const Layout& layout) {
  switch (layout.compression) {
    case kPlain:
      return std::ranges::count(std::array{1u, 4u, 8u, 16u, 24u, 32u}, layout.depth) > 0;
    case kRuns8:
      return layout.depth == 8 && !layout.top_down;
    case kRuns4:
      return layout.depth == 4 && !layout.top_down;
    case kMasks:
    case kMasksWithAlpha:
      return layout.depth == 16 || layout.depth == 32;
    default:
      return false;
  }
}

bool ReadLayout(Bytes bytes, Layout& layout, std::string* error) {
  if (bytes.size() < kFileHeader + kCoreHeader) return Fail(error, "the BMP ends within its header");
  const uint32_t header = Little32(bytes, kFileHeader);
  if (header != kCoreHeader && (header < kInfoHeader || header > 1024)) {
    return Fail(error, "the BMP has an unknown header");
  }
  if (bytes.size() < kFileHeader + header) return Fail(error, "the BMP ends within its header");
  layout.pixels_at = Little32(bytes, 10);
  ReadSizes(bytes, header, layout);
  if (!Supported(layout)) return Fail(error, "the BMP is packed in a way that cannot be read");
  if (!ReadMasks(bytes, header, layout) || !ReadPalette(bytes, header, layout)) {
    return Fail(error, "the BMP ends within its header");
  }
  if (layout.pixels_at < kFileHeader + header || layout.pixels_at > bytes.size()) {
    return Fail(error, "the BMP says that its pixels lie outside the file");
  }
  return true;
}

void PutPalette(const Layout& layout, size_t index, float* to) {
  const auto& color = layout.palette[index];
  for (size_t c = 0; c < 3; ++c) to[c] = FromByte(color[c]);
  to[3] = 1;
}

float Masked(uint32_t value, uint32_t mask) {
  const int shift = std::countr_zero(mask);
  return static_cast<float>(static_cast<double>((value & mask) >> shift) / (mask >> shift));
}

void ReadPixel(Bytes row, const Layout& layout, size_t x, float* to) {
  if (layout.depth <= 8) {
    const size_t bit = x * layout.depth;
    const uint32_t shift = 8 - layout.depth - static_cast<uint32_t>(bit % 8);
    PutPalette(layout, ByteAt(row, bit / 8) >> shift & ((1u << layout.depth) - 1), to);
    return;
  }
  if (layout.depth == 24) {
    for (size_t c = 0; c < 3; ++c) to[c] = FromByte(ByteAt(row, x * 3 + 2 - c));
    to[3] = 1;
    return;
  }
  const uint32_t value = layout.depth == 16 ? Little16(row, x * 2) : Little32(row, x * 4);
  for (size_t c = 0; c < 4; ++c) {
    const float missing = c == 3 ? 1.0f : 0.0f;
    to[c] = layout.masks[c] ? Masked(value, layout.masks[c]) : missing;
  }
}

int RowOf(const Layout& layout, int64_t stored) {
  return static_cast<int>(layout.top_down ? stored : layout.height - 1 - stored);
}

bool ReadPlain(Bytes bytes, const Layout& layout, Image& image) {
  const size_t stride = (static_cast<size_t>(layout.width) * layout.depth + 31) / 32 * 4;
  const size_t used = (static_cast<size_t>(layout.width) * layout.depth + 7) / 8;
  const Bytes pixels = bytes.subspan(layout.pixels_at);
  // The padding of the last row may be missing.
  if (pixels.size() < stride * static_cast<size_t>(layout.height - 1) + used) return false;
  for (int64_t stored = 0; stored < layout.height; ++stored) {
    const Bytes row = pixels.subspan(static_cast<size_t>(stored) * stride, used);
    float* to = image.row(RowOf(layout, stored));
    for (size_t x = 0; x < static_cast<size_t>(layout.width); ++x) ReadPixel(row, layout, x, to + x * 4);
  }
  return true;
}

// A plain 32 bit file that leaves the fourth byte at 0 throughout means no alpha, not nothing to see.
void RepairAlpha(Image& image) {
  float* pixel = image.pixels();
  const size_t count = image.pixel_count();
  for (size_t i = 0; i < count; ++i) {
    if (pixel[i * 4 + 3] != 0) return;
  }
  for (size_t i = 0; i < count; ++i) pixel[i * 4 + 3] = 1;
}

// Unpacks runs. Pixels that the stream skips keep the first colour of the palette.
class RunReader {
 public:
  RunReader(Bytes stream, const Layout& layout, Image& image)
      : stream_(stream), layout_(layout), image_(image) {}

  bool Read() {
    for (size_t i = 0; i < image_.pixel_count(); ++i) PutPalette(layout_, 0, image_.pixels() + i * 4);
    while (stream_.size() - at_ >= 2) {
      const uint8_t count = ByteAt(stream_, at_);
      const uint8_t value = ByteAt(stream_, at_ + 1);
      at_ += 2;
      if (count > 0) {
        for (size_t i = 0; i < count; ++i) Put(layout_.depth == 8 ? value : Nibble(value, i));
      } else if (value == 1) {
        return true;
      } else if (!Escape(value)) {
        return false;
      }
    }
    // The mark of the end is often forgotten; rows that are missing are not.
    return y_ >= layout_.height || (y_ == layout_.height - 1 && x_ >= layout_.width);
  }

 private:
  static size_t Nibble(uint8_t value, size_t i) { return i % 2 == 0 ? value >> 4 : value & 15; }

  void Put(size_t index) {
    if (x_ < layout_.width && y_ < layout_.height) {
      PutPalette(layout_, index, image_.row(RowOf(layout_, y_)) + x_ * 4);
    }
    ++x_;
  }

  bool Escape(uint8_t code) {
    if (code == 0) {
      x_ = 0;
      ++y_;
      return true;
    }
    if (code == 2) {
      if (stream_.size() - at_ < 2) return false;
      x_ += ByteAt(stream_, at_);
      y_ += ByteAt(stream_, at_ + 1);
      at_ += 2;
      return true;
    }
    const size_t used = layout_.depth == 8 ? code : (code + 1u) / 2;
    if (stream_.size() - at_ < used) return false;
    for (size_t i = 0; i < code; ++i) {
      Put(layout_.depth == 8 ? ByteAt(stream_, at_ + i) : Nibble(ByteAt(stream_, at_ + i / 2), i));
    }
    at_ = std::min(at_ + (used + 1) / 2 * 2, stream_.size());
    return true;
  }

  Bytes stream_;
  const Layout& layout_;
  Image& image_;
  size_t at_ = 0;
  int64_t x_ = 0, y_ = 0;
};

}  // namespace

Image* DecodeBmp(std::span<const std::byte> bytes, std::string* error) try {
  if (bytes.size() < 2 || ByteAt(bytes, 0) != 'B' || ByteAt(bytes, 1) != 'M') {
    return FailImage(error, "the bytes are not a BMP");
  }
  Layout layout;
  if (!ReadLayout(bytes, layout, error)) return nullptr;
  const bool runs = layout.compression == kRuns8 || layout.compression == kRuns4;
  ImagePtr image = CreateDecoded(layout.width, layout.height, kDisplayGamma, true, error);
  if (!image) return nullptr;
  // A run of two bytes makes 255 pixels, and a jump of four 255 rows.
  const bool read = runs ? Plausible(static_cast<uint64_t>(layout.height), bytes.size(), 64) &&
                               RunReader(bytes.subspan(layout.pixels_at), layout, *image).Read()
                         : ReadPlain(bytes, layout, *image);
  if (!read) return FailImage(error, "the BMP ends before its picture does");
  if (layout.depth == 32 && layout.compression == kPlain) RepairAlpha(*image);
  return image.release();
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
