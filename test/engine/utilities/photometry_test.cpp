// The flux of luminaires whose light is known in closed form, and files that are broken.
#include "engine/utilities/photometry.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <random>

namespace kiln::engine::test {
namespace {

constexpr double kPi = std::numbers::pi;

double Cosine(double degrees) {
  return std::cos(degrees * kPi / 180);
}

// A file as a laboratory writes it. The intensity is a function of the vertical and the horizontal angle.
struct File {
  std::string header = "IESNA:LM-63-2002";
  std::string tilt = "TILT=NONE";
  double multiplier = 1;
  int type = 1;
  std::string factors = "1 1 40";
  std::vector<double> vertical;
  std::vector<double> horizontal = {0};
  std::function<double(double, double)> intensity = [](double, double) { return 100.0; };

  std::string Text() const {
    std::string text = header.empty() ? "" : header + "\r\n[TEST] none\r\n[MANUFAC] nobody, 3\r\n";
    text += fmt::format("{}\r\n1 1000 {} {} {} {} 2 0.1 0.1 0\r\n{}\r\n", tilt, multiplier, vertical.size(),
                        horizontal.size(), type, factors);
    for (const double angle : vertical) text += fmt::format("{} ", angle);
    text += "\r\n";
    for (const double angle : horizontal) text += fmt::format("{} ", angle);
    for (const double plane : horizontal) {
      text += "\r\n";
      for (const double angle : vertical) text += fmt::format("{:.9g} ", intensity(angle, plane));
    }
    return text;
  }
};

std::vector<double> Steps(double first, double last, double step) {
  std::vector<double> angles;
  for (int i = 0; first + i * step <= last + 1e-9; ++i) angles.push_back(first + i * step);
  return angles;
}

double FluxOfText(const std::string& text, const TiltFile& tilt = {}) {
  const auto photometry = ParsePhotometry(text, tilt);
  return photometry ? LuminousFlux(*photometry) : -1;
}
double FluxOf(const File& file) {
  return FluxOfText(file.Text());
}

TEST(Photometry, ASourceThatIsTheSameEverywhereHasFourPiTimesItsIntensity) {
  EXPECT_NEAR(FluxOf({.vertical = {0, 180}}), 400 * kPi, 1e-9);
  EXPECT_NEAR(FluxOf({.vertical = {0, 17, 30, 90, 171, 180}}), 400 * kPi, 1e-9);
  EXPECT_NEAR(FluxOf({.vertical = {0, 90}}), 200 * kPi, 1e-9);
  EXPECT_NEAR(FluxOf({.vertical = {90, 180}}), 200 * kPi, 1e-9);
  // CIE 84: the zone between two angles has 2 pi (cos a - cos b) steradians.
  EXPECT_NEAR(FluxOf({.vertical = {60, 75}}), 200 * kPi * (Cosine(60) - Cosine(75)), 1e-9);
}

TEST(Photometry, ALambertianDiscHasPiTimesItsIntensity) {
  const auto lambert = [](double angle, double) { return 100 * std::max(0.0, Cosine(angle)); };
  EXPECT_NEAR(FluxOf({.vertical = Steps(0, 90, 1), .intensity = lambert}), 100 * kPi, 0.01);
  EXPECT_NEAR(FluxOf({.vertical = Steps(0, 180, 2.5), .intensity = lambert}), 100 * kPi, 0.1);
}

// A thin tube of length L shines as the sine of the angle to its axis: pi squared times the intensity.
TEST(Photometry, ATubeHasPiSquaredTimesItsIntensity) {
  const auto upright = [](double angle, double) { return 100 * std::sin(angle * kPi / 180); };
  EXPECT_NEAR(FluxOf({.vertical = Steps(0, 180, 1), .intensity = upright}), 100 * kPi * kPi, 0.05);
  const auto lying = [](double angle, double plane) {
    const double along = std::sin(angle * kPi / 180) * Cosine(plane);
    return 100 * std::sqrt(std::max(0.0, 1 - along * along));
  };
  for (const double last : {90.0, 180.0, 360.0}) {
    EXPECT_NEAR(FluxOf({.vertical = Steps(0, 180, 2.5), .horizontal = Steps(0, last, 5), .intensity = lying}),
                100 * kPi * kPi, 1)
        << last;
  }
  EXPECT_NEAR(FluxOf({.vertical = Steps(0, 180, 2.5), .horizontal = Steps(90, 270, 5), .intensity = lying}),
              100 * kPi * kPi, 1);
}

TEST(Photometry, TypesBAndACountFromTheMiddle) {
  for (const int type : {2, 3}) {
    EXPECT_NEAR(FluxOf({.type = type, .vertical = {-90, 0, 90}, .horizontal = {-90, 10, 90}}), 200 * kPi,
                1e-9);
    EXPECT_NEAR(FluxOf({.type = type, .vertical = {-90, 90}, .horizontal = {0, 90}}), 200 * kPi, 1e-9)
        << "half of it, which stands for both";
  }
  // A band around the equator of type A, and one between the poles of type B.
  const double band = 2 * std::sin(30 * kPi / 180);
  EXPECT_NEAR(FluxOf({.type = 3, .vertical = {-30, 30}, .horizontal = {-90, 90}}), 100 * band * kPi, 1e-9);
  EXPECT_NEAR(FluxOf({.type = 2, .vertical = {-90, 90}, .horizontal = {-30, 30}}), 100 * band * kPi, 1e-9);
  const auto lambert = [](double v, double h) { return 100 * Cosine(v) * Cosine(h); };
  for (const int type : {2, 3}) {
    const auto angles = Steps(-90, 90, 2);
    EXPECT_NEAR(FluxOf({.type = type, .vertical = angles, .horizontal = angles, .intensity = lambert}),
                100 * kPi, 0.1);
  }
}

TEST(Photometry, FactorsOfTheFileCount) {
  const double flux = 400 * kPi;
  EXPECT_NEAR(FluxOf({.multiplier = 2.5, .vertical = {0, 180}}), 2.5 * flux, 1e-9);
  EXPECT_NEAR(FluxOf({.factors = "0.9 0.5 40", .vertical = {0, 180}}), 0.9 * flux, 1e-9)
      << "from 1995 on, the second one means nothing";
  EXPECT_NEAR(FluxOf({.header = "IESNA:LM-63-1995", .factors = "0.9 0.5 4", .vertical = {0, 180}}),
              0.9 * flux, 1e-9);
  EXPECT_NEAR(FluxOf({.header = "IESNA91", .factors = "0.9 0.5 40", .vertical = {0, 180}}), 0.45 * flux,
              1e-9);
  EXPECT_NEAR(FluxOf({.header = "", .factors = "0.9 0.5 40", .vertical = {0, 180}}), 0.45 * flux, 1e-9)
      << "1986 has no header";
}

TEST(Photometry, TheTiltIsThatOfALuminaireAimedDown) {
  EXPECT_NEAR(FluxOf({.tilt = "TILT=INCLUDE\n1\n3\n0 45 90\n0.8 0.9 1", .vertical = {0, 180}}), 320 * kPi,
              1e-9);
  const std::string text = File{.tilt = "TILT=lamp.tlt", .vertical = {0, 180}}.Text();
  EXPECT_EQ(FluxOfText(text), -1) << "there is nobody to read it";
  const auto read = [](const std::string& name) {
    return name == "lamp.tlt" ? std::optional<std::string>("1\n2\n0 90\n.5 1\n") : std::nullopt;
  };
  EXPECT_NEAR(FluxOfText(text, read), 200 * kPi, 1e-9);
  EXPECT_EQ(FluxOfText(text, [](const std::string&) { return std::optional<std::string>("1\n5\n0"); }), -1);
}

TEST(Photometry, WhatCannotBeIsRefused) {
  EXPECT_EQ(FluxOfText(""), -1);
  EXPECT_EQ(FluxOfText("IESNA:LM-63-2002\nTILT=NONE"), -1);
  EXPECT_EQ(FluxOf({.tilt = "TILT=", .vertical = {0, 180}}), -1);
  EXPECT_EQ(FluxOf({.multiplier = -1, .vertical = {0, 180}}), -1);
  EXPECT_EQ(FluxOf({.type = 4, .vertical = {0, 180}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0, 200}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0, 90, 90}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {90, 0}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0, 180}, .horizontal = {0, 77}}), -1);
  EXPECT_EQ(FluxOf({.type = 2, .vertical = {-90, 90}}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0, 180}, .intensity = [](double, double) { return -1.0; }}), -1);
  EXPECT_EQ(FluxOf({.vertical = {0, 180}, .intensity = [](double, double) { return NAN; }}), -1);
  for (const char* counts :
       {"1 1 1 4000000000 4000000000 1", "1 1 1 1e300 1 1", "1 1 1 2.5 1 1", "1 1 1 0 1 1"}) {
    EXPECT_EQ(FluxOfText(fmt::format("TILT=NONE\n{} 2 0 0 0\n1 1 1\n0 180\n0\n1 1\n", counts)), -1) << counts;
  }
}

TEST(Photometry, AFileWithoutItsEndIsRefused) {
  const std::string text = File{.tilt = "TILT=INCLUDE\n1\n2\n0 90\n1 1", .vertical = {0, 90, 180}}.Text();
  const size_t last = text.find_last_not_of(" \r\n");
  ASSERT_GT(FluxOfText(text.substr(0, last + 1)), 0);
  // Cut within its last number the file is still whole: it only says another number.
  const size_t last_number = text.find_last_of(' ', last);
  for (size_t size = 0; size <= last_number; ++size) EXPECT_EQ(FluxOfText(text.substr(0, size)), -1) << size;
}

TEST(Photometry, AnythingGivesANumberOrNothing) {
  const std::string text =
      File{.tilt = "TILT=INCLUDE\n1\n2\n0 90\n1 1", .vertical = Steps(0, 180, 30), .horizontal = {0, 45, 90}}
          .Text();
  std::mt19937 random(7);
  const std::string alphabet = "0123456789 .-+eE,\n\r=TILNOAX\0\xff";
  int read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string broken = text;
    for (int i = 0, changes = 1 + static_cast<int>(random() % 4); i < changes; ++i) {
      broken[random() % broken.size()] = alphabet[random() % alphabet.size()];
    }
    const double flux = FluxOfText(broken);
    read += flux >= 0;
    EXPECT_TRUE(flux == -1 || (flux >= 0 && !std::isnan(flux))) << broken;
  }
  EXPECT_GT(read, 100);
  EXPECT_LT(read, 20000);
}

TEST(Photometry, AFileIsReadFromItsFolder) {
  const auto folder = std::filesystem::temp_directory_path() / "kiln_photometry_test";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "lamp.tlt") << "1\n2\n0 90\n0.5 1\n";
  std::ofstream(folder / "a.ies") << File{.tilt = "TILT=lamp.tlt", .vertical = {0, 180}}.Text();
  EXPECT_NEAR(LuminousFluxOfFile(folder / "a.ies"), 200 * kPi, 1e-9);
  EXPECT_EQ(LuminousFluxOfFile(folder / "none.ies"), 0);
  EXPECT_EQ(LuminousFluxOfFile(folder), 0);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace kiln::engine::test
