// The sample points: their stratification, and that nothing but their address matters.
#include "engine/render/sampler.h"

#include <gtest/gtest.h>

#include <set>

#include "engine/render/alias_table.h"
#include "engine/render/distribution.h"
#include "engine/render/pixel_filter.h"
#include "engine/render/sampling.h"
#include "engine/render/spherical_rectangle.h"

namespace kiln::engine::render {
namespace {

TEST(Sampler, EveryElementaryIntervalHoldsOnePoint) {
  // A (0, m, 2)-net in base 2: for each shape of 2^a by 2^(m - a) cells, one point of 2^m in each cell.
  for (const uint32_t group : {0u, 1u, 7u}) {
    for (const int m : {2, 4, 6, 8}) {
      for (int a = 0; a <= m; ++a) {
        std::set<std::pair<int, int>> cells;
        for (uint32_t i = 0; i < (1u << m); ++i) {
          const Sample4 u = Sampler(3, 5, i, 11).Get(group);
          cells.emplace(static_cast<int>(u.x * static_cast<float>(1 << a)),
                        static_cast<int>(u.y * static_cast<float>(1 << (m - a))));
        }
        EXPECT_EQ(cells.size(), size_t{1} << m) << group << ' ' << m << ' ' << a;
      }
    }
  }
}

TEST(Sampler, EachCoordinateIsStratified) {
  for (int dimension = 0; dimension < 4; ++dimension) {
    std::set<int> cells;
    for (uint32_t i = 0; i < 256; ++i) {
      const Sample4 u = Sampler(0, 0, i, 0).Get(2);
      const float values[] = {u.x, u.y, u.z, u.w};
      EXPECT_GE(values[dimension], 0);
      EXPECT_LT(values[dimension], 1);
      cells.insert(static_cast<int>(values[dimension] * 256));
    }
    EXPECT_EQ(cells.size(), 256u) << dimension;
  }
}

TEST(Sampler, DirectionNumbersAreTheKnownOnes) {
  // By hand from the published initial numbers, bit-reversed: 1 is a half, 2 a quarter, 4 an eighth.
  const uint32_t second[] = {0, 1, 3, 2, 5};
  const uint32_t third[] = {0, 1, 3, 2, 6};
  const uint32_t fourth[] = {0, 1, 3, 2, 4};
  for (uint32_t i = 0; i < 5; ++i) {
    EXPECT_EQ(SobolReversed(i, 0), i);
    EXPECT_EQ(SobolReversed(i, 1) & 7u, second[i]) << i;
    EXPECT_EQ(SobolReversed(i, 2) & 7u, third[i]) << i;
    EXPECT_EQ(SobolReversed(i, 3) & 7u, fourth[i]) << i;
  }
}

TEST(Sampler, PixelsSeedsAndGroupsDiffer) {
  const auto first = [](uint32_t x, uint32_t y, uint32_t seed, uint32_t group) {
    return Sampler(x, y, 0, seed).Get(group).x;
  };
  EXPECT_EQ(first(1, 2, 3, 4), first(1, 2, 3, 4));
  EXPECT_NE(first(1, 2, 3, 4), first(2, 1, 3, 4));
  EXPECT_NE(first(1, 2, 3, 4), first(1, 2, 4, 4));
  EXPECT_NE(first(1, 2, 3, 4), first(1, 2, 3, 5));
}

TEST(Sampler, PairsOfGroupsAreUncorrelated) {
  double sum = 0;
  constexpr int kCount = 4096;
  for (uint32_t i = 0; i < kCount; ++i) {
    const Sampler sampler(9, 9, i, 1);
    sum += (sampler.Get(1).x - 0.5) * (sampler.Get(3).x - 0.5);
  }
  // Of independent numbers: 0 +- 1 / (12 sqrt n).
  EXPECT_NEAR(sum / kCount, 0, 4.0 / (12 * std::sqrt(kCount)));
}

TEST(AliasTable, GivesEachEntryItsShareAndStretchesTheRest) {
  const float weights[] = {1, 0, 3, 4};
  const AliasTable table(weights);
  int counts[4] = {};
  double rest = 0;
  constexpr int kCount = 8000;
  for (int i = 0; i < kCount; ++i) {
    float u = (static_cast<float>(i) + 0.5f) / kCount;
    ++counts[table.Sample(&u)];
    EXPECT_GE(u, 0);
    EXPECT_LT(u, 1);
    rest += u;
  }
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(counts[i], kCount * weights[i] / 8, 4) << i;
    EXPECT_FLOAT_EQ(table.Probability(static_cast<uint32_t>(i)), weights[i] / 8);
  }
  EXPECT_NEAR(rest / kCount, 0.5, 0.01);
}

TEST(AliasTable, UnusableWeightsCountAsNone) {
  const float weights[] = {NAN, -1, INFINITY, 2};
  const AliasTable table(weights);
  for (float u : {0.0f, 0.3f, 0.6f, 0.99f}) EXPECT_EQ(table.Sample(&u), 3u);
  const float zeros[] = {0, 0};
  EXPECT_FLOAT_EQ(AliasTable(zeros).Probability(1), 0.5f);
}

TEST(Distribution2D, SamplesWithTheDensityThatItReports) {
  const std::vector<float> weights{1, 3, 0, 4};
  const Distribution2D d(weights, 2, 2);
  EXPECT_FLOAT_EQ(d.mean(), 2);
  int counts[4] = {};
  for (int i = 0; i < 64 * 64; ++i) {
    float pdf = 0;
    const Vec2 p = d.Sample({(i % 64 + 0.5f) / 64, (i / 64 + 0.5f) / 64}, &pdf);
    EXPECT_FLOAT_EQ(pdf, d.Pdf(p));
    ++counts[(p.y < 0.5f ? 0 : 2) + (p.x < 0.5f ? 0 : 1)];
  }
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(counts[i], 4096 * weights[i] / 8, 70) << i;
}

TEST(SphericalRectangle, SolidAngleOfACubesSide) {
  // Seen from the centre of a cube, a side covers a sixth of the sphere.
  const SphericalRectangle side({-1, -1, -1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, 2, 2, {});
  EXPECT_NEAR(side.solid_angle(), 4 * kPi / 6, 1e-5);
  for (int i = 0; i < 256; ++i) {
    const Vec3 p = side.Sample({(i % 16 + 0.5f) / 16, (i / 16 + 0.5f) / 16});
    EXPECT_LE(std::abs(p.x), 1.0001f);
    EXPECT_LE(std::abs(p.y), 1.0001f);
    EXPECT_FLOAT_EQ(p.z, -1);
  }
}

TEST(PixelFilter, BlackmanHarrisHasItsVarianceAndReach) {
  const PixelFilter filter(false, 1.5f);
  double mean = 0;
  double square = 0;
  constexpr int kCount = 10000;
  for (int i = 0; i < kCount; ++i) {
    const float x = filter.Sample({(i + 0.5f) / kCount, 0.5f}).x;
    EXPECT_LE(std::abs(x), 1.5f);
    mean += x;
    square += static_cast<double>(x) * x;
  }
  EXPECT_NEAR(mean / kCount, 0, 1e-4);
  // The window's second moment, by quadrature of its four cosines over 3 pixels.
  double weight = 0;
  double moment = 0;
  for (int i = 0; i < 3000; ++i) {
    const double t = (i + 0.5) / 3000;
    const double p = 2 * 3.141592653589793 * t;
    const double w = 0.35875 - 0.48829 * std::cos(p) + 0.14128 * std::cos(2 * p) - 0.01168 * std::cos(3 * p);
    weight += w;
    moment += w * (3 * t - 1.5) * (3 * t - 1.5);
  }
  EXPECT_NEAR(square / kCount, moment / weight, 0.002);
}

}  // namespace
}  // namespace kiln::engine::render
