// Quantising rows of pixels for display.
#include "engine/image/quantize.h"

#include <array>
#include <cmath>
#include <cstring>

#include "engine/image/transfer.h"

namespace kiln::engine::image {
namespace {

// Written so that NaN falls to 0.
float Unit(float v) {
  return v > 0 ? (v < 1 ? v : 1.0f) : 0.0f;
}

bool NeedsDivision(const Image& image, Alpha alpha, float a) {
  return alpha == Alpha::kKeep && !image.straight_alpha && a > 0 && a < 1;
}

// Linear light to an 8 bit sRGB code, exactly as rounding the curve's value gives it, without a power a
// channel: the upper bits of the float lead to a code at or just below the right one.
class SrgbCodes {
 public:
  SrgbCodes() {
    for (int code = 1; code < 256; ++code) {
      bounds_[static_cast<size_t>(code)] = FirstWithCode(static_cast<float>(code));
    }
    bounds_[0] = 0;
    bounds_[256] = INFINITY;
    size_t code = 0;
    for (size_t i = 0; i < starts_.size(); ++i) {
      const float value = FromBits((static_cast<uint32_t>(i) << kShift) + kLowest);
      while (bounds_[code + 1] <= value) ++code;
      starts_[i] = static_cast<uint8_t>(code);
    }
  }

  uint8_t operator()(float v) const {
    v = Unit(v);
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    size_t code = bits < kLowest ? 0 : starts_[(bits - kLowest) >> kShift];
    while (bounds_[code + 1] <= v) ++code;
    return static_cast<uint8_t>(code);
  }

 private:
  static constexpr int kShift = 16;
  static constexpr uint32_t kLowest = 0x39000000;  // 2^-13, below half the first step
  static constexpr uint32_t kOne = 0x3f800000;

  static float FromBits(uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  static float Rounded(float v) { return std::floor(LinearToSrgb(v) * 255.0f + 0.5f); }
  // Bisection over the floats themselves, whose order is that of their bits.
  static float FirstWithCode(float code) {
    uint32_t below = 0;
    uint32_t above = kOne;
    while (above - below > 1) {
      const uint32_t middle = below + (above - below) / 2;
      (Rounded(FromBits(middle)) >= code ? above : below) = middle;
    }
    return FromBits(above);
  }

  std::array<float, 257> bounds_;
  std::array<uint8_t, ((kOne - kLowest) >> kShift) + 1> starts_;
};

// Values are never negative here, and a call of lround a channel would cost more than all the rest.
// NOLINTBEGIN(bugprone-incorrect-roundings)
uint8_t Byte(float v) {
  return static_cast<uint8_t>(Unit(v) * 255.0f + 0.5f);
}
uint16_t Word(float v) {
  return static_cast<uint16_t>(Unit(v) * 65535.0f + 0.5f);
}
// NOLINTEND(bugprone-incorrect-roundings)

}  // namespace

void QuantizeRow8(const Image& image, int y, Alpha alpha, uint8_t* rgba) {
  static const SrgbCodes srgb_codes;
  const float* pixel = image.row(y);
  const bool linear = image.gamma == 1;
  for (int x = 0; x < image.width; ++x, pixel += 4, rgba += 4) {
    const float divisor = NeedsDivision(image, alpha, pixel[3]) ? pixel[3] : 1.0f;
    for (int c = 0; c < 3; ++c) {
      const float v = pixel[c] / divisor;
      rgba[c] = linear ? srgb_codes(v) : Byte(v);
    }
    rgba[3] = alpha == Alpha::kKeep ? Byte(pixel[3]) : 255;
  }
}

void QuantizeRow16(const Image& image, int y, Alpha alpha, uint16_t* rgba) {
  const float* pixel = image.row(y);
  const bool linear = image.gamma == 1;
  for (int x = 0; x < image.width; ++x, pixel += 4, rgba += 4) {
    const float divisor = NeedsDivision(image, alpha, pixel[3]) ? pixel[3] : 1.0f;
    for (int c = 0; c < 3; ++c) {
      const float v = Unit(pixel[c] / divisor);
      rgba[c] = Word(linear ? LinearToSrgb(v) : v);
    }
    rgba[3] = alpha == Alpha::kKeep ? Word(pixel[3]) : 65535;
  }
}

}  // namespace kiln::engine::image
