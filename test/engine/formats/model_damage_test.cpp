// Damaged model files: cut off, changed at random, and those that the model library is known to loop or abort
// on. None harms this process, and what fails leaves the scene as it was.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "engine/formats/model_import.h"
#include "engine/formats/model_import_files.h"
#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<std::byte>;

const fs::path kModels = "/usr/share/assimp/models";

// Whatever comes of it is a scene, or an error with a reason.
LoadResult Survive(std::span<const std::byte> bytes, const std::string& extension) {
  ModelImporter importer = DefaultModelImporter(bytes.size());
  importer.time = std::chrono::seconds(2);
  scene::Scene scene;
  LoadResult result = ImportModelWith(importer, scene, bytes, {}, extension);
  EXPECT_EQ(result.ok(), scene.Count() > 0);
  if (!result.ok()) {
    EXPECT_FALSE(result.text.empty());
  }
  EXPECT_EQ(result.text.find("made no scene of it"), std::string::npos) << result.text;
  return result;
}

Bytes Changed(Bytes bytes, std::mt19937& random) {
  const auto below = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  for (size_t changes = 1 + below(6); changes > 0 && bytes.size() > 32; --changes) {
    const size_t at = below(bytes.size() - 16);
    const auto place = bytes.begin() + static_cast<ptrdiff_t>(at);
    switch (below(4)) {
      case 0:
        *place = static_cast<std::byte>(below(256));
        break;
      case 1:
        *place ^= static_cast<std::byte>(1U << below(8));
        break;
      case 2:
        bytes.erase(place, place + static_cast<ptrdiff_t>(1 + below(16)));
        break;
      default: {
        const auto from = bytes.begin() + static_cast<ptrdiff_t>(below(bytes.size() - 16));
        const Bytes piece(from, from + 16);
        bytes.insert(place, piece.begin(), piece.end());
      }
    }
  }
  return bytes;
}

class DamagedModels : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const auto bytes = ReadWholeFile(kModels / GetParam());
    if (!bytes) GTEST_SKIP() << "the sample models are not installed";
    bytes_ = *bytes;
    extension_ = fs::path(GetParam()).extension().string().substr(1);
  }
  Bytes bytes_;
  std::string extension_;
};

TEST_P(DamagedModels, CutOff) {
  for (size_t part = 0; part < 24; ++part) {
    SCOPED_TRACE(part);
    Survive(std::span(bytes_).first(bytes_.size() * part / 24), extension_);
  }
  EXPECT_TRUE(Survive(bytes_, extension_).ok());
}

TEST_P(DamagedModels, ChangedAtRandom) {
  for (uint32_t seed = 0; seed < 48; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Survive(Changed(bytes_, random), extension_);
  }
}

INSTANTIATE_TEST_SUITE_P(, DamagedModels,
                         ::testing::Values("OBJ/box.obj", "PLY/cube.ply", "PLY/cube_binary.ply",
                                           "STL/Spider_binary.stl", "STL/Spider_ascii.stl", "FBX/box.fbx",
                                           "FBX/spider.fbx"),
                         [](const auto& info) {
                           std::string name = info.param;
                           std::replace_if(
                               name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
                           return name;
                         });

TEST(DamagedPly, HeaderWithoutEnd) {
  const LoadResult result =
      Survive(AsBytes("ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"), "ply");
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.text, "the header of the PLY file has no end");
}

// The end is announced in a comment alone, which our own look at the header takes for one.
TEST(DamagedPly, HeaderWithAnEndThatIsNone) {
  const LoadResult result = Survive(
      AsBytes("ply\nformat ascii 1.0\ncomment end_header\nelement vertex 3\nproperty float x\n"), "ply");
  EXPECT_EQ(result.error, LoadError::kParser);
}

TEST(DamagedPly, PolygonsThatAreAnnouncedButAbsent) {
  const std::string ply =
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
      "element face 2\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n";
  for (const char* faces : {"", "3 0 1 2\n", "0\n0\n", "4 0 1 2\n", "200 0 1 2\n", "3 0 1 9\n3 0 1 2\n"}) {
    SCOPED_TRACE(faces);
    Survive(AsBytes(ply + faces), "ply");
  }
}

}  // namespace
}  // namespace kiln::engine::formats::testing
