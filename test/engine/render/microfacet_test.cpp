// The GGX distribution and the albedo tables against integrals.
#include "engine/render/microfacet.h"

#include <gtest/gtest.h>

#include "engine/render/bsdf_albedo.h"
#include "engine/render/bsdf_sheen.h"
#include "engine/render/fresnel.h"

namespace kiln::engine::render {
namespace {

Vec3 Direction(float cosine, float phi) {
  const float sine = std::sqrt(std::max(0.0f, 1 - cosine * cosine));
  return {sine * std::cos(phi), sine * std::sin(phi), cosine};
}

// The midpoint rule over the upper hemisphere.
template <class F>
double OverHemisphere(F&& f, int steps = 600) {
  double sum = 0;
  for (int i = 0; i < steps; ++i) {
    for (int j = 0; j < steps; ++j) {
      sum += f(Direction((i + 0.5f) / steps, 2 * kPi * (j + 0.5f) / steps));
    }
  }
  return sum * 2 * kPi / (static_cast<double>(steps) * steps);
}

TEST(Microfacet, ProjectedFacetsCoverTheSurface) {
  for (const float alpha : {0.2f, 0.5f, 1.0f}) {
    EXPECT_NEAR(OverHemisphere([&](Vec3 h) { return GgxD(h, alpha) * h.z; }), 1, 2e-3) << alpha;
  }
}

TEST(Microfacet, VisibleFacetsAreADensity) {
  for (const float alpha : {0.2f, 0.5f, 1.0f}) {
    for (const float cosine : {0.1f, 0.6f, 1.0f}) {
      const Vec3 wo = Direction(cosine, 0.3f);
      EXPECT_NEAR(OverHemisphere([&](Vec3 h) { return GgxVisibleD(wo, h, alpha); }), 1, 4e-3)
          << alpha << " " << cosine;
    }
  }
}

// The mean of sampled facets is the mean of the density.
TEST(Microfacet, SampledFacetsFollowTheDensity) {
  const Vec3 wo = Direction(0.3f, 1.1f);
  const float alpha = 0.5f;
  Vec3 mean;
  constexpr int kSide = 200;
  for (int i = 0; i < kSide; ++i) {
    for (int j = 0; j < kSide; ++j) {
      const Vec3 h = SampleGgxVisible(wo, alpha, {(i + 0.5f) / kSide, (j + 0.5f) / kSide});
      EXPECT_GT(Dot(h, wo), -1e-5f);
      mean += h / (kSide * kSide);
    }
  }
  EXPECT_NEAR(mean.x, OverHemisphere([&](Vec3 h) { return GgxVisibleD(wo, h, alpha) * h.x; }), 2e-3);
  EXPECT_NEAR(mean.y, OverHemisphere([&](Vec3 h) { return GgxVisibleD(wo, h, alpha) * h.y; }), 2e-3);
  EXPECT_NEAR(mean.z, OverHemisphere([&](Vec3 h) { return GgxVisibleD(wo, h, alpha) * h.z; }), 2e-3);
}

TEST(Microfacet, RefractionObeysSnell) {
  const Vec3 h = Normalize({0.1f, -0.2f, 1});
  const Vec3 wo = Direction(0.5f, 0.4f);
  Vec3 wi;
  ASSERT_TRUE(Refract(wo, h, 1.5f, &wi));
  EXPECT_NEAR(Length(wi), 1, 1e-6f);
  EXPECT_NEAR(Length(Cross(wo, h)), 1.5f * Length(Cross(wi, h)), 1e-6f);
  EXPECT_LT(Dot(wi, h), 0);
  EXPECT_FALSE(Refract(Direction(0.3f, 0), {0, 0, 1}, 1 / 1.5f, &wi));
}

TEST(Fresnel, KnownValues) {
  EXPECT_NEAR(FresnelDielectric(1, 1.5f), 0.04f, 1e-6f);
  EXPECT_NEAR(FresnelDielectric(1, 1 / 1.5f), 0.04f, 1e-6f);
  EXPECT_FLOAT_EQ(FresnelDielectric(0.3f, 1 / 1.5f), 1);
  EXPECT_NEAR(FresnelDielectric(0, 1.5f), 1, 1e-6f);
  EXPECT_FLOAT_EQ(FresnelDielectric(0.5f, 1), 0);
  // At Brewster's angle only the perpendicular half is left: ((n^2 - 1) / (n^2 + 1))^2 / 2.
  EXPECT_NEAR(FresnelDielectric(std::cos(std::atan(1.5f)), 1.5f), 0.0739645f, 1e-5f);
}

TEST(AlbedoTables, MatchTheirIntegrals) {
  for (const float roughness : {0.35f, 0.62f, 0.95f}) {
    const float alpha = roughness * roughness;
    for (const float cosine : {0.07f, 0.33f, 0.81f}) {
      const Vec3 wo = Direction(cosine, 0.2f);
      const auto reflected = [&](Vec3 wi) {
        return GgxD(Normalize(wo + wi), alpha) * GgxG2(wo.z, wi.z, alpha) / (4 * wo.z);
      };
      EXPECT_NEAR(FindGlossyAlbedo(cosine, alpha).Total(), OverHemisphere(reflected), 6e-3)
          << roughness << " " << cosine;
      const double grazing =
          OverHemisphere([&](Vec3 wi) { return reflected(wi) * SchlickWeight(Dot(wo, Normalize(wo + wi))); });
      EXPECT_NEAR(FindGlossyAlbedo(cosine, alpha).grazing, grazing, 6e-3) << roughness << " " << cosine;
      const double sheen = OverHemisphere([&](Vec3 wi) {
        const float norm = std::max({1.0f, FindSheenNorm(wo.z, roughness), FindSheenNorm(wi.z, roughness)});
        return CharlieSheen(wo, wi, roughness) / norm;
      });
      EXPECT_NEAR(FindSheenAlbedo(cosine, roughness), sheen, 6e-3) << roughness << " " << cosine;
    }
  }
}

TEST(AlbedoTables, SmoothSurfacesLoseNothing) {
  EXPECT_FLOAT_EQ(FindGlossyAlbedo(0.4f, 0).Total(), 1);
  EXPECT_FLOAT_EQ(FindAverageGlossyAlbedo(0).Total(), 1);
  const auto glass = DielectricTable::For(1.5f);
  EXPECT_FLOAT_EQ(glass->Albedo(0.4f, 0, false), 1);
  EXPECT_NEAR(glass->AverageAlbedo(0, true), 1, 1e-6f);
}

TEST(AlbedoTables, OneTableServesAnIndex) {
  const auto a = DielectricTable::For(1.37f);
  EXPECT_EQ(a, DielectricTable::For(1.37f));
  EXPECT_NE(a, DielectricTable::For(1.38f));
}

}  // namespace
}  // namespace kiln::engine::render
