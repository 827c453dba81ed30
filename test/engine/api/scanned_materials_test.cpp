// The parameters of scanned materials and their encoding.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "entry_points.h"

namespace kiln::engine::test {
namespace {

constexpr int32_t kSize = sizeof(ScannedMaterialParams);

ScannedMaterialParams Defaults() {
  ScannedMaterialParams params;
  std::memset(&params, 0xAA, sizeof(params));
  Kiln_BRDFScannedParams_initialize(&params, kSize);
  return params;
}

std::vector<int32_t> Encode(const ScannedMaterialParams& params) {
  int32_t error = 0;
  const int32_t count = Kiln_encodeBRDFScannedParams(nullptr, 0, &params, kSize, &error);
  std::vector<int32_t> words(static_cast<size_t>(count), 0x55);
  EXPECT_EQ(Kiln_encodeBRDFScannedParams(words.data(), count, &params, kSize, &error), count);
  EXPECT_EQ(error, 0);
  return words;
}

TEST(ScannedMaterials, DefaultsAreWrittenAsFarAsThereIsRoom) {
  const ScannedMaterialParams params = Defaults();
  EXPECT_EQ(params.plain, 0);
  EXPECT_EQ(params.invgamma, 1);
  EXPECT_THAT(params.filter, testing::Each(1));
  EXPECT_THAT(params.uvtrans, testing::ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0));
  EXPECT_EQ(params.ccior, 1.5F);
  EXPECT_EQ(params.triplanar, 0);
  EXPECT_EQ(params.ccglossyvar, 0);
  ScannedMaterialParams some{};
  Kiln_BRDFScannedParams_initialize(&some, 8);
  EXPECT_EQ(some.invgamma, 1);
  EXPECT_EQ(some.saturation, 0);
  Kiln_BRDFScannedParams_initialize(&some, -1);
  Kiln_BRDFScannedParams_initialize(nullptr, kSize);
}

TEST(ScannedMaterials, TheEncodingIsAVersionAndTheWords) {
  ScannedMaterialParams params = Defaults();
  params.plain = 3;
  params.ccglossyvar = 0.5F;
  const std::vector<int32_t> words = Encode(params);
  ASSERT_EQ(words.size(), 56U);
  EXPECT_EQ(words[0], 1);
  EXPECT_EQ(std::memcmp(words.data() + 1, &params, sizeof(params)), 0);
  EXPECT_EQ(Encode(params), words);
}

TEST(ScannedMaterials, NumbersHaveOneFormOnly) {
  ScannedMaterialParams params = Defaults();
  const std::vector<int32_t> words = Encode(params);
  params.ccbump = -0.0F;
  params.ccior = NAN;
  params.filter[1] = INFINITY;
  EXPECT_EQ(Encode(params), words);
  // The same bits in an int are a number like any other.
  params.mapChannel = INT32_MIN;
  params.mapChBitmask = 0x7FC00000;
  const std::vector<int32_t> others = Encode(params);
  EXPECT_EQ(others[1 + 25], INT32_MIN);
  EXPECT_EQ(others[1 + 43], 0x7FC00000);
}

TEST(ScannedMaterials, WhatCannotBeEncodedIsRefused) {
  const ScannedMaterialParams params = Defaults();
  int32_t words[56] = {7};
  int32_t error = 0;
  EXPECT_EQ(Kiln_encodeBRDFScannedParams(words, 55, &params, kSize, &error), 0);
  EXPECT_EQ(error, 2);
  EXPECT_EQ(words[0], 7);
  EXPECT_EQ(Kiln_encodeBRDFScannedParams(words, 56, &params, kSize - 4, &error), 0);
  EXPECT_EQ(error, 1);
  EXPECT_EQ(Kiln_encodeBRDFScannedParams(words, 56, nullptr, kSize, nullptr), 0);
}

TEST(ScannedMaterials, NoScanFileIsRead) {
  for (const char* file : {static_cast<const char*>(nullptr), "/no/such/file", "/proc/self/exe"}) {
    int32_t error = 0;
    EXPECT_EQ(Kiln_KiScanInfo_create(file, &error), nullptr);
    EXPECT_EQ(error, 1);
  }
  EXPECT_EQ(Kiln_KiScanInfo_create(nullptr, nullptr), nullptr);
  char text[4] = "abc";
  EXPECT_EQ(Kiln_KiScanInfo_getInfoString(nullptr, "name", text, sizeof(text)), 0);
  EXPECT_STREQ(text, "");
  KiScansPreset preset;
  std::memset(&preset, 0xAA, sizeof(preset));
  Kiln_KiScansPresets_reset(&preset, sizeof(preset));
  EXPECT_EQ(preset.ccior, 1.5F);
  EXPECT_EQ(preset.plain, 0);
  EXPECT_EQ(preset.transpf, 1);
  EXPECT_EQ(Kiln_KiScanInfo_getPreset(nullptr, "name", &preset, sizeof(preset)), 0);
  Kiln_KiScanInfo_delete(nullptr);
}

}  // namespace
}  // namespace kiln::engine::test
