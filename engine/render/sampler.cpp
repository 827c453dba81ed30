// Sobol points of four dimensions from byte tables, and their scrambling.
#include "engine/render/sampler.h"

#include <bit>
#include <cstring>

namespace kiln::engine::render {
namespace {

struct Polynomial {
  int degree;
  uint32_t coefficients;
  std::array<uint32_t, 3> initial;
};

// Joe and Kuo 2008, "Constructing Sobol sequences with better two-dimensional projections": dimensions 2
// to 4. The first dimension is the van der Corput sequence.
constexpr std::array<Polynomial, 3> kPolynomials{{{1, 0, {1}}, {2, 1, {1, 3}}, {3, 1, {1, 3, 1}}}};

// Coordinates 0 to 3 side by side: four numbers of 32 bits are one register of every processor of this kind.
using Four = std::array<uint32_t, 4>;
using FourLanes = uint32_t __attribute__((vector_size(16)));
using Tables = std::array<std::array<Four, 16>, 8>;

constexpr std::array<uint32_t, 32> MakeDirections(int dimension) {
  std::array<uint32_t, 32> direction{};
  if (dimension == 0) {
    for (int i = 0; i < 32; ++i) direction[i] = 0x80000000u >> i;
    return direction;
  }
  const Polynomial& polynomial = kPolynomials[dimension - 1];
  const int s = polynomial.degree;
  for (int i = 0; i < s; ++i) direction[i] = polynomial.initial[i] << (31 - i);
  for (int i = s; i < 32; ++i) {
    direction[i] = direction[i - s] ^ (direction[i - s] >> s);
    for (int k = 1; k < s; ++k) {
      if (((polynomial.coefficients >> (s - 1 - k)) & 1u) != 0) direction[i] ^= direction[i - k];
    }
  }
  return direction;
}

// What each value of each four bits of an index adds to the point. By bytes there would be half as many
// look-ups, in tables that fill half of the nearest cache.
constexpr Tables MakeTables() {
  Tables tables{};
  for (int dimension = 0; dimension < 4; ++dimension) {
    const std::array<uint32_t, 32> direction = MakeDirections(dimension);
    for (int part = 0; part < 8; ++part) {
      for (uint32_t value = 1; value < 16; ++value) {
        // One bit more than a value that has been filled in already.
        const uint32_t before = value & (value - 1);
        const uint32_t added = direction[part * 4 + std::countr_zero(value)];
        tables[part][value][dimension] = tables[part][before][dimension] ^ ReverseBits(added);
      }
    }
  }
  return tables;
}

alignas(16) constexpr Tables kTables = MakeTables();

FourLanes Load(const Four& four) {
  FourLanes lanes;
  std::memcpy(&lanes, &four, sizeof(lanes));
  return lanes;
}

FourLanes Point(uint32_t i) {
  FourLanes point = Load(kTables[0][i & 15u]);
  for (int part = 1; part < 8; ++part) point ^= Load(kTables[part][(i >> (4 * part)) & 15u]);
  return point;
}

FourLanes ReverseBitsOf(FourLanes x) {
  x = (x >> 16) | (x << 16);
  x = ((x & 0x00ff00ffu) << 8) | ((x >> 8) & 0x00ff00ffu);
  x = ((x & 0x0f0f0f0fu) << 4) | ((x >> 4) & 0x0f0f0f0fu);
  x = ((x & 0x33333333u) << 2) | ((x >> 2) & 0x33333333u);
  return ((x & 0x55555555u) << 1) | ((x >> 1) & 0x55555555u);
}

}  // namespace

uint32_t SobolReversed(uint32_t index, int dimension) {
  return Point(index)[dimension];
}

Sample4 Sampler::Get(uint32_t group) const {
  const uint32_t seed = HashCombine(base_, group);
  const uint32_t index = ReverseBits(ScrambleReversed(reversed_index_, seed));
  const FourLanes salt{0xa511e9b3u, 0x63d83595u, 0x1c64e6d5u, 0xe35fb2a1u};
  const FourLanes bits = ReverseBitsOf(ScrambleReversed(Point(index), HashBits(salt ^ seed)));
  // 24 bits are what a float holds, and as a signed number they convert in one step.
  using Numbers = int32_t __attribute__((vector_size(16)));
  using Floats = float __attribute__((vector_size(16)));
  const Floats unit = __builtin_convertvector(reinterpret_cast<Numbers>(bits >> 8), Floats) * 0x1p-24f;
  return {unit[0], unit[1], unit[2], unit[3]};
}

}  // namespace kiln::engine::render
