// The materials: what each property does to closures, opacity and emission.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "engine/render/bsdf.h"
#include "test/engine/render/fake_inputs.h"

namespace kiln::engine::render {
namespace {

const Color kWhite{1, 1, 1};
const Color kRed{0.9f, 0.1f, 0.2f};

// A hit on a plane whose front looks up; seen from below when wo.z is negative.
ShadingPoint Hit(Vec3 wo) {
  ShadingPoint point;
  point.geometric_normal = point.normal = {0, 0, 1};
  point.wo = Normalize(wo);
  point.backfacing = wo.z < 0;
  return point;
}

float Fraction(uint32_t i, uint32_t base) {
  double scale = 1;
  double value = 0;
  for (; i; i /= base) value += (i % base) * (scale /= base);
  return std::min(static_cast<float>(value), 0x1.fffffep-1f);
}

struct Shares {
  Color reflected, transmitted;
  Color Total() const { return reflected + transmitted; }
};

Shares Gather(const Material& material, const ShadingPoint& point, uint32_t count = 1 << 12) {
  Bsdf bsdf;
  material.Evaluate(point, &bsdf);
  Shares shares;
  for (uint32_t i = 1; i <= count; ++i) {
    BsdfSample sample;
    if (!bsdf.Sample(point.wo, Fraction(i, 2), {Fraction(i, 3), Fraction(i, 5)}, &sample)) continue;
    const bool crosses = sample.flags & kLobeTransmission;
    EXPECT_EQ(crosses, sample.wi.z * point.wo.z < 0);
    (crosses ? shares.transmitted : shares.reflected) += sample.weight / static_cast<float>(count);
  }
  return shares;
}

FakeInputs Principled() {
  return FakeInputs("MaterialPrincipled");
}

TEST(MaterialTables, EveryPropertyIsDescribed) {
  for (const char* name : {"MaterialPrincipled", "MaterialEmissive", "TextureBitmap", "TextureChecker"}) {
    const scene::PluginClass* type = scene::FindClass(name);
    ASSERT_NE(type, nullptr) << name;
    EXPECT_FALSE(type->description.empty());
    EXPECT_GT(type->properties.size(), 2u);
    for (const scene::Property& property : type->properties) {
      EXPECT_FALSE(property.description.empty()) << name << "." << property.name;
      EXPECT_FALSE(property.default_value.Empty()) << name << "." << property.name;
      EXPECT_LE(property.range.min, property.range.max) << name << "." << property.name;
    }
  }
}

TEST(MaterialPrincipled, WhiteFurnace) {
  for (const float metallic : {0.0f, 0.5f, 1.0f}) {
    for (const float transmission : {0.0f, 0.6f, 1.0f}) {
      for (const float thickness : {0.0f, 1.0f}) {
        for (const float roughness : {0.0f, 0.3f, 0.8f}) {
          for (const float coat : {0.0f, 1.0f}) {
            const auto material = Principled()
                                      .Set("baseColor", kWhite)
                                      .Set("metallic", metallic)
                                      .Set("transmission", transmission)
                                      .Set("thickness", thickness)
                                      .Set("roughness", roughness)
                                      .Set("clearcoat", coat)
                                      .Set("sheenColor", kWhite * (0.5f * coat))
                                      .MakeMaterial();
            for (const Vec3 wo : {Vec3{0.3f, 0.1f, 1}, Vec3{1, 0.2f, 0.3f}, Vec3{0.5f, 0.1f, -1}}) {
              const float total = Gather(*material, Hit(wo)).Total().g;
              EXPECT_NEAR(total, 1, 0.012f) << metallic << " " << transmission << " " << thickness << " "
                                            << roughness << " " << coat << " " << wo.z;
              EXPECT_LE(total, 1.006f);
            }
          }
        }
      }
    }
  }
}

TEST(MaterialPrincipled, AMetalReflectsItsColor) {
  const auto metal =
      Principled().Set("baseColor", kRed).Set("metallic", 1.0f).Set("roughness", 0.0f).MakeMaterial();
  const Color albedo = Gather(*metal, Hit({0, 0, 1}), 64).reflected;
  EXPECT_NEAR(albedo.r, kRed.r, 1e-4f);
  EXPECT_NEAR(albedo.g, kRed.g, 1e-4f);
}

TEST(MaterialPrincipled, MetallicIsALinearMix) {
  const auto albedo = [](float metallic) {
    const auto material = Principled().Set("baseColor", kRed).Set("metallic", metallic).MakeMaterial();
    return Gather(*material, Hit({0.4f, 0, 1})).Total();
  };
  const Color mixed = albedo(0.5f);
  const Color expected = (albedo(0) + albedo(1)) * 0.5f;
  EXPECT_NEAR(mixed.r, expected.r, 5e-3f);
  EXPECT_NEAR(mixed.g, expected.g, 5e-3f);
}

TEST(MaterialPrincipled, ADielectricReflectsByItsIndex) {
  const auto reflectance = [](float ior, float specular, Color tint) {
    const auto material = Principled()
                              .Set("baseColor", Color{0, 0, 0})
                              .Set("roughness", 0.0f)
                              .Set("ior", ior)
                              .Set("specular", specular)
                              .Set("specularColor", tint)
                              .MakeMaterial();
    return Gather(*material, Hit({0, 0, 1}), 64).reflected;
  };
  EXPECT_NEAR(reflectance(1.5f, 1, kWhite).g, 0.04f, 1e-4f);
  EXPECT_NEAR(reflectance(2, 1, kWhite).g, 1.0f / 9, 1e-4f);
  EXPECT_NEAR(reflectance(0, 1, kWhite).g, 1, 1e-4f);
  EXPECT_NEAR(reflectance(1, 1, kWhite).g, 0, 1e-4f);
  EXPECT_NEAR(reflectance(1.5f, 0.5f, kWhite).g, 0.02f, 1e-4f);
  EXPECT_NEAR(reflectance(1.5f, 1, {1, 0.5f, 0}).g, 0.02f, 1e-4f);
  EXPECT_EQ(reflectance(1.5f, 0, kWhite), (Color{0, 0, 0}));
}

TEST(MaterialPrincipled, GreenIsRoughnessAndBlueIsMetallic) {
  const FlatTexture packed({1, 0, 0.5f});
  const auto textured = Principled()
                            .Set("baseColor", kRed)
                            .Set("metallic", 1.0f)
                            .Set("roughness", 1.0f)
                            .SetTexture("metallicRoughness", &packed)
                            .MakeMaterial();
  const auto plain =
      Principled().Set("baseColor", kRed).Set("metallic", 0.5f).Set("roughness", 0.0f).MakeMaterial();
  const Color a = Gather(*textured, Hit({0.2f, 0, 1})).Total();
  const Color b = Gather(*plain, Hit({0.2f, 0, 1})).Total();
  EXPECT_EQ(a, b);
}

TEST(MaterialPrincipled, VertexColorsMultiply) {
  const auto material = Principled().Set("baseColor", kWhite).Set("specular", 0.0f).MakeMaterial();
  ShadingPoint point = Hit({0, 0, 1});
  point.vertex_color = {0.5f, 0.25f, 0};
  const Color albedo = Gather(*material, point).Total();
  EXPECT_NEAR(albedo.r, 0.5f, 1e-3f);
  EXPECT_NEAR(albedo.g, 0.25f, 1e-3f);
  EXPECT_EQ(albedo.b, 0);
}

TEST(MaterialPrincipled, TheBackOfASolidReflects) {
  const auto material = Principled().Set("baseColor", kWhite).MakeMaterial();
  const Shares back = Gather(*material, Hit({0.3f, 0, -1}));
  EXPECT_NEAR(back.reflected.g, 1, 0.01f);
  EXPECT_EQ(back.transmitted.g, 0);
}

TEST(MaterialPrincipled, TheSideDecidesTheMedium) {
  const auto glass = Principled()
                         .Set("baseColor", kWhite)
                         .Set("transmission", 1.0f)
                         .Set("thickness", 1.0f)
                         .Set("roughness", 0.0f)
                         .MakeMaterial();
  for (const float side : {1.0f, -1.0f}) {
    const ShadingPoint point = Hit({0.3f, 0, side});
    Bsdf bsdf;
    glass->Evaluate(point, &bsdf);
    BsdfSample sample;
    ASSERT_TRUE(bsdf.Sample(point.wo, 0.99f, {0.5f, 0.5f}, &sample));
    EXPECT_TRUE(sample.flags & kLobeTransmission);
    EXPECT_FLOAT_EQ(sample.eta, side > 0 ? 1.5f : 1 / 1.5f);
    EXPECT_NEAR(sample.wi.x, -point.wo.x / sample.eta, 1e-5f);
  }
}

TEST(MaterialPrincipled, AThinSheetDoesNotRefract) {
  const auto sheet =
      Principled().Set("baseColor", kRed).Set("transmission", 1.0f).Set("roughness", 0.0f).MakeMaterial();
  const ShadingPoint point = Hit({0.7f, 0, 1});
  Bsdf bsdf;
  sheet->Evaluate(point, &bsdf);
  BsdfSample sample;
  ASSERT_TRUE(bsdf.Sample(point.wo, 0.99f, {0.5f, 0.5f}, &sample));
  EXPECT_NEAR(Dot(sample.wi, point.wo), -1, 1e-6f);
  EXPECT_FLOAT_EQ(sample.eta, 1);
  EXPECT_NEAR(Gather(*sheet, Hit({0, 0, 1})).transmitted.r, 0.96f * kRed.r, 1e-3f);
}

TEST(MaterialPrincipled, OpacityFollowsTheAlphaMode) {
  const FlatTexture half(kWhite, 0.4f);
  const auto opacity = [&](int mode, float vertex_alpha) {
    const auto material = Principled().Set("alphaMode", mode).SetTexture("opacity", &half, 1).MakeMaterial();
    ShadingPoint point = Hit({0, 0, 1});
    point.vertex_alpha = vertex_alpha;
    EXPECT_EQ(material->IsOpaque(), mode == 0);
    return material->Opacity(point);
  };
  EXPECT_EQ(opacity(0, 1), 1);
  EXPECT_EQ(opacity(1, 1), 0);
  EXPECT_EQ(opacity(1, 1.5f), 1);
  EXPECT_FLOAT_EQ(opacity(2, 1), 0.4f);
  EXPECT_FLOAT_EQ(opacity(2, 0.5f), 0.2f);
}

TEST(MaterialPrincipled, ABodyAbsorbsByDistance) {
  FakeInputs in = Principled();
  in.Set("transmission", 1.0f)
      .Set("thickness", 1.0f)
      .Set("attenuationColor", Color{0.25f, 1, 0})
      .Set("attenuationDistance", 2.0f);
  const auto body = in.MakeMaterial();
  EXPECT_NEAR(body->Attenuation(1).r, 0.5f, 1e-5f);
  EXPECT_NEAR(body->Attenuation(2).r, 0.25f, 1e-5f);
  EXPECT_EQ(body->Attenuation(2).g, 1);
  EXPECT_EQ(body->Attenuation(2).b, 0);
  EXPECT_EQ(body->Attenuation(0), kWhite);
  EXPECT_EQ(in.Set("thickness", 0.0f).MakeMaterial()->Attenuation(1), kWhite);
  EXPECT_EQ(in.Set("thickness", 1.0f).Set("attenuationDistance", 0.0f).MakeMaterial()->Attenuation(1),
            kWhite);
}

TEST(MaterialPrincipled, EmissionPassesTheCoat) {
  EXPECT_FALSE(Principled().MakeMaterial()->IsEmissive());
  FakeInputs in = Principled();
  in.Set("emission", kRed).Set("emissionStrength", 10.0f);
  const auto bare = in.MakeMaterial();
  EXPECT_TRUE(bare->IsEmissive());
  EXPECT_NEAR(bare->Emission(Hit({0, 0, 1})).r, 9, 1e-5f);
  EXPECT_NEAR(bare->Emission(Hit({0, 0, -1})).r, 9, 1e-5f);
  const auto coated = in.Set("clearcoat", 1.0f).Set("doubleSided", false).MakeMaterial();
  EXPECT_NEAR(coated->Emission(Hit({0, 0, 1})).r, 9 * 0.96f, 1e-4f);
  EXPECT_EQ(coated->Emission(Hit({0, 0, -1})), (Color{}));
  EXPECT_FALSE(in.Set("emissionStrength", 0.0f).MakeMaterial()->IsEmissive());
}

// The mirror's image tells the normal.
Vec3 MirrorNormal(const Material& material, const ShadingPoint& point) {
  Bsdf bsdf;
  material.Evaluate(point, &bsdf);
  BsdfSample sample;
  EXPECT_TRUE(bsdf.Sample(point.wo, 0.5f, {0.5f, 0.5f}, &sample));
  return Normalize(sample.wi + point.wo);
}

TEST(MaterialPrincipled, NormalMapsBendTowardsTheTangents) {
  const FlatTexture right({0.75f, 0.5f, 1});
  const FlatTexture up({0.5f, 0.75f, 1});
  FakeInputs in = Principled();
  in.Set("metallic", 1.0f).Set("roughness", 0.0f).SetTexture("normalMap", &right);
  const Vec3 n = MirrorNormal(*in.MakeMaterial(), Hit({0, 0, 1}));
  EXPECT_NEAR(n.x / n.z, 0.5f, 1e-4f);
  const Vec3 scaled = MirrorNormal(*in.Set("normalScale", 0.5f).MakeMaterial(), Hit({0, 0, 1}));
  EXPECT_NEAR(scaled.x / scaled.z, 0.25f, 1e-4f);
  // Green points along the bitangent, whose side the tangent sign tells.
  ShadingPoint point = Hit({0, 0, 1});
  in.SetTexture("normalMap", &up);
  EXPECT_NEAR(MirrorNormal(*in.MakeMaterial(), point).y, 0.2425f, 1e-3f);
  point.tangent_sign = -1;
  EXPECT_NEAR(MirrorNormal(*in.MakeMaterial(), point).y, -0.2425f, 1e-3f);
  // From the back the bump is the same piece of metal.
  const Vec3 back = MirrorNormal(*in.SetTexture("normalMap", &right).MakeMaterial(), Hit({0, 0, -1}));
  EXPECT_NEAR(back.x / back.z, 0.25f, 1e-4f);
  EXPECT_LT(back.z, 0);
}

TEST(MaterialPrincipled, SteepNormalsNeitherLeakNorGoBlack) {
  const FlatTexture steep({1, 0.5f, 0.52f});
  const auto mirror = Principled()
                          .Set("metallic", 1.0f)
                          .Set("roughness", 0.0f)
                          .SetTexture("normalMap", &steep)
                          .MakeMaterial();
  for (const Vec3 wo : {Vec3{0, 0, 1}, Vec3{1, 0, 0.05f}, Vec3{-1, 0.1f, 0.05f}, Vec3{-1, 0, -0.3f}}) {
    const ShadingPoint point = Hit(wo);
    Bsdf bsdf;
    mirror->Evaluate(point, &bsdf);
    BsdfSample sample;
    ASSERT_TRUE(bsdf.Sample(point.wo, 0.5f, {0.5f, 0.5f}, &sample)) << wo.x << " " << wo.z;
    EXPECT_GT(sample.wi.z * wo.z, 0);
  }
}

TEST(MaterialPrincipled, TheCoatHasItsOwnNormalMap) {
  const FlatTexture right({0.75f, 0.5f, 1});
  const auto material = Principled()
                            .Set("baseColor", Color{0, 0, 0})
                            .Set("specular", 0.0f)
                            .Set("clearcoat", 1.0f)
                            .SetTexture("clearcoatNormalMap", &right)
                            .MakeMaterial();
  const Vec3 n = MirrorNormal(*material, Hit({0, 0, 1}));
  EXPECT_NEAR(n.x / n.z, 0.5f, 1e-4f);
}

// A float image may hold anything, and so may a scene file.
TEST(MaterialPrincipled, BadNumbersStayHarmless) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), INFINITY, -INFINITY, -3.0f, 1e30f}) {
    const FlatTexture texture({bad, bad, bad}, bad);
    FakeInputs in = Principled();
    in.Set("thickness", 1.0f).Set("emissionStrength", bad).Set("alphaMode", 2).Set("ior", bad);
    for (const char* name :
         {"baseColor", "opacity", "metallic", "roughness", "metallicRoughness", "normalMap", "emission",
          "transmission", "clearcoat", "clearcoatRoughness", "clearcoatNormalMap", "sheenColor",
          "sheenRoughness", "specular", "specularColor"}) {
      in.SetTexture(name, &texture);
    }
    const auto material = in.MakeMaterial();
    const ShadingPoint point = Hit({0.3f, 0, 1});
    const Color total = Gather(*material, point, 256).Total();
    EXPECT_TRUE(IsFinite(total)) << bad;
    EXPECT_LE(MaxComponent(total), 1.2f) << bad;
    EXPECT_TRUE(IsFinite(material->Emission(point))) << bad;
    EXPECT_GE(material->Opacity(point), 0) << bad;
    EXPECT_LE(material->Opacity(point), 1) << bad;
  }
}

TEST(MaterialEmissive, ShinesAndReflectsNothing) {
  FakeInputs in("MaterialEmissive");
  const auto material = in.Set("color", kRed).Set("intensity", 2.0f).Set("doubleSided", false).MakeMaterial();
  EXPECT_TRUE(material->IsEmissive());
  EXPECT_NEAR(material->Emission(Hit({0, 0, 1})).r, 1.8f, 1e-6f);
  EXPECT_EQ(material->Emission(Hit({0, 0, -1})), (Color{}));
  Bsdf bsdf;
  bsdf.AddDiffuse(kWhite);
  material->Evaluate(Hit({0, 0, 1}), &bsdf);
  EXPECT_TRUE(bsdf.empty());
  EXPECT_FALSE(in.Set("color", Color{0, 0, 0}).MakeMaterial()->IsEmissive());
}

}  // namespace
}  // namespace kiln::engine::render
