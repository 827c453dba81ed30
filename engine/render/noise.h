// Gradient noise and its sum over octaves.
#pragma once

#include <cstdint>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

struct NoiseOctaves {
  int count = 4;
  float lacunarity = 2;  // ratio of frequencies
  float gain = 0.5f;     // ratio of amplitudes
  uint32_t seed = 0;
};

// Perlin 2002, "Improving Noise": -1 to 1, 0 at whole coordinates, two continuous derivatives. The numbers of
// a lattice point come from the hash pcg3d (Jarzynski and Olano 2020, "Hash Functions for GPU Rendering"), so
// that nothing repeats. Coordinates beyond a million and what is not finite give 0.
float GradientNoise(Vec3 at, uint32_t seed);

// The octaves' weighted mean, -1 to 1.
float FractalNoise(Vec3 at, const NoiseOctaves& octaves);

}  // namespace kiln::engine::render
