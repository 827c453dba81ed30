// Closures against physics: a white furnace, densities, reciprocity, and what a normal map may not do.
#include "engine/render/bsdf.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/render/bsdf_albedo.h"
#include "engine/render/microfacet.h"

namespace kiln::engine::render {
namespace {

const Color kWhite{1, 1, 1};
const Color kBlack{0, 0, 0};
const Color kGlassF0{0.04f, 0.04f, 0.04f};

const DielectricTable& Glass(float ior) {
  static std::map<float, std::shared_ptr<const DielectricTable>> tables;
  std::shared_ptr<const DielectricTable>& table = tables[ior];
  if (!table) table = DielectricTable::For(ior);
  return *table;
}

float Radical(uint32_t i, uint32_t base) {
  double inverse = 1.0 / base;
  double scale = inverse;
  double value = 0;
  for (; i; i /= base, scale *= inverse) value += (i % base) * scale;
  return std::min(static_cast<float>(value), 0x1.fffffep-1f);
}

struct Numbers {
  float lobe;
  Vec2 direction;
};
Numbers Halton(uint32_t i) {
  return {Radical(i + 1, 2), {Radical(i + 1, 3), Radical(i + 1, 5)}};
}

Vec3 Direction(float cosine, float phi = 0.7f) {
  const float sine = std::sqrt(std::max(0.0f, 1 - cosine * cosine));
  return {sine * std::cos(phi), sine * std::sin(phi), cosine};
}

using Fill = std::function<void(Bsdf*, float alpha)>;
struct Case {
  std::string name;
  Fill fill;
  bool both_sides = false;  // also seen from below
  float max_cosine_loss = 0.01f;
};

Bsdf Make(const Case& c, float roughness) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  c.fill(&bsdf, roughness * roughness);
  return bsdf;
}

// Each of these sends back everything that falls in.
std::vector<Case> WhiteCases() {
  return {
      {"diffuse", [](Bsdf* b, float) { b->AddDiffuse(kWhite); }, true},
      {"diffuse transmission", [](Bsdf* b, float) { b->AddDiffuseTransmission(kWhite); }, true},
      {"metal", [](Bsdf* b, float a) { b->AddMetal(kWhite, kWhite, a); }},
      {"glass", [](Bsdf* b, float a) { b->AddDielectric(kWhite, kWhite, Glass(1.5f), a); }, true},
      {"water", [](Bsdf* b, float a) { b->AddDielectric(kWhite, kWhite, Glass(1.33f), a); }, true},
      {"diamond", [](Bsdf* b, float a) { b->AddDielectric(kWhite, kWhite, Glass(2.42f), a); }, true},
      {"bubble", [](Bsdf* b, float a) { b->AddDielectric(kWhite, kWhite, Glass(0.75f), a); }, true},
      {"thin glass", [](Bsdf* b, float a) { b->AddThinDielectric(kGlassF0, kWhite, kWhite, a); }, true},
      {"plastic",
       [](Bsdf* b, float a) {
         b->AddDiffuse(kWhite);
         b->AddSpecularLayer(kGlassF0, kWhite, a);
       },
       true},
      {"strong layer",
       [](Bsdf* b, float a) {
         b->AddDiffuse(kWhite * 0.5f);
         b->AddDiffuseTransmission(kWhite * 0.5f);
         b->AddSpecularLayer(kWhite * 0.3f, kWhite, a);
       },
       true},
      {"coated metal",
       [](Bsdf* b, float a) {
         b->AddMetal(kWhite, kWhite, 0.25f);
         b->AddClearcoat(1, a, {0, 0, 1});
       }},
      {"coated plastic",
       [](Bsdf* b, float a) {
         b->AddDiffuse(kWhite);
         b->AddSpecularLayer(kGlassF0, kWhite, 0.1f);
         b->AddClearcoat(0.7f, a, {0, 0, 1});
       }},
      {"cloth",
       [](Bsdf* b, float a) {
         b->AddDiffuse(kWhite);
         b->AddSheen(kWhite, std::sqrt(a));
       }},
      {"everything",
       [](Bsdf* b, float a) {
         b->AddDiffuse(kWhite * 0.25f);
         b->AddSpecularLayer(kGlassF0, kWhite, a, 0.25f);
         b->AddDielectric(kWhite, kWhite, Glass(1.5f), a, 0.25f);
         b->AddMetal(kWhite, kWhite, a, 0.5f);
         b->AddSheen(kWhite * 0.5f, 0.5f);
         b->AddClearcoat(0.5f, a, {0, 0, 1});
       },
       true},
  };
}

const float kCosines[] = {0.05f, 0.2f, 0.5f, 0.8f, 1.0f};

Color Furnace(const Bsdf& bsdf, Vec3 wo, uint32_t count) {
  double sum[3] = {};
  for (uint32_t i = 0; i < count; ++i) {
    const Numbers n = Halton(i);
    BsdfSample sample;
    if (!bsdf.Sample(wo, n.lobe, n.direction, &sample)) continue;
    sum[0] += sample.weight.r;
    sum[1] += sample.weight.g;
    sum[2] += sample.weight.b;
  }
  return {static_cast<float>(sum[0] / count), static_cast<float>(sum[1] / count),
          static_cast<float>(sum[2] / count)};
}

TEST(Bsdf, WhiteFurnace) {
  for (const Case& c : WhiteCases()) {
    for (const float roughness : {0.0f, 0.1f, 0.2f, 0.3f, 0.5f, 0.7f, 1.0f}) {
      for (const float cosine : kCosines) {
        for (const float side : {1.0f, -1.0f}) {
          if (side < 0 && !c.both_sides) continue;
          Vec3 wo = Direction(cosine);
          wo.z *= side;
          const float albedo = Furnace(Make(c, roughness), wo, 1 << 14).g;
          SCOPED_TRACE(c.name + ", roughness " + std::to_string(roughness) + ", cosine " +
                       std::to_string(wo.z));
          EXPECT_LE(albedo, 1.005f);
          EXPECT_GE(albedo, roughness <= 0.3f ? 0.99f : 0.98f);
        }
      }
    }
  }
}

// A sheen alone gives back less than falls in, at every angle, and nothing is gained where it is strongest.
TEST(Bsdf, SheenNeverGains) {
  for (const float roughness : {0.0f, 0.05f, 0.1f, 0.2f, 0.5f, 1.0f}) {
    Bsdf bsdf;
    bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
    bsdf.AddSheen(kWhite, roughness);
    for (const float cosine : kCosines) {
      const float albedo = Furnace(bsdf, Direction(cosine), 1 << 14).g;
      EXPECT_LE(albedo, 1.005f) << roughness << " " << cosine;
      EXPECT_GE(albedo, 0) << roughness << " " << cosine;
    }
  }
}

// Black absorbs all of what is not reflected.
TEST(Bsdf, BlackTransmissionGivesFresnelOnly) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  bsdf.AddDielectric(kWhite, kBlack, Glass(1.5f), 0);
  EXPECT_NEAR(Furnace(bsdf, {0, 0, 1}, 256).g, 0.04f, 1e-5f);
}

TEST(Bsdf, WeightIsValueOverDensity) {
  for (const Case& c : WhiteCases()) {
    for (const float roughness : {0.2f, 0.6f, 1.0f}) {
      const Bsdf bsdf = Make(c, roughness);
      const Vec3 wo = Direction(0.6f);
      int compared = 0;
      for (uint32_t i = 0; i < 200; ++i) {
        const Numbers n = Halton(i);
        BsdfSample sample;
        if (!bsdf.Sample(wo, n.lobe, n.direction, &sample)) continue;
        ASSERT_FALSE(sample.flags & kLobeSpecular) << c.name;
        EXPECT_NEAR(Length(sample.wi), 1, 1e-5f);
        const Color value = bsdf.Evaluate(wo, sample.wi);
        const float pdf = bsdf.Pdf(wo, sample.wi);
        EXPECT_NEAR(sample.pdf / pdf, 1, 1e-3f) << c.name;
        EXPECT_NEAR(sample.weight.g, value.g / pdf, 1e-3f * sample.weight.g) << c.name;
        EXPECT_EQ((sample.flags & kLobeTransmission) != 0, sample.wi.z < 0) << c.name;
        ++compared;
      }
      EXPECT_GT(compared, 100) << c.name;
    }
  }
}

constexpr int kThetas = 20;
constexpr int kPhis = 24;

int BinOf(Vec3 wi) {
  const int theta = std::min(static_cast<int>((wi.z + 1) * 0.5f * kThetas), kThetas - 1);
  const float turn = (std::atan2(wi.y, wi.x) + kPi) / (2 * kPi);
  return theta * kPhis + std::min(static_cast<int>(turn * kPhis), kPhis - 1);
}

// The density of each bin, by a fine midpoint rule: bins of equal solid angle, equal in z.
std::vector<double> IntegratePdf(const Bsdf& bsdf, Vec3 wo, int fine) {
  std::vector<double> bins(static_cast<size_t>(kThetas) * kPhis);
  const double cell = 4.0 * kPi / (static_cast<double>(kThetas) * fine * kPhis * fine);
  for (int t = 0; t < kThetas * fine; ++t) {
    const float z = -1 + 2 * (t + 0.5f) / (kThetas * fine);
    for (int p = 0; p < kPhis * fine; ++p) {
      const float phi = -kPi + 2 * kPi * (p + 0.5f) / (kPhis * fine);
      bins[static_cast<size_t>(t / fine) * kPhis + static_cast<size_t>(p / fine)] +=
          bsdf.Pdf(wo, Direction(z, phi)) * cell;
    }
  }
  return bins;
}

// Sampled counts against the integrated density, summed over the bins as a chi-square statistic. What Sample
// refuses is the density's complement to 1.
TEST(Bsdf, SamplesFollowTheDensity) {
  constexpr uint32_t kCount = 40000;
  for (const Case& c : WhiteCases()) {
    for (const float roughness : {0.5f, 0.9f}) {
      for (const float cosine : {0.9f, 0.3f, -0.6f}) {
        if (cosine < 0 && !c.both_sides) continue;
        SCOPED_TRACE(c.name + ", roughness " + std::to_string(roughness) + ", cosine " +
                     std::to_string(cosine));
        const Bsdf bsdf = Make(c, roughness);
        const Vec3 wo = Direction(cosine);
        const std::vector<double> expected = IntegratePdf(bsdf, wo, 8);
        std::vector<double> found(expected.size());
        uint64_t state = 12345;
        const auto next = [&state] {
          state = state * 6364136223846793005u + 1442695040888963407u;
          return static_cast<float>(state >> 40) * 0x1p-24f;
        };
        double made = 0;
        for (uint32_t i = 0; i < kCount; ++i) {
          BsdfSample sample;
          const float u_lobe = next();
          const float u = next();
          if (!bsdf.Sample(wo, u_lobe, {u, next()}, &sample)) continue;
          found[static_cast<size_t>(BinOf(sample.wi))] += 1;
          made += 1;
        }
        double total = 0;
        double chi2 = 0;
        int freedom = 0;
        double pooled_expected = 0;
        double pooled_found = 0;
        for (size_t i = 0; i < expected.size(); ++i) {
          total += expected[i];
          const double e = expected[i] * kCount;
          if (e < 5) {
            pooled_expected += e;
            pooled_found += found[i];
            continue;
          }
          chi2 += (found[i] - e) * (found[i] - e) / e;
          ++freedom;
        }
        if (pooled_expected > 5) {
          chi2 += (pooled_found - pooled_expected) * (pooled_found - pooled_expected) / pooled_expected;
        } else {
          EXPECT_LT(pooled_found, pooled_expected + 20);
        }
        EXPECT_LE(total, 1.01);
        EXPECT_NEAR(total, made / kCount, 0.012);
        ASSERT_GT(freedom, 20);
        // Five standard deviations, and room for the midpoint rule's error.
        EXPECT_LT(chi2, freedom + 5 * std::sqrt(2.0 * freedom) + 40) << freedom;
      }
    }
  }
}

TEST(Bsdf, ReflectionIsReciprocal) {
  for (const Case& c : WhiteCases()) {
    if (c.name.find("coat") != std::string::npos || c.name == "cloth" || c.name == "everything") continue;
    for (const float roughness : {0.15f, 0.5f, 1.0f}) {
      const Bsdf bsdf = Make(c, roughness);
      for (const Vec3 a : {Direction(0.9f, 0.1f), Direction(0.3f, 2.0f), Direction(0.1f, 3.0f)}) {
        for (const Vec3 b : {Direction(0.8f, 3.3f), Direction(0.2f, 5.0f), Direction(0.5f, 0.4f)}) {
          const float there = bsdf.Evaluate(a, b).g / b.z;
          const float back = bsdf.Evaluate(b, a).g / a.z;
          EXPECT_NEAR(there, back, 1e-3f * std::max(there, back) + 1e-6f) << c.name << " " << roughness;
        }
      }
    }
  }
  Bsdf sheen;
  sheen.Begin(Frame({0, 0, 1}), {0, 0, 1});
  sheen.AddSheen(kWhite, 0.3f);
  const Vec3 a = Direction(0.1f, 0.1f);
  const Vec3 b = Direction(0.7f, 2.1f);
  EXPECT_NEAR(sheen.Evaluate(a, b).g / b.z, sheen.Evaluate(b, a).g / a.z, 1e-5f);
}

// Of basic radiance: f(o, i) n_o^2 = f(i, o) n_i^2.
TEST(Bsdf, RefractionIsReciprocal) {
  for (const float roughness : {0.3f, 0.6f, 1.0f}) {
    Bsdf bsdf;
    bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
    bsdf.AddDielectric(kWhite, kWhite, Glass(1.5f), roughness * roughness);
    for (const Vec3 o : {Direction(0.9f, 0.1f), Direction(0.4f, 1.0f)}) {
      for (const Vec3 i : {Direction(-0.9f, 3.4f), Direction(-0.7f, 3.9f), Direction(-0.3f, 0.2f)}) {
        const float in = bsdf.Evaluate(o, i).g / -i.z;
        const float out = bsdf.Evaluate(i, o).g / o.z;
        EXPECT_NEAR(in, out * 1.5f * 1.5f, 2e-3f * in + 1e-6f) << roughness;
      }
    }
  }
}

TEST(Bsdf, DeltasAreUnseen) {
  for (const Case& c : WhiteCases()) {
    if (c.name.find("iffuse") != std::string::npos) continue;
    const Bsdf bsdf = Make(c, 0);
    const Vec3 wo = Direction(0.6f);
    const Vec3 mirror{-wo.x, -wo.y, wo.z};
    int deltas = 0;
    for (uint32_t i = 0; i < 500; ++i) {
      const Numbers n = Halton(i);
      BsdfSample sample;
      if (!bsdf.Sample(wo, n.lobe, n.direction, &sample) || !(sample.flags & kLobeSpecular)) continue;
      EXPECT_EQ(sample.pdf, 0);
      ++deltas;
    }
    if (!bsdf.HasNonDelta()) {
      EXPECT_EQ(bsdf.Evaluate(wo, mirror), kBlack) << c.name;
      EXPECT_EQ(bsdf.Pdf(wo, mirror), 0) << c.name;
      EXPECT_EQ(deltas, 500) << c.name;
    } else if (c.name != "cloth") {
      EXPECT_GT(deltas, 0) << c.name;
      EXPECT_LT(bsdf.Pdf(wo, mirror), 10) << c.name;
    }
  }
}

TEST(Bsdf, SmoothGlassObeysSnell) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  bsdf.AddDielectric(kWhite, kWhite, Glass(1.5f), 0);
  EXPECT_FALSE(bsdf.HasNonDelta());
  const Vec3 wo = Direction(0.5f, 0);
  BsdfSample sample;
  ASSERT_TRUE(bsdf.Sample(wo, 0.99f, {0.5f, 0.5f}, &sample));
  ASSERT_TRUE(sample.flags & kLobeTransmission);
  EXPECT_NEAR(sample.wi.x, -wo.x / 1.5f, 1e-6f);
  EXPECT_LT(sample.wi.z, 0);
  EXPECT_FLOAT_EQ(sample.eta, 1.5f);
  // From within beyond the critical angle nothing leaves.
  for (uint32_t i = 0; i < 64; ++i) {
    ASSERT_TRUE(bsdf.Sample(Direction(-0.5f), Halton(i).lobe, {0.5f, 0.5f}, &sample));
    EXPECT_TRUE(sample.flags & kLobeReflection);
    EXPECT_NEAR(sample.weight.g, 1, 1e-5f);
  }
  ASSERT_TRUE(bsdf.Sample({0, 0, -1}, 0.99f, {0.5f, 0.5f}, &sample));
  EXPECT_TRUE(sample.flags & kLobeTransmission);
  EXPECT_FLOAT_EQ(sample.eta, 1 / 1.5f);
}

// An index of 1 has no interface, however rough it is said to be.
TEST(Bsdf, IndexOfOnePassesStraight) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  bsdf.AddDielectric(kWhite, kWhite, Glass(1), 0.25f);
  BsdfSample sample;
  const Vec3 wo = Direction(0.4f);
  ASSERT_TRUE(bsdf.Sample(wo, 0.5f, {0.3f, 0.9f}, &sample));
  EXPECT_NEAR(Dot(sample.wi, wo), -1, 1e-6f);
  EXPECT_EQ(sample.flags, kLobeSpecular | kLobeTransmission);
}

// A bent normal must not carry light through the surface.
TEST(Bsdf, NormalMapsDoNotLeak) {
  const Vec3 bent = Normalize({0.8f, 0, 0.6f});
  for (const Case& c : WhiteCases()) {
    Bsdf bsdf;
    bsdf.Begin(Frame(bent), {0, 0, 1});
    c.fill(&bsdf, 0.16f);
    const bool transmits = c.name.find("transmission") != std::string::npos || c.name == "strong layer" ||
                           c.name == "everything" || c.name == "glass" || c.name == "water" ||
                           c.name == "diamond" || c.name == "bubble" || c.name == "thin glass";
    for (uint32_t i = 0; i < 2000; ++i) {
      const Numbers n = Halton(i);
      const Vec3 wo = Direction(Radical(i + 1, 7) * 0.999f + 0.001f, Radical(i + 1, 11) * 6.28f);
      BsdfSample sample;
      if (bsdf.Sample(wo, n.lobe, n.direction, &sample)) {
        EXPECT_EQ(sample.wi.z < 0, (sample.flags & kLobeTransmission) != 0) << c.name;
        if (!transmits) {
          EXPECT_GT(sample.wi.z, 0) << c.name;
        }
      }
      const Vec3 below = Direction(-Radical(i + 1, 13), Radical(i + 1, 17) * 6.28f);
      if (!transmits) {
        EXPECT_EQ(bsdf.Evaluate(wo, below), kBlack) << c.name;
      }
      EXPECT_TRUE(IsFinite(bsdf.Evaluate(wo, below))) << c.name;
    }
  }
}

TEST(Bsdf, ACoatHasItsOwnNormal) {
  const Vec3 tilted = Normalize({0.3f, 0, 1});
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  bsdf.AddClearcoat(1, 0, tilted);
  BsdfSample sample;
  ASSERT_TRUE(bsdf.Sample({0, 0, 1}, 0.5f, {0.5f, 0.5f}, &sample));
  EXPECT_NEAR(Length(sample.wi - Reflect({0, 0, 1}, tilted)), 0, 1e-6f);
}

TEST(Bsdf, AnEmptyStackAnswersBlack) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  bsdf.AddDiffuse(kBlack);
  bsdf.AddMetal(kWhite, kWhite, 0.1f, 0);
  EXPECT_TRUE(bsdf.empty());
  EXPECT_FALSE(bsdf.HasNonDelta());
  BsdfSample sample;
  EXPECT_FALSE(bsdf.Sample({0, 0, 1}, 0.5f, {0.5f, 0.5f}, &sample));
  EXPECT_EQ(bsdf.Evaluate({0, 0, 1}, {0, 0, 1}), kBlack);
}

TEST(Bsdf, MoreLobesThanFitAreLeftOut) {
  Bsdf bsdf;
  bsdf.Begin(Frame({0, 0, 1}), {0, 0, 1});
  for (int i = 0; i < 2 * Bsdf::kMaxLobes; ++i) bsdf.AddDiffuse(kWhite * 0.1f);
  EXPECT_NEAR(Furnace(bsdf, {0, 0, 1}, 64).g, 0.1f * Bsdf::kMaxLobes, 1e-4f);
}

// Extremes of angle and roughness stay finite and never gain in a single sample's mean.
TEST(Bsdf, ExtremesStayFinite) {
  for (const Case& c : WhiteCases()) {
    for (const float roughness : {0.0f, 0.0101f, 0.03f, 1.0f}) {
      const Bsdf bsdf = Make(c, roughness);
      for (const float cosine : {1e-7f, 1e-4f, 1.0f, -1e-7f, -1.0f}) {
        for (uint32_t i = 0; i < 64; ++i) {
          const Numbers n = Halton(i);
          for (const Vec2 u : {n.direction, Vec2{0, 0}, Vec2{0x1.fffffep-1f, 0x1.fffffep-1f}}) {
            BsdfSample sample;
            if (!bsdf.Sample(Direction(cosine), n.lobe, u, &sample)) continue;
            EXPECT_TRUE(IsFinite(sample.weight)) << c.name;
            EXPECT_GE(sample.weight.g, 0) << c.name;
            EXPECT_TRUE(std::isfinite(sample.pdf)) << c.name;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace kiln::engine::render
