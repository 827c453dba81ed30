// Black bodies and colour spaces against published figures.
#include "engine/utilities/color_science.h"

#include <gtest/gtest.h>

namespace kiln::engine::test {
namespace {

constexpr ColorSpace kSpaces[] = {ColorSpace::kCie, ColorSpace::kSrgb, ColorSpace::kAcesCg};

// Robertson 1968, "Computation of correlated color temperature and distribution temperature", table 1:
// reciprocal megakelvin, u, v.
TEST(ColorScience, TheLocusIsThatOfTheTables) {
  const double kTable[][3] = {{50, 0.18388, 0.27709},  {100, 0.19032, 0.29326}, {150, 0.19962, 0.30921},
                              {200, 0.21142, 0.32312}, {250, 0.22511, 0.33439}, {300, 0.24010, 0.34308},
                              {350, 0.25591, 0.34951}, {400, 0.27218, 0.35407}, {450, 0.28863, 0.35714},
                              {500, 0.30505, 0.35907}, {550, 0.32129, 0.36011}, {600, 0.33724, 0.36051}};
  for (const auto& [mired, u, v] : kTable) {
    const Chromaticity c = BlackBodyChromaticity(1e6 / mired);
    const double divisor = -2 * c.x + 12 * c.y + 3;
    EXPECT_NEAR(4 * c.x / divisor, u, 5e-5) << mired;
    EXPECT_NEAR(6 * c.y / divisor, v, 5e-5) << mired;
  }
}

// CIE 15: illuminant A, a black body of 2848 K with the second radiation constant of 1931, 1.435e-2 m K.
TEST(ColorScience, IlluminantAIsWhereItIsDefined) {
  const Chromaticity c = BlackBodyChromaticity(2848 * 1.438776877 / 1.435);
  EXPECT_NEAR(c.x, 0.44757, 2e-5);
  EXPECT_NEAR(c.y, 0.40745, 2e-5);
}

void ExpectRows(const Matrix& m, const double (&rows)[3][3], double tolerance) {
  const Vec3 columns[] = {m.c0, m.c1, m.c2};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(columns[i].x, rows[0][i], tolerance);
    EXPECT_NEAR(columns[i].y, rows[1][i], tolerance);
    EXPECT_NEAR(columns[i].z, rows[2][i], tolerance);
  }
}

// Linear sRGB to AP1 with Bradford, as the Academy's colour transforms have it.
TEST(ColorScience, TheMatrixToAcesCgIsThePublishedOne) {
  ExpectRows(RgbToRgb(ColorSpace::kSrgb, ColorSpace::kAcesCg),
             {{0.6130974, 0.3395231, 0.0473795},
              {0.0701937, 0.9163539, 0.0134524},
              {0.0206156, 0.1095698, 0.8698146}},
             1e-5);
  ExpectRows(RgbToRgb(ColorSpace::kAcesCg, ColorSpace::kSrgb),
             {{1.7050510, -0.6217921, -0.0832589},
              {-0.1302564, 1.1408047, -0.0105483},
              {-0.0240034, -0.1289690, 1.1529723}},
             1e-5);
}

TEST(ColorScience, WhiteStaysWhiteAndThereIsAWayBack) {
  for (const ColorSpace from : kSpaces) {
    for (const ColorSpace to : kSpaces) {
      const Vec3 white = RgbToRgb(from, to) * Vec3{1, 1, 1};
      EXPECT_NEAR(white.x, 1, 1e-6);
      EXPECT_NEAR(white.y, 1, 1e-6);
      EXPECT_NEAR(white.z, 1, 1e-6);
      const Matrix there_and_back = RgbToRgb(to, from) * RgbToRgb(from, to);
      ExpectRows(there_and_back, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-6);
    }
  }
}

TEST(ColorScience, ABlackBodyIsOneColourWhateverTheSpace) {
  for (const double kelvin : {2500.0, 4000.0, 6500.0, 12000.0, 40000.0}) {
    const Color srgb = BlackBodyColor(kelvin, ColorSpace::kSrgb);
    for (const ColorSpace space : kSpaces) {
      const Vec3 moved = RgbToRgb(ColorSpace::kSrgb, space) * Vec3{srgb.r, srgb.g, srgb.b};
      const float largest = std::max({moved.x, moved.y, moved.z});
      const Color color = BlackBodyColor(kelvin, space);
      EXPECT_NEAR(moved.x / largest, color.r, 1e-5);
      EXPECT_NEAR(moved.y / largest, color.g, 1e-5);
      EXPECT_NEAR(moved.z / largest, color.b, 1e-5);
    }
  }
}

TEST(ColorScience, TheLargestComponentIsOneAndNoneIsNegative) {
  for (const ColorSpace space : kSpaces) {
    for (double kelvin = kMinTemperature; kelvin <= kMaxTemperature; kelvin *= 1.1) {
      const Color color = BlackBodyColor(kelvin, space);
      EXPECT_EQ(MaxComponent(color), 1);
      EXPECT_GE(std::min({color.r, color.g, color.b}), 0) << kelvin;
    }
  }
}

TEST(ColorScience, ColdIsRedAndHotIsBlue) {
  for (const ColorSpace space : kSpaces) {
    float before = -1;
    for (double kelvin = 2000; kelvin <= kMaxTemperature; kelvin *= 1.2) {
      const Color color = BlackBodyColor(kelvin, space);
      EXPECT_GT(color.b / color.r, before);
      before = color.b / color.r;
    }
    EXPECT_GT(before, 1);
  }
}

TEST(ColorScience, ATemperatureOutsideIsTheNearestEnd) {
  for (const ColorSpace space : kSpaces) {
    EXPECT_EQ(BlackBodyColor(-1, space), BlackBodyColor(kMinTemperature, space));
    EXPECT_EQ(BlackBodyColor(0, space), BlackBodyColor(kMinTemperature, space));
    EXPECT_EQ(BlackBodyColor(1e9, space), BlackBodyColor(kMaxTemperature, space));
    EXPECT_EQ(BlackBodyColor(NAN, space), BlackBodyColor(kMinTemperature, space));
  }
}

TEST(ColorScience, TheClosestTemperatureOfABlackBodyIsItsOwn) {
  for (const ColorSpace space : kSpaces) {
    for (double kelvin = 1000; kelvin <= 30000; kelvin *= 1.07) {
      const Color color = BlackBodyColor(kelvin, space);
      EXPECT_NEAR(ClosestTemperature(color, space), kelvin, kelvin * 1e-4);
      EXPECT_NEAR(ClosestTemperature(color * 0.01F, space), kelvin, kelvin * 1e-4) << "at any brightness";
    }
  }
}

// CIE 15: D65 has a correlated colour temperature of about 6504 K; the white of a space counts as D65.
TEST(ColorScience, WhiteHasTheTemperatureOfD65) {
  for (const ColorSpace space : kSpaces) {
    EXPECT_NEAR(ClosestTemperature({1, 1, 1}, space), 6504, 3);
    EXPECT_NEAR(ClosestTemperature({0, 0, 0}, space), 6504, 3) << "black has none of its own";
    EXPECT_NEAR(ClosestTemperature({NAN, 1, 1}, space), 6504, 3);
    EXPECT_NEAR(ClosestTemperature({-1, -1, -1}, space), 6504, 3);
  }
}

}  // namespace
}  // namespace kiln::engine::test
