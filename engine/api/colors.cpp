// Entry points of colour: black bodies and colour spaces.
#include <algorithm>
#include <cstring>

#include "engine/api/guard.h"
#include "engine/utilities/color_science.h"
#include "entry_points.h"

namespace kiln::engine::api {
namespace {

bool IsSpace(int32_t space) {
  return space >= 0 && space < kColorSpaceCount;
}

void Store(Color color, float* rgb) {
  rgb[0] = color.r;
  rgb[1] = color.g;
  rgb[2] = color.b;
}

}  // namespace

extern "C" {

int32_t Kiln_getBlackBodyColorRGB(float* rgb, float kelvin, int32_t space) {
  if (!rgb || !IsSpace(space)) return 0;
  return Guarded<int32_t>(0, [&] {
    Store(BlackBodyColor(kelvin, static_cast<ColorSpace>(space)), rgb);
    return 1;
  });
}

float Kiln_getBlackBodyClosestTemperature(const float* rgb, float* closest_rgb, int32_t space) {
  if (!rgb || !IsSpace(space)) return -1;
  return Guarded<float>(-1, [&] {
    const auto known = static_cast<ColorSpace>(space);
    const double kelvin = ClosestTemperature({rgb[0], rgb[1], rgb[2]}, known);
    if (closest_rgb) Store(BlackBodyColor(kelvin, known), closest_rgb);
    return static_cast<float>(kelvin);
  });
}

// By columns. Zeros for a space that is none: hosts go on with the nine numbers whatever the answer.
int32_t Kiln_getRGBtoRGBMatrix(int32_t source, int32_t destination, float* matrix) {
  if (!matrix) return 0;
  std::fill_n(matrix, 9, 0.0F);
  if (!IsSpace(source) || !IsSpace(destination)) return 0;
  return Guarded<int32_t>(0, [&] {
    const Matrix m = RgbToRgb(static_cast<ColorSpace>(source), static_cast<ColorSpace>(destination));
    std::memcpy(matrix, &m, sizeof(m));
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
