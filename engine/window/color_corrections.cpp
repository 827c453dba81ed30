// What each kind of layer does to a colour.
#include "engine/window/color_corrections.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "engine/image/transfer.h"
#include "engine/utilities/color_science.h"

namespace kiln::engine::window {
namespace {

// What contrast leaves alone.
constexpr float kMidGrey = 0.18f;
constexpr double kNeutralTemperature = 6500;

using Correction = std::function<Color(Color)>;

float ValueOf(const Json& layer, const char* key) {
  return layer.at(key).get<float>();
}

Correction Gain(float r, float g, float b) {
  return [=](Color c) { return Color{c.r * r, c.g * g, c.b * b}; };
}

Correction PerChannel(std::function<float(float)> change) {
  return [change = std::move(change)](Color c) { return Color{change(c.r), change(c.g), change(c.b)}; };
}

Correction Exposure(const Json& layer) {
  const float factor = std::exp2(ValueOf(layer, "exposure"));
  const float contrast = ValueOf(layer, "contrast");
  return PerChannel([=](float v) {
    const float exposed = v * factor;
    return contrast == 1 ? exposed : kMidGrey * image::SignedPower(exposed / kMidGrey, contrast);
  });
}

// Light of the temperature becomes white.
Correction WhiteBalance(const Json& layer) {
  const double temperature = layer.at("temperature").get<double>();
  if (temperature == kNeutralTemperature) return Gain(1, 1, 1);
  const Color from = BlackBodyColor(temperature, ColorSpace::kSrgb);
  const Color to = BlackBodyColor(kNeutralTemperature, ColorSpace::kSrgb);
  // A body that hardly glows has no blue in the space at all.
  const auto ratio = [](float a, float b) { return a / std::max(b, 0.01f); };
  const float green = ratio(to.g, from.g);
  return Gain(ratio(to.r, from.r) / green, 1, ratio(to.b, from.b) / green);
}

Correction Saturation(const Json& layer) {
  const float amount = ValueOf(layer, "saturation");
  return [=](Color c) {
    const float grey = Luminance(c);
    const auto away = [=](float v) { return amount == 1 ? v : grey + (v - grey) * amount; };
    return Color{away(c.r), away(c.g), away(c.b)};
  };
}

Correction Gamma(const Json& layer) {
  const float gamma = ValueOf(layer, "gamma");
  return PerChannel([=](float v) { return gamma == 1 ? v : image::SignedPower(v, 1 / gamma); });
}

// Nothing for a type that is not known.
Correction CorrectionOf(const Json& layer) {
  const auto& type = layer.at("type").get_ref<const std::string&>();
  if (type == "exposure") return Exposure(layer);
  if (type == "whiteBalance") return WhiteBalance(layer);
  if (type == "colorGain")
    return Gain(ValueOf(layer, "red"), ValueOf(layer, "green"), ValueOf(layer, "blue"));
  if (type == "saturation") return Saturation(layer);
  if (type == "gamma") return Gamma(layer);
  return {};
}

void Apply(const Correction& correct, float opacity, image::Image& picture) {
  float* pixel = picture.pixels();
  for (size_t i = 0; i < picture.pixel_count(); ++i, pixel += 4) {
    const Color corrected = correct({pixel[0], pixel[1], pixel[2]});
    const float colors[3] = {corrected.r, corrected.g, corrected.b};
    for (int c = 0; c < 3; ++c) {
      pixel[c] = opacity == 1 ? colors[c] : pixel[c] + (colors[c] - pixel[c]) * opacity;
    }
  }
}

}  // namespace

void ApplyLayers(const Json& layers, image::Image& picture) {
  for (const Json& layer : layers.at("layers")) {
    const Correction correct = layer.at("enabled").get<bool>() ? CorrectionOf(layer) : Correction();
    if (correct) Apply(correct, ValueOf(layer, "opacity"), picture);
  }
}

}  // namespace kiln::engine::window
