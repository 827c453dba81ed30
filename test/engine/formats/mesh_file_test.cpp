// The container of mesh files, what readers ask of it, and what damage does.
#include "engine/formats/mesh_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <random>

#include "engine/formats/mesh_file_build.h"
#include "engine/formats/mesh_file_read.h"
#include "test/engine/formats/mesh_samples.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;

class MeshFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::temp_directory_path() / ("kiln_mesh_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_);
    file_ = folder_ / "mesh.kmesh";
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Bytes() const {
    std::ifstream in(file_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void Replace(const std::string& bytes) const {
    // Some file systems wait for the disk when a file is cut to nothing and written again.
    fs::remove(file_);
    std::ofstream(file_, std::ios::binary | std::ios::trunc).write(bytes.data(), std::ssize(bytes));
  }

  fs::path folder_, file_;
};

bool Same(MeshContent a, MeshContent b) {
  for (size_t i = 0; i < kMeshLists; ++i) {
    const auto list = static_cast<MeshList>(i);
    const bool same = std::visit(
        [&](auto* left) { return *left == *std::get<decltype(left)>(ListOf(b, list)); }, ListOf(a, list));
    if (!same) return false;
  }
  return true;
}

void Write(const fs::path& file, const MeshContent& content) {
  MeshFileWriter writer({0, 0});
  writer.AddFrame(0, content);
  writer.Write(file);
}

TEST_F(MeshFileTest, EveryListComesBack) {
  const MeshContent content = Content({Square("a/left", 0), Fur("fur"), Square("a/right", 5)});
  for (const uint64_t count : CountLists(content)) EXPECT_GT(count, 0u);
  Write(file_, content);
  EXPECT_TRUE(Same(MeshFileReader::Open(file_)->ReadAll(), content));
  EXPECT_TRUE(Same(ReadMesh({.file = file_}), content));
}

TEST_F(MeshFileTest, ObjectsStandOneBehindTheOther) {
  const MeshContent c = Content({Square("a", 0), Fur("b"), Square("c", 5)});
  EXPECT_EQ(c.objects.names, std::string("a\0c\0", 4));
  EXPECT_EQ(c.objects.begins, (std::vector<int32_t>{0, 1}));
  EXPECT_EQ(c.objects.ends, (std::vector<int32_t>{1, 2}));
  EXPECT_EQ(c.vertex_indices, (std::vector<int32_t>{0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}));
  EXPECT_EQ(c.voxel_first_vertex, (std::vector<int32_t>{0, 4}));
  EXPECT_EQ(c.voxel_first_uv_value, (std::vector<int32_t>{0, 3}));
  EXPECT_EQ(c.edge_visibility, (std::vector<int32_t>{0b011'101'011'101}));
  EXPECT_EQ(c.shader_ids, (std::vector<int32_t>{7, 8}));
  EXPECT_EQ(c.geometry_boxes[2], (Vec3{0, 0, 5}));
  EXPECT_EQ(c.hair_objects.names, std::string("b\0", 2));
}

TEST_F(MeshFileTest, ObjectsThatDoNotFitAreRefused) {
  const auto refused = [](const auto& change) {
    MeshObject o = Square("a", 0);
    change(o);
    EXPECT_THROW(CheckObject(o), MeshFileFailure);
  };
  refused([](MeshObject& o) { o.faces[2] = 4; });
  refused([](MeshObject& o) { o.faces[2] = -1; });
  refused([](MeshObject& o) { o.faces.pop_back(); });
  refused([](MeshObject& o) { o.face_normals[0] = 1; });
  refused([](MeshObject& o) { o.velocities.pop_back(); });
  refused([](MeshObject& o) { o.material_ids.push_back(1); });
  refused([](MeshObject& o) { o.edge_visibility.push_back(1); });
  refused([](MeshObject& o) { o.maps[0].faces[0] = 3; });
  refused([](MeshObject& o) { o.strands = {1}; });
  refused([](MeshObject& o) { o.particle_widths = {1, 2}; });
}

TEST_F(MeshFileTest, VoxelsShareNothingAndLoseNothing) {
  MeshObject grid;
  grid.name = "grid";
  for (int i = 0; i < 20; ++i) {
    const auto x = static_cast<float>(i);
    const int32_t first = 3 * i;
    grid.vertices.insert(grid.vertices.end(), {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}});
    grid.faces.insert(grid.faces.end(), {first, first + 1, first + 2});
    grid.material_ids.push_back(i);
  }
  const MeshContent c = Content({grid}, {.voxel_elements = 5});
  EXPECT_EQ(c.geometry_boxes.size(), 8u);
  EXPECT_EQ(c.objects.ends, std::vector<int32_t>{4});
  EXPECT_EQ(c.vertices.size(), 60u);
  std::vector<int32_t> ids = c.material_ids;
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, grid.material_ids);
  for (size_t v = 0; v < 4; ++v) {
    for (int32_t i = 15 * static_cast<int32_t>(v); i < 15 * static_cast<int32_t>(v + 1); ++i) {
      const Vec3 p = c.vertices[c.vertex_indices[i]];
      EXPECT_GE(p.x, c.geometry_boxes[2 * v].x);
      EXPECT_LE(p.x, c.geometry_boxes[2 * v + 1].x);
    }
  }
}

TEST_F(MeshFileTest, OneObjectAlone) {
  Write(file_, Content({Square("a/left", 0), Fur("fur"), Square("a/right", 5)}));
  const MeshContent whole = ReadMesh({.file = file_, .object_path = "a/right", .full_names = true});
  EXPECT_EQ(whole.vertices, Square("", 5).vertices);
  EXPECT_EQ(whole.vertex_indices, Square("", 5).faces);
  EXPECT_EQ(whole.velocities, Square("", 5).velocities);
  EXPECT_EQ(whole.uv_values, Square("", 5).maps[0].values);
  EXPECT_EQ(whole.edge_visibility, Square("", 5).edge_visibility);
  EXPECT_TRUE(whole.strands.empty());
  EXPECT_EQ(ReadMesh({.file = file_, .object_path = "right"}).vertices, whole.vertices);
  EXPECT_EQ(ReadMesh({.file = file_, .object_path = "fur"}).hair_vertices, Fur("").hair_vertices);
  EXPECT_THROW(ReadMesh({.file = file_, .object_path = "right", .full_names = true}), MeshFileFailure);
  EXPECT_THROW(ReadMesh({.file = file_, .object_path = "nobody"}), MeshFileFailure);
}

TEST_F(MeshFileTest, FramesShareWhatStays) {
  MeshFileWriter writer({0, 3});
  MeshObject square = Square("a", 0);
  for (const int32_t frame : {0, 2}) {
    square.vertices[0].x = static_cast<float>(frame);
    writer.AddFrame(frame, Content({square}));
  }
  writer.Write(file_);
  const auto x = [&](double time, MeshPlayback playback = MeshPlayback::kLoop, float speed = 1) {
    return ReadMesh({.file = file_, .playback = playback, .speed = speed, .time = time}).vertices[0].x;
  };
  EXPECT_EQ(x(0), 0);
  EXPECT_EQ(x(1), 0);
  EXPECT_EQ(x(2), 2);
  EXPECT_EQ(x(3.5), 2);
  EXPECT_EQ(x(4), 0);
  EXPECT_EQ(x(-1), 2);
  EXPECT_EQ(x(9, MeshPlayback::kOnce), 2);
  EXPECT_EQ(x(-9, MeshPlayback::kOnce), 0);
  EXPECT_EQ(x(5, MeshPlayback::kPingPong), 0);
  EXPECT_EQ(x(2, MeshPlayback::kStill), 0);
  EXPECT_EQ(x(1, MeshPlayback::kLoop, 2), 2);
  EXPECT_EQ(ReadMesh({.file = file_, .time = 3}).uv_values, square.maps[0].values);
  EXPECT_EQ(ReadMesh({.file = file_, .offset = 2}).vertices[0].x, 2);
}

TEST_F(MeshFileTest, AxesWidthsAndNormalsAsAsked) {
  MeshObject square = Square("a", 2);
  square.normals.clear();
  Write(file_, Content({square, Fur("b")}));
  MeshContent c = ReadMesh({.file = file_, .axis = MeshAxis::kYUpToZUp, .hair_width_factor = 2});
  EXPECT_EQ(c.vertices[2], (Vec3{1, -2, 1}));
  EXPECT_EQ(c.geometry_boxes[0], (Vec3{0, -2, 0}));
  EXPECT_FLOAT_EQ(c.hair_widths[1], 0.4f);
  ASSERT_EQ(c.normals.size(), 6u);
  EXPECT_EQ(c.normals[0], (Vec3{0, -1, 0}));
  c = ReadMesh({.file = file_, .normals = MeshNormals::kOfFile});
  EXPECT_TRUE(c.normals.empty());
}

TEST_F(MeshFileTest, NormalsBreakAtTheAngle) {
  MeshContent roof;
  roof.vertices = {{0, 0, 0}, {0, 0, 1}, {1, 1, 0}, {-1, 1, 0}};
  roof.vertex_indices = {0, 1, 2, 1, 0, 3};
  ComputeNormals(roof, 80);
  EXPECT_NE(roof.normals[0], roof.normals[4]);
  ComputeNormals(roof, 100);
  EXPECT_EQ(roof.normals[0], roof.normals[4]);
}

TEST_F(MeshFileTest, HalfAMillionFacesAtOneVertexTakeNoHours) {
  MeshContent fan;
  fan.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  for (int i = 0; i < 500000; ++i) fan.vertex_indices.insert(fan.vertex_indices.end(), {0, 1, 2});
  ComputeNormals(fan, 30);
  ASSERT_EQ(fan.normals.size(), fan.vertex_indices.size());
  for (const Vec3& normal : fan.normals) ASSERT_EQ(normal, (Vec3{0, 0, 1}));
}

TEST_F(MeshFileTest, PreviewsKeepTheirLimit) {
  MeshObject sheet;
  const int n = 60;
  for (int i = 0; i <= n; ++i) {
    for (int j = 0; j <= n; ++j) sheet.vertices.push_back({static_cast<float>(i), static_cast<float>(j), 0});
  }
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const int a = i * (n + 1) + j;
      sheet.faces.insert(sheet.faces.end(), {a, a + n + 1, a + n + 2, a, a + n + 2, a + 1});
    }
  }
  for (const auto kind : {PreviewKind::kFaceSampling, PreviewKind::kClustering}) {
    Write(file_, Content({sheet, Fur("b")}, {.preview_kind = kind, .preview_faces = 500}));
    const MeshContent p = ReadPreview({.file = file_}, 1000);
    EXPECT_LE(p.preview_indices.size() / 3, 500u);
    EXPECT_GT(p.preview_indices.size() / 3, 100u);
    EXPECT_TRUE(InRange(p.preview_indices, p.preview_vertices.size()));
    EXPECT_EQ(ReadPreview({.file = file_}, 1).preview_indices.size(), 3u);
    EXPECT_EQ(ReadPreview({.file = file_}, 100000).preview_indices.size(), sheet.faces.size());
  }
}

TEST_F(MeshFileTest, NoByteLessWillDo) {
  const MeshContent content = Content({Square("a", 0), Fur("b")});
  Write(file_, content);
  const std::string bytes = Bytes();
  for (size_t size = 0; size < bytes.size(); ++size) {
    Replace(bytes.substr(0, size));
    EXPECT_THROW(ReadMesh({.file = file_}), MeshFileFailure) << size;
  }
  Replace(bytes + "x");
  EXPECT_THROW(ReadMesh({.file = file_}), MeshFileFailure);
}

TEST_F(MeshFileTest, AChangedByteIsSeenOrMeansNothing) {
  const MeshContent content = Content({Square("a", 0), Fur("b")});
  Write(file_, content);
  const std::string bytes = Bytes();
  const auto expect_error_or_same = [&](const std::string& damaged, size_t what) {
    Replace(damaged);
    try {
      EXPECT_TRUE(Same(ReadMesh({.file = file_}), content)) << what;
    } catch (const MeshFileFailure&) {
      return;
    }
  };
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x41);
    expect_error_or_same(damaged, i);
  }
  std::mt19937 random(5);
  for (size_t round = 0; round < 2000; ++round) {
    std::string damaged = bytes;
    for (size_t n = 1 + random() % 8; n > 0; --n)
      damaged[random() % damaged.size()] = static_cast<char>(random());
    expect_error_or_same(damaged, round);
  }
}

// Reads in every way that a host can ask for; what fails says so.
void ReadInEveryWay(const fs::path& file) {
  const auto attempt = [](const auto& read) {
    try {
      read();
      return true;
    } catch (const MeshFileFailure&) {
      return false;
    }
  };
  MeshReadOptions o{.file = file, .normals = MeshNormals::kAlways, .axis = MeshAxis::kYUpToZUp};
  const bool sound = attempt([&] { EXPECT_EQ(CheckLengths(CountLists(ReadMesh({.file = file}))), ""); });
  attempt([&] { EXPECT_EQ(CheckLengths(CountLists(ReadMesh(o))), ""); });
  for (const char* name : {"a", "b"}) {
    o.object_path = name;
    attempt([&] { EXPECT_EQ(CheckLengths(CountLists(ReadMesh(o))), ""); });
  }
  for (const uint64_t most : {1, 1000}) {
    attempt([&] {
      const MeshContent preview = ReadPreview({.file = file}, most);
      EXPECT_LE(preview.preview_indices.size(), 3 * most);
      EXPECT_TRUE(InRange(preview.preview_indices, preview.preview_vertices.size()));
      EXPECT_TRUE(FitStrands(preview.preview_strands, preview.preview_hair_vertices.size()));
    });
  }
  attempt([&] { MeshReading::OfPreviews({.file = file}); });
  if (!sound) {
    EXPECT_THROW(ReadMesh({.file = file}), MeshFileFailure);
  }
}

// Lists of other lengths and numbers that lead nowhere, as a faulty writer would seal them.
TEST_F(MeshFileTest, SealedDamageCostsNothing) {
  Write(file_, Content({Square("a", 0), Fur("b")}));
  const std::string bytes = Bytes();
  const auto read_sealed = [&](std::string damaged) {
    Seal(std::as_writable_bytes(std::span(damaged)));
    Replace(damaged);
    ReadInEveryWay(file_);
  };
  read_sealed(bytes);
  EXPECT_EQ(ReadMesh({.file = file_}).vertices, Square("", 0).vertices);
  std::mt19937 random(9);
  for (size_t round = 0; round < 2000; ++round) {
    std::string damaged = bytes;
    for (size_t n = 1 + random() % 4; n > 0; --n) {
      const char kinds[] = {static_cast<char>(random()), 0, -1, 0x7f, 1};
      const size_t run = random() % 3 == 0 ? 4 : 1;
      const size_t at = random() % damaged.size() / run * run;
      damaged.replace(at, std::min(run, damaged.size() - at), run, kinds[random() % std::size(kinds)]);
    }
    if (random() % 8 == 0) damaged.resize(random() % damaged.size());
    read_sealed(damaged);
  }
}

TEST_F(MeshFileTest, OnlyWholeFilesReplaceTheOld) {
  Write(file_, Content({Square("a", 0)}));
  const auto reader = MeshFileReader::Open(file_);
  Write(file_, Content({Square("a", 9)}));
  EXPECT_EQ(reader->ReadAll().vertices[0].z, 0);
  EXPECT_EQ(ReadMesh({.file = file_}).vertices[0].z, 9);
  EXPECT_THROW(Write(folder_ / "none" / "mesh.kmesh", Content({Square("a", 0)})), MeshFileFailure);
  EXPECT_THROW(ReadMesh({.file = folder_ / "none"}), MeshFileFailure);
  EXPECT_THROW(ReadMesh({.file = folder_}), MeshFileFailure);
  EXPECT_THROW(ReadMesh({}), MeshFileFailure);
}

TEST_F(MeshFileTest, ModelsAreMeshFilesToo) {
  file_ = folder_ / "scene.toml";
  Replace(R"(
[mesh]
class = "GeomStaticMesh"
vertices = [[0, 0, 0], [1, 0, 0], [0, 1, 0]]
faces = [0, 1, 2]

[red]
class = "MaterialPrincipled"

[left]
class = "GeomInstance"
geometry = "mesh"
material = "red"
transform = { translate = [0, 0, 4] }

[right]
class = "GeomInstance"
geometry = "mesh"
)");
  const MeshContent c = ReadMesh({.file = file_});
  EXPECT_EQ(c.vertices.size(), 6u);
  EXPECT_EQ(c.vertices[0], (Vec3{0, 0, 4}));
  EXPECT_EQ(c.objects.names, std::string("left\0right\0", 11));
  EXPECT_EQ(c.shader_names, std::string("red\0", 4));
  EXPECT_EQ(ReadMesh({.file = file_, .object_path = "right"}).vertices[0], (Vec3{0, 0, 0}));
  EXPECT_EQ(ReadPreview({.file = file_}, 10000).preview_indices.size(), 6u);
}

// 2 n n triangles.
MeshObject Waves(int n) {
  MeshObject waves;
  for (int i = 0; i <= n; ++i) {
    for (int j = 0; j <= n; ++j)
      waves.vertices.push_back(
          {static_cast<float>(i), static_cast<float>(j), std::sin(static_cast<float>(i * j))});
  }
  waves.normals.assign(waves.vertices.size(), {0, 0, 1});
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const int a = i * (n + 1) + j;
      waves.faces.insert(waves.faces.end(), {a, a + n + 1, a + n + 2, a, a + n + 2, a + 1});
    }
  }
  return waves;
}

// Large enough for two threads, either of which may meet the damage.
TEST_F(MeshFileTest, BigFilesAreReadAsSmallOnes) {
  const MeshContent content = Content({Waves(400), Fur("fur")});
  Write(file_, content);
  ASSERT_GT(fs::file_size(file_), 8u << 20);
  EXPECT_TRUE(Same(MeshFileReader::Open(file_)->ReadAll(), content));
  const std::string bytes = Bytes();
  for (size_t at = 8192; at < bytes.size(); at += bytes.size() / 16) {
    std::string damaged = bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ 1);
    Replace(damaged);
    EXPECT_THROW(MeshFileReader::Open(file_)->ReadAll(), MeshFileFailure) << at;
  }
}

// Printed and not asserted: the machine may be busy.
TEST_F(MeshFileTest, SpeedOfAMillionTriangles) {
  const MeshObject big = Waves(707);
  Write(file_, Content({big}));
  const auto seconds = [](const auto& work) {
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
      const auto start = std::chrono::steady_clock::now();
      work();
      best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
  };
  const size_t size = fs::file_size(file_);
  // Both into memory that is there already.
  std::vector<char> bytes(size);
  const double plain = seconds([&] {
    const int descriptor = open(file_.c_str(), O_RDONLY);
    EXPECT_EQ(read(descriptor, bytes.data(), size), static_cast<ssize_t>(size));
    close(descriptor);
  });
  MeshContent memory;
  const double full = seconds([&] {
    MeshReading reading({.file = file_}, true);
    std::vector<MeshListRoom> rooms;
    for (size_t i = 0; i < static_cast<size_t>(MeshList::kPreviewVertices); ++i) {
      const auto list = static_cast<MeshList>(i);
      std::visit(
          [&](auto* to) {
            to->resize(reading.counts()[i]);
            rooms.push_back({list, to->data(), to->size()});
          },
          ListOf(memory, list));
    }
    reading.Read(rooms);
    EXPECT_EQ(memory.vertices.size(), big.vertices.size());
  });
  std::cout << "1 M triangles, " << size / 1000000 << " MB: plain read " << plain * 1000 << " ms, full data "
            << full * 1000 << " ms, " << full / plain << " times\n";
}

}  // namespace
}  // namespace kiln::engine::formats
