// Render elements: what the layers of a film hold, and that the light among them is the picture.
#include "engine/render/elements.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "engine/render/threads.h"
#include "test/engine/render/cornell.h"

namespace kiln::engine::render::test {
namespace {

constexpr ElementType kLightElements[] = {ElementType::kLighting,         ElementType::kGi,
                                          ElementType::kSpecular,         ElementType::kReflection,
                                          ElementType::kSelfIllumination, ElementType::kBackground,
                                          ElementType::kRefraction};

const Element& ElementOf(ElementType type) {
  return *FindElement(type);
}

void Ask(SceneKit& kit, std::initializer_list<ElementType> types) {
  for (const ElementType type : types) kit.Make(ElementOf(type).class_name);
}
void AskForAll(SceneKit& kit) {
  for (const Element& element : AllElements()) kit.Make(element.class_name);
}

struct Rendered {
  Film film;
  Bucket whole;
  ElementPixels Read(ElementType type) const {
    const auto pixels = ReadElement(film, ElementOf(type), whole);
    EXPECT_TRUE(pixels.has_value()) << ElementOf(type).text;
    return pixels.value_or(ElementPixels{});
  }
  const float* At(const ElementPixels& pixels, int x, int y) const {
    return &pixels.rgba[4 * (static_cast<size_t>(y) * whole.width + x)];
  }
};

// In buckets of 16 pixels, on so many threads, in passes of these samples.
std::unique_ptr<Rendered> RenderElements(SceneKit& kit, int threads = 1, std::vector<int> passes = {},
                                         double time = 0) {
  const auto built = kit.Build(time);
  auto out = std::make_unique<Rendered>();
  if (built->camera == nullptr) return out;
  const RenderSettings& s = built->settings;
  const FrameRenderer frame(built, s.width, s.height, {});
  out->whole = {0, 0, s.width, s.height};
  out->film.Resize(s.width, s.height, false);
  if (passes.empty()) passes = {s.samples};
  std::vector<Bucket> buckets;
  for (int y = 0; y < s.height; y += 16) {
    for (int x = 0; x < s.width; x += 16) {
      buckets.push_back({x, y, std::min(16, s.width - x), std::min(16, s.height - y)});
    }
  }
  int first = 0;
  for (const int count : passes) {
    std::atomic<size_t> next{0};
    RunWorkers(threads, [&](int) {
      const std::atomic<bool> never{false};
      TraceStatistics statistics;
      for (size_t i = next++; i < buckets.size(); i = next++) {
        frame.RenderBucket(buckets[i], first, count, never, &out->film, &statistics);
      }
    });
    first += count;
  }
  return out;
}

// Diffuse, glossy, mirroring, refracting, sheer and glowing things under a sky and a lamp.
void MakeMixedScene(SceneKit& kit, int samples) {
  kit.Settings(40, 30, samples);
  kit.Camera({0, 1.6f, 6}, {0, 0.8f, 0}, 45);
  kit.Make("SettingsEnvironment", {{"background", Color{0.3f, 0.4f, 0.6f}}});
  kit.Make("LightRectangle", {{"transform", LookAt({2, 4, 2}, {0, 0, 0})}, {"intensity", 12.0f}});
  kit.Quad({-9, 0, 9}, {9, 0, 9}, {9, 0, -9}, {-9, 0, -9}, kit.Diffuse({0.6f, 0.5f, 0.4f}));
  const auto ball = [&](float x, PluginId material) {
    kit.Put(kit.Sphere(0.7f, 16), material, Translate({x, 0.7f, 0}));
  };
  ball(-2.4f, kit.Make("MaterialPrincipled", {{"baseColor", Color{0.8f, 0.2f, 0.1f}}, {"roughness", 0.3f}}));
  ball(-0.8f, kit.Make("MaterialPrincipled", {{"metallic", 1.0f}, {"roughness", 0.0f}}));
  ball(0.8f, kit.Make("BsdfDielectric", {{"ior", 1.5f}}));
  ball(2.4f, kit.Make("MaterialPrincipled", {{"baseColor", Color{0.1f, 0.3f, 0.8f}},
                                             {"clearcoat", 1.0f},
                                             {"sheenColor", Color{0.5f, 0.5f, 0.5f}},
                                             {"emission", Color{0.1f, 0.0f, 0.2f}}}));
  kit.Quad({-3, 1.8f, 1}, {-1, 1.8f, 1}, {-1, 3, 1}, {-3, 3, 1},
           kit.Make("MaterialPrincipled", {{"opacity", 0.4f}, {"alphaMode", 2}}));
  kit.Quad({1, 1.8f, 1}, {3, 1.8f, 1}, {3, 3, 1}, {1, 3, 1},
           kit.Make("BsdfDiffuse",
                    {{"reflectance", Color{0.3f, 0.3f, 0.3f}}, {"transmittance", Color{0.5f, 0.5f, 0.5f}}}));
}

void ExpectLightIsBeauty(const Rendered& rendered) {
  const ElementPixels beauty = rendered.Read(ElementType::kColor);
  std::vector<double> sum(beauty.rgba.size());
  for (const ElementType type : kLightElements) {
    const ElementPixels part = rendered.Read(type);
    for (size_t i = 0; i < sum.size(); ++i) sum[i] += part.rgba[i];
  }
  double worst = 0;
  double total = 0;
  for (size_t i = 0; i < sum.size(); ++i) {
    if (i % 4 == 3) continue;
    total += beauty.rgba[i];
    worst = std::max(worst, std::abs(sum[i] - beauty.rgba[i]) / (1e-3 + std::abs(beauty.rgba[i])));
  }
  EXPECT_GT(total, 1);
  EXPECT_LT(worst, 2e-6);
}

TEST(Elements, LightAddsUpToTheBeautyInACornellBox) {
  SceneKit kit;
  MakeCornell(kit, 32, 32);
  AskForAll(kit);
  const auto rendered = RenderElements(kit);
  ExpectLightIsBeauty(*rendered);
  // Nothing here mirrors or lets light through, and no sky is seen.
  for (const ElementType type : {ElementType::kReflection, ElementType::kRefraction, ElementType::kBackground,
                                 ElementType::kSpecular}) {
    const ElementPixels pixels = rendered->Read(type);
    for (size_t i = 0; i < pixels.rgba.size(); ++i) {
      ASSERT_EQ(i % 4 == 3 ? 0 : pixels.rgba[i], 0) << ElementOf(type).text;
    }
  }
}

TEST(Elements, LightAddsUpToTheBeautyOverManyMaterials) {
  SceneKit kit;
  MakeMixedScene(kit, 32);
  AskForAll(kit);
  const auto rendered = RenderElements(kit);
  ExpectLightIsBeauty(*rendered);
  // Each of them has its share in this scene.
  for (const ElementType type : kLightElements) {
    double total = 0;
    const ElementPixels pixels = rendered->Read(type);
    for (size_t i = 0; i < pixels.rgba.size(); ++i) total += i % 4 == 3 ? 0 : pixels.rgba[i];
    EXPECT_GT(total, 0.5) << ElementOf(type).text;
  }
}

TEST(Elements, LightAddsUpWithClampRoughGlassAndExposure) {
  SceneKit kit;
  const PluginId integrator = kit.Settings(24, 24, 32);
  kit.scene.Set(integrator, "clamp", 0.5f);
  kit.Make("CameraPerspective", {{"transform", LookAt({0, 1, 4}, {0, 0.5f, 0})}, {"exposure", 3.0f}});
  kit.Make("LightDome", {{"intensity", 0.5f}});
  kit.Make("LightPoint", {{"transform", Translate({1, 3, 1})}, {"intensity", 20.0f}});
  kit.Quad({-9, 0, 9}, {9, 0, 9}, {9, 0, -9}, {-9, 0, -9}, kit.Diffuse({0.6f, 0.5f, 0.4f}));
  kit.Put(kit.Sphere(0.6f, 16),
          kit.Make("BsdfMix", {{"bsdfA", PluginRef{kit.Make("BsdfDielectric", {{"roughness", 0.3f}})}},
                               {"bsdfB", PluginRef{kit.Diffuse({0.9f, 0.1f, 0.1f})}},
                               {"amount", 0.5f}}),
          Translate({0, 0.6f, 0}));
  AskForAll(kit);
  ExpectLightIsBeauty(*RenderElements(kit));
}

TEST(Elements, ThePictureIsTheSameWithAndWithoutThem) {
  SceneKit kit;
  MakeMixedScene(kit, 8);
  const ImagePtr plain = kit.Render();
  AskForAll(kit);
  const ImagePtr with = kit.Render();
  EXPECT_TRUE(SamePixels(*plain, *with));
}

bool SameElements(const Rendered& a, const Rendered& b) {
  return std::ranges::all_of(AllElements(), [&](const Element& element) {
    const ElementPixels x = a.Read(element.type);
    const ElementPixels y = b.Read(element.type);
    return x.integers == y.integers &&
           std::memcmp(x.rgba.data(), y.rgba.data(), x.rgba.size() * sizeof(float)) == 0;
  });
}

TEST(Elements, ThreadsDoNotChangeThem) {
  SceneKit kit;
  MakeMixedScene(kit, 12);
  AskForAll(kit);
  const auto one = RenderElements(kit, 1, {1, 1, 2, 8});
  for (const int threads : {2, 3, 8}) {
    EXPECT_TRUE(SameElements(*one, *RenderElements(kit, threads, {1, 1, 2, 8}))) << threads;
  }
}

TEST(Elements, PassesAddUpToTheSamePictures) {
  SceneKit kit;
  MakeMixedScene(kit, 16);
  AskForAll(kit);
  const auto at_once = RenderElements(kit);
  const auto passes = RenderElements(kit, 2, {1, 1, 2, 4, 8});
  ExpectLightIsBeauty(*passes);
  for (const ElementType type : {ElementType::kZDepth, ElementType::kNodeId, ElementType::kWorldPosition}) {
    EXPECT_EQ(at_once->Read(type).rgba, passes->Read(type).rgba) << ElementOf(type).text;
  }
}

// A quad at z = 0 over the left half of the view, 4 away, before nothing.
PluginId MakeHalf(SceneKit& kit, PluginId material) {
  kit.Settings(8, 8, 16);
  kit.PatchCamera({0, 0, 4}, {0, 0, 0}, 1);
  return kit.Quad({-1, -1, 0}, {0, -1, 0}, {0, 1, 0}, {-1, 1, 0}, material);
}

TEST(Elements, DepthIsAlongTheAxisAndInfiniteWhereNothingIs) {
  SceneKit kit;
  MakeHalf(kit, kit.Diffuse({0.5f, 0.5f, 0.5f}));
  Ask(kit, {ElementType::kZDepth, ElementType::kWorldPosition});
  const auto rendered = RenderElements(kit);
  const ElementPixels depth = rendered->Read(ElementType::kZDepth);
  const ElementPixels position = rendered->Read(ElementType::kWorldPosition);
  for (int y = 0; y < 8; ++y) {
    EXPECT_NEAR(rendered->At(depth, 1, y)[0], 4, 1e-5);
    EXPECT_EQ(rendered->At(depth, 6, y)[0], INFINITY);
    EXPECT_EQ(rendered->At(depth, 6, y)[3], 0);
    EXPECT_NEAR(rendered->At(position, 1, y)[0], -0.625, 0.13);
    EXPECT_NEAR(rendered->At(position, 1, y)[2], 0, 1e-6);
  }
  // A perspective camera sees a plane across its axis at one depth, whatever the angle.
  SceneKit wide;
  wide.Settings(8, 8, 4);
  wide.Camera({0, 0, 2}, {0, 0, 0}, 90);
  wide.Quad({-9, -9, 0}, {9, -9, 0}, {9, 9, 0}, {-9, 9, 0}, wide.Diffuse({1, 1, 1}));
  Ask(wide, {ElementType::kZDepth});
  const auto plane = RenderElements(wide);
  for (const int x : {0, 3, 7}) EXPECT_NEAR(plane->At(plane->Read(ElementType::kZDepth), x, 0)[0], 2, 1e-4);
}

TEST(Elements, IdentitiesAreThoseOfThePlugins) {
  SceneKit kit;
  const PluginId material = kit.Diffuse({0.5f, 0.5f, 0.5f});
  const PluginId object = MakeHalf(kit, material);
  kit.Quad({0, -1, 0}, {1, -1, 0}, {1, 0, 0}, {0, 0, 0}, scene::kNoPlugin);
  Ask(kit, {ElementType::kRenderId, ElementType::kNodeId, ElementType::kMaterialId});
  const auto rendered = RenderElements(kit);
  const auto at = [&](ElementType type, int x, int y) { return rendered->Read(type).integers[8 * y + x]; };
  EXPECT_EQ(at(ElementType::kRenderId, 1, 1), 1);
  EXPECT_EQ(at(ElementType::kNodeId, 1, 1), object);
  EXPECT_EQ(at(ElementType::kMaterialId, 1, 1), material);
  EXPECT_EQ(at(ElementType::kRenderId, 6, 6), 2);
  EXPECT_EQ(at(ElementType::kMaterialId, 6, 6), 0);
  for (const ElementType type : {ElementType::kRenderId, ElementType::kNodeId, ElementType::kMaterialId}) {
    EXPECT_EQ(at(type, 6, 1), 0);
  }
}

TEST(Elements, NormalsFaceTheCameraAndBumpsBendThem) {
  SceneKit kit;
  // Seen from behind: its normal points away from the camera.
  kit.Settings(4, 4, 4);
  kit.PatchCamera({0, 0, -4}, {0, 0, 0}, 0.5f);
  const PluginId map = kit.Make("TextureMix", {{"colorA", Color{1, 0.5f, 1}}, {"amount", 0.0f}});
  kit.Put(kit.Make("GeomStaticMesh",
                   {{"vertices", scene::VectorArray({{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}})},
                    {"faces", scene::IntArray({0, 1, 2, 0, 2, 3})},
                    {"uv", scene::VectorArray({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})}}),
          kit.Make("MaterialPrincipled", {{"normalMap", PluginRef{map}}}));
  Ask(kit, {ElementType::kNormals, ElementType::kBumpNormals});
  const auto rendered = RenderElements(kit);
  const ElementPixels normals = rendered->Read(ElementType::kNormals);
  EXPECT_NEAR(rendered->At(normals, 1, 1)[2], -1, 1e-6);
  const ElementPixels bumps = rendered->Read(ElementType::kBumpNormals);
  EXPECT_NEAR(rendered->At(bumps, 1, 1)[2], -std::sqrt(0.5), 0.02);
  EXPECT_NEAR(std::abs(rendered->At(bumps, 1, 1)[0]), std::sqrt(0.5), 0.02);
}

TEST(Elements, DiffuseIsTheColourWithoutLight) {
  SceneKit kit;
  MakeHalf(kit, kit.Diffuse({0.7f, 0.2f, 0.1f}));
  kit.Make("LightPoint", {{"transform", Translate({0, 0, 3})}, {"intensity", 3.0f}});
  Ask(kit, {ElementType::kDiffuse, ElementType::kLighting, ElementType::kRawLight,
            ElementType::kRawTotalLight, ElementType::kAlpha});
  const auto rendered = RenderElements(kit);
  const ElementPixels diffuse = rendered->Read(ElementType::kDiffuse);
  const float expected[] = {0.7f, 0.2f, 0.1f};
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(rendered->At(diffuse, 1, 1)[c], expected[c], 1e-3);
    EXPECT_EQ(rendered->At(diffuse, 6, 1)[c], 0);
  }
  // The lamp is white, so light without the colour is grey.
  const ElementPixels raw = rendered->Read(ElementType::kRawLight);
  EXPECT_GT(rendered->At(raw, 1, 1)[0], 0.05f);
  EXPECT_NEAR(rendered->At(raw, 1, 1)[0], rendered->At(raw, 1, 1)[2], 1e-3);
  EXPECT_EQ(rendered->At(raw, 6, 1)[0], 0);
  EXPECT_EQ(rendered->At(rendered->Read(ElementType::kAlpha), 1, 1)[1], 1);
  EXPECT_EQ(rendered->At(rendered->Read(ElementType::kAlpha), 6, 1)[1], 0);
}

TEST(Elements, ShadowIsTheLightThatIsMissing) {
  const auto lighting = [](bool shade) {
    SceneKit kit;
    kit.Settings(4, 4, 16, 1);
    kit.PatchCamera({1, 1, 0}, {0, 0, 0}, 0.01f);
    kit.Quad({-9, 0, 9}, {9, 0, 9}, {9, 0, -9}, {-9, 0, -9}, kit.Diffuse({1, 1, 1}));
    if (shade) kit.Quad({-1, 2, 1}, {1, 2, 1}, {1, 2, -1}, {-1, 2, -1}, kit.Diffuse({0, 0, 0}));
    kit.Make("LightDirectional", {{"transform", LookAt({0, 1, 0}, {0, 0, 0})}, {"intensity", kPi}});
    Ask(kit, {ElementType::kShadow, ElementType::kLighting});
    const auto rendered = RenderElements(kit);
    return std::pair(rendered->Read(ElementType::kLighting).rgba[0],
                     rendered->Read(ElementType::kShadow).rgba[0]);
  };
  EXPECT_NEAR(lighting(false).first, 1, 1e-3);
  EXPECT_EQ(lighting(false).second, 0);
  EXPECT_EQ(lighting(true).first, 0);
  EXPECT_NEAR(lighting(true).second, 1, 1e-3);
}

TEST(Elements, VelocityIsTheWayToTheNextFrame) {
  SceneKit kit;
  const PluginId object = MakeHalf(kit, kit.Diffuse({0.5f, 0.5f, 0.5f}));
  kit.Quad({0, -1, 0}, {1, -1, 0}, {1, 1, 0}, {0, 1, 0}, scene::kNoPlugin);
  kit.scene.Set(object, "transform", Translate({0, 0, 0}), 0.0);
  kit.scene.Set(object, "transform", Translate({0.5f, 0, -2}), 2.0);
  Ask(kit, {ElementType::kVelocity});
  const auto rendered = RenderElements(kit);
  const ElementPixels velocity = rendered->Read(ElementType::kVelocity);
  EXPECT_NEAR(rendered->At(velocity, 1, 1)[0], 0.25, 1e-6);
  EXPECT_NEAR(rendered->At(velocity, 1, 1)[2], -1, 1e-6);
  EXPECT_EQ(rendered->At(velocity, 6, 1)[0], 0);
  // After the last key nothing moves.
  const auto later = RenderElements(kit, 1, {}, 2);
  EXPECT_EQ(later->At(later->Read(ElementType::kVelocity), 1, 1)[2], 0);
}

TEST(Elements, SamplesAndNoiseAreCounted) {
  SceneKit kit;
  MakeCornell(kit, 16, 16);
  Ask(kit, {ElementType::kSampleRate, ElementType::kNoiseLevel});
  const auto few = RenderElements(kit, 1, {16});
  const auto many = RenderElements(kit, 1, {256});
  EXPECT_EQ(few->Read(ElementType::kSampleRate).rgba[0], 16);
  double noise[2] = {};
  for (size_t i = 0; i < 256; ++i) {
    noise[0] += few->Read(ElementType::kNoiseLevel).rgba[4 * i];
    noise[1] += many->Read(ElementType::kNoiseLevel).rgba[4 * i];
  }
  EXPECT_GT(noise[0], 0);
  EXPECT_NEAR(noise[0] / noise[1], 4, 1);
}

TEST(Elements, OnlyWhatIsAskedForIsKept) {
  SceneKit kit;
  MakeHalf(kit, kit.Diffuse({0.5f, 0.5f, 0.5f}));
  EXPECT_EQ(kit.Build()->layers, 0U);
  const PluginId depth = kit.Make("RenderChannelZDepth");
  const auto rendered = RenderElements(kit);
  EXPECT_EQ(rendered->film.layers(), LayerBit(Layer::kCentre));
  EXPECT_FALSE(ReadElement(rendered->film, ElementOf(ElementType::kGi), rendered->whole).has_value());
  for (const ElementType type : {ElementType::kColor, ElementType::kAlpha, ElementType::kSampleRate}) {
    EXPECT_TRUE(ReadElement(rendered->film, ElementOf(type), rendered->whole).has_value());
  }
  kit.scene.Set(depth, "enabled", false);
  EXPECT_EQ(kit.Build()->layers, 0U);
}

TEST(Elements, PartsAreThoseOfTheWholeAndMustBeInside) {
  SceneKit kit;
  MakeMixedScene(kit, 2);
  AskForAll(kit);
  const auto rendered = RenderElements(kit);
  const Bucket part{5, 7, 11, 3};
  for (const Element& element : AllElements()) {
    const ElementPixels whole = rendered->Read(element.type);
    const auto cut = ReadElement(rendered->film, element, part);
    ASSERT_TRUE(cut.has_value());
    for (int y = 0; y < part.height; ++y) {
      EXPECT_EQ(std::memcmp(&cut->rgba[size_t{4} * part.width * y], rendered->At(whole, part.x, part.y + y),
                            size_t{16} * part.width),
                0);
    }
    for (const Bucket& outside : {Bucket{-1, 0, 2, 2}, Bucket{39, 0, 2, 2}, Bucket{0, 0, 40, 31},
                                  Bucket{0, 0, 0, 1}, Bucket{0, 0, -3, -3}, Bucket{2147483647, 0, 2, 2}}) {
      EXPECT_FALSE(ReadElement(rendered->film, element, outside).has_value());
    }
  }
}

TEST(Elements, TheTableAgreesWithTheClasses) {
  std::set<std::string_view> texts;
  for (const Element& element : AllElements()) {
    SCOPED_TRACE(element.text);
    EXPECT_TRUE(texts.insert(element.text).second);
    const scene::PluginClass* type = scene::FindClass(element.class_name);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->element, static_cast<int32_t>(element.type));
    EXPECT_EQ(FindElement(element.type), &element);
  }
  EXPECT_EQ(FindElement(ElementType::kNone), nullptr);
  EXPECT_EQ(FindElement(static_cast<ElementType>(100)), nullptr);
}

}  // namespace
}  // namespace kiln::engine::render::test
