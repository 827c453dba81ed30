// Small renders with each class that fills a place of its own: what reaches the picture is what it says.
#include <cmath>
#include <cstring>
#include <fstream>

#include "engine/render/noise.h"
#include "test/engine/render/scene_kit.h"

namespace kiln::engine::render::test {
namespace {

using scene::ColorArray;
using scene::FloatArray;
using scene::IntArray;
using scene::VectorArray;

FloatArray Floats(std::vector<float> values) {
  return FloatArray(std::move(values));
}
ColorArray Colors(std::vector<Color> values) {
  return ColorArray(std::move(values));
}
VectorArray Vectors(std::vector<Vec3> values) {
  return VectorArray(std::move(values));
}
IntArray Ints(std::vector<int32_t> values) {
  return IntArray(std::move(values));
}

// A unit square facing the camera, filling the picture; u goes right, v down. Its material shines with the
// texture's colour, so that a pixel shows the texture itself.
class TextureScene : public SceneKit {
 public:
  TextureScene() {
    Settings(16, 16, 4);
    PatchCamera({0, 0, 1}, {}, 0.5f);
    plane = Make("GeomPlane");
    material = Make("MaterialEmissive");
    // The plane's front is up; turned to the camera its far edge is the upper one.
    Put(plane, material, {Matrix{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}, {}});
  }
  ImagePtr Show(PluginId texture) {
    EXPECT_TRUE(scene.Set(material, "color", PluginRef{texture}));
    return Render();
  }
  PluginId plane, material;
};

Color Pixel(const image::Image& image, int x, int y) {
  const float* p = image.pixels() + 4 * (static_cast<size_t>(y) * static_cast<size_t>(image.width) + x);
  return {p[0], p[1], p[2]};
}

void ExpectNear(Color got, Color wanted, float tolerance) {
  EXPECT_NEAR(got.r, wanted.r, tolerance);
  EXPECT_NEAR(got.g, wanted.g, tolerance);
  EXPECT_NEAR(got.b, wanted.b, tolerance);
}

TEST(TextureClasses, AGradientRunsAlongItsAxis) {
  TextureScene scene;
  const PluginId ramp = scene.Make("TextureGradient", {{"colors", Colors({{1, 0, 0}, {0, 0, 1}})}});
  const auto along_u = scene.Show(ramp);
  ExpectNear(Pixel(*along_u, 0, 8), {31.0f / 32, 0, 1.0f / 32}, 0.03f);
  ExpectNear(Pixel(*along_u, 15, 8), {1.0f / 32, 0, 31.0f / 32}, 0.03f);
  scene.scene.Set(ramp, "axis", 1);
  const auto along_v = scene.Show(ramp);
  ExpectNear(Pixel(*along_v, 8, 0), {31.0f / 32, 0, 1.0f / 32}, 0.03f);
  ExpectNear(Pixel(*along_v, 8, 15), {1.0f / 32, 0, 31.0f / 32}, 0.03f);
  scene.scene.Set(ramp, "axis", 2);
  scene.scene.Set(ramp, "interpolation", 0);
  ExpectNear(Pixel(*scene.Show(ramp), 8, 8), {1, 0, 0}, 1e-6f);
  ExpectNear(Pixel(*scene.Show(ramp), 0, 0), {0, 0, 1}, 1e-6f);
}

TEST(TextureClasses, AMixFollowsItsAmount) {
  TextureScene scene;
  const PluginId quarter = scene.Make("TextureFloatConstant", {{"value", 0.25f}});
  const PluginId mix = scene.Make(
      "TextureMix", {{"colorA", Color{1, 0, 0}}, {"colorB", Color{0, 1, 0}}, {"amount", PluginRef{quarter}}});
  ExpectNear(Mean(*scene.Show(mix)), {0.75f, 0.25f, 0}, 1e-5f);
}

TEST(TextureClasses, AFloatRampBendsItsInput) {
  TextureScene scene;
  const PluginId input = scene.Make("TextureFloatConstant", {{"value", 0.5f}});
  const PluginId ramp = scene.Make(
      "TextureFloatRamp",
      {{"input", PluginRef{input}}, {"positions", Floats({0, 0.4f, 0.6f})}, {"values", Floats({0, 1, 3})}});
  EXPECT_NEAR(Mean(*scene.Show(ramp)).g, 2, 1e-5f);
  scene.scene.Set(ramp, "positions", Floats({0, 1}));
  EXPECT_NEAR(Mean(*scene.Show(ramp)).g, 0.5f, 1e-5f) << "lists that don't fit pass the input on";
  EXPECT_FALSE(scene.logs.empty());
}

TEST(TextureClasses, NoiseIsPerlinsAndTheSeedsDiffer) {
  double sum = 0;
  double squares = 0;
  constexpr int kCount = 20000;
  for (int i = 0; i < kCount; ++i) {
    const auto t = static_cast<float>(i);
    const float n = GradientNoise({t * 0.3719f, t * 0.1127f + 0.4f, t * 0.0531f}, 1);
    ASSERT_LE(std::abs(n), 1.0001f);
    sum += n;
    squares += n * n;
  }
  EXPECT_NEAR(sum / kCount, 0, 0.02);
  EXPECT_GT(squares / kCount, 0.03);
  EXPECT_EQ(GradientNoise({3, -4, 5}, 1), 0) << "a point of the lattice";
  EXPECT_NEAR(GradientNoise({0.99999f, 0.3f, 0.7f}, 1), GradientNoise({1.00001f, 0.3f, 0.7f}, 1), 1e-4f);
  EXPECT_EQ(GradientNoise({NAN, 0, 0}, 1), 0);
  EXPECT_EQ(GradientNoise({0, 1e30f, 0}, 1), 0);

  TextureScene scene;
  const PluginId noise = scene.Make("TextureNoise");
  const auto first = scene.Show(noise);
  EXPECT_NEAR(Mean(*first).g, 0.5f, 0.15f);
  scene.scene.Set(noise, "seed", 7);
  EXPECT_FALSE(SamePixels(*first, *scene.Show(noise)));
}

TEST(TextureClasses, VectorsShowThePoint) {
  TextureScene scene;
  const PluginId vector = scene.Make("TextureVectorPosition", {{"source", 1}});
  ExpectNear(Mean(*scene.Show(vector)), {0, 0, 1}, 1e-5f);
  scene.scene.Set(vector, "source", 0);
  scene.scene.Set(vector, "transform", Translate({1, 1, 1}));
  ExpectNear(Pixel(*scene.Show(vector), 15, 0), {1.47f, 1.47f, 1}, 0.02f);
}

TEST(UvClasses, AMatrixTurnsTheCoordinates) {
  TextureScene scene;
  const PluginId turn = scene.Make("TextureMatrixRotate", {{"angle", 90.0f}});
  const PluginId uv = scene.Make("UvTransform", {{"matrix", PluginRef{turn}}});
  const PluginId ramp = scene.Make("TextureGradient", {{"axis", 1}, {"uvwgen", PluginRef{uv}}});
  // A quarter turn takes (u, v) to (-v, u).
  const auto image = scene.Show(ramp);
  EXPECT_NEAR(Pixel(*image, 0, 3).g, 1.0f / 32, 0.03f);
  EXPECT_NEAR(Pixel(*image, 15, 3).g, 31.0f / 32, 0.03f);
}

TEST(UvClasses, ATransformMovesTheCoordinates) {
  TextureScene scene;
  const PluginId move = scene.Make("TextureTransformConstant", {{"transform", Translate({0.5f, 0, 0})}});
  const PluginId uv = scene.Make("UvTransform", {{"transform", PluginRef{move}}});
  const PluginId ramp = scene.Make("TextureGradient", {{"uvwgen", PluginRef{uv}}});
  EXPECT_NEAR(Pixel(*scene.Show(ramp), 0, 3).g, 0.5f + 1.0f / 32, 0.03f);
  EXPECT_EQ(Pixel(*scene.Show(ramp), 12, 3).g, 1);
}

TEST(UvClasses, AProjectorSpansItsImage) {
  TextureScene scene;
  // Twice the size of the square, so that the square has the middle half of the image.
  const PluginId uv =
      scene.Make("UvPlanar", {{"transform", Transform{Matrix{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}}, {}}}});
  const PluginId ramp = scene.Make("TextureGradient", {{"uvwgen", PluginRef{uv}}, {"axis", 1}});
  EXPECT_NEAR(Pixel(*scene.Show(ramp), 8, 0).g, 0.25f, 0.03f);
  EXPECT_NEAR(Pixel(*scene.Show(ramp), 8, 15).g, 0.75f, 0.03f);
  const PluginId normal = scene.Make("TextureVectorPosition", {{"source", 1}});
  scene.scene.Set(uv, "position", PluginRef{normal});
  EXPECT_NEAR(Mean(*scene.Show(ramp)).g, 0.5f, 1e-5f) << "one position, one place of the image";
}

TEST(UvClasses, ASetIsChosenByTile) {
  TextureScene scene;
  const PluginId quad = scene.Make(
      "GeomStaticMesh",
      {{"vertices",
        Vectors({{-0.5f, -0.5f, 0.1f}, {0.5f, -0.5f, 0.1f}, {0.5f, 0.5f, 0.1f}, {-0.5f, 0.5f, 0.1f}})},
       {"faces", Ints({0, 1, 2, 0, 2, 3})},
       {"uv", Vectors({{0, 1, 0}, {2, 1, 0}, {2, 0, 0}, {0, 0, 0}})},
       {"uv2", Vectors({{5, 5, 0}, {5, 5, 0}, {5, 5, 0}, {5, 5, 0}})}});
  scene.Put(quad, scene.material);
  const PluginId tile = scene.Make("TextureIntSelect", {{"values", Ints({0, 1})}});
  const PluginId uv = scene.Make("UvChannel", {{"channel", PluginRef{tile}}});
  const PluginId ramp = scene.Make(
      "TextureGradient",
      {{"uvwgen", PluginRef{uv}}, {"positions", Floats({0, 5})}, {"colors", Colors({{0, 0, 0}, {5, 5, 5}})}});
  const auto image = scene.Show(ramp);
  EXPECT_NEAR(Pixel(*image, 3, 8).g, 2 * 3.5f / 16, 0.06f) << "left half: the first set";
  EXPECT_NEAR(Pixel(*image, 12, 8).g, 5, 1e-4f) << "right half: the second set";
  EXPECT_NEAR(Mean(*scene.Show(scene.Make("TextureIntSelect"))).g, 0.5f, 0.05f) << "tiles 0 and 1";
}

TEST(BitmapClasses, TexturesShareAFile) {
  const std::string path = testing::TempDir() + "kiln_bitmap_class.bmp";
  {
    const uint8_t header[54] = {'B', 'M', 58, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40,
                                0,   0,   0,  1, 0, 0, 0, 1, 0, 0, 0,  1, 0, 24};
    const uint8_t texel[4] = {0, 0, 255, 0};
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(header), sizeof(header));
    file.write(reinterpret_cast<const char*>(texel), sizeof(texel));
  }
  TextureScene scene;
  const PluginId bitmap = scene.Make("BitmapFile", {{"file", path}});
  const PluginId texture = scene.Make("TextureBitmap", {{"bitmap", PluginRef{bitmap}}});
  ExpectNear(Mean(*scene.Show(texture)), {1, 0, 0}, 1e-5f);
  scene.scene.Set(bitmap, "file", "no/such/file.png");
  scene.Show(texture);
  EXPECT_EQ(scene.logs.size(), 2U) << "one for the bitmap, one for the texture without an image";
  std::remove(path.c_str());
}

// A ball in a white furnace: what it absorbs, and only that, is missing.
class Furnace : public SceneKit {
 public:
  Furnace() {
    Settings(24, 24, 64, 40);
    Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
    PatchCamera({0, 0, 3}, {}, 0.35f);
    ball = Make("GeomSphere", {{"radius", 0.5f}});
  }
  float Show(PluginId material) {
    const PluginId object = Put(ball, material);
    const float mean = Mean(*Render()).g;
    scene.Delete(object);
    return mean;
  }
  PluginId ball;
};

TEST(BsdfClasses, WhatIsNotAbsorbedComesBack) {
  Furnace furnace;
  const Color white{1, 1, 1};
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfDiffuse", {{"reflectance", Color{0.6f, 0.6f, 0.6f}}})), 0.6f,
              0.01f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfConductor", {{"f0", white}, {"roughness", 0.6f}})), 1, 0.02f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfDielectric")), 1, 0.01f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfDielectric", {{"roughness", 0.5f}})), 1, 0.02f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfThinDielectric")), 1, 0.01f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfSheen", {{"baseColor", white}})), 1, 0.02f);
  EXPECT_NEAR(furnace.Show(furnace.Make("BsdfClearcoat", {{"baseColor", white}})), 1, 0.02f);
  const PluginId leaf =
      furnace.Make("BsdfDiffuse", {{"reflectance", white}, {"transmittance", Color{1, 1, 1}}});
  EXPECT_NEAR(furnace.Show(leaf), 1, 0.01f) << "together no more than all";
}

TEST(BsdfClasses, AMixtureIsTheMeanOfItsParts) {
  Furnace furnace;
  const PluginId dark = furnace.Make("BsdfDiffuse", {{"reflectance", Color{0.2f, 0.2f, 0.2f}}});
  const PluginId metal = furnace.Make("BsdfConductor", {{"f0", Color{1, 1, 1}}, {"roughness", 0.5f}});
  const PluginId glass = furnace.Make("BsdfDielectric", {{"roughness", 0.3f}});
  const PluginId sheen = furnace.Make("BsdfSheen", {{"baseColor", Color{1, 1, 1}}});
  const PluginId coat = furnace.Make("BsdfClearcoat", {{"baseColor", Color{1, 1, 1}}});
  const auto mix = [&](PluginId a, PluginId b, float amount) {
    return furnace.Make("BsdfMix", {{"bsdfA", PluginRef{a}}, {"bsdfB", PluginRef{b}}, {"amount", amount}});
  };
  EXPECT_NEAR(furnace.Show(mix(dark, metal, 0.25f)), 0.2f * 0.75f + 0.25f, 0.02f);
  EXPECT_NEAR(furnace.Show(mix(metal, glass, 0.5f)), 1, 0.02f);
  EXPECT_NEAR(furnace.Show(mix(metal, sheen, 0.5f)), 1, 0.02f) << "the sheen dims its own ground only";
  EXPECT_NEAR(furnace.Show(mix(coat, mix(sheen, metal, 0.5f), 0.5f)), 1, 0.02f);
  EXPECT_NEAR(furnace.Show(mix(dark, scene::kNoPlugin, 0.5f)), 0.1f, 0.01f) << "none is black";
  EXPECT_NEAR(furnace.Show(mix(dark, metal, 0)), 0.2f, 0.01f);
}

TEST(VolumeClasses, ABodyAbsorbsByTheLengthOfTheWay) {
  Furnace furnace;
  const PluginId clear = furnace.Make("BsdfDielectric", {{"ior", 1.0f}});
  const PluginId volume = furnace.Make("VolumeHomogeneous", {{"absorption", Color{1, 2, 0}}});
  const PluginId object = furnace.Put(furnace.ball, clear);
  furnace.scene.Set(object, "volume", PluginRef{volume});
  const auto built = furnace.Build();
  ASSERT_NE(built, nullptr);
  EXPECT_TRUE(built->objects.at(0).has_volume);
  const Color left = built->objects.at(0).Transmittance(2);
  ExpectNear(left, {std::exp(-2.0f), std::exp(-4.0f), 1}, 1e-5f);
  const Color seen = Mean(*furnace.Render());
  EXPECT_LT(seen.g, seen.r);
  EXPECT_LT(seen.r, 0.75f);
  EXPECT_NEAR(seen.b, 1, 0.01f);
}

TEST(GeometryClasses, ABallOfParticlesCoversAsABallDoes) {
  const auto shadow = [](std::string_view type, std::vector<std::pair<std::string_view, Value>> values) {
    SceneKit kit;
    kit.Settings(48, 48, 16);
    kit.PatchCamera({0, 0, 3}, {}, 1);
    const PluginId geometry = kit.Make(type);
    for (const auto& [property, value] : values) EXPECT_TRUE(kit.scene.Set(geometry, property, value));
    kit.Put(geometry, kit.Make("MaterialEmissive"));
    return Mean(*kit.Render()).g;
  };
  const float disc = kPi * 0.25f / 4;
  EXPECT_NEAR(shadow("GeomSphere", {{"radius", 0.5f}}), disc, 0.01f);
  EXPECT_NEAR(shadow("GeomParticleSystem",
                     {{"positions", Vectors({{0, 0, 0}})}, {"radius", 0.5f}, {"subdivisions", 4}}),
              disc, 0.01f);
  EXPECT_NEAR(shadow("GeomParticleSystem", {{"positions", Vectors({{-0.5f, 0, 0}, {0.5f, 0, 0}})},
                                            {"radii", Floats({0.25f, 0.25f})},
                                            {"subdivisions", 4}}),
              disc / 2, 0.01f);
  EXPECT_NEAR(shadow("GeomMayaHair", {{"vertices", Vectors({{0, -0.5f, 0}, {0, 0, 0}, {0, 0.5f, 0}})},
                                      {"verticesPerStrand", Ints({3})},
                                      {"widths", Floats({0.4f})},
                                      {"sides", 64}}),
              0.4f / 4, 0.01f);
  EXPECT_NEAR(shadow("GeomMayaHair", {{"vertices", Vectors({{-0.5f, 0, 0}, {0.5f, 0, 0}, {0, -1, 0}})},
                                      {"verticesPerStrand", Ints({2, 1})},
                                      {"widths", Floats({0.0f, 0.8f, 1.0f})},
                                      {"sides", 64}}),
              0.4f / 4, 0.01f)
      << "a cone; a strand of one vertex is not there";
  EXPECT_EQ(shadow("GeomMayaHair", {{"vertices", Vectors({{0, 0, 0}})}, {"verticesPerStrand", Ints({2})}}),
            0);
  EXPECT_EQ(shadow("GeomMayaHair", {{"vertices", Vectors({{0, 0, 0}})}, {"verticesPerStrand", Ints({-1})}}),
            0);
}

TEST(LightMesh, LightsAsItsPowerSays) {
  // A white floor under a shining ball of 10 W; the floor's irradiance is that of the power spread evenly.
  SceneKit kit;
  kit.Settings(8, 8, 256, 1);
  kit.PatchCamera({0, 0.5f, 0}, {}, 0.02f);
  kit.Put(kit.Make("GeomPlane", {{"width", 4.0f}, {"depth", 4.0f}}),
          kit.Make("BsdfDiffuse", {{"reflectance", Color{1, 1, 1}}}));
  const PluginId light =
      kit.Make("LightMesh", {{"geometry", PluginRef{kit.Make("GeomSphere", {{"radius", 0.1f}})}},
                             {"transform", Translate({0, 2, 0})},
                             {"intensity", 10.0f},
                             {"intensityUnit", 1}});
  const float expected = 10.0f / (4 * kPi * 4) / kPi;
  EXPECT_NEAR(Mean(*kit.Render()).g, expected, 0.03f * expected);
  kit.scene.Set(light, "enabled", false);
  EXPECT_EQ(Mean(*kit.Render()).g, 0);
}

TEST(ChannelClasses, APictureShowsTheChannelInPlaceOfTheLight) {
  SceneKit kit;
  const PluginId integrator = kit.Settings(8, 8, 4);
  kit.Make("SettingsEnvironment", {{"background", Color{5, 5, 5}}});
  kit.PatchCamera({0, 3, 0}, {}, 1);
  kit.Put(kit.Make("GeomPlane"), kit.Make("BsdfDiffuse"));
  const PluginId depth = kit.Make("ChannelDepth");
  kit.scene.Set(integrator, "channel", PluginRef{depth});
  const auto metres = kit.Render();
  ExpectNear(Pixel(*metres, 4, 4), {3, 3, 3}, 1e-3f);
  ExpectNear(Pixel(*metres, 0, 0), {0, 0, 0}, 0);
  kit.scene.Set(depth, "far", 6.0f);
  ExpectNear(Pixel(*kit.Render(), 4, 4), {0.5f, 0.5f, 0.5f}, 1e-3f);
  kit.scene.Set(integrator, "channel", PluginRef{kit.Make("ChannelNormal")});
  ExpectNear(Pixel(*kit.Render(), 4, 4), {0, 1, 0}, 1e-5f);
}

}  // namespace
}  // namespace kiln::engine::render::test
