// Takes the noise out of a picture, guided by what its film keeps of the surfaces.
#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "engine/render/film.h"

namespace kiln::engine::render {

// A picture and its guides, row by row. A guide that was not kept is empty.
struct NoisyPicture {
  int width = 0, height = 0;
  std::vector<float> rgba;      // linear
  std::vector<float> variance;  // of each colour's mean, three floats a pixel
  std::vector<float> albedo;    // three floats a pixel
  std::vector<float> normal;    // three floats a pixel
};

// What a film has; nothing before it has a size. Where it keeps no squares the variance is estimated from
// neighbours, which tells noise from fine detail less well.
std::optional<NoisyPicture> ReadNoisyPicture(const Film& film);

// Joint non-local means: pixels are averaged with those whose surroundings are alike in colour, as far as
// their variance lets that be told, and that show alike surfaces (Buades, Coll and Morel 2005, "A Non-Local
// Algorithm for Image Denoising"; Rousselle, Knaus and Zwicker 2012, "Adaptive Rendering with Non-Local Means
// Filtering", for the variance; Rousselle, Manzi and Zwicker 2013, "Robust Denoising using Feature and Color
// Information", for the features). Light is filtered without the colour of its surface, so that textures
// stay.
//
// Writes four floats a pixel, alpha as it was; the same on any number of threads. `strength` 0 to 1 blends
// from the noisy picture to the filtered one. False, with the output unusable, when `interrupt` was set.
bool Denoise(const NoisyPicture& picture, float strength, int threads, const std::atomic<bool>& interrupt,
             float* rgba);

}  // namespace kiln::engine::render
