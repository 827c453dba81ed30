// The sample points of a pixel: Owen-scrambled Sobol points in padded groups of four dimensions.
//
// A sample is a function of (pixel, sample index, group, seed) alone, so threads and their order can't change
// a picture. Each group is a four-dimensional Sobol sequence whose index is shuffled and whose coordinates
// are scrambled by hashes (Burley 2020, "Practical Hash-based Owen Scrambling", with the hash constants of
// Vegdahl 2021).
#pragma once

#include <array>
#include <cstdint>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

constexpr uint32_t ReverseBits(uint32_t x) {
  x = __builtin_bswap32(x);
  x = ((x & 0x0f0f0f0fu) << 4) | ((x >> 4) & 0x0f0f0f0fu);
  x = ((x & 0x33333333u) << 2) | ((x >> 2) & 0x33333333u);
  return ((x & 0x55555555u) << 1) | ((x >> 1) & 0x55555555u);
}

// A full-avalanche hash of 32 bits; of several numbers side by side as well.
template <class T>
constexpr T HashBits(T x) {
  x ^= x >> 16;
  x *= 0x21f0aaadu;
  x ^= x >> 15;
  x *= 0xd35a2d97u;
  return x ^ (x >> 15);
}
constexpr uint32_t HashCombine(uint32_t a, uint32_t b) {
  return HashBits<uint32_t>(a ^ (b * 0x9e3779b9u + 0x7f4a7c15u));
}

// A permutation of the bits below each bit: Owen's nested uniform scramble of a bit-reversed number.
template <class T>
constexpr T ScrambleReversed(T x, T seed) {
  x ^= x * 0x3d20adeau;
  x += seed;
  x *= (seed >> 16) | 1u;
  x ^= x * 0x05526c56u;
  return x ^ (x * 0x53a22864u);
}

// Coordinate `dimension` (0..3) of the Sobol point `index`, bit-reversed: the lowest bit weighs one half.
uint32_t SobolReversed(uint32_t index, int dimension);

struct Sample4 {
  float x, y, z, w;  // each in [0, 1)
  Vec2 xy() const { return {x, y}; }
  Vec2 zw() const { return {z, w}; }
};

class Sampler {
 public:
  Sampler() = default;
  Sampler(uint32_t pixel_x, uint32_t pixel_y, uint32_t sample, uint32_t seed)
      : base_(HashCombine(HashCombine(HashCombine(seed, 0x68bc21ebu), pixel_x), pixel_y)),
        reversed_index_(ReverseBits(sample)) {}

  // Any group, in any order; the same group gives the same numbers.
  Sample4 Get(uint32_t group) const;

 private:
  uint32_t base_ = 0;
  uint32_t reversed_index_ = 0;
};

}  // namespace kiln::engine::render
