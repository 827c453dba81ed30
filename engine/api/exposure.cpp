// The entry point of what a camera's automatics would choose for the last picture.
#include <cmath>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/utilities/color_science.h"

namespace kiln::engine::api {
namespace {

// What an average scene is developed to: the middle grey of photography.
constexpr double kMiddleGrey = 0.18;

struct Averages {
  double log_luminance = 0;
  double r = 0, g = 0, b = 0;
  size_t count = 0;
};

// Of the pixels that show light; what is not rendered yet shows none.
Averages Average(const image::Image& frame) {
  Averages sums;
  const float* pixel = frame.pixels();
  for (size_t i = 0; i < frame.pixel_count(); ++i, pixel += 4) {
    const Color color{pixel[0], pixel[1], pixel[2]};
    const float luminance = Luminance(color);
    if (!(luminance > 0) || !std::isfinite(luminance)) continue;
    sums.log_luminance += std::log(static_cast<double>(luminance));
    sums.r += color.r;
    sums.g += color.g;
    sums.b += color.b;
    ++sums.count;
  }
  return sums;
}

// Exposure: the factor that brings the log-average luminance to middle grey (Reinhard, Stark, Shirley and
// Ferwerda 2002, "Photographic Tone Reproduction for Digital Images", equations 1 and 2). White balance: the
// temperature, in kelvin, of the average colour, which an evenly coloured scene would have from its light
// alone (Buchsbaum 1980, "A Spatial Processor Model for Object Colour Perception").
KilnAutoExposure Choose(const Averages& sums) {
  const auto count = static_cast<double>(sums.count);
  const Color mean{static_cast<float>(sums.r / count), static_cast<float>(sums.g / count),
                   static_cast<float>(sums.b / count)};
  return {static_cast<float>(kMiddleGrey / std::exp(sums.log_luminance / count)),
          static_cast<float>(ClosestTemperature(mean, ColorSpace::kSrgb))};
}

}  // namespace

extern "C" {

// Nothing before the first picture, and for one that is black.
int32_t Kiln_KilnRenderer_getAutoExposureResult(KilnRendererHandle renderer, KilnAutoExposure* result) {
  if (!result) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](const Renderer& r) {
    const image::ImagePtr frame = r.Snapshot();
    const Averages sums = frame ? Average(*frame) : Averages{};
    if (sums.count == 0) return 0;
    *result = Choose(sums);
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
