// Lattice, gradients and octaves.
#include "engine/render/noise.h"

namespace kiln::engine::render {
namespace {

uint32_t Hash(int32_t x, int32_t y, int32_t z, uint32_t seed) {
  uint32_t a = (static_cast<uint32_t>(x) + seed * 0x9e3779b9u) * 1664525u + 1013904223u;
  uint32_t b = static_cast<uint32_t>(y) * 1664525u + 1013904223u;
  uint32_t c = static_cast<uint32_t>(z) * 1664525u + 1013904223u;
  for (int round = 0; round < 2; ++round) {
    a += b * c;
    b += c * a;
    c += a * b;
    a ^= round == 0 ? a >> 16 : 0;
    b ^= round == 0 ? b >> 16 : 0;
    c ^= round == 0 ? c >> 16 : 0;
  }
  return c >> 16;
}

// The product with one of the twelve directions to the edges of a cube, four of them twice.
float Gradient(uint32_t hash, Vec3 d) {
  const uint32_t h = hash & 15;
  const float u = h < 8 ? d.x : d.y;
  const float v = h < 4 ? d.y : (h == 12 || h == 14 ? d.x : d.z);
  return ((h & 1) != 0 ? -u : u) + ((h & 2) != 0 ? -v : v);
}

float Fade(float t) {
  return t * t * t * (t * (t * 6 - 15) + 10);
}

float Mix(float a, float b, float t) {
  return a + (b - a) * t;
}

}  // namespace

float GradientNoise(Vec3 at, uint32_t seed) {
  constexpr float kFarthest = 1e6f;
  if (!(std::abs(at.x) < kFarthest && std::abs(at.y) < kFarthest && std::abs(at.z) < kFarthest)) return 0;
  const Vec3 cell{std::floor(at.x), std::floor(at.y), std::floor(at.z)};
  const Vec3 d = at - cell;
  const auto x = static_cast<int32_t>(cell.x);
  const auto y = static_cast<int32_t>(cell.y);
  const auto z = static_cast<int32_t>(cell.z);
  const auto corner = [&](int i, int j, int k) {
    return Gradient(Hash(x + i, y + j, z + k, seed),
                    d - Vec3{static_cast<float>(i), static_cast<float>(j), static_cast<float>(k)});
  };
  const float u = Fade(d.x);
  const float v = Fade(d.y);
  const auto layer = [&](int k) {
    return Mix(Mix(corner(0, 0, k), corner(1, 0, k), u), Mix(corner(0, 1, k), corner(1, 1, k), u), v);
  };
  return Mix(layer(0), layer(1), Fade(d.z));
}

float FractalNoise(Vec3 at, const NoiseOctaves& octaves) {
  float sum = 0;
  float weight = 0;
  float amplitude = 1;
  for (int i = 0; i < octaves.count; ++i) {
    sum += amplitude * GradientNoise(at, octaves.seed + static_cast<uint32_t>(i));
    weight += std::abs(amplitude);
    amplitude *= octaves.gain;
    at = at * octaves.lacunarity;
  }
  return weight > 0 && std::isfinite(weight) ? sum / weight : 0;
}

}  // namespace kiln::engine::render
