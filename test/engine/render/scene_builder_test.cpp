// Building render scenes: bad input, cycles, and what is used again.
#include "engine/render/scene_builder.h"

#include "test/engine/render/scene_kit.h"

namespace kiln::engine::render::test {
namespace {

struct Bad {
  const char* why;
  std::vector<Vec3> vertices;
  std::vector<int32_t> faces;
};

TEST(SceneBuilder, ABadMeshIsLeftOutWithAWarning) {
  const std::vector<Vec3> good{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  const Bad cases[] = {
      {"the mesh has no triangles", {}, {}},
      {"the mesh has no triangles", good, {}},
      {"faces has an index outside the 3 vertices", good, {0, 1, 3}},
      {"faces has an index outside the 3 vertices", good, {0, 1, -1}},
      {"the length of faces is not a multiple of three", good, {0, 1, 2, 0}},
      {"a vertex is not finite", {{0, 0, 0}, {NAN, 0, 0}, {0, 1, 0}}, {0, 1, 2}},
      {"a vertex is not finite", {{0, 0, 0}, {1, INFINITY, 0}, {0, 1, 0}}, {0, 1, 2}},
  };
  for (const Bad& bad : cases) {
    SceneKit kit;
    kit.Settings(4, 4, 1);
    kit.Camera({0, 0, 3}, {0, 0, 0});
    kit.Put(kit.Mesh(bad.vertices, bad.faces), kit.Diffuse({1, 1, 1}));
    EXPECT_NE(kit.Render(), nullptr);
    ASSERT_EQ(kit.logs.size(), 1u) << bad.why;
    EXPECT_EQ(kit.logs[0].first, 1);
    EXPECT_NE(kit.logs[0].second.find(bad.why), std::string::npos) << kit.logs[0].second;
  }
}

TEST(SceneBuilder, BadAttributesAreLeftOutOfAGoodMesh) {
  SceneKit kit;
  const PluginId mesh = kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
  kit.scene.Set(mesh, "normals", scene::VectorArray({{0, 0, 1}}));
  kit.scene.Set(mesh, "uv", scene::VectorArray({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
  kit.scene.Set(mesh, "faceUv", scene::IntArray({0, 1, 7}));
  kit.scene.Set(mesh, "colorAlphas", scene::FloatArray({0.5f}));
  kit.Put(mesh, scene::kNoPlugin);
  const auto built = kit.Build();
  ASSERT_EQ(built->objects.size(), 1u);
  EXPECT_FALSE(built->objects[0].mesh->normals());
  EXPECT_FALSE(built->objects[0].mesh->uv(0));
  EXPECT_EQ(kit.logs.size(), 2u);
}

TEST(SceneBuilder, DegenerateTrianglesAndNormalsDoNotPoisonThePicture) {
  SceneKit kit;
  kit.Settings(8, 8, 16);
  kit.PatchCamera({0, 0, 3}, {0, 0, 0}, 1);
  kit.Make("SettingsEnvironment", {{"background", Color{1, 1, 1}}});
  const PluginId mesh =
      kit.Mesh({{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}, {0, 1, 2, 0, 2, 3, 0, 0, 0, 1, 1, 2});
  kit.scene.Set(mesh, "normals", scene::VectorArray({{0, 0, 0}, {NAN, 0, 1}, {0, 0, 1}, {0, 0, -1}}));
  kit.scene.Set(mesh, "uv", scene::VectorArray({{NAN, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
  kit.Put(mesh, kit.Diffuse({0.5f, 0.5f, 0.5f}));
  TraceStatistics statistics;
  const ImagePtr image = kit.Render(LightStrategy::kBoth, &statistics);
  for (size_t i = 0; i < 4 * image->pixel_count(); ++i) EXPECT_TRUE(std::isfinite(image->pixels()[i]));
}

TEST(SceneBuilder, ALampIsNotStarvedByTheSkyOfAWideScene) {
  SceneKit kit;
  kit.Make("LightDome", {{"intensity", 1.0f}});
  kit.Make("LightRectangle", {{"intensity", 10.0f}});
  kit.Quad({-500, 0, 500}, {500, 0, 500}, {500, 0, -500}, {-500, 0, -500}, kit.Diffuse({1, 1, 1}));
  const auto wide = kit.Build();
  ASSERT_EQ(wide->lights.size(), 2u);
  for (uint32_t light : {0u, 1u}) EXPECT_NEAR(wide->LightProbability(light), 0.5f, 1e-4f);
}

TEST(SceneBuilder, SingularTransformsAndMissingPartsAreLeftOut) {
  SceneKit kit;
  const PluginId mesh = kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
  kit.Put(mesh, scene::kNoPlugin, {Matrix{{1, 0, 0}, {0, 0, 0}, {0, 0, 1}}, {}});
  kit.Put(mesh, scene::kNoPlugin, {Matrix{{NAN, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {}});
  kit.Make("GeomInstance");
  const PluginId light = kit.Make("LightPoint");
  kit.Put(light, light);
  EXPECT_TRUE(kit.Build()->objects.empty());
  EXPECT_EQ(kit.logs.size(), 2u);
}

TEST(SceneBuilder, CyclesOfReferencesAreCut) {
  SceneKit kit;
  kit.Settings(4, 4, 1);
  kit.Camera({0, 0, 3}, {0, 0, 0});
  const PluginId material = kit.Diffuse({1, 1, 1});
  kit.scene.Set(material, "baseColor", PluginRef{material});
  kit.Put(kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}), material);
  const PluginId object = kit.Make("GeomInstance");
  kit.scene.Set(object, "geometry", PluginRef{object});
  EXPECT_NE(kit.Render(), nullptr);
}

TEST(SceneBuilder, OnlyWhatChangedIsBuiltAgain) {
  SceneKit kit;
  const PluginId first = kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
  const PluginId second = kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
  const PluginId material = kit.Diffuse({1, 1, 1});
  const PluginId object = kit.Put(first, material);
  kit.Put(first, material);
  kit.Put(second, material);
  const auto one = kit.Build();
  EXPECT_EQ(kit.builder.meshes_built(), 2);
  EXPECT_EQ(one->objects[0].accel, one->objects[1].accel);

  kit.scene.Set(object, "transform", Translate({1, 2, 3}));
  const auto two = kit.Build();
  EXPECT_EQ(kit.builder.meshes_built(), 0);
  EXPECT_EQ(two->objects[0].material, one->objects[0].material);
  EXPECT_EQ(two->objects[0].accel, one->objects[0].accel);

  kit.scene.Set(material, "roughness", 0.3f);
  EXPECT_NE(kit.Build()->objects[0].material, one->objects[0].material);
  EXPECT_EQ(kit.builder.meshes_built(), 0);

  kit.scene.Set(second, "vertices", scene::VectorArray({{0, 0, 0}, {2, 0, 0}, {0, 1, 0}}));
  kit.Build();
  EXPECT_EQ(kit.builder.meshes_built(), 1);
}

TEST(SceneBuilder, ATextureEditReachesItsMaterialAndAnUnchangedOneStays) {
  SceneKit kit;
  const PluginId checker = kit.Make("TextureChecker", {{"colorA", Color{1, 0, 0}}});
  const PluginId material = kit.Diffuse({1, 1, 1});
  kit.scene.Set(material, "baseColor", PluginRef{checker});
  const PluginId object = kit.Put(kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}), material);
  const Material* first = kit.Build()->objects[0].material;
  kit.scene.Set(object, "visibleToCamera", false);
  const auto second = kit.Build();
  EXPECT_EQ(second->objects[0].material, first);
  kit.scene.Set(checker, "colorA", Color{0, 1, 0});
  EXPECT_NE(kit.Build()->objects[0].material, first);
}

TEST(SceneBuilder, AnimatedValuesAreReadAtTheFrozenTime) {
  SceneKit kit;
  const PluginId object = kit.Put(kit.Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}), scene::kNoPlugin);
  kit.scene.Set(object, "transform", Translate({0, 0, 0}), 0.0);
  kit.scene.Set(object, "transform", Translate({10, 0, 0}), 10.0);
  EXPECT_FLOAT_EQ(kit.Build(0)->objects[0].offset.x, 0);
  EXPECT_FLOAT_EQ(kit.Build(5)->objects[0].offset.x, 5);
  EXPECT_FLOAT_EQ(kit.Build(20)->objects[0].offset.x, 10);

  const PluginId lamp = kit.Make("LightPoint");
  kit.scene.Set(lamp, "intensity", 0.0f, 0.0);
  kit.scene.Set(lamp, "intensity", 10.0f, 10.0);
  EXPECT_TRUE(kit.Build(0)->lights.empty());
  EXPECT_EQ(kit.Build(5)->lights.size(), 1u);
}

TEST(SceneBuilder, CameraIsTheOneAskedForElseTheSettingsElseTheFirst) {
  SceneKit kit;
  kit.Make("CameraPerspective");
  const PluginId second = kit.Make("CameraOrthographic");
  const PluginId third = kit.Make("CameraPerspective");
  EXPECT_EQ(kit.Build()->camera_name, kit.scene.Find(1)->name);
  kit.Make("SettingsEnvironment", {{"camera", PluginRef{second}}});
  EXPECT_EQ(kit.Build()->camera_name, kit.scene.Find(second)->name);
  const auto asked = kit.builder.Build(kit.scene, {.camera = third}, {});
  EXPECT_EQ(asked->camera_name, kit.scene.Find(third)->name);
}

TEST(SceneBuilder, ARenderSceneOutlivesItsSceneAndItsBuilder) {
  std::shared_ptr<const RenderScene> built;
  {
    SceneKit kit;
    kit.Settings(4, 4, 4);
    kit.Camera({0, 0, 3}, {0, 0, 0});
    const PluginId checker = kit.Make("TextureChecker");
    const PluginId material = kit.Diffuse({1, 1, 1});
    kit.scene.Set(material, "baseColor", PluginRef{checker});
    kit.Put(kit.Sphere(1, 8), material);
    kit.Make("LightDome");
    built = kit.Build();
  }
  const FrameRenderer frame(built, 4, 4, {});
  Film film;
  film.Resize(4, 4, false);
  TraceStatistics statistics;
  EXPECT_TRUE(frame.RenderBucket({0, 0, 4, 4}, 0, 4, std::atomic<bool>{false}, &film, &statistics));
  EXPECT_GT(Mean(*ImagePtr(film.MakeImage())).g, 0.1);
}

TEST(SceneBuilder, MirroredInstancesKeepTheirFrontInFront) {
  SceneKit kit;
  const PluginId mesh = kit.Mesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 1, 2});
  kit.Put(mesh, scene::kNoPlugin);
  kit.Put(mesh, scene::kNoPlugin, {Matrix{{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, -1}});
  const auto built = kit.Build();
  for (const uint32_t object : {0u, 1u}) {
    SurfacePoint point;
    built->MakeSurfacePoint({1, object, 0, 0.3f, 0.3f}, {0, 0, -1}, 0, 0, &point);
    EXPECT_FLOAT_EQ(point.geometric_normal.z, 1) << object;
    EXPECT_FALSE(point.backfacing);
  }
}

TEST(SceneBuilder, AttributesAreInterpolated) {
  SceneKit kit;
  const PluginId mesh = kit.Mesh({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {0, 1, 2});
  kit.scene.Set(mesh, "uv", scene::VectorArray({{0, 1, 0}, {1, 1, 0}, {0, 0, 0}}));
  kit.scene.Set(mesh, "colors", scene::ColorArray({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
  kit.scene.Set(mesh, "colorAlphas", scene::FloatArray({0, 1, 0}));
  kit.scene.Set(mesh, "smoothNormals", true);
  kit.Put(mesh, scene::kNoPlugin, {Matrix{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}}, {1, 0, 0}});
  const auto built = kit.Build();
  SurfacePoint point;
  built->MakeSurfacePoint({1, 0, 0, 0.5f, 0.25f}, {0, 0, -1}, 0.01f, 10, &point);
  EXPECT_EQ(point.position, (Vec3{3, 1, 0}));
  EXPECT_EQ(point.uv[0], (Vec2{0.5f, 0.75f}));
  EXPECT_EQ(point.uv[1], point.uv[0]);
  EXPECT_EQ(point.vertex_color, (Color{0.25f, 0.5f, 0.25f}));
  EXPECT_FLOAT_EQ(point.vertex_alpha, 0.5f);
  EXPECT_FLOAT_EQ(point.tangent.x, 1);
  EXPECT_FLOAT_EQ(point.normal.z, 1);
  // A pixel covers 0.1 in the world, where one unit of uv is 4 long.
  EXPECT_NEAR(point.uv_per_pixel, 0.025, 1e-5);
}

}  // namespace
}  // namespace kiln::engine::render::test
