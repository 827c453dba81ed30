// Malformed glTF: every rule gives its sentence, and the scene stays as it was.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

struct Rule {
  const char* name;
  std::function<void(GltfBuilder&)> breaks;
  const char* text;
  LoadError error = LoadError::kParser;
};

void Skinned(GltfBuilder& b) {
  Json& attributes = b.Primitive()["attributes"];
  attributes["JOINTS_0"] = b.Accessor<uint8_t>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}, "VEC4", 4, kUbyte);
  attributes["WEIGHTS_0"] = b.Accessor<float>({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4", 4, kFloat);
  b.json["skins"] = {{{"joints", {0}}}};
  b.json["nodes"][0]["skin"] = 0;
}

const std::vector<Rule>& Rules() {
  static const std::vector<Rule> rules = {
      // Types and required members.
      {"AssetMissing", [](GltfBuilder& b) { b.json.erase("asset"); }, "asset is missing"},
      {"VersionMissing", [](GltfBuilder& b) { b.json["asset"].erase("version"); },
       "asset.version is missing"},
      {"VersionOne", [](GltfBuilder& b) { b.json["asset"]["version"] = "1.0"; },
       "glTF version 1.0 is not supported", LoadError::kUnsupportedFeature},
      {"SceneIsAString", [](GltfBuilder& b) { b.json["scene"] = "hello"; },
       "scene is not a whole number from 0 on"},
      {"NodesIsAnObject", [](GltfBuilder& b) { b.json["nodes"] = Json::object(); }, "nodes is not an array"},
      {"NodeIsANumber", [](GltfBuilder& b) { b.json["nodes"][0] = 3; }, "nodes[0] is not an object"},
      {"NameIsANumber", [](GltfBuilder& b) { b.json["nodes"][0]["name"] = 42; },
       "nodes[0].name is not a string"},
      {"CountIsNegative", [](GltfBuilder& b) { b.json["accessors"][0]["count"] = -3; },
       "accessors[0].count is not a whole number from 0 on"},
      {"CountIsAFraction", [](GltfBuilder& b) { b.json["accessors"][0]["count"] = 2.5; },
       "accessors[0].count is not a whole number from 0 on"},
      {"CountMissing", [](GltfBuilder& b) { b.json["accessors"][0].erase("count"); },
       "accessors[0].count is missing"},
      {"NormalizedIsANumber", [](GltfBuilder& b) { b.json["accessors"][0]["normalized"] = 1; },
       "accessors[0].normalized is neither true nor false"},
      {"PrimitivesMissing", [](GltfBuilder& b) { b.json["meshes"][0].erase("primitives"); },
       "meshes[0].primitives is missing"},
      {"AttributesMissing", [](GltfBuilder& b) { b.Primitive().erase("attributes"); },
       "meshes[0].primitives[0].attributes is missing"},
      {"ShortTranslation",
       [](GltfBuilder& b) {
         b.json["nodes"][0]["translation"] = {1, 2};
       },
       "nodes[0].translation has 2 numbers instead of 3"},
      {"TranslationOfStrings",
       [](GltfBuilder& b) {
         b.json["nodes"][0]["translation"] = {1, 2, "x"};
       },
       "nodes[0].translation[2] is not a number"},
      {"HugeNumber",
       [](GltfBuilder& b) {
         b.json["nodes"][0]["translation"] = {1, 2, 1e300};
       },
       "nodes[0].translation[2] is beyond single precision"},
      {"ExtensionIsAString",
       [](GltfBuilder& b) { b.json["materials"][0]["extensions"]["KHR_materials_ior"] = "Not an object"; },
       "materials[0].extensions.KHR_materials_ior is not an object"},
      // References.
      {"SceneOutOfRange", [](GltfBuilder& b) { b.json["scene"] = 1; },
       "scene refers to scenes[1], but the last one is 0"},
      {"NoSuchNode", [](GltfBuilder& b) { b.json["scenes"][0]["nodes"] = {4}; },
       "scenes[0].nodes[0] refers to nodes[4], but the last one is 0"},
      {"NoSuchMesh", [](GltfBuilder& b) { b.json["nodes"][0]["mesh"] = 1; },
       "nodes[0].mesh refers to meshes[1], but the last one is 0"},
      {"NoSuchCamera", [](GltfBuilder& b) { b.json["nodes"][0]["camera"] = 0; },
       "nodes[0].camera refers to cameras[0], but the file has no cameras"},
      {"NoSuchSkin", [](GltfBuilder& b) { b.json["nodes"][0]["skin"] = 0; },
       "nodes[0].skin refers to skins[0], but the file has no skins"},
      {"NoSuchLight",
       [](GltfBuilder& b) { b.json["nodes"][0]["extensions"]["KHR_lights_punctual"]["light"] = 0; },
       "nodes[0].extensions.KHR_lights_punctual.light refers to extensions.KHR_lights_punctual.lights[0]"},
      {"NoSuchMaterial", [](GltfBuilder& b) { b.Primitive()["material"] = 0; },
       "meshes[0].primitives[0].material refers to materials[0], but the file has no materials"},
      {"NoSuchAttribute", [](GltfBuilder& b) { b.Primitive()["attributes"]["NORMAL"] = 99; },
       "meshes[0].primitives[0].attributes.NORMAL refers to accessors[99], but the last one is 1"},
      {"NoSuchTexture", [](GltfBuilder& b) { b.json["materials"][0]["normalTexture"]["index"] = 0; },
       "materials[0].normalTexture.index refers to textures[0], but the file has no textures"},
      {"NoSuchImage", [](GltfBuilder& b) { b.json["textures"][0]["source"] = 2; },
       "textures[0].source refers to images[2], but the file has no images"},
      {"NoSuchView", [](GltfBuilder& b) { b.json["accessors"][0]["bufferView"] = 5; },
       "accessors[0].bufferView refers to bufferViews[5], but the last one is 1"},
      {"NoSuchBuffer", [](GltfBuilder& b) { b.json["bufferViews"][0]["buffer"] = 1; },
       "bufferViews[0].buffer refers to buffers[1], but the last one is 0"},
      // Binary data.
      {"ViewPastItsBuffer", [](GltfBuilder& b) { b.json["bufferViews"][0]["byteLength"] = 45; },
       "bufferViews[0] reads past the end of buffers[0]"},
      {"ViewOffsetOverflows",
       [](GltfBuilder& b) { b.json["bufferViews"][0]["byteOffset"] = uint64_t{1} << 52; },
       "bufferViews[0] reads past the end of buffers[0]"},
      {"AccessorPastItsView", [](GltfBuilder& b) { b.json["accessors"][0]["count"] = 4; },
       "accessors[0] reads past the end of bufferViews[0]"},
      {"AccessorOffsetOverflows",
       [](GltfBuilder& b) { b.json["accessors"][0]["byteOffset"] = (uint64_t{1} << 53) - 4; },
       "accessors[0] reads past the end of bufferViews[0]"},
      {"AccessorCountOverflows",
       [](GltfBuilder& b) { b.json["accessors"][0]["count"] = (uint64_t{1} << 53) - 1; },
       "accessors[0] reads past the end of bufferViews[0]"},
      {"HugeCountWithoutData",
       [](GltfBuilder& b) {
         b.json["accessors"][0].erase("bufferView");
         b.json["accessors"][0]["count"] = uint64_t{1} << 40;
       },
       "accessors[0] has 1099511627776 elements without data"},
      {"StrideTooSmall", [](GltfBuilder& b) { b.json["bufferViews"][0]["byteStride"] = 8; },
       "accessors[0] is wider than the stride of bufferViews[0]"},
      {"StrideNotAligned", [](GltfBuilder& b) { b.json["bufferViews"][0]["byteStride"] = 13; },
       "bufferViews[0].byteStride is 13, not a multiple of 4 up to 252"},
      {"UnknownComponentType", [](GltfBuilder& b) { b.json["accessors"][0]["componentType"] = 5124; },
       "accessors[0].componentType is 5124, which is none"},
      {"UnknownType", [](GltfBuilder& b) { b.json["accessors"][0]["type"] = "VEC9"; }, "VEC9"},
      {"WrongWidth", [](GltfBuilder& b) { b.json["accessors"][0]["type"] = "VEC2"; },
       "accessors[0] has 2 components where 3 are needed"},
      {"IndicesAreFloats",
       [](GltfBuilder& b) {
         b.Primitive()["indices"] = b.Accessor<float>({0, 1, 2}, "SCALAR", 1, kFloat);
       },
       "accessors[2] does not hold unsigned integers"},
      {"IndexOutOfRange",
       [](GltfBuilder& b) {
         b.Primitive()["indices"] = b.Accessor<uint16_t>({0, 1, 3}, "SCALAR", 1, kUshort);
       },
       "accessors[2] holds the index 3, but there are 3 vertices"},
      {"IndexBeyondSigned",
       [](GltfBuilder& b) {
         b.Primitive()["indices"] = b.Accessor<uint32_t>({0, 1, 0xFFFFFFFFu}, "SCALAR", 1, kUint);
       },
       "accessors[2] holds the index 4294967295, but there are 3 vertices"},
      {"NotFinite",
       [](GltfBuilder& b) {
         b.Primitive()["attributes"]["POSITION"] = b.Positions({0, 0, 0, 1, INFINITY, 0, 0, 1, 0});
       },
       "element 1 of accessors[2] is not finite"},
      {"AttributeCounts",
       [](GltfBuilder& b) {
         b.Primitive()["attributes"]["NORMAL"] = b.Positions({0, 0, 1});
       },
       "NORMAL of meshes[0].primitives[0] has 1 elements for 3 vertices"},
      {"ColourOfTwoComponents",
       [](GltfBuilder& b) {
         b.Primitive()["attributes"]["COLOR_0"] = b.Accessor<float>({0, 0, 0, 0, 0, 0}, "VEC2", 2, kFloat);
       },
       "accessors[2] is a colour with 2 components"},
      {"UnknownMode", [](GltfBuilder& b) { b.Primitive()["mode"] = 7; },
       "meshes[0].primitives[0].mode is 7, which is none"},
      {"SparseTarget",
       [](GltfBuilder& b) {
         const int indices = b.View<uint16_t>({3});
         const int values = b.View<float>({5, 6, 7});
         b.json["accessors"][0]["sparse"] = {
             {"count", 1},
             {"indices", {{"bufferView", indices}, {"componentType", kUshort}}},
             {"values", {{"bufferView", values}}}};
       },
       "the sparse part of accessors[0] replaces element 3 of 3"},
      {"SparseTooLong",
       [](GltfBuilder& b) {
         const int indices = b.View<uint16_t>({0, 1});
         const int values = b.View<float>({5, 6, 7});
         b.json["accessors"][0]["sparse"] = {
             {"count", 2},
             {"indices", {{"bufferView", indices}, {"componentType", kUshort}}},
             {"values", {{"bufferView", values}}}};
       },
       "the sparse part of accessors[0] reads past the end of bufferViews[3]"},
      {"SparseIndexType",
       [](GltfBuilder& b) {
         b.json["accessors"][0]["sparse"] = {{"count", 1},
                                             {"indices", {{"bufferView", 0}, {"componentType", kFloat}}},
                                             {"values", {{"bufferView", 0}}}};
       },
       "the sparse indices of accessors[0] are not unsigned integers"},
      {"MorphCounts",
       [](GltfBuilder& b) {
         b.Primitive()["targets"] = {{{"POSITION", b.Positions({0, 0, 1})}}};
         b.json["meshes"][0]["weights"] = {1};
       },
       "POSITION of target 0 of meshes[0].primitives[0] has 1 elements for 3 vertices"},
      {"JointOutOfRange", Skinned, "meshes[0].primitives[0] refers to joint 7, but the skin has 1"},
      {"TooFewInverseBinds",
       [](GltfBuilder& b) {
         Skinned(b);
         b.json["skins"][0]["joints"] = {0, 0};
         b.json["skins"][0]["inverseBindMatrices"] =
             b.Accessor<float>({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, "MAT4", 16, kFloat);
       },
       "accessors[4] has 1 matrices for the 2 joints of skins[0]"},
      // Nodes, cameras, lights.
      {"Cycle",
       [](GltfBuilder& b) {
         b.json["nodes"] = {{{"children", {1}}}, {{"children", {0}}}};
       },
       "nodes[0] is its own ancestor"},
      {"OwnChild", [](GltfBuilder& b) { b.json["nodes"][0]["children"] = {0}; },
       "nodes[0] is its own ancestor"},
      {"TwoParents",
       [](GltfBuilder& b) {
         b.json["nodes"] = {{{"children", {2}}}, {{"children", {2}}}, Json::object()};
         b.json["scenes"][0]["nodes"] = {0, 1};
       },
       "nodes[2] is a child of nodes[0] and of nodes[1]"},
      {"NotAffine",
       [](GltfBuilder& b) {
         b.json["nodes"][0]["matrix"] = {1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
       },
       "nodes[0].matrix is not affine"},
      {"ZeroRotation",
       [](GltfBuilder& b) {
         b.json["nodes"][0]["rotation"] = {0, 0, 0, 0};
       },
       "nodes[0].rotation has no length"},
      {"PlaceOutOfRange",
       [](GltfBuilder& b) {
         b.json["nodes"] = {{{"children", {1}}, {"scale", {1e38, 1e38, 1e38}}},
                            {{"mesh", 0}, {"scale", {1e38, 1, 1}}}};
       },
       "the place of nodes[1] is out of range"},
      {"CameraOfNoType",
       [](GltfBuilder& b) {
         b.json["cameras"] = {{{"type", "fisheye"}}};
         b.json["nodes"][0]["camera"] = 0;
       },
       "fisheye"},
      {"CameraWithoutOpening",
       [](GltfBuilder& b) {
         b.json["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 0}, {"znear", 0.1}}}}};
         b.json["nodes"][0]["camera"] = 0;
       },
       "cameras[0] has a field of view of 0 degrees"},
      {"CameraWithoutHeight",
       [](GltfBuilder& b) {
         b.json["cameras"] = {{{"type", "orthographic"},
                               {"orthographic", {{"xmag", 1}, {"ymag", 0}, {"znear", 0.1}, {"zfar", 10}}}}};
         b.json["nodes"][0]["camera"] = 0;
       },
       "cameras[0] shows an area without height"},
      {"LightOfNoType",
       [](GltfBuilder& b) {
         b.json["extensions"]["KHR_lights_punctual"]["lights"] = {{{"type", "neon"}}};
         b.json["nodes"][0]["extensions"]["KHR_lights_punctual"]["light"] = 0;
       },
       "extensions.KHR_lights_punctual.lights[0] has the unknown type 'neon'"},
      // Data URIs, images, extensions, limits.
      {"BadBase64",
       [](GltfBuilder& b) {
         b.json["buffers"] = {{{"byteLength", 44}, {"uri", "data:x;base64,$$$$"}}};
       },
       "the data URI of buffers[0] is not base64"},
      {"DataUriWithoutData",
       [](GltfBuilder& b) {
         b.json["buffers"] = {{{"byteLength", 44}, {"uri", "data:x;base64"}}};
       },
       "the data URI of buffers[0] has no data"},
      {"ShortDataUri",
       [](GltfBuilder& b) {
         b.json["buffers"] = {{{"byteLength", 44}, {"uri", "data:x;base64,AAAA"}}};
       },
       "buffers[0] promises 44 bytes, but there are 3"},
      {"BufferWithoutData",
       [](GltfBuilder& b) {
         b.json["buffers"] = {{{"byteLength", 44}}};
       },
       "buffers[0] names no data"},
      {"ImageWithoutData",
       [](GltfBuilder& b) {
         b.json["images"] = {{{"mimeType", "image/png"}}};
       },
       "images[0] names neither a file nor a buffer view"},
      {"RequiredExtension",
       [](GltfBuilder& b) { b.json["extensionsRequired"] = {"EXT_meshopt_compression"}; },
       "the file requires the extension EXT_meshopt_compression, which is not supported",
       LoadError::kUnsupportedFeature},
      {"TooManyMaterials",
       [](GltfBuilder& b) { b.json["materials"] = Json(std::vector<Json>(50'001, Json::object())); },
       "materials has 50001 entries, more than the 50000 that can be loaded"},
  };
  return rules;
}

class GltfRules : public ::testing::TestWithParam<Rule> {};

TEST_P(GltfRules, IsStated) {
  GltfBuilder builder = GltfBuilder::Triangle();
  GetParam().breaks(builder);
  scene::Scene scene;
  const LoadResult result = Import(scene, builder);
  EXPECT_EQ(result.error, GetParam().error);
  EXPECT_NE(result.text.find(GetParam().text), std::string::npos) << result.text;
  EXPECT_FALSE(result.text.ends_with(".")) << result.text;
  EXPECT_EQ(result.file, GetParam().error == LoadError::kParser ? "test.gltf" : "");
  EXPECT_EQ(scene.Count(), 0u);
  EXPECT_EQ(scene.change_index(), 0u);
}

INSTANTIATE_TEST_SUITE_P(All, GltfRules, ::testing::ValuesIn(Rules()),
                         [](const auto& info) { return std::string(info.param.name); });

LoadResult ImportText(const std::string& text) {
  scene::Scene scene;
  return ImportGltf(scene, AsBytes(text), {}, "test.gltf");
}

TEST(GltfJson, SyntaxErrorsTellTheLine) {
  const LoadResult result = ImportText("{\n  \"asset\": {\n    \"version\": \"2.0\",,\n  }\n}");
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.line, 3u);
  EXPECT_NE(result.text.find("the JSON is malformed: "), std::string::npos) << result.text;
}

TEST(GltfJson, DeepNestingIsRefused) {
  const std::string deep = "{\"asset\":{\"version\":\"2.0\"},\"extras\":" + std::string(100'000, '[');
  EXPECT_EQ(ImportText(deep).text, "the JSON is nested more than 100 deep");
}

TEST(GltfJson, OtherDocuments) {
  EXPECT_EQ(ImportText("").error, LoadError::kParser);
  EXPECT_EQ(ImportText("[]").text, "the document is not a JSON object");
  EXPECT_EQ(ImportText("{\"asset\":{\"version\":1e999}}").error, LoadError::kParser);
  EXPECT_EQ(ImportText("{\"asset\":{\"version\":\"\xff\xfe\"}}").error, LoadError::kParser);
}

TEST(GltfGlb, BrokenContainers) {
  const std::vector<std::byte> glb = GltfBuilder::Triangle().Glb();
  const auto text_of = [&](size_t at, uint8_t value, size_t length) {
    std::vector<std::byte> broken(glb.begin(), glb.begin() + static_cast<std::ptrdiff_t>(length));
    if (at < broken.size()) broken[at] = static_cast<std::byte>(value);
    scene::Scene scene;
    return ImportGltf(scene, broken, {}, "test.glb").text;
  };
  EXPECT_EQ(text_of(0, 'g', 12), "the GLB file ends within its header");
  EXPECT_EQ(text_of(4, 1, glb.size()), "GLB version 1 is not supported");
  EXPECT_NE(text_of(0, 'g', glb.size() - 1).find("the GLB header promises"), std::string::npos);
  EXPECT_EQ(text_of(16, 'X', glb.size()), "the first chunk of the GLB file is not JSON");
  EXPECT_EQ(text_of(15, 0x7F, glb.size()), "chunk 0 of the GLB file reads past its end");
}

}  // namespace
}  // namespace kiln::engine::formats::testing
