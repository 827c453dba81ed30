// What a well-formed glTF document becomes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

using scene::ColorArray;
using scene::FloatArray;
using scene::IntArray;
using scene::PluginRef;
using scene::VectorArray;

// A 1x1 PNG; the importer does not decode it, but tells its kind.
const std::string kPng =
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg==";

std::vector<int32_t> Faces(const scene::Scene& scene, size_t index = 0) {
  const scene::Value faces_value = Value(scene, "GeomStaticMesh", "faces", index);
  const auto* faces = faces_value.As<IntArray>();
  return faces == nullptr ? std::vector<int32_t>() : std::vector<int32_t>(faces->begin(), faces->end());
}

VectorArray Vertices(const scene::Scene& scene, size_t index = 0) {
  const scene::Value value = Value(scene, "GeomStaticMesh", "vertices", index);
  const auto* vertices = value.As<VectorArray>();
  return vertices == nullptr ? VectorArray() : *vertices;
}

TEST(GltfImport, TriangleGetsACameraAndALight) {
  scene::Scene scene;
  const LoadResult result = Import(scene, GltfBuilder::Triangle());
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Vertices(scene).size(), 3u);
  EXPECT_EQ(Vertices(scene)[1], (Vec3{1, 0, 0}));
  EXPECT_EQ(Faces(scene), (std::vector<int32_t>{0, 1, 2}));
  EXPECT_EQ(Count(scene, "GeomInstance"), 1u);
  ASSERT_NE(scene.FindByName("Node"), nullptr);
  EXPECT_EQ(scene.FindByName("Node")->type->name, "GeomInstance");
  ASSERT_NE(scene.FindByName("@defaultCamera"), nullptr);
  ASSERT_NE(scene.FindByName("@defaultLight"), nullptr);
  EXPECT_EQ(scene.FindByName("@defaultLight")->type->name, "LightDome");
}

TEST(GltfImport, GlbHoldsTheSame) {
  scene::Scene scene;
  const auto glb = GltfBuilder::Triangle().Glb();
  const LoadResult result = ImportGltf(scene, glb, {}, "test.glb");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Vertices(scene).size(), 3u);
  EXPECT_EQ(Faces(scene), (std::vector<int32_t>{0, 1, 2}));
}

TEST(GltfImport, StripsAndFansKeepTheirOrientation) {
  for (const auto& [mode, expected] : std::vector<std::pair<int, std::vector<int32_t>>>{
           {4, {0, 1, 2}}, {5, {0, 1, 2, 1, 3, 2}}, {6, {0, 1, 2, 0, 2, 3}}}) {
    GltfBuilder builder = GltfBuilder::Triangle();
    builder.Primitive()["attributes"]["POSITION"] = builder.Positions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
    builder.Primitive().erase("indices");
    builder.Primitive()["mode"] = mode;
    scene::Scene scene;
    ASSERT_TRUE(Import(scene, builder).ok());
    EXPECT_EQ(Faces(scene), expected) << mode;
  }
}

TEST(GltfImport, PointsAndLinesAreLeftOutWithANote) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.Primitive()["mode"] = 1;
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_NE(result.text.find("meshes[0].primitives[0] is made of points or lines"), std::string::npos)
      << result.text;
  EXPECT_EQ(Count(scene, "GeomInstance"), 0u);
}

TEST(GltfImport, IndicesOfEveryWidth) {
  for (const int component : {kUbyte, kUshort, kUint}) {
    GltfBuilder builder = GltfBuilder::Triangle();
    int accessor = 0;
    if (component == kUbyte) accessor = builder.Accessor<uint8_t>({2, 1, 0}, "SCALAR", 1, component);
    if (component == kUshort) accessor = builder.Accessor<uint16_t>({2, 1, 0}, "SCALAR", 1, component);
    if (component == kUint) accessor = builder.Accessor<uint32_t>({2, 1, 0}, "SCALAR", 1, component);
    builder.Primitive()["indices"] = accessor;
    scene::Scene scene;
    ASSERT_TRUE(Import(scene, builder).ok());
    EXPECT_EQ(Faces(scene), (std::vector<int32_t>{2, 1, 0}));
  }
}

TEST(GltfImport, QuantizedPositionsAreScaled) {
  GltfBuilder builder = GltfBuilder::Triangle();
  const int accessor = builder.Accessor<int16_t>({0, 0, 0, 32767, 0, 0, 0, -32768, 0}, "VEC3", 3, 5122);
  builder.json["accessors"][accessor]["normalized"] = true;
  builder.json["extensionsRequired"] = {"KHR_mesh_quantization"};
  builder.Primitive()["attributes"]["POSITION"] = accessor;
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(Vertices(scene)[1], (Vec3{1, 0, 0}));
  EXPECT_EQ(Vertices(scene)[2], (Vec3{0, -1, 0}));
}

TEST(GltfImport, SparseValuesReplaceElements) {
  GltfBuilder builder = GltfBuilder::Triangle();
  const int indices = builder.View<uint16_t>({1});
  const int values = builder.View<float>({5, 6, 7});
  builder.json["accessors"][0]["sparse"] = {
      {"count", 1},
      {"indices", {{"bufferView", indices}, {"componentType", kUshort}}},
      {"values", {{"bufferView", values}}}};
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(Vertices(scene)[1], (Vec3{5, 6, 7}));
  EXPECT_EQ(Vertices(scene)[2], (Vec3{0, 1, 0}));
}

TEST(GltfImport, InterleavedAttributesFollowTheStride) {
  GltfBuilder builder = GltfBuilder::Triangle();
  const int view = builder.View<float>({0, 0, 0, 9, 2, 0, 0, 9, 0, 2, 0, 9});
  builder.json["bufferViews"][view]["byteStride"] = 16;
  builder.json["accessors"][0]["bufferView"] = view;
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(Vertices(scene)[1], (Vec3{2, 0, 0}));
}

TEST(GltfImport, VertexAttributes) {
  GltfBuilder builder = GltfBuilder::Triangle();
  Json& attributes = builder.Primitive()["attributes"];
  attributes["NORMAL"] = builder.Accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3, kFloat);
  attributes["TEXCOORD_0"] = builder.Accessor<uint8_t>({0, 0, 255, 0, 0, 255}, "VEC2", 2, kUbyte);
  builder.json["accessors"].back()["normalized"] = true;
  builder.json["accessors"].back().erase("byteStride");
  attributes["TEXCOORD_1"] = builder.Accessor<float>({0, 0, 2, 0, 0, 2}, "VEC2", 2, kFloat);
  attributes["TANGENT"] = builder.Accessor<float>({1, 0, 0, -1, 1, 0, 0, 1, 1, 0, 0, 1}, "VEC4", 4, kFloat);
  attributes["COLOR_0"] = builder.Accessor<float>({1, 0, 0, 0.5f, 0, 1, 0, 1, 0, 0, 1, 1}, "VEC4", 4, kFloat);
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  ASSERT_TRUE(result.ok()) << result.text;
  const auto get = [&](const char* property) { return Value(scene, "GeomStaticMesh", property); };
  EXPECT_EQ((*get("normals").As<VectorArray>())[0], (Vec3{0, 0, 1}));
  EXPECT_EQ((*get("uv").As<VectorArray>())[1], (Vec3{1, 0, 0}));
  EXPECT_EQ((*get("uv2").As<VectorArray>())[1], (Vec3{2, 0, 0}));
  EXPECT_EQ((*get("tangentSigns").As<FloatArray>())[0], -1);
  EXPECT_EQ((*get("colors").As<ColorArray>())[1], (Color{0, 1, 0}));
  EXPECT_EQ((*get("colorAlphas").As<FloatArray>())[0], 0.5f);
}

TEST(GltfImport, NormalsWithoutDirectionAreDropped) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.Primitive()["attributes"]["NORMAL"] =
      builder.Accessor<float>({0, 0, 0, NAN, 0, 1, 0, 0, 1}, "VEC3", 3, kFloat);
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  ASSERT_TRUE(result.ok());
  EXPECT_NE(result.text.find("normals without a direction"), std::string::npos) << result.text;
}

TEST(GltfImport, HierarchyIsMultipliedOut) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["nodes"] = {{{"children", {1}}, {"translation", {1, 2, 3}}, {"scale", {2, 2, 2}}},
                           {{"mesh", 0}, {"translation", {1, 0, 0}}, {"name", "Leaf"}}};
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  const auto value = scene.Get(scene.FindByName("Leaf")->id, "transform");
  EXPECT_EQ(value.As<Transform>()->offset, (Vec3d{3, 2, 3}));
  EXPECT_EQ(value.As<Transform>()->matrix.c0, (Vec3{2, 0, 0}));
}

TEST(GltfImport, InstancesShareOneMesh) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["scenes"][0]["nodes"] = {0, 1};
  builder.json["nodes"].push_back({{"name", "Node"}, {"mesh", 0}, {"translation", {2, 0, 0}}});
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(Count(scene, "GeomStaticMesh"), 1u);
  EXPECT_EQ(Count(scene, "GeomInstance"), 2u);
}

TEST(GltfImport, OnlyTheDefaultSceneIsTaken) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["nodes"].push_back({{"name", "Other"}, {"mesh", 0}});
  builder.json["scenes"].push_back({{"nodes", {1}}});
  builder.json["scene"] = 1;
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(scene.FindByName("Node"), nullptr);
  EXPECT_NE(scene.FindByName("Other"), nullptr);
}

TEST(GltfImport, FlattenedObjectsAreBakedOrDropped) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["nodes"] = {{{"mesh", 0}, {"scale", {1, 1, 0}}}, {{"mesh", 0}, {"scale", {0, 0, 0}}}};
  builder.json["scenes"][0]["nodes"] = {0, 1};
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  ASSERT_EQ(Count(scene, "GeomInstance"), 1u);
  EXPECT_EQ(Value(scene, "GeomInstance", "transform").As<Transform>()->matrix, Matrix());
}

TEST(GltfImport, MorphTargetsAtTheirWeights) {
  GltfBuilder builder = GltfBuilder::Triangle();
  const int offsets = builder.Positions({0, 0, 2, 0, 0, 2, 0, 0, 2});
  builder.Primitive()["targets"] = {{{"POSITION", offsets}}};
  builder.json["meshes"][0]["weights"] = {0.5};
  scene::Scene scene;
  ASSERT_TRUE(Import(scene, builder).ok());
  EXPECT_EQ(Vertices(scene)[0], (Vec3{0, 0, 1}));

  builder.json["nodes"][0]["weights"] = {1};
  scene::Scene other;
  ASSERT_TRUE(Import(other, builder).ok());
  EXPECT_EQ(Vertices(other)[0], (Vec3{0, 0, 2}));
}

TEST(GltfImport, SkinsInThePoseOfTheirJoints) {
  GltfBuilder builder = GltfBuilder::Triangle();
  Json& attributes = builder.Primitive()["attributes"];
  attributes["JOINTS_0"] = builder.Accessor<uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, "VEC4", 4, kUbyte);
  attributes["WEIGHTS_0"] = builder.Accessor<float>({1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 0}, "VEC4", 4, kFloat);
  const int inverse = builder.Accessor<float>(
      {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1},
      "MAT4", 16, kFloat);
  builder.json["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", inverse}}};
  // The place of the node itself does not count for a skinned mesh.
  builder.json["nodes"] = {{{"mesh", 0}, {"skin", 0}, {"translation", {100, 0, 0}}},
                           {{"translation", {0, 0, 4}}},
                           {{"translation", {1, 10, 0}}}};
  builder.json["scenes"][0]["nodes"] = {0, 1, 2};
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Vertices(scene)[0], (Vec3{0, 0, 4}));
  EXPECT_EQ(Vertices(scene)[1], (Vec3{1, 10, 0}));
  EXPECT_EQ(Vertices(scene)[2], (Vec3{0, 6, 2}));
  EXPECT_EQ(Value(scene, "GeomInstance", "transform").As<Transform>()->offset, Vec3d());
}

TEST(GltfImport, CamerasAndLights) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["cameras"] = {
      {{"type", "perspective"}, {"perspective", {{"yfov", 1.0471975512}, {"znear", 0.5}}}},
      {{"type", "orthographic"},
       {"orthographic", {{"xmag", 1}, {"ymag", 3}, {"znear", 0.1}, {"zfar", 100}}}}};
  builder.json["extensions"]["KHR_lights_punctual"]["lights"] = {
      {{"type", "spot"},
       {"color", {1, 0.5, 0}},
       {"intensity", 40},
       {"spot", {{"innerConeAngle", 0.1745329252}, {"outerConeAngle", 0.5235987756}}}}};
  builder.json["nodes"] = {{{"mesh", 0}},
                           {{"camera", 0}, {"name", "Eye"}, {"translation", {0, 0, 5}}, {"scale", {3, 3, 3}}},
                           {{"camera", 1}, {"name", "Plan"}},
                           {{"name", "Lamp"}, {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}}};
  builder.json["scenes"][0]["nodes"] = {0, 1, 2, 3};
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(scene.FindByName("@defaultCamera"), nullptr);
  EXPECT_EQ(scene.FindByName("@defaultLight"), nullptr);
  const auto* eye = scene.FindByName("Eye");
  ASSERT_NE(eye, nullptr);
  EXPECT_NEAR(*scene.Get(eye->id, "fov").As<float>(), 60, 1e-4);
  EXPECT_EQ(scene.Get(eye->id, "transform").As<Transform>()->matrix.c0, (Vec3{1, 0, 0}))
      << "cameras have no scale";
  EXPECT_EQ(*scene.Get(scene.FindByName("Plan")->id, "height").As<float>(), 6);
  const auto* lamp = scene.FindByName("Lamp");
  EXPECT_EQ(lamp->type->name, "LightSpot");
  EXPECT_EQ(*scene.Get(lamp->id, "intensity").As<float>(), 40);
  EXPECT_NEAR(*scene.Get(lamp->id, "outerAngle").As<float>(), 30, 1e-4);
  EXPECT_NEAR(*scene.Get(lamp->id, "innerAngle").As<float>(), 10, 1e-4);
}

TEST(GltfImport, DefaultCameraSeesTheWholeSphere) {
  for (const float size : {1e-6f, 1.0f, 1e6f, 1e12f}) {
    for (const float depth : {0.0f, 1.0f}) {
      GltfBuilder builder = GltfBuilder::Triangle();
      builder.Primitive()["attributes"]["POSITION"] =
          builder.Positions({-size, -size, -size * depth, size, -size, 0, 0, size, size * depth});
      scene::Scene scene;
      ASSERT_TRUE(Import(scene, builder).ok());
      const auto id = scene.FindByName("@defaultCamera")->id;
      const scene::Value value = scene.Get(id, "transform");
      const auto* camera = value.As<Transform>();
      const double fov = *scene.Get(id, "fov").As<float>() * kPi / 180;
      const double radius = size * std::sqrt(2 + depth);
      const auto& o = camera->offset;
      const double distance = std::sqrt(o.x * o.x + o.y * o.y + o.z * o.z);
      EXPECT_GE(std::sin(fov / 2) * distance, radius * 0.999) << size;
      EXPECT_LE(std::sin(fov / 2) * distance, radius * 1.3) << size;
      // It looks at the centre, from above and in front.
      EXPECT_NEAR(camera->matrix.c2.x * distance, o.x, 1e-3 * size);
      EXPECT_GT(o.y, 0);
      EXPECT_GT(o.z, 0);
      EXPECT_NEAR(*scene.Get(id, "focusDistance").As<float>() / distance, 1, 1e-4);
      EXPECT_LT(*scene.Get(id, "nearClip").As<float>(), 0.2 * distance);
    }
  }
}

TEST(GltfImport, EmptyScenesLoad) {
  GltfBuilder builder;
  builder.json = {{"asset", {{"version", "2.0"}}}};
  scene::Scene scene;
  EXPECT_TRUE(Import(scene, builder).ok());
  EXPECT_NE(scene.FindByName("@defaultCamera"), nullptr);
}

TEST(GltfImport, TheFilterDecides) {
  scene::Scene scene;
  const std::string text = GltfBuilder::Triangle().Text();
  const auto filter = [](std::string_view class_name, std::string_view name) -> std::optional<std::string> {
    if (class_name == "LightDome") return std::nullopt;
    return name == "Node" ? "Renamed" : std::string(name);
  };
  ASSERT_TRUE(ImportGltf(scene, AsBytes(text), {}, "", filter).ok());
  EXPECT_EQ(Count(scene, "LightDome"), 0u);
  EXPECT_NE(scene.FindByName("Renamed"), nullptr);
}

class GltfMaterial : public ::testing::Test {
 protected:
  GltfBuilder builder_ = GltfBuilder::Triangle();
  scene::Scene scene_;
  LoadResult result_;

  Json& Material() {
    builder_.Primitive()["material"] = 0;
    return builder_.json["materials"][0];
  }
  // Texture 0 shows an embedded image.
  void AddTexture() {
    builder_.json["images"] = {{{"uri", "data:image/png;base64," + kPng}}};
    builder_.json["samplers"] = {{{"wrapS", 33071}, {"wrapT", 33648}, {"magFilter", 9728}}};
    builder_.json["textures"] = {{{"source", 0}, {"sampler", 0}}};
  }
  void Load() {
    result_ = Import(scene_, builder_);
    ASSERT_TRUE(result_.ok()) << result_.text;
  }
  scene::Value Get(const char* property) { return Value(scene_, "MaterialPrincipled", property); }
  float Number(const char* property) {
    const scene::Value value = Get(property);
    return value.As<float>() == nullptr ? NAN : *value.As<float>();
  }
  scene::Value OfTexture(const char* property, const char* of) {
    const scene::Value value = Get(of);
    const auto* ref = value.As<PluginRef>();
    return ref == nullptr ? scene::Value() : scene_.Get(ref->id, property);
  }
};

TEST_F(GltfMaterial, DefaultsAreThoseOfTheFormat) {
  Load();
  EXPECT_EQ(Number("metallic"), 1);
  EXPECT_EQ(Number("roughness"), 1);
  EXPECT_EQ(*Get("baseColor").As<Color>(), (Color{1, 1, 1}));
}

TEST_F(GltfMaterial, FactorsAndExtensions) {
  Material() = {
      {"name", "Paint"},
      {"doubleSided", true},
      {"alphaMode", "BLEND"},
      {"emissiveFactor", {1, 0.5, 0}},
      {"pbrMetallicRoughness",
       {{"baseColorFactor", {0.1, 0.2, 0.3, 0.4}}, {"metallicFactor", 0.5}, {"roughnessFactor", 0.25}}},
      {"extensions",
       {{"KHR_materials_clearcoat", {{"clearcoatFactor", 0.75}, {"clearcoatRoughnessFactor", 0.5}}},
        {"KHR_materials_sheen", {{"sheenColorFactor", {0.5, 0, 0}}, {"sheenRoughnessFactor", 0.5}}},
        {"KHR_materials_transmission", {{"transmissionFactor", 0.5}}},
        {"KHR_materials_ior", {{"ior", 1.25}}},
        {"KHR_materials_specular", {{"specularFactor", 0.5}, {"specularColorFactor", {1, 0, 0}}}},
        {"KHR_materials_volume",
         {{"thicknessFactor", 2}, {"attenuationDistance", 100000000000}, {"attenuationColor", {0, 1, 0}}}},
        {"KHR_materials_emissive_strength", {{"emissiveStrength", 5}}},
        {"VENDOR_unknown", {{"anything", {1, "two"}}}}}}};
  Load();
  EXPECT_NE(scene_.FindByName("Paint"), nullptr);
  EXPECT_EQ(*Get("baseColor").As<Color>(), (Color{0.1f, 0.2f, 0.3f}));
  EXPECT_EQ(*Get("alphaMode").As<int32_t>(), 2);
  EXPECT_EQ(Number("opacity"), 0.4f);
  EXPECT_EQ(Number("metallic"), 0.5f);
  EXPECT_EQ(Number("roughness"), 0.25f);
  EXPECT_EQ(*Get("emission").As<Color>(), (Color{1, 0.5f, 0}));
  EXPECT_EQ(Number("emissionStrength"), 5);
  EXPECT_EQ(Number("clearcoat"), 0.75f);
  EXPECT_EQ(Number("clearcoatRoughness"), 0.5f);
  EXPECT_EQ(*Get("sheenColor").As<Color>(), (Color{0.5f, 0, 0}));
  EXPECT_EQ(Number("sheenRoughness"), 0.5f);
  EXPECT_EQ(Number("transmission"), 0.5f);
  EXPECT_EQ(Number("ior"), 1.25f);
  EXPECT_EQ(Number("specular"), 0.5f);
  EXPECT_EQ(*Get("specularColor").As<Color>(), (Color{1, 0, 0}));
  EXPECT_EQ(Number("thickness"), 2);
  EXPECT_EQ(Number("attenuationDistance"), 1e11f) << "whole numbers beyond 32 bits keep their value";
  EXPECT_TRUE(*Get("doubleSided").As<bool>());
}

TEST_F(GltfMaterial, OneTextureForEachUse) {
  AddTexture();
  const Json info = {
      {"index", 0},
      {"texCoord", 1},
      {"extensions",
       {{"KHR_texture_transform", {{"offset", {0.5, 0.25}}, {"rotation", 1.5}, {"scale", {2, 3}}}}}}};
  Material() = {
      {"pbrMetallicRoughness", {{"baseColorTexture", info}, {"metallicRoughnessTexture", {{"index", 0}}}}},
      {"normalTexture", {{"index", 0}, {"scale", 0.5}}},
      {"emissiveTexture", {{"index", 0}}},
      {"emissiveFactor", {1, 1, 1}}};
  Load();
  EXPECT_EQ(*OfTexture("colorSpace", "baseColor").As<int32_t>(), 1);
  EXPECT_EQ(*OfTexture("uvSet", "baseColor").As<int32_t>(), 1);
  EXPECT_EQ(*OfTexture("uvOffset", "baseColor").As<Vec3>(), (Vec3{0.5f, 0.25f, 0}));
  EXPECT_EQ(OfTexture("uvScale", "baseColor").As<Vec3>()->y, 3);
  EXPECT_EQ(*OfTexture("uvRotation", "baseColor").As<float>(), 1.5f);
  EXPECT_EQ(*OfTexture("wrapU", "baseColor").As<int32_t>(), 2);
  EXPECT_EQ(*OfTexture("wrapV", "baseColor").As<int32_t>(), 1);
  EXPECT_EQ(*OfTexture("filter", "baseColor").As<int32_t>(), 0);
  EXPECT_EQ(*OfTexture("colorSpace", "normalMap").As<int32_t>(), 0);
  EXPECT_EQ(*OfTexture("colorSpace", "emission").As<int32_t>(), 1);
  EXPECT_EQ(Number("normalScale"), 0.5f);
  EXPECT_EQ(*Get("normalMap").As<PluginRef>(), *Get("metallicRoughness").As<PluginRef>())
      << "same use, same texture";
  EXPECT_EQ(Count(scene_, "TextureBitmap"), 3u);
  const int32_t count = *OfTexture("byteCount", "baseColor").As<int32_t>();
  const scene::Value bytes = OfTexture("bytes", "baseColor");
  EXPECT_EQ((count + 3) / 4, static_cast<int32_t>(bytes.As<IntArray>()->size()));
  EXPECT_EQ((*bytes.As<IntArray>())[0], 0x474E5089) << "little-endian";
}

TEST_F(GltfMaterial, AMaskMultipliesTheAlphaOfItsTexture) {
  AddTexture();
  Material() = {
      {"alphaMode", "MASK"},
      {"alphaCutoff", 0.25},
      {"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}, {"baseColorFactor", {1, 1, 1, 0.5}}}}};
  Load();
  EXPECT_EQ(*Get("alphaMode").As<int32_t>(), 1);
  EXPECT_EQ(Get("opacity").As<PluginRef>()->output, 1u);
  EXPECT_EQ(Number("alphaCutoff"), 0.25f);
  EXPECT_EQ(*OfTexture("multiplyAlpha", "opacity").As<float>(), 0.5f);
  EXPECT_EQ(Get("opacity").As<PluginRef>()->id, Get("baseColor").As<PluginRef>()->id);
}

TEST_F(GltfMaterial, UnlitShowsItsBaseColourAsEmission) {
  Material() = {{"pbrMetallicRoughness", {{"baseColorFactor", {0.5, 0.25, 1, 1}}}},
                {"extensions", {{"KHR_materials_unlit", Json::object()}}}};
  Load();
  EXPECT_EQ(*Get("emission").As<Color>(), (Color{0.5f, 0.25f, 1}));
  EXPECT_EQ(*Get("baseColor").As<Color>(), (Color{0, 0, 0}));
  EXPECT_EQ(Number("specular"), 0);
}

TEST_F(GltfMaterial, SpecularGlossinessOfAMetalAndOfAPlastic) {
  Material()["extensions"]["KHR_materials_pbrSpecularGlossiness"] = {
      {"diffuseFactor", {0, 0, 0, 1}}, {"specularFactor", {0.9, 0.6, 0.2}}, {"glossinessFactor", 0.75}};
  Load();
  EXPECT_NEAR(Number("metallic"), 1, 1e-3);
  EXPECT_NEAR(Number("roughness"), 0.25, 1e-6);
  EXPECT_NEAR(Get("baseColor").As<Color>()->r, 0.9, 1e-3);

  GltfBuilder plastic = GltfBuilder::Triangle();
  plastic.Primitive()["material"] = 0;
  plastic.json["materials"][0]["extensions"]["KHR_materials_pbrSpecularGlossiness"] = {
      {"diffuseFactor", {0.5, 0.25, 0, 1}}, {"specularFactor", {0.04, 0.04, 0.04}}};
  scene::Scene other;
  ASSERT_TRUE(Import(other, plastic).ok());
  EXPECT_NEAR(*Value(other, "MaterialPrincipled", "metallic").As<float>(), 0, 1e-3);
  EXPECT_NEAR(Value(other, "MaterialPrincipled", "baseColor").As<Color>()->r, 0.5, 1e-3);
}

TEST_F(GltfMaterial, ImagesThatCannotBeDecodedLeaveANote) {
  AddTexture();
  builder_.json["images"] = {{{"uri", "data:image/webp;base64,UklGRgAAAABXRUJQ"}}};
  Material() = {
      {"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}, {"baseColorFactor", {0.5, 1, 1, 1}}}}};
  Load();
  EXPECT_NE(result_.text.find("images[0] is of a kind that can't be decoded"), std::string::npos)
      << result_.text;
  EXPECT_EQ(Get("baseColor").As<Color>()->r, 0.5f);
}

class GltfFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("kiln_gltf_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder_ / "sub dir");
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  void Write(const std::string& name, std::span<const std::byte> bytes) {
    std::ofstream(folder_ / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  LoadResult Load(const Json& json) {
    scene_.Clear();
    return ImportGltf(scene_, AsBytes(json.dump()), folder_, "scene.gltf");
  }

  std::filesystem::path folder_;
  scene::Scene scene_;
};

TEST_F(GltfFiles, BuffersAndImagesBesideTheScene) {
  GltfBuilder builder = GltfBuilder::Triangle();
  Write("sub dir/data.bin", builder.data());
  Write("image.png", *DecodeBase64(kPng));
  builder.json["buffers"] = {{{"byteLength", builder.data().size()}, {"uri", "sub%20dir/data.bin"}}};
  builder.json["images"] = {{{"uri", "image.png"}}};
  builder.json["textures"] = {{{"source", 0}}};
  builder.Primitive()["material"] = 0;
  builder.json["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"]["index"] = 0;
  const LoadResult result = Load(builder.json);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(*Value(scene_, "TextureBitmap", "file").As<std::string>(), "image.png");
  const scene::Instance* texture = scene_.Find(scene_.Ids(scene::FindClass("TextureBitmap"))[0]);
  EXPECT_EQ(scene::ResolveFile(*texture, "image.png"), folder_ / "image.png");
}

TEST_F(GltfFiles, MissingOnesAreNamed) {
  GltfBuilder builder = GltfBuilder::Triangle();
  builder.json["buffers"] = {{{"byteLength", builder.data().size()}, {"uri", "gone.bin"}}};
  LoadResult result = Load(builder.json);
  EXPECT_EQ(result.error, LoadError::kMissingAsset);
  EXPECT_EQ(result.text, "the file 'gone.bin' of buffers[0] can't be read");

  for (const char* outside :
       {"../data.bin", "/etc/passwd", "file:///etc/passwd", "C:\\data.bin", "a/../../b.bin"}) {
    builder.json["buffers"][0]["uri"] = outside;
    result = Load(builder.json);
    EXPECT_EQ(result.error, LoadError::kMissingAsset) << outside;
    EXPECT_NE(result.text.find("not in the scene's folder"), std::string::npos) << result.text;
  }
  EXPECT_EQ(scene_.Count(), 0u);
}

TEST_F(GltfFiles, AFileThatIsTooShort) {
  GltfBuilder builder = GltfBuilder::Triangle();
  Write("data.bin", std::span(builder.data()).first(10));
  builder.json["buffers"] = {{{"byteLength", builder.data().size()}, {"uri", "data.bin"}}};
  const LoadResult result = Load(builder.json);
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.text, "buffers[0] promises 44 bytes, but there are 10");
}

}  // namespace
}  // namespace kiln::engine::formats::testing
