// What a path tracer owes to physics: furnaces, transparency, lenses and clipping.
#include "engine/render/integrator.h"

#include "test/engine/render/scene_kit.h"

namespace kiln::engine::render::test {
namespace {

TEST(Integrator, ClosedEmissiveSphereHasItsSeriesOfBounces) {
  // Inside a closed body that emits L and reflects a share a of what it gets: L (1 + a + a^2 + ...).
  for (const float albedo : {0.0f, 0.5f, 0.8f}) {
    SceneKit kit;
    kit.Settings(8, 8, 64, 1000);
    kit.Camera({0, 0, 0}, {0, 0, -1}, 90);
    kit.Put(kit.Sphere(2, 24), kit.Diffuse({albedo, albedo, albedo}, {0.5f, 0.5f, 0.5f}));
    const double expected = 0.5 / (1 - albedo);
    EXPECT_NEAR(Mean(*kit.Render()).g, expected, expected * 0.02) << albedo;
  }
}

TEST(Integrator, WhiteSphereVanishesInAWhiteFurnace) {
  for (const LightStrategy strategy :
       {LightStrategy::kBoth, LightStrategy::kLightsOnly, LightStrategy::kScatteringOnly}) {
    SceneKit kit;
    kit.Settings(8, 8, 64, 100);
    kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 0.6f);
    kit.Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
    kit.Put(kit.Sphere(1, 32), kit.Diffuse({1, 1, 1}));
    EXPECT_NEAR(Mean(*kit.Render(strategy)).g, 1, 0.01) << static_cast<int>(strategy);
  }
}

TEST(Integrator, MoreLightNeverLeavesThanComesIn) {
  SceneKit kit;
  kit.Settings(8, 8, 32, 100);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 0.6f);
  kit.Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
  kit.Put(kit.Sphere(1, 32), kit.Diffuse({0.6f, 0.6f, 0.6f}));
  EXPECT_NEAR(Mean(*kit.Render()).g, 0.6, 0.01);
}

TEST(Integrator, DepthLimitsTheBounces) {
  for (const int depth : {0, 1, 2}) {
    SceneKit kit;
    kit.Settings(8, 8, 64, depth);
    kit.Camera({0, 0, 0}, {0, 0, -1}, 90);
    kit.Put(kit.Sphere(2, 24), kit.Diffuse({0.5f, 0.5f, 0.5f}, {1, 1, 1}));
    const double expected[] = {1, 1.5, 1.75};
    EXPECT_NEAR(Mean(*kit.Render()).g, expected[depth], 0.02) << depth;
  }
}

PluginId Veil(SceneKit& kit, float opacity, int mode) {
  return kit.Make("MaterialPrincipled", {{"baseColor", Color{0, 0, 0}},
                                         {"specular", 0.0f},
                                         {"opacity", opacity},
                                         {"alphaMode", mode},
                                         {"roughness", 1.0f}});
}

TEST(Integrator, OpacityLetsItsShareThrough) {
  // A black veil before a background of 1: 1 - opacity is seen, and opacity covered.
  SceneKit kit;
  kit.Settings(8, 8, 64);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 0.5f);
  kit.Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
  kit.Quad({-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, Veil(kit, 0.3f, 2));
  const ImagePtr image = kit.Render();
  EXPECT_NEAR(Mean(*image).g, 0.7, 0.02);
  double alpha = 0;
  for (size_t i = 0; i < image->pixel_count(); ++i) alpha += image->pixels()[4 * i + 3];
  EXPECT_NEAR(alpha / static_cast<double>(image->pixel_count()), 0.3, 0.02);
}

TEST(Integrator, ShadowsOfVeilsAreAsThinAsTheVeils) {
  for (const auto& [opacity, mode, share] :
       {std::tuple{0.3f, 2, 0.49}, {0.3f, 1, 1.0}, {0.7f, 1, 0.0}, {0.3f, 0, 0.0}}) {
    SceneKit kit;
    kit.Settings(4, 4, 16, 1);
    kit.PatchCamera({1, 1, 0}, {0, 0, 0}, 0.01f);
    kit.Quad({-9, 0, 9}, {9, 0, 9}, {9, 0, -9}, {-9, 0, -9}, kit.Diffuse({1, 1, 1}));
    const PluginId veil = Veil(kit, opacity, mode);
    for (const float y : {2.0f, 3.0f}) kit.Quad({-1, y, 1}, {1, y, 1}, {1, y, -1}, {-1, y, -1}, veil);
    kit.Make("LightDirectional", {{"transform", LookAt({0, 1, 0}, {0, 0, 0})}, {"intensity", kPi}});
    EXPECT_NEAR(Mean(*kit.Render()).g, share, 0.01) << opacity << ' ' << mode;
  }
}

TEST(Integrator, ObjectsHiddenFromTheCameraStillCastShadows) {
  SceneKit kit;
  kit.Settings(4, 4, 16, 1);
  kit.PatchCamera({0, 5, 0}, {0, 0, 0}, 0.01f);
  kit.Quad({-9, 0, 9}, {9, 0, 9}, {9, 0, -9}, {-9, 0, -9}, kit.Diffuse({1, 1, 1}, {0.25f, 0.25f, 0.25f}));
  const PluginId shade = kit.Quad({-1, 1, 1}, {1, 1, 1}, {1, 1, -1}, {-1, 1, -1}, kit.Diffuse({0, 0, 0}));
  kit.scene.Set(shade, "visibleToCamera", false);
  kit.Make("LightDirectional", {{"transform", LookAt({0, 1, 0}, {0, 0, 0})}, {"intensity", kPi}});
  EXPECT_NEAR(Mean(*kit.Render()).g, 0.25, 1e-4);
  kit.scene.Set(shade, "visible", false);
  EXPECT_NEAR(Mean(*kit.Render()).g, 1.25, 0.05);
}

// A white edge: left half of the view covered by a glowing wall at z = 0.
ImagePtr Edge(float aperture, float focus) {
  SceneKit kit;
  kit.Settings(16, 16, 64);
  kit.Make("CameraPerspective", {{"transform", LookAt({0, 0, 4}, {0, 0, 0})},
                                 {"aperture", aperture},
                                 {"focusDistance", focus},
                                 {"bladeCount", 6}});
  kit.Quad({-9, -9, 0}, {0, -9, 0}, {0, 9, 0}, {-9, 9, 0},
           kit.Make("MaterialEmissive", {{"intensity", 1.0f}}));
  return kit.Render();
}

int GreyPixels(const image::Image& image) {
  int grey = 0;
  for (int x = 0; x < image.width; ++x) {
    const float v = image.pixels()[4 * (8 * image.width + x)];
    if (v > 0.02f && v < 0.98f) ++grey;
  }
  return grey;
}

TEST(Integrator, DepthOfFieldBlursOutsideItsPlaneOnly) {
  EXPECT_EQ(GreyPixels(*Edge(0, 1)), 0);
  EXPECT_LE(GreyPixels(*Edge(0.5f, 4)), 2);
  EXPECT_GE(GreyPixels(*Edge(0.5f, 1.5f)), 4);
}

TEST(Integrator, OrthographicSizeDoesNotDependOnDistance) {
  for (const float distance : {2.0f, 20.0f}) {
    SceneKit kit;
    kit.Settings(8, 8, 1);
    kit.PatchCamera({0, 0, distance}, {0, 0, 0}, 2);
    // Half as wide and high as the view.
    kit.Quad({-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, kit.Make("MaterialEmissive"));
    EXPECT_NEAR(Mean(*kit.Render()).g, 0.25, 1e-5) << distance;
  }
}

TEST(Integrator, ClipPlanesHideWhatIsOutside) {
  for (const auto& [near, far, seen] :
       {std::tuple{0.1f, 10.0f, true}, {3.0f, 10.0f, false}, {0.1f, 1.5f, false}}) {
    SceneKit kit;
    kit.Settings(4, 4, 1);
    kit.Make("CameraPerspective",
             {{"transform", LookAt({0, 0, 2}, {0, 0, 0})}, {"nearClip", near}, {"farClip", far}});
    kit.Quad({-9, -9, 0}, {9, -9, 0}, {9, 9, 0}, {-9, 9, 0}, kit.Make("MaterialEmissive"));
    EXPECT_EQ(Mean(*kit.Render()).g, seen ? 1 : 0) << near;
  }
}

TEST(Integrator, PictureIsUprightAndNotMirrored) {
  SceneKit kit;
  kit.Settings(4, 4, 1);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 1);
  const auto glow = [&](Color c) { return kit.Make("MaterialEmissive", {{"color", c}}); };
  kit.Quad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, glow({1, 0, 0}));      // right and up
  kit.Quad({-1, -1, 0}, {0, -1, 0}, {0, 0, 0}, {-1, 0, 0}, glow({0, 1, 0}));  // left and down
  const ImagePtr image = kit.Render();
  EXPECT_EQ(image->pixels()[4 * 3 + 0], 1);
  EXPECT_EQ(image->pixels()[4 * 12 + 1], 1);
  EXPECT_EQ(image->pixels()[0], 0);
}

TEST(Integrator, ExposureIsAFactor) {
  SceneKit kit;
  kit.Settings(2, 2, 1);
  kit.Make("CameraPerspective", {{"exposure", 2.5f}});
  kit.Make("SettingsEnvironment", {{"background", Color{1, 2, 4}}});
  EXPECT_EQ(Mean(*kit.Render()), (Color{2.5f, 5, 10}));
}

TEST(Integrator, ColouredGlassAbsorbsByItsThickness) {
  // A slab of index 1 within rounding, so that nothing is reflected: Beer and Lambert alone.
  SceneKit kit;
  kit.Settings(4, 4, 64);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 0.1f);
  kit.Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
  const PluginId glass = kit.Make("MaterialPrincipled", {{"transmission", 1.0f},
                                                         {"roughness", 0.0f},
                                                         {"ior", 1.01f},
                                                         {"thickness", 1.0f},
                                                         {"attenuationColor", Color{0.5f, 0.25f, 1}},
                                                         {"attenuationDistance", 1.0f}});
  std::vector<Vec3> box;
  for (int i = 0; i < 8; ++i) {
    box.push_back({(i & 1) != 0 ? 9.0f : -9.0f, (i & 2) != 0 ? 9.0f : -9.0f, (i & 4) != 0 ? 1.0f : -1.0f});
  }
  kit.Put(kit.Mesh(std::move(box), {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 4, 6, 0, 6, 2,
                                    1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4, 2, 6, 7, 2, 7, 3}),
          glass);
  const Color mean = Mean(*kit.Render());
  EXPECT_NEAR(mean.r, 0.25, 0.01);
  EXPECT_NEAR(mean.g, 0.0625, 0.01);
  EXPECT_NEAR(mean.b, 1, 0.01);
}

TEST(Integrator, ClampLimitsBouncedLightOnly) {
  const auto render = [](float clamp, int depth) {
    SceneKit kit;
    kit.scene.Set(kit.Settings(8, 8, 64, depth), "clamp", clamp);
    kit.Camera({0, 0, 0}, {0, 0, -1}, 90);
    kit.Put(kit.Sphere(2, 24), kit.Diffuse({0.9f, 0.9f, 0.9f}, {1, 1, 1}));
    return Mean(*kit.Render()).g;
  };
  EXPECT_NEAR(render(0.01f, 1), render(0, 1), 1e-5);
  EXPECT_LT(render(0.01f, 20), render(0, 20) * 0.8f);
}

}  // namespace
}  // namespace kiln::engine::render::test
