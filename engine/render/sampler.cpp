// Sobol points of four dimensions from byte tables, and their scrambling.
#include "engine/render/sampler.h"

namespace kiln::engine::render {
namespace {

struct Polynomial {
  int degree;
  uint32_t coefficients;
  std::array<uint32_t, 3> initial;
};

// Joe and Kuo 2008, "Constructing Sobol sequences with better two-dimensional projections": dimensions 2
// to 4. The first dimension is the van der Corput sequence and needs no table.
constexpr std::array<Polynomial, 3> kPolynomials{{{1, 0, {1}}, {2, 1, {1, 3}}, {3, 1, {1, 3, 1}}}};

using ByteTables = std::array<std::array<uint32_t, 256>, 4>;

constexpr ByteTables MakeTables(const Polynomial& polynomial) {
  std::array<uint32_t, 32> direction{};
  const int s = polynomial.degree;
  for (int i = 0; i < s; ++i) direction[i] = polynomial.initial[i] << (31 - i);
  for (int i = s; i < 32; ++i) {
    direction[i] = direction[i - s] ^ (direction[i - s] >> s);
    for (int k = 1; k < s; ++k) {
      if (((polynomial.coefficients >> (s - 1 - k)) & 1u) != 0) direction[i] ^= direction[i - k];
    }
  }
  ByteTables tables{};
  for (int byte = 0; byte < 4; ++byte) {
    for (uint32_t value = 0; value < 256; ++value) {
      uint32_t x = 0;
      for (int bit = 0; bit < 8; ++bit) {
        if (((value >> bit) & 1u) != 0) x ^= direction[byte * 8 + bit];
      }
      tables[byte][value] = ReverseBits(x);
    }
  }
  return tables;
}

constexpr std::array<ByteTables, 3> kTables{MakeTables(kPolynomials[0]), MakeTables(kPolynomials[1]),
                                            MakeTables(kPolynomials[2])};

constexpr uint32_t Look(const ByteTables& t, uint32_t i) {
  return t[0][i & 255u] ^ t[1][(i >> 8) & 255u] ^ t[2][(i >> 16) & 255u] ^ t[3][i >> 24];
}

constexpr float ToUnit(uint32_t bits) {
  return static_cast<float>(bits >> 8) * 0x1p-24f;
}

}  // namespace

uint32_t SobolReversed(uint32_t index, int dimension) {
  return dimension == 0 ? index : Look(kTables[dimension - 1], index);
}

Sample4 Sampler::Get(uint32_t group) const {
  const uint32_t seed = HashCombine(base_, group);
  const uint32_t index = ReverseBits(ScrambleReversed(ReverseBits(index_), seed));
  const auto coordinate = [seed](uint32_t reversed, uint32_t salt) {
    return ToUnit(ReverseBits(ScrambleReversed(reversed, HashBits(seed ^ salt))));
  };
  return {coordinate(index, 0xa511e9b3u), coordinate(Look(kTables[0], index), 0x63d83595u),
          coordinate(Look(kTables[1], index), 0x1c64e6d5u), coordinate(Look(kTables[2], index), 0xe35fb2a1u)};
}

}  // namespace kiln::engine::render
