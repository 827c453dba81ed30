// Drawing one image on another.
#include <algorithm>
#include <cstring>

#include "engine/image/operations.h"
#include "engine/image/transfer.h"

namespace kiln::engine::image {
namespace {

struct Pixel {
  float r, g, b, a;
};

Pixel Load(const float* p) {
  return {p[0], p[1], p[2], p[3]};
}
void Store(Pixel p, float* to) {
  std::memcpy(to, &p, sizeof p);
}

Pixel Premultiplied(Pixel p) {
  return {p.r * p.a, p.g * p.a, p.b * p.a, p.a};
}
Pixel Straight(Pixel p) {
  return p.a > 0 ? Pixel{p.r / p.a, p.g / p.a, p.b / p.a, p.a} : p;
}

// The curves apply to straight colour: a premultiplied one would change with its coverage.
Pixel Reencoded(Pixel p, float from, float to) {
  return {FromLinear(ToLinear(p.r, from), to), FromLinear(ToLinear(p.g, from), to),
          FromLinear(ToLinear(p.b, from), to), p.a};
}

Pixel Over(Pixel above, Pixel below) {
  const float rest = 1 - above.a;
  return {above.r + below.r * rest, above.g + below.g * rest, above.b + below.b * rest,
          above.a + below.a * rest};
}

struct Conversion {
  float from_gamma, to_gamma;
  bool from_straight, to_straight;

  bool Needed() const { return from_gamma != to_gamma || from_straight != to_straight; }
  Pixel operator()(Pixel p) const {
    bool straight = from_straight;
    if (from_gamma != to_gamma) {
      if (!straight) p = Straight(p);
      p = Reencoded(p, from_gamma, to_gamma);
      // A premultiplied pixel without coverage is light added as it is: there is nothing to multiply again.
      if (!straight && p.a <= 0) return p;
      straight = true;
    }
    if (straight == to_straight) return p;
    return to_straight ? Straight(p) : Premultiplied(p);
  }
};

void CopyRow(const float* from, float* to, int64_t count, const Conversion& convert) {
  if (!convert.Needed()) {
    std::memcpy(to, from, static_cast<size_t>(count) * 4 * sizeof(float));
    return;
  }
  for (int64_t i = 0; i < count; ++i) Store(convert(Load(from + 4 * i)), to + 4 * i);
}

void BlendRow(const float* from, float* to, int64_t count, const Conversion& convert) {
  for (int64_t i = 0; i < count; ++i) {
    Pixel above = convert(Load(from + 4 * i));
    Pixel below = Load(to + 4 * i);
    if (convert.to_straight) {
      Store(Straight(Over(Premultiplied(above), Premultiplied(below))), to + 4 * i);
    } else {
      Store(Over(above, below), to + 4 * i);
    }
  }
}

}  // namespace

bool Draw(Image& target, const Image& source, int x, int y, int mode) noexcept {
  if (mode != static_cast<int>(DrawMode::kCopy) && mode != static_cast<int>(DrawMode::kBlend)) return false;
  // 64 bits: a position near either end of the 32 plus a size overflows.
  const int64_t left = std::max<int64_t>(x, 0);
  const int64_t right = std::min<int64_t>(int64_t{x} + source.width, target.width);
  const int64_t top = std::max<int64_t>(y, 0);
  const int64_t bottom = std::min<int64_t>(int64_t{y} + source.height, target.height);
  if (left >= right || top >= bottom) return true;

  const Image* from = &source;
  ImagePtr copy;
  if (from == &target) {
    copy.reset(Clone(source));
    if (!copy) return false;
    from = copy.get();
  }
  const Conversion convert{source.gamma, target.gamma, source.straight_alpha != 0,
                           target.straight_alpha != 0};
  for (int64_t row = top; row < bottom; ++row) {
    const float* read = from->row(static_cast<int>(row - y)) + 4 * (left - x);
    float* write = target.row(static_cast<int>(row)) + 4 * left;
    if (mode == static_cast<int>(DrawMode::kCopy)) {
      CopyRow(read, write, right - left, convert);
    } else {
      BlendRow(read, write, right - left, convert);
    }
  }
  return true;
}

}  // namespace kiln::engine::image
