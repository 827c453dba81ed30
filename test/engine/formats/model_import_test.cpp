// Model files: what an OBJ becomes, samples of other programs, and malformed input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "engine/formats/importers.h"
#include "engine/formats/model_import_files.h"
#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kModels = "/usr/share/assimp/models";

LoadResult ImportFile(scene::Scene& scene, const fs::path& file) {
  const auto bytes = ReadWholeFile(file);
  if (!bytes) return {LoadError::kFileNotFound, {}, 0, "missing"};
  std::string extension = file.extension().string();
  return ImportModel(scene, *bytes, file, extension.empty() ? extension : extension.substr(1));
}

const std::string kObj =
    "mtllib scene.mtl\no Square\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
    "usemtl red\nf 1/1 2/2 3/3 4/4\n";

class ModelFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("kiln_model_" + std::to_string(getpid()));
    fs::create_directories(folder_ / "inner");
  }
  void TearDown() override { fs::remove_all(folder_); }
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(folder_ / name, std::ios::binary) << text;
  }
  fs::path folder_;
  scene::Scene scene_;
};

TEST_F(ModelFiles, ObjWithItsMaterial) {
  Write("scene.mtl", "newmtl red\nKd 0.8 0.1 0.2\nKs 0 0 0\nNs 30\nd 0.5\nmap_Kd tex.png\n");
  Write("scene.obj", kObj);
  Write("tex.png", "\x89PNG....");
  const LoadResult result = ImportFile(scene_, folder_ / "scene.obj");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Value(scene_, "GeomStaticMesh", "faces").As<scene::IntArray>()->size(), 6u);
  EXPECT_EQ(Value(scene_, "GeomStaticMesh", "vertices").As<scene::VectorArray>()->size(), 4u);
  EXPECT_EQ(Value(scene_, "GeomStaticMesh", "normals").As<scene::VectorArray>()->size(), 4u) << "made up";
  // The first vertex is at the bottom of the image, where v is 1 counted from the top.
  EXPECT_EQ((*Value(scene_, "GeomStaticMesh", "uv").As<scene::VectorArray>())[0].y, 1);
  const auto get = [&](const char* property) { return Value(scene_, "MaterialPrincipled", property); };
  EXPECT_NE(scene_.FindByName("red"), nullptr);
  ASSERT_NE(get("baseColor").As<scene::PluginRef>(), nullptr);
  EXPECT_EQ(*Value(scene_, "TextureBitmap", "file").As<std::string>(), "tex.png");
  EXPECT_NEAR(Value(scene_, "TextureBitmap", "multiply").As<Color>()->r, 0.8f, 1e-6);
  EXPECT_EQ(*Value(scene_, "TextureBitmap", "colorSpace").As<int32_t>(), 1);
  EXPECT_EQ(*get("opacity").As<float>(), 0.5f);
  EXPECT_EQ(*get("alphaMode").As<int32_t>(), 2);
  EXPECT_NEAR(*get("roughness").As<float>(), std::sqrt(std::sqrt(2.0 / 32)), 1e-5);
  EXPECT_EQ(*get("specular").As<float>(), 0);
  EXPECT_NE(scene_.FindByName("@defaultCamera"), nullptr);
  EXPECT_NE(scene_.FindByName("@defaultLight"), nullptr);
}

TEST_F(ModelFiles, NothingOutsideTheFolderIsOpened) {
  Write("scene.mtl", "newmtl red\nKd 0.8 0.1 0.2\nmap_Kd ../tex.png\n");
  Write("tex.png", "\x89PNG....");
  Write("inner/scene.obj", "mtllib ../scene.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
  const LoadResult result = ImportFile(scene_, folder_ / "inner/scene.obj");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Count(scene_, "TextureBitmap"), 0u);
  EXPECT_NE(*Value(scene_, "MaterialPrincipled", "baseColor").As<Color>(), (Color{0.8f, 0.1f, 0.2f}));
}

TEST_F(ModelFiles, MissingTexturesLeaveANote) {
  Write("scene.mtl", "newmtl red\nKd 0.8 0.1 0.2\nmap_Kd C:\\\\elsewhere\\\\gone.png\n");
  Write("scene.obj", kObj);
  const LoadResult result = ImportFile(scene_, folder_ / "scene.obj");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_NE(result.text.find("gone.png' can't be used"), std::string::npos) << result.text;
  EXPECT_NEAR(Value(scene_, "MaterialPrincipled", "baseColor").As<Color>()->r, 0.8f, 1e-6);
}

TEST_F(ModelFiles, ImagesOfOtherMachinesAreFoundBesideTheModel) {
  Write("scene.mtl", "newmtl red\nmap_Kd C:\\\\elsewhere\\\\tex.png\n");
  Write("scene.obj", kObj);
  Write("tex.png", "\x89PNG....");
  ASSERT_TRUE(ImportFile(scene_, folder_ / "scene.obj").ok());
  EXPECT_EQ(*Value(scene_, "TextureBitmap", "file").As<std::string>(), "tex.png");
}

TEST(ModelImport, BuffersAreRecognisedByContent) {
  const std::string ply =
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
      "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";
  scene::Scene scene;
  const LoadResult result = ImportModel(scene, AsBytes(ply), {}, "");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Value(scene, "GeomStaticMesh", "faces").As<scene::IntArray>()->size(), 3u);
}

TEST(ModelImport, WhatNobodyKnows) {
  scene::Scene scene;
  const std::string text = "this is no model at all, just a sentence of some length";
  const LoadResult result = ImportModel(scene, AsBytes(text), {}, "");
  EXPECT_EQ(result.error, LoadError::kUnknownFormat) << result.text;
  EXPECT_FALSE(result.text.empty());
  EXPECT_FALSE(ImportModel(scene, {}, {}, "obj").ok());
  EXPECT_EQ(scene.Count(), 0u);
}

TEST(ModelImport, NumbersThatAreNone) {
  scene::Scene scene;
  const std::string obj = "v 0 0 0\nv nan 0 0\nv 0 1e39 0\nf 1 2 3\n";
  const LoadResult result = ImportModel(scene, AsBytes(obj), {}, "obj");
  if (!result.ok()) {
    EXPECT_FALSE(result.text.empty());
  }
}

TEST(ModelImport, FilesWithoutSurfacesSaySo) {
  scene::Scene scene;
  const std::string obj = "v 0 0 0\nv 1 0 0\nl 1 2\n";
  const LoadResult result = ImportModel(scene, AsBytes(obj), {}, "obj");
  EXPECT_FALSE(result.ok());
  EXPECT_FALSE(result.text.empty());
}

TEST(ModelImport, SamplesOfManyFormats) {
  if (!fs::exists(kModels)) GTEST_SKIP() << "the sample models are not installed";
  size_t count = 0;
  for (const char* name : {"OBJ/spider.obj", "OBJ/WusonOBJ.obj", "OBJ/box.obj", "PLY/Wuson.ply",
                           "PLY/cube.ply", "PLY/cube_binary.ply", "STL/Spider_ascii.stl",
                           "STL/Spider_binary.stl", "STL/Wuson.stl", "FBX/spider.fbx", "FBX/box.fbx",
                           "Collada/duck.dae", "3DS/test1.3ds", "3DS/fels.3ds", "X/test.x", "OFF/Cube.off"}) {
    const fs::path file = kModels / name;
    if (!fs::exists(file)) continue;
    ++count;
    scene::Scene scene;
    const LoadResult result = ImportFile(scene, file);
    EXPECT_TRUE(result.ok()) << name << ": " << result.text;
    EXPECT_GT(Count(scene, "GeomInstance"), 0u) << name;
  }
  EXPECT_GE(count, 12u);
}

TEST(ModelImport, CamerasAndLightsOfCollada) {
  if (!fs::exists(kModels / "Collada/cameras.dae")) GTEST_SKIP() << "the sample models are not installed";
  scene::Scene cameras;
  LoadResult result = ImportFile(cameras, kModels / "Collada/cameras.dae");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_GT(Count(cameras, "CameraPerspective") + Count(cameras, "CameraOrthographic"), 0u);
  EXPECT_EQ(cameras.FindByName("@defaultCamera"), nullptr);
  scene::Scene lights;
  result = ImportFile(lights, kModels / "Collada/lights.dae");
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(lights.FindByName("@defaultLight"), nullptr);
}

TEST(ModelImport, APlyHeaderWithoutEndDoesNotHang) {
  scene::Scene scene;
  const std::string ply = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n";
  const LoadResult result = ImportModel(scene, AsBytes(ply), {}, "ply");
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.text, "the header of the PLY file has no end");
}

TEST(ModelImport, TheSameModelInThreeFormatsHasOneSize) {
  const fs::path ascii = kModels / "STL/Spider_ascii.stl";
  const fs::path binary = kModels / "STL/Spider_binary.stl";
  if (!fs::exists(ascii) || !fs::exists(binary)) GTEST_SKIP() << "the sample models are not installed";
  std::vector<size_t> sizes;
  for (const fs::path& file : {ascii, binary}) {
    scene::Scene scene;
    ASSERT_TRUE(ImportFile(scene, file).ok());
    sizes.push_back(Value(scene, "GeomStaticMesh", "faces").As<scene::IntArray>()->size());
  }
  EXPECT_EQ(sizes[0], sizes[1]);
}

TEST(ModelImport, ManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::vector<int> loaded(4);
  for (size_t t = 0; t < loaded.size(); ++t) {
    threads.emplace_back([&loaded, t] {
      for (int round = 0; round < 20; ++round) {
        scene::Scene scene;
        loaded[t] += ImportModel(scene, AsBytes(kObj), {}, "obj").ok() ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loaded, std::vector<int>(4, 20));
}

TEST(ModelImport, TruncatedFilesNeverCrash) {
  for (const char* name : {"STL/Spider_binary.stl", "PLY/cube_binary.ply", "OBJ/box.obj", "PLY/cube.ply"}) {
    const auto bytes = fs::exists(kModels / name) ? ReadWholeFile(kModels / name) : std::nullopt;
    if (!bytes) continue;
    const std::string extension = fs::path(name).extension().string().substr(1);
    for (size_t part = 0; part < 40; ++part) {
      const std::span<const std::byte> cut = std::span(*bytes).first(bytes->size() * part / 40);
      scene::Scene scene;
      const LoadResult result = ImportModel(scene, cut, {}, extension);
      if (!result.ok()) {
        EXPECT_FALSE(result.text.empty()) << name;
      }
    }
  }
}

TEST(ModelFileNames, OnlyThoseInTheFolder) {
  EXPECT_EQ(NameInFolder("a/../b.png"), "b.png");
  EXPECT_EQ(NameInFolder("./tex\\b.png"), "tex/b.png");
  for (const char* outside : {"", ".", "..", "../a", "a/../../b", "/a", "\\a", "C:/a", "http://host/a"}) {
    EXPECT_EQ(NameInFolder(outside), std::nullopt) << outside;
  }
  EXPECT_EQ(DecodeUri("a%20b%2Fc%zz%"), "a b/c%zz%");
}

}  // namespace
}  // namespace kiln::engine::formats::testing
