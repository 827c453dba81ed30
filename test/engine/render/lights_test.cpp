// Each light against the irradiance that it must give a plane, by formula.
#include "test/engine/render/scene_kit.h"

namespace kiln::engine::render::test {
namespace {

// What a white floor at the origin shows under one light, direct light only: irradiance over pi.
double FloorIrradiance(SceneKit& kit, float half = 0.01f, LightStrategy strategy = LightStrategy::kBoth,
                       int samples = 64) {
  kit.Settings(4, 4, samples, 1);
  kit.PatchCamera({0.5f, 0.5f, 0}, {0, 0, 0}, half);
  kit.Quad({-50, 0, 50}, {50, 0, 50}, {50, 0, -50}, {-50, 0, -50}, kit.Diffuse({1, 1, 1}));
  const ImagePtr image = kit.Render(strategy);
  return image == nullptr ? 0 : Mean(*image).g * kPi;
}

const LightStrategy kStrategies[] = {LightStrategy::kBoth, LightStrategy::kLightsOnly,
                                     LightStrategy::kScatteringOnly};

TEST(Lights, PointFallsOffWithDistanceSquared) {
  SceneKit kit;
  kit.Make("LightPoint", {{"transform", Translate({0, 2, 0})}, {"intensity", 10.0f}});
  EXPECT_NEAR(FloorIrradiance(kit), 10.0 / 4, 0.002);
}

TEST(Lights, PointFollowsTheCosine) {
  SceneKit kit;
  kit.Make("LightPoint", {{"transform", Translate({2, 2, 0})}, {"intensity", 10.0f}});
  EXPECT_NEAR(FloorIrradiance(kit), 10.0 / 8 * std::sqrt(0.5), 0.005);
}

TEST(Lights, SpotHasItsIntensityOnTheAxisAndASoftEdge) {
  SceneKit axis;
  axis.Make("LightSpot", {{"transform", LookAt({0, 2, 0}, {0, 0, 0})},
                          {"intensity", 10.0f},
                          {"innerAngle", 10.0f},
                          {"outerAngle", 30.0f}});
  EXPECT_NEAR(FloorIrradiance(axis), 10.0 / 4, 0.002);

  // 20 degrees off the axis: the square of the linear ramp between the two cosines.
  const auto degrees = [](double d) { return std::cos(d * 3.141592653589793 / 180); };
  const double ramp = (degrees(20) - degrees(30)) / (degrees(10) - degrees(30));
  SceneKit off;
  const float shift = 2 * std::tan(20 * kPi / 180);
  off.Make("LightSpot", {{"transform", LookAt({shift, 2, 0}, {shift, 0, 0})},
                         {"intensity", 10.0f},
                         {"innerAngle", 10.0f},
                         {"outerAngle", 30.0f}});
  const double distance2 = 4 + static_cast<double>(shift) * shift;
  EXPECT_NEAR(FloorIrradiance(off, 0.001f), 10 * ramp * ramp / distance2 * degrees(20), 0.004);

  SceneKit outside;
  outside.Make("LightSpot",
               {{"transform", LookAt({2, 2, 0}, {2, 0, 0})}, {"intensity", 10.0f}, {"outerAngle", 30.0f}});
  EXPECT_EQ(FloorIrradiance(outside), 0);
}

TEST(Lights, DirectionalGivesItsIrradianceWithAndWithoutAnAngle) {
  for (const float angle : {0.0f, 0.53f, 10.0f}) {
    SceneKit kit;
    kit.Make("LightDirectional",
             {{"transform", LookAt({0, 1, 1}, {0, 0, 0})}, {"intensity", 3.0f}, {"angle", angle}});
    EXPECT_NEAR(FloorIrradiance(kit), 3 * std::sqrt(0.5), 0.01) << angle;
  }
}

// The form factor of a square of side 2 s at height h from a point below its middle.
double SquareFormFactor(double s, double h) {
  const double a = s / std::sqrt(s * s + h * h);
  return 4 * a / 3.141592653589793 * std::atan(a);
}

TEST(Lights, RectangleMatchesItsFormFactor) {
  for (const LightStrategy strategy : kStrategies) {
    SceneKit kit;
    kit.Make("LightRectangle", {{"transform", LookAt({0, 1, 0}, {0, 0, 0})},
                                {"width", 2.0f},
                                {"height", 2.0f},
                                {"intensity", 5.0f}});
    const double expected = 5 * 3.141592653589793 * SquareFormFactor(1, 1);
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, strategy, 1024), expected, expected * 0.01)
        << static_cast<int>(strategy);
  }
}

TEST(Lights, FarRectangleIsAsBrightAsItsArea) {
  SceneKit kit;
  kit.Make("LightRectangle", {{"transform", LookAt({0, 20, 0}, {0, 0, 0})}, {"intensity", 400.0f}});
  EXPECT_NEAR(FloorIrradiance(kit), 400 * 3.141592653589793 * SquareFormFactor(0.5, 20), 0.002);
}

TEST(Lights, RectangleInWattsGivesThemAllAway) {
  SceneKit kit;
  kit.Make("LightRectangle", {{"transform", LookAt({0, 1, 0}, {0, 0, 0})},
                              {"width", 2.0f},
                              {"height", 2.0f},
                              {"intensity", 20.0f},
                              {"intensityUnit", 1}});
  // 20 W over 4 m^2 and pi sr of projected solid angle.
  EXPECT_NEAR(FloorIrradiance(kit, 0.01f, LightStrategy::kBoth, 256), 5 * SquareFormFactor(1, 1), 0.01);
}

TEST(Lights, RectangleIsDarkBehindUnlessDoubleSided) {
  for (const bool both : {false, true}) {
    SceneKit kit;
    kit.Make("LightRectangle",
             {{"transform", LookAt({0, 1, 0}, {0, 2, 0})}, {"intensity", 5.0f}, {"doubleSided", both}});
    const double expected = both ? 5 * 3.141592653589793 * SquareFormFactor(0.5, 1) : 0;
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, LightStrategy::kBoth, 256), expected, 0.02) << both;
  }
}

TEST(Lights, ShearedRectangleIsSampledByArea) {
  double means[3];
  for (int i = 0; i < 3; ++i) {
    SceneKit kit;
    Transform transform = LookAt({0, 1, 0}, {0, 0, 0});
    transform.matrix.c1 = transform.matrix.c1 + transform.matrix.c0 * 0.7f;
    kit.Make("LightRectangle", {{"transform", transform}, {"intensity", 5.0f}});
    means[i] = FloorIrradiance(kit, 0.01f, kStrategies[i], 1024);
  }
  EXPECT_NEAR(means[0], means[1], means[1] * 0.01);
  EXPECT_NEAR(means[0], means[2], means[2] * 0.02);
}

TEST(Lights, SphereIsAsBrightAsAPointOfItsPower) {
  for (const LightStrategy strategy : kStrategies) {
    SceneKit kit;
    kit.Make("LightSphere", {{"transform", Translate({0, 2, 0})}, {"radius", 1.0f}, {"intensity", 5.0f}});
    // Irradiance from a ball overhead: pi L (r / d)^2, exactly.
    const double expected = 3.141592653589793 * 5 / 4;
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, strategy, 1024), expected, expected * 0.01)
        << static_cast<int>(strategy);
  }
}

TEST(Lights, SphereInWattsGivesThemAllAway) {
  SceneKit kit;
  kit.Make(
      "LightSphere",
      {{"transform", Translate({0, 2, 0})}, {"radius", 0.1f}, {"intensity", 100.0f}, {"intensityUnit", 1}});
  EXPECT_NEAR(FloorIrradiance(kit), 100 / (4 * 3.141592653589793 * 4), 0.005);
}

TEST(Lights, DomeFillsTheHemisphere) {
  for (const LightStrategy strategy : kStrategies) {
    SceneKit kit;
    kit.Make("LightDome", {{"intensity", 2.0f}});
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, strategy), 2 * 3.141592653589793, 1e-3)
        << static_cast<int>(strategy);
  }
}

TEST(Lights, BackgroundLightsTheSceneLikeADome) {
  SceneKit kit;
  kit.Make("SettingsEnvironment", {{"background", Color{0.5f, 1, 2}}});
  EXPECT_NEAR(FloorIrradiance(kit), 3.141592653589793, 1e-3);
}

TEST(Lights, TexturedDomeIsBrightWhereItsPictureIs) {
  for (const LightStrategy strategy : kStrategies) {
    SceneKit kit;
    // Stripes of 1 and 0 along the longitude: half the light of a full dome.
    const PluginId checker =
        kit.Make("TextureChecker", {{"colorA", Color{1, 1, 1}}, {"colorB", Color{0, 0, 0}}, {"scale", 8.0f}});
    kit.Make("LightDome", {{"texture", PluginRef{checker}}, {"intensity", 2.0f}});
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, strategy, 1024), 3.141592653589793, 0.06)
        << static_cast<int>(strategy);
  }
}

TEST(Lights, EmissiveMeshIsARectangleLight) {
  for (const LightStrategy strategy : kStrategies) {
    SceneKit kit;
    const PluginId glow = kit.Make("MaterialEmissive", {{"color", Color{1, 1, 1}}, {"intensity", 5.0f}});
    kit.Quad({-1, 1, -1}, {1, 1, -1}, {1, 1, 1}, {-1, 1, 1}, glow);
    const double expected = 5 * 3.141592653589793 * SquareFormFactor(1, 1);
    EXPECT_NEAR(FloorIrradiance(kit, 0.01f, strategy, 1024), expected, expected * 0.015)
        << static_cast<int>(strategy);
  }
}

TEST(Lights, ADisabledLightIsNone) {
  for (const char* type :
       {"LightRectangle", "LightSphere", "LightDirectional", "LightPoint", "LightSpot", "LightDome"}) {
    SceneKit kit;
    kit.Make(type, {{"transform", LookAt({0, 1, 0}, {0, 0, 0})}, {"intensity", 5.0f}, {"enabled", false}});
    EXPECT_EQ(FloorIrradiance(kit), 0) << type;
  }
}

TEST(Lights, VisibilityToTheCameraChangesNothingElse) {
  for (const bool visible : {true, false}) {
    SceneKit kit;
    kit.Settings(4, 4, 4, 1);
    kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 0.1f);
    kit.Make("LightSphere", {{"radius", 1.0f}, {"intensity", 5.0f}, {"visibleToCamera", visible}});
    const ImagePtr image = kit.Render();
    EXPECT_NEAR(Mean(*image).g, visible ? 5 : 0, 1e-4);
    EXPECT_EQ(image->pixels()[3], visible ? 1 : 0);
  }
}

}  // namespace
}  // namespace kiln::engine::render::test
