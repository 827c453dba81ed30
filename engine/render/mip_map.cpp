// Building and filtering of textures.
#include "engine/render/mip_map.h"

namespace kiln::engine::render {

namespace {

// IEC 61966-2-1.
float DecodeSrgb(float x) {
  return x <= 0.04045f ? x / 12.92f : std::pow((x + 0.055f) / 1.055f, 2.4f);
}
float EncodeSrgb(float x) {
  return x <= 0.0031308f ? x * 12.92f : 1.055f * std::pow(x, 1 / 2.4f) - 0.055f;
}

struct SrgbTables {
  static constexpr int kSteps = 4096;
  std::array<float, 256> decode;
  std::array<uint8_t, kSteps> encode;
  SrgbTables() {
    for (int i = 0; i < 256; ++i) decode[i] = DecodeSrgb(i / 255.0f);
    for (int i = 0; i < kSteps; ++i) {
      encode[i] = static_cast<uint8_t>(std::lround(EncodeSrgb(i / (kSteps - 1.0f)) * 255));
    }
  }
};
const SrgbTables& Srgb() {
  static const SrgbTables tables;
  return tables;
}

float Unit(float x) {
  return x > 0 ? std::min(x, 1.0f) : 0.0f;
}
uint8_t ToByte(float x) {
  return static_cast<uint8_t>(std::lround(Unit(x) * 255));
}
uint8_t ToSrgbByte(float x) {
  return Srgb().encode[static_cast<size_t>(std::lround(Unit(x) * (SrgbTables::kSteps - 1)))];
}

bool HasOnlyBytes(const image::Image& image) {
  if (image.gamma == 1) return false;
  const float* values = image.pixels();
  for (size_t i = 0; i < image.pixel_count() * 4; ++i) {
    const float scaled = values[i] * 255;
    if (!(scaled >= 0 && scaled <= 255 && std::abs(scaled - std::round(scaled)) < 1e-3f)) return false;
  }
  return true;
}

AColor Add(AColor a, AColor b, float weight) {
  return {a.r + b.r * weight, a.g + b.g * weight, a.b + b.b * weight, a.a + b.a * weight};
}
// Of two equal texels exactly these.
AColor Mix(AColor a, AColor b, float t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

int Half(int side) {
  return std::max(1, side / 2);
}

// The texels that one texel of the next level covers along an axis: an odd side gives three, the outer ones
// in part.
struct Cover {
  int first;
  int count;
  float weight[3];
};
Cover CoverOf(int i, int from, int to) {
  const float scale = static_cast<float>(from) / static_cast<float>(to);
  const float begin = i * scale;
  const float end = begin + scale;
  Cover cover{static_cast<int>(begin + 1e-4f), 0, {}};
  for (int x = cover.first; x < from && x < end - 1e-4f && cover.count < 3; ++x) {
    const float overlap = std::min(end, x + 1.0f) - std::max(begin, static_cast<float>(x));
    cover.weight[cover.count++] = overlap / scale;
  }
  return cover;
}

// Halves an image whose texel (x, y) `get` gives.
template <class F>
std::vector<AColor> Halve(int width, int height, F&& get) {
  const int half_width = Half(width);
  const int half_height = Half(height);
  std::vector<AColor> out(static_cast<size_t>(half_width) * static_cast<size_t>(half_height));
  for (int y = 0; y < half_height; ++y) {
    const Cover rows = CoverOf(y, height, half_height);
    for (int x = 0; x < half_width; ++x) {
      const Cover columns = CoverOf(x, width, half_width);
      AColor sum{0, 0, 0, 0};
      for (int j = 0; j < rows.count; ++j) {
        for (int i = 0; i < columns.count; ++i) {
          sum = Add(sum, get(columns.first + i, rows.first + j), rows.weight[j] * columns.weight[i]);
        }
      }
      out[static_cast<size_t>(y) * half_width + x] = sum;
    }
  }
  return out;
}

// Into a range where texel indices are small integers, for a coordinate of any size.
float Reduce(float x, Wrap wrap) {
  if (!std::isfinite(x)) return 0;
  switch (wrap) {
    case Wrap::kRepeat:
      return x - std::floor(x);
    case Wrap::kMirror:
      return x - 2 * std::floor(x * 0.5f);
    case Wrap::kClamp:
      break;
  }
  return std::clamp(x, 0.0f, 1.0f);
}

// `i` is at most one texel outside the period that Reduce leaves. Without a remainder, which takes longer
// than the texel.
int Fold(int i, int n, Wrap wrap) {
  if (wrap == Wrap::kRepeat) {
    if (i < 0) return i + n;
    return i < n ? i : i - n;
  }
  if (wrap == Wrap::kMirror) {
    if (i < 0) return -1 - i;
    if (i >= n) return i < 2 * n ? 2 * n - 1 - i : i - 2 * n;
  }
  return std::clamp(i, 0, n - 1);
}

constexpr float kByteScale = 1 / 255.0f;

AColor FloatTexel(const float* t) {
  return {t[0], t[1], t[2], t[3]};
}
AColor ByteTexel(const uint8_t* t) {
  return {t[0] * kByteScale, t[1] * kByteScale, t[2] * kByteScale, t[3] * kByteScale};
}
AColor SrgbTexel(const uint8_t* t, const float* decode) {
  return {decode[t[0]], decode[t[1]], decode[t[2]], t[3] * kByteScale};
}

}  // namespace

MipMap::MipMap(const image::Image& image, bool srgb)
    : srgb_(srgb && image.gamma != 1), decode_(Srgb().decode.data()) {
  const bool keep_bytes = HasOnlyBytes(image);
  int width = image.width;
  int height = image.height;
  Append(width, height);
  const float* values = image.pixels();
  const size_t count = image.pixel_count() * 4;
  if (keep_bytes) {
    bytes_.resize(count);
    for (size_t i = 0; i < count; ++i) bytes_[i] = ToByte(values[i]);
  } else {
    floats_.resize(count);
    for (size_t i = 0; i < count; ++i) {
      // A texel that is not a number would spread into every coarser level.
      const float value = std::isfinite(values[i]) ? values[i] : 0;
      floats_[i] = srgb_ && i % 4 != 3 ? DecodeSrgb(value) : value;
    }
  }
  std::vector<AColor> texels;
  while (width > 1 || height > 1) {
    if (texels.empty()) {
      texels = Halve(width, height, [this](int x, int y) { return Texel(0, x, y); });
    } else {
      texels = Halve(width, height, [&](int x, int y) { return texels[static_cast<size_t>(y) * width + x]; });
    }
    width = Half(width);
    height = Half(height);
    Append(width, height);
    Store(level_count() - 1, texels);
  }
}

void MipMap::Append(int width, int height) {
  size_t offset = 0;
  if (!levels_.empty()) {
    const Level& last = levels_.back();
    offset = last.offset + static_cast<size_t>(last.width) * static_cast<size_t>(last.height);
  }
  levels_.push_back({width, height, offset});
}

void MipMap::Store(int level, const std::vector<AColor>& texels) {
  const size_t end = (levels_[level].offset + texels.size()) * 4;
  if (bytes_.empty()) {
    floats_.reserve(end);
    for (const AColor& t : texels) floats_.insert(floats_.end(), {t.r, t.g, t.b, t.a});
    return;
  }
  bytes_.reserve(end);
  for (const AColor& t : texels) {
    if (srgb_) {
      bytes_.insert(bytes_.end(), {ToSrgbByte(t.r), ToSrgbByte(t.g), ToSrgbByte(t.b), ToByte(t.a)});
    } else {
      bytes_.insert(bytes_.end(), {ToByte(t.r), ToByte(t.g), ToByte(t.b), ToByte(t.a)});
    }
  }
}

AColor MipMap::TexelOf(const Level& level, int x, int y) const {
  const size_t i = (level.offset + static_cast<size_t>(y) * level.width + x) * 4;
  if (bytes_.empty()) return FloatTexel(&floats_[i]);
  return srgb_ ? SrgbTexel(&bytes_[i], decode_) : ByteTexel(&bytes_[i]);
}

AColor MipMap::Texel(int level, int x, int y) const {
  return TexelOf(levels_[level], x, y);
}

AColor MipMap::Nearest(Vec2 uv, const Address& address) const {
  const Level& l = levels_.front();
  const int x = static_cast<int>(uv.x * l.width);
  const int y = static_cast<int>(uv.y * l.height);
  return TexelOf(l, Fold(x, l.width, address.u), Fold(y, l.height, address.v));
}

AColor MipMap::Bilinear(int level, Vec2 uv, const Address& address) const {
  const Level& l = levels_[level];
  const float x = uv.x * l.width - 0.5f;
  const float y = uv.y * l.height - 0.5f;
  const int left = static_cast<int>(std::floor(x));
  const int top = static_cast<int>(std::floor(y));
  const int x0 = Fold(left, l.width, address.u);
  const int x1 = Fold(left + 1, l.width, address.u);
  const size_t upper = l.offset + static_cast<size_t>(Fold(top, l.height, address.v)) * l.width;
  const size_t lower = l.offset + static_cast<size_t>(Fold(top + 1, l.height, address.v)) * l.width;
  const auto mix = [&](auto texel) {
    const float s = x - left;
    return Mix(Mix(texel(upper + x0), texel(upper + x1), s), Mix(texel(lower + x0), texel(lower + x1), s),
               y - top);
  };
  // What the texels are is asked once for the four.
  if (bytes_.empty()) return mix([t = floats_.data()](size_t i) { return FloatTexel(t + 4 * i); });
  if (!srgb_) return mix([t = bytes_.data()](size_t i) { return ByteTexel(t + 4 * i); });
  return mix([t = bytes_.data(), decode = decode_](size_t i) { return SrgbTexel(t + 4 * i, decode); });
}

AColor MipMap::Sample(Vec2 uv, Vec2 footprint, const Address& address) const {
  const Vec2 reduced{Reduce(uv.x, address.u), Reduce(uv.y, address.v)};
  if (address.filter == TextureFilter::kNearest) return Nearest(reduced, address);
  const float texels = std::max(footprint.x * width(), footprint.y * height());
  // Written so that a footprint that is not a number lands on the finest level.
  if (!(texels > 1)) return Bilinear(0, reduced, address);
  const float level = std::min(std::log2(texels), static_cast<float>(level_count() - 1));
  const int fine = std::min(static_cast<int>(level), level_count() - 1);
  const float t = level - fine;
  const AColor color = Bilinear(fine, reduced, address);
  return t > 0 && fine + 1 < level_count() ? Mix(color, Bilinear(fine + 1, reduced, address), t) : color;
}

}  // namespace kiln::engine::render
