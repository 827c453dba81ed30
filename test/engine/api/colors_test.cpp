// Colours of black bodies and matrices between colour spaces, through the entry points.
#include <gtest/gtest.h>

#include <cmath>

#include "entry_points.h"

namespace {

TEST(Colors, ABlackBodyHasItsColourInEverySpace) {
  for (int32_t space = 0; space < 3; ++space) {
    float rgb[3] = {-1, -1, -1};
    EXPECT_NE(Kiln_getBlackBodyColorRGB(rgb, 3000, space), 0);
    EXPECT_EQ(rgb[0], 1.0F);
    EXPECT_GT(rgb[1], rgb[2]);
    EXPECT_GT(rgb[2], 0);
  }
}

TEST(Colors, ASpaceThatIsNoneIsAFailure) {
  for (const int32_t space : {-1, 3, INT32_MAX, INT32_MIN}) {
    float rgb[3] = {7, 7, 7};
    EXPECT_EQ(Kiln_getBlackBodyColorRGB(rgb, 3000, space), 0);
    EXPECT_EQ(rgb[0], 7);
    EXPECT_LT(Kiln_getBlackBodyClosestTemperature(rgb, nullptr, space), 0);
    float matrix[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
    EXPECT_EQ(Kiln_getRGBtoRGBMatrix(1, space, matrix), 0);
    for (const float element : matrix) EXPECT_EQ(element, 0) << "never left unwritten";
    EXPECT_EQ(Kiln_getRGBtoRGBMatrix(space, 1, matrix), 0);
  }
}

TEST(Colors, TheClosestTemperatureComesWithItsColour) {
  float rgb[3];
  ASSERT_NE(Kiln_getBlackBodyColorRGB(rgb, 4321, 1), 0);
  for (float& component : rgb) component *= 20;
  float closest[3] = {};
  EXPECT_NEAR(Kiln_getBlackBodyClosestTemperature(rgb, closest, 1), 4321, 0.5);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(closest[i], rgb[i] / 20, 1e-5);
  EXPECT_NEAR(Kiln_getBlackBodyClosestTemperature(rgb, nullptr, 1), 4321, 0.5);
}

TEST(Colors, AMatrixComesByColumns) {
  float matrix[9];
  ASSERT_NE(Kiln_getRGBtoRGBMatrix(1, 2, matrix), 0);
  EXPECT_NEAR(matrix[0], 0.6131, 1e-4) << "red of sRGB: mostly red of ACEScg,";
  EXPECT_NEAR(matrix[1], 0.0702, 1e-4) << "some green,";
  EXPECT_NEAR(matrix[2], 0.0206, 1e-4) << "and a little blue";
}

TEST(Colors, NumbersThatAreNoneDoNoHarm) {
  float rgb[3] = {NAN, 1, INFINITY};
  EXPECT_GT(Kiln_getBlackBodyClosestTemperature(rgb, rgb, 1), 0);
  for (const float kelvin : {NAN, -INFINITY, INFINITY, 0.0F, -5.0F}) {
    EXPECT_NE(Kiln_getBlackBodyColorRGB(rgb, kelvin, 1), 0);
    for (const float component : rgb) EXPECT_TRUE(component >= 0 && component <= 1) << kelvin;
  }
}

}  // namespace
