// What the layers do to colours.
#include "engine/window/color_corrections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

namespace kiln::engine::window {
namespace {

using Pixel = std::array<float, 4>;

Pixel Applied(const char* list, Pixel pixel) {
  const auto layers =
      MergeLayers(DefaultLayers(), *ParseDocument(std::string(R"({"layers": )") + list + "}"));
  EXPECT_TRUE(layers) << list;
  const image::ImagePtr picture(image::Create(1, 1));
  std::copy(pixel.begin(), pixel.end(), picture->pixels());
  ApplyLayers(*layers, *picture);
  std::copy_n(picture->pixels(), 4, pixel.begin());
  return pixel;
}

TEST(ColorCorrections, DefaultsChangeNothing) {
  const Pixel pixel = {0.1f, 2, -0.5f, 0.25f};
  const std::string list = DefaultLayers().at("layers").dump();
  EXPECT_EQ(Applied(list.c_str(), pixel), pixel);
}

TEST(ColorCorrections, EachDoesItsOwn) {
  EXPECT_EQ(Applied(R"([{"type": "exposure", "exposure": 2}])", {1, 0.5f, 0, 0.5f}), (Pixel{4, 2, 0, 0.5f}));
  EXPECT_EQ(Applied(R"([{"type": "colorGain", "red": 2, "blue": 0}])", {1, 1, 1, 1}), (Pixel{2, 1, 0, 1}));
  EXPECT_EQ(Applied(R"([{"type": "gamma", "gamma": 2}])", {0.25f, 4, -4, 1}), (Pixel{0.5f, 2, -2, 1}));
  const Pixel grey = Applied(R"([{"type": "saturation", "saturation": 0}])", {1, 0.5f, 0, 1});
  EXPECT_EQ(grey[0], grey[1]);
  EXPECT_EQ(grey[1], grey[2]);
  // Mid-grey is where contrast turns.
  EXPECT_FLOAT_EQ(Applied(R"([{"type": "exposure", "contrast": 2}])", {0.18f, 1, 0, 1})[0], 0.18f);
  const Pixel warm = Applied(R"([{"type": "whiteBalance", "temperature": 3000}])", {1, 1, 1, 1});
  EXPECT_LT(warm[0], 1);
  EXPECT_EQ(warm[1], 1);
  EXPECT_GT(warm[2], 1);
}

TEST(ColorCorrections, OpacityAndOrderCount) {
  EXPECT_EQ(Applied(R"([{"type": "exposure", "exposure": 2, "opacity": 0.5}])", {1, 0, 0, 1})[0], 2.5f);
  EXPECT_EQ(Applied(R"([{"type": "exposure", "exposure": 2, "enabled": false}])", {1, 0, 0, 1})[0], 1);
  EXPECT_EQ(
      Applied(R"([{"type": "exposure", "exposure": 2}, {"type": "gamma", "gamma": 2}])", {1, 0, 0, 1})[0], 2);
  EXPECT_EQ(
      Applied(R"([{"type": "gamma", "gamma": 2}, {"type": "exposure", "exposure": 2}])", {1, 0, 0, 1})[0], 4);
  EXPECT_EQ(Applied(R"([{"type": "mine"}])", {1, 0, 0, 1})[0], 1);
}

}  // namespace
}  // namespace kiln::engine::window
