// glTF files that other programs wrote, well-formed and deliberately broken ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>

#include "engine/formats/model_import_files.h"
#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kModels = "/usr/share/assimp/models";

LoadResult ImportFile(scene::Scene& scene, const fs::path& file) {
  const auto bytes = ReadWholeFile(file);
  if (!bytes) return {LoadError::kFileNotFound, {}, 0, "missing"};
  return ImportGltf(scene, *bytes, file.parent_path(), file.string());
}

std::vector<fs::path> GltfFilesBelow(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".gltf" || extension == ".glb") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(GltfSamples, EachLoadsOrSaysWhyNot) {
  if (!fs::exists(kModels / "glTF2")) GTEST_SKIP() << "the sample models are not installed";
  const std::set<std::string> refused = {"SchemaFailures/sceneWrongType.gltf",
                                         "IndexOutOfRange/IndexOutOfRange.gltf",
                                         "IndexOutOfRange/AllIndicesOutOfRange.gltf",
                                         "RecursiveNodes/RecursiveNodes.gltf",
                                         "wrongTypes/badNumber.gltf",
                                         "wrongTypes/badExtension.gltf",
                                         "wrongTypes/badObject.gltf",
                                         "wrongTypes/badUint.gltf",
                                         "wrongTypes/badArray.gltf",
                                         "wrongTypes/badString.gltf",
                                         "BoxWithInfinites-glTF-Binary/BoxWithInfinites.glb",
                                         "MissingBin/BoxTextured.gltf",
                                         "TestNoRootNode/NoScene.gltf",
                                         "IncorrectVertexArrays/Cube.gltf",
                                         "BoxTextured-glTF-techniqueWebGL/BoxTextured.gltf"};
  const auto files = GltfFilesBelow(kModels / "glTF2");
  EXPECT_GE(files.size(), 40u);
  for (const fs::path& file : files) {
    scene::Scene scene;
    const LoadResult result = ImportFile(scene, file);
    const std::string name = file.lexically_relative(kModels / "glTF2").string();
    EXPECT_EQ(result.ok(), !refused.contains(name)) << name << ": " << result.text;
    if (!result.ok()) {
      EXPECT_FALSE(result.text.empty()) << name;
      EXPECT_EQ(scene.Count(), 0u) << name;
    }
  }
}

TEST(GltfSamples, VersionOneIsRefused) {
  if (!fs::exists(kModels / "glTF")) GTEST_SKIP() << "the sample models are not installed";
  for (const fs::path& file : GltfFilesBelow(kModels / "glTF")) {
    scene::Scene scene;
    EXPECT_FALSE(ImportFile(scene, file).ok()) << file;
  }
}

TEST(GltfSamples, AMissingBufferIsAMissingAsset) {
  const fs::path file = kModels / "glTF2/MissingBin/BoxTextured.gltf";
  if (!fs::exists(file)) GTEST_SKIP() << "the sample models are not installed";
  scene::Scene scene;
  EXPECT_EQ(ImportFile(scene, file).error, LoadError::kMissingAsset);
}

TEST(GltfSamples, EngineHasItsTriangles) {
  const fs::path file = kModels / "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
  if (!fs::exists(file)) GTEST_SKIP() << "the sample models are not installed";
  scene::Scene scene;
  ASSERT_TRUE(ImportFile(scene, file).ok());
  size_t triangles = 0;
  for (size_t i = 0; i < Count(scene, "GeomStaticMesh"); ++i) {
    triangles += Value(scene, "GeomStaticMesh", "faces", i).As<scene::IntArray>()->size() / 3;
  }
  EXPECT_GT(triangles, 60'000u);
  EXPECT_GT(Count(scene, "GeomInstance"), 30u);
}

TEST(GltfSamples, DracoIsDecodedByTheModelImporter) {
  const fs::path file = kModels / "glTF2/draco/2CylinderEngine.gltf";
  if (!fs::exists(file)) GTEST_SKIP() << "the sample models are not installed";
  scene::Scene scene;
  const LoadResult result = ImportFile(scene, file);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_GT(Count(scene, "GeomInstance"), 30u);
}

// A folder of further GLB files, all of which must load: KILN_GLB_FOLDER names it.
TEST(GltfSamples, AllOfAGivenFolderLoad) {
  const char* folder = std::getenv("KILN_GLB_FOLDER");
  if (folder == nullptr) GTEST_SKIP() << "KILN_GLB_FOLDER is not set";
  const auto files = GltfFilesBelow(folder);
  EXPECT_FALSE(files.empty());
  for (const fs::path& file : files) {
    scene::Scene scene;
    const LoadResult result = ImportFile(scene, file);
    EXPECT_TRUE(result.ok()) << file << ": " << result.text;
    EXPECT_GT(Count(scene, "GeomInstance"), 0u) << file;
  }
}

// One of everything, so that a mutation can hit any reader.
std::vector<std::byte> RichGlb() {
  GltfBuilder b = GltfBuilder::Triangle();
  Json& attributes = b.Primitive()["attributes"];
  attributes["NORMAL"] = b.Positions({0, 0, 1, 0, 0, 1, 0, 0, 1});
  attributes["TEXCOORD_0"] = b.Accessor<uint16_t>({0, 0, 65535, 0, 0, 65535}, "VEC2", 2, kUshort);
  attributes["COLOR_0"] = b.Accessor<float>({1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1}, "VEC4", 4, kFloat);
  attributes["TANGENT"] = b.Accessor<float>({1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1}, "VEC4", 4, kFloat);
  attributes["JOINTS_0"] = b.Accessor<uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, "VEC4", 4, kUbyte);
  attributes["WEIGHTS_0"] = b.Accessor<float>({1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 0}, "VEC4", 4, kFloat);
  b.Primitive()["targets"] = {{{"POSITION", b.Positions({0, 0, 2, 0, 0, 2, 0, 0, 2})}}};
  b.Primitive()["material"] = 0;
  b.json["meshes"][0]["weights"] = {0.5};
  const int indices = b.View<uint16_t>({1});
  const int values = b.View<float>({5, 6, 7});
  b.json["accessors"][0]["sparse"] = {{"count", 1},
                                      {"indices", {{"bufferView", indices}, {"componentType", kUshort}}},
                                      {"values", {{"bufferView", values}}}};
  b.json["materials"] = {{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}, {"texCoord", 0}}}}},
                          {"extensions", {{"KHR_materials_clearcoat", {{"clearcoatFactor", 1}}}}}}};
  b.json["images"] = {
      {{"bufferView", b.View<uint8_t>({0x89, 'P', 'N', 'G', 0, 0, 0, 0})}, {"mimeType", "image/png"}}};
  b.json["textures"] = {{{"source", 0}, {"sampler", 0}}};
  b.json["samplers"] = {{{"wrapS", 33071}}};
  b.json["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 1}, {"znear", 0.5}}}}};
  b.json["extensions"]["KHR_lights_punctual"]["lights"] = {{{"type", "point"}, {"intensity", 4}}};
  b.json["skins"] = {{{"joints", {1, 2}}}};
  b.json["nodes"] = {{{"mesh", 0}, {"skin", 0}, {"children", {1}}},
                     {{"camera", 0}, {"rotation", {0, 0, 0, 1}}, {"children", {2}}},
                     {{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}}};
  return b.Glb();
}

TEST(GltfMutations, NeverCrash) {
  const std::vector<std::byte> original = RichGlb();
  {
    scene::Scene scene;
    const LoadResult result = ImportGltf(scene, original, {}, "");
    ASSERT_TRUE(result.ok()) << result.text;
  }
  std::mt19937 random(20240607);
  const auto below = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  // What JSON is made of: structural characters and digits reach deeper than random bytes.
  const std::string alphabet = "0123456789-.eE[]{},:\" ";
  size_t loaded = 0;
  for (int round = 0; round < 6000; ++round) {
    std::vector<std::byte> mutated = original;
    const size_t changes = 1 + below(4);
    for (size_t i = 0; i < changes; ++i) {
      std::byte& target = mutated[12 + below(mutated.size() - 12)];
      target = round % 2 == 0 ? static_cast<std::byte>(alphabet[below(alphabet.size())])
                              : static_cast<std::byte>(below(256));
    }
    if (round % 7 == 0) mutated.resize(below(mutated.size()));
    scene::Scene scene;
    const LoadResult result = ImportGltf(scene, mutated, {}, "mutated");
    loaded += result.ok() ? 1 : 0;
    if (!result.ok()) {
      EXPECT_FALSE(result.text.empty());
      EXPECT_EQ(scene.Count(), 0u);
    }
  }
  EXPECT_GT(loaded, 100u) << "the mutations hardly reach past the syntax";
  EXPECT_LT(loaded, 5900u);
}

}  // namespace
}  // namespace kiln::engine::formats::testing
