// Mesh files through the entry points: written from arrays and plugins, read in both ways, and rendered.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "proxy.h"
#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

namespace fs = std::filesystem;

class MeshFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::temp_directory_path() / ("kiln_mesh_api_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_);
    file_ = (folder_ / "mesh.kmesh").string();
    params_.version = 6;
    params_.path = file_.c_str();
    params_.numPreviewElements = 10000;
    params_.previewType = 3;
    params_.previewHairs = 1000;
    params_.previewParticles = 20000;
    read_.version = 2;
    read_.file = file_.c_str();
    read_.anim_speed = read_.hair_width_multiplier = read_.particle_width_multiplier = 1;
    read_.num_preview_faces = 10000;
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path folder_;
  std::string file_;
  ProxyCreateParams params_{};
  ProxyReadParams read_{};
};

// A triangle with a strand and two particles, and the columns that a record points at.
struct Data {
  std::vector<float> vertices{0, 0, 0, 1, 0, 0, 0, 1, 0}, later{0, 0, 9, 1, 0, 9, 0, 1, 9};
  std::vector<int32_t> faces{0, 1, 2}, strands{2};
  std::vector<float> hair{0, 0, 0, 0, 1, 0}, particles{1, 1, 1, 2, 2, 2};
  const float* vertex_data[2] = {vertices.data(), later.data()};
  const int32_t* face_data[1] = {faces.data()};
  const float* hair_data[1] = {hair.data()};
  const int32_t* strand_data[1] = {strands.data()};
  const float* particle_data[1] = {particles.data()};
  int32_t threes[2] = {3, 3};
  int32_t twos[1] = {2};
  int32_t ones[1] = {1};
  int32_t frames[2] = {0, 5};
  int32_t map_indices[1] = {4};
  int32_t shader_ids[1] = {12};
  const char* names[1] = {"skin"};
  int32_t name_lengths[1] = {4};
  ProxyMeshData record{};

  Data() {
    record.version = 2;
    record.vertices = vertex_data;
    record.verticesCounts = threes;
    record.verticesFrameNumbers = frames;
    record.verticesFrames = 2;
    record.faces = face_data;
    record.facesCounts = threes;
    record.facesFrameNumbers = frames;
    record.facesFrames = 1;
    record.hairVertices = hair_data;
    record.hairVerticesCounts = twos;
    record.hairVerticesFrameNumbers = frames;
    record.hairVerticesFrames = 1;
    record.hairVerticesPerStrand = strand_data;
    record.hairVerticesPerStrandCounts = ones;
    record.hairVerticesPerStrandFrameNumbers = frames;
    record.hairVerticesPerStrandFrames = 1;
    record.particleVertices = particle_data;
    record.particleVerticesCounts = twos;
    record.particleVerticesFrameNumbers = frames;
    record.particleVerticesFrames = 1;
    record.mapChannelIndices = map_indices;
    record.mapChannelVertices = vertex_data;
    record.mapChannelFaces = face_data;
    record.mapChannelVertexCounts = threes;
    record.mapChannelFaceCounts = threes;
    record.mapChannelsCount = 1;
    record.mapChNames = record.shaderNames = names;
    record.mapChNameLengths = record.shaderNameLengths = name_lengths;
    record.shaderIDs = shader_ids;
    record.mapChNamesCount = record.shadersCount = 1;
  }
};

ProxyDataRecord Wanted() {
  ProxyDataRecord record{};
  record.version = 4;
  record.flags[0] = 0xF0;
  record.flags[1] = 0xFF;
  record.flags[2] = 3;
  return record;
}

int32_t Create(const Data& data, const ProxyCreateParams& params, const ProxyTransform* place = nullptr,
               const AnimatedTransforms* animation = nullptr) {
  const ProxyMeshData* meshes[] = {&data.record};
  const AnimatedTransforms* animations[] = {animation};
  return Kiln_ProxyCommon_createProxyFile(meshes, 0, 1, place, animation ? animations : nullptr, &params);
}

// The geometry's first vertex at an offset of frames; NaN when the file can't be read.
float FirstZ(ProxyReadParams params, float offset) {
  params.anim_offset = offset;
  ProxyDataRecord record = Wanted();
  uint64_t token = 0;
  if (Kiln_ProxyCommon_readProxyFullPrepare(&params, &record, &token) == 0) return NAN;
  std::vector<float> vertices(record.vertices_floats);
  record.vertices = vertices.data();
  return Kiln_ProxyCommon_readProxyFullFinalize(&record, token) != 0 ? vertices.at(2) : NAN;
}

TEST_F(MeshFiles, WhatIsWrittenIsRead) {
  const Data data;
  const char names[] = "body";
  const int32_t id = 42;
  params_.objectNames = names;
  params_.objectIDs = &id;
  ASSERT_EQ(Create(data, params_), 0);

  ProxyDataRecord record = Wanted();
  uint64_t token = 0;
  ASSERT_NE(Kiln_ProxyCommon_readProxyFullPrepare(&read_, &record, &token), 0);
  EXPECT_EQ(record.vertices_floats, 9u);
  EXPECT_EQ(record.vertex_indices_count, 3u);
  EXPECT_EQ(record.normals_floats, 0u);
  EXPECT_EQ(record.uv_sets_count, 1u);
  EXPECT_EQ(record.uv_original_indices[0], 4);
  EXPECT_EQ(record.uv_set_floats[0], 9u);
  EXPECT_EQ(record.uv_set_indices[0], 3u);
  EXPECT_EQ(record.object_info_names_size, 5u);
  EXPECT_EQ(record.geometry_voxels_count, 1u);
  EXPECT_EQ(record.hair_voxels_count, 1u);
  EXPECT_EQ(record.particle_vertices_floats, 6u);
  std::vector<float> vertices(9), uv(9), hair(6), particles(6), box(6);
  std::vector<int32_t> faces(3), strands(1), ids(1);
  char name[5], shader[5], map[5];
  record.vertices = vertices.data();
  record.vertex_indices = faces.data();
  record.uv_values = uv.data();
  record.hair_vertices = hair.data();
  record.vertices_per_strand = strands.data();
  record.particle_vertices = particles.data();
  record.particle_voxel_boxes = box.data();
  record.object_info_ids = ids.data();
  record.object_info_names = name;
  record.shader_names = shader;
  record.uv_set_names = map;
  EXPECT_NE(Kiln_ProxyCommon_readProxyFullFinalize(&record, token), 0);
  EXPECT_EQ(vertices, data.vertices);
  EXPECT_EQ(faces, data.faces);
  EXPECT_EQ(uv, data.vertices);
  EXPECT_EQ(hair, data.hair);
  EXPECT_EQ(strands, data.strands);
  EXPECT_EQ(particles, data.particles);
  EXPECT_EQ(box, data.particles);
  EXPECT_EQ(ids[0], 42);
  EXPECT_STREQ(name, "body");
  EXPECT_STREQ(shader, "skin");
  EXPECT_STREQ(map, "skin");
  EXPECT_EQ(Kiln_ProxyCommon_readProxyFullFinalize(&record, token), 0) << "the token is used up";
}

TEST_F(MeshFiles, PreviewsAreTheHostsMemory) {
  ASSERT_EQ(Create(Data(), params_), 0);
  const Data data;
  void* first = nullptr;
  void* second = nullptr;
  int32_t points = 0;
  int32_t others = 0;
  ASSERT_NE(Kiln_ProxyCommon_readProxyPreview(&read_, 0, &first, &second, &points, &others, 0), 0);
  EXPECT_EQ(points, 3);
  EXPECT_EQ(others, 1);
  EXPECT_EQ(std::memcmp(first, data.vertices.data(), 36), 0);
  EXPECT_EQ(std::memcmp(second, data.faces.data(), 12), 0);
  C_memory_free(first);
  C_memory_free(second);
  ASSERT_NE(Kiln_ProxyCommon_readProxyPreview(&read_, 1, &first, &second, &points, &others, 0), 0);
  EXPECT_EQ(points, 2);
  EXPECT_EQ(others, 1);
  C_memory_free(first);
  C_memory_free(second);
  ASSERT_NE(Kiln_ProxyCommon_readProxyPreview(&read_, 2, &first, nullptr, &points, nullptr, 1), 0);
  EXPECT_EQ(points, 1);
  C_memory_free(first);

  ProxyDataRecord record = Wanted();
  uint64_t token = 0;
  ASSERT_NE(Kiln_ProxyCommon_readProxyPrepare(&read_, 1, &record, &token), 0);
  EXPECT_EQ(record.vertices_floats, 9u);
  EXPECT_EQ(record.uv_sets_count, 0u);
  EXPECT_NE(Kiln_ProxyCommon_readProxyFinalize(1, &record, token), 0);
}

TEST_F(MeshFiles, FramesOfArraysAndTransforms) {
  const Data data;
  params_.isAnimated = 1;
  params_.endFrame = 9;
  ASSERT_EQ(Create(data, params_), 0);
  EXPECT_EQ(FirstZ(read_, 4), 0);
  EXPECT_EQ(FirstZ(read_, 5), 9);
  EXPECT_EQ(FirstZ(read_, 10), 0);

  const ProxyTransform keys[] = {{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}},
                                 {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 40}}};
  const int32_t frames[] = {0, 4};
  const AnimatedTransforms moves{keys, frames, 2, 0};
  ASSERT_EQ(Create(data, params_, nullptr, &moves), 0);
  EXPECT_EQ(FirstZ(read_, 1), 10);
  EXPECT_EQ(FirstZ(read_, 9), 49);

  params_.isAnimated = 0;
  ASSERT_EQ(Create(data, params_, &keys[1]), 0);
  EXPECT_EQ(FirstZ(read_, 5), 40);
}

TEST_F(MeshFiles, WhatCannotBeIsRefused) {
  Data data;
  ASSERT_EQ(Create(data, params_), 0);
  const auto size = fs::file_size(file_);
  data.faces[0] = 3;
  EXPECT_NE(Create(data, params_), 0);
  data.faces[0] = 0;
  data.threes[0] = -3;
  EXPECT_NE(Create(data, params_), 0);
  data.threes[0] = 3;
  data.record.verticesCounts = nullptr;
  EXPECT_NE(Create(data, params_), 0);
  data.record.verticesCounts = data.threes;
  params_.isAnimated = 1;
  params_.startFrame = 2;
  EXPECT_NE(Create(data, params_), 0);
  const ProxyMeshData* none[] = {nullptr};
  EXPECT_NE(Kiln_ProxyCommon_createProxyFile(none, 0, 1, nullptr, nullptr, &params_), 0);
  EXPECT_NE(Kiln_ProxyCommon_createProxyFile(none, 0, 0, nullptr, nullptr, &params_), 0);
  EXPECT_EQ(fs::file_size(file_), size) << "the old file stays";

  ProxyDataRecord record = Wanted();
  uint64_t token = 0;
  read_.file = nullptr;
  EXPECT_EQ(Kiln_ProxyCommon_readProxyFullPrepare(&read_, &record, &token), 0);
  EXPECT_EQ(Kiln_ProxyCommon_readProxyFullFinalize(&record, 0), 0);
  EXPECT_EQ(Kiln_ProxyCommon_readProxyFullFinalize(nullptr, 12345), 0);
}

TEST_F(MeshFiles, ReadingsThatNobodyEndsAreDropped) {
  ASSERT_EQ(Create(Data(), params_), 0);
  ProxyDataRecord record = Wanted();
  uint64_t first = 0;
  ASSERT_NE(Kiln_ProxyCommon_readProxyFullPrepare(&read_, &record, &first), 0);
  for (int i = 0; i < 2000; ++i) {
    uint64_t token = 0;
    record = Wanted();
    ASSERT_NE(Kiln_ProxyCommon_readProxyFullPrepare(&read_, &record, &token), 0) << i;
  }
  EXPECT_EQ(Kiln_ProxyCommon_readProxyFullFinalize(&record, first), 0);
}

constexpr char kMeshes[] = R"(
[mesh]
class = "GeomStaticMesh"
vertices = [[-1, -1, -5], [1, -1, -5], [0, 1, -5]]
faces = [0, 1, 2]
uv = [[0, 0, 0], [1, 0, 0], [1, 1, 0]]

[hair]
class = "GeomMayaHair"
vertices = [[-1, 0, -4], [1, 0.5, -4]]
verticesPerStrand = [2]
width = 0.2

[dust]
class = "GeomParticleSystem"
positions = { "0" = [[0.5, 0.5, -3]], "10" = [[-0.5, 0.5, -3]] }
radius = 0.2
)";

std::vector<float> Picture(KilnRendererHandle renderer) {
  EXPECT_EQ(Kiln_KilnRenderer_render(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  const ImageHandle image(Kiln_KilnRenderer_getImage(renderer, nullptr));
  uint64_t count = 0;
  const auto* pixels =
      static_cast<const float*>(KilnImage_getPixelDataPointerAndPixelCount(image.get(), &count));
  return {pixels, pixels + 4 * count};
}

std::string Instance(const std::string& geometry) {
  return "\n[of_" + geometry + "]\nclass = \"GeomInstance\"\ngeometry = \"" + geometry + "\"\n";
}

TEST_F(MeshFiles, PluginsAreWrittenReadAndRenderTheSame) {
  ScopedRenderer source;
  ASSERT_EQ(
      Kiln_KilnRenderer_loadAsText(
          source,
          (std::string(kScene) + kMeshes + Instance("mesh") + Instance("hair") + Instance("dust")).c_str()),
      0);
  Kiln_KilnRenderer_setImageSize(source, 48, 48);
  const KilnPluginId plugins[] = {Kiln_KilnRenderer_getPluginID(source, "mesh"),
                                  Kiln_KilnRenderer_getPluginID(source, "hair"),
                                  Kiln_KilnRenderer_getPluginID(source, "dust")};
  params_.isAnimated = 1;
  params_.endFrame = 10;
  ASSERT_EQ(Kiln_KilnRenderer_createProxyFile(source, 0, 3, plugins, nullptr, nullptr, &params_), 0);
  const KilnPluginId camera = Kiln_KilnRenderer_getPluginID(source, "camera");
  EXPECT_NE(Kiln_KilnRenderer_createProxyFile(source, 0, 1, &camera, nullptr, nullptr, &params_), 0);

  ScopedRenderer shown;
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(
                shown, (std::string(kScene) + "\n[file]\nclass = \"GeomMeshFile\"\nfile = \"" + file_ +
                        "\"\ncompute_normals = 0\n" + Instance("file"))
                           .c_str()),
            0);
  Kiln_KilnRenderer_setImageSize(shown, 48, 48);
  const std::vector<float> at_start = Picture(shown);
  const std::vector<float> expected = Picture(source);
  ASSERT_EQ(at_start.size(), expected.size());
  int different = 0;
  for (size_t i = 0; i < expected.size(); ++i) different += std::abs(at_start[i] - expected[i]) > 0.02f;
  EXPECT_LT(different, 48 * 48 * 4 / 50);
  Kiln_KilnRenderer_setCurrentTime(shown, 10);
  Kiln_KilnRenderer_setCurrentTime(source, 10);
  EXPECT_NE(Picture(shown), at_start);

  const KilnPluginId file = Kiln_KilnRenderer_getPluginID(shown, "file");
  ProxyDataRecord record = Wanted();
  uint64_t token = 0;
  ASSERT_NE(Kiln_KilnRenderer_readProxyFullPrepare(shown, file, &record, &token), 0);
  ASSERT_EQ(record.particle_vertices_floats, 3u);
  float particle[3] = {};
  record.particle_vertices = particle;
  EXPECT_NE(Kiln_KilnRenderer_readProxyFullFinalize(shown, &record, token), 0);
  EXPECT_EQ(particle[0], -0.5f);
  EXPECT_EQ(Kiln_KilnRenderer_readProxyFullPrepare(shown, Kiln_KilnRenderer_getPluginID(shown, "camera"),
                                                   &record, &token),
            0);
}

}  // namespace
}  // namespace kiln::engine::test
