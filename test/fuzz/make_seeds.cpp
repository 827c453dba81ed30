// Writes valid inputs for the fuzz targets to begin with, a folder each: fuzz_seeds FOLDER.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

#include "engine/formats/mesh_file.h"
#include "engine/formats/mesh_file_scene.h"
#include "test/engine/formats/mesh_samples.h"
#include "test/engine/image/samples.h"

namespace kiln::engine::formats {

// Models are another reader's.
MeshContent ReadModel(const std::filesystem::path&) {
  throw MeshFileFailure("no model");
}

}  // namespace kiln::engine::formats

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kShader = R"osl(#define SIZE 4
/* displacement never() */ float helper(float x) { return x; }
surface example [[ string help = "An \"example\"", int version = 3 ]]
(int count = 3 [[ int min = 0 ]], int enabled = 1 [[ string widget = "checkBox" ]], float rough = 0.25 * M_PI,
 string mode = "one" "two", string image = "" [[ string widget = "filename" ]], color tint = color("rgb", 1, .5, -0x4),
 vector offset = vector(1, 2, 3), normal Nn = N, matrix m = 1, float ramp[3] = { 0, 0.5, 1e-3 }, closure color under = 0,
 output color result = 0, output closure color bsdf = 0) // the end
{ result = helper(rough); })osl";

constexpr std::string_view kLuminaires[] = {
    "IESNA:LM-63-2002\r\n[TEST] none\r\nTILT=NONE\r\n1 1000 1 3 2 1 2 .1 .1 0\r\n1 1 40\r\n0 45 90\r\n0 "
    "90\r\n"
    "100 90 80\r\n100 70 60\r\n",
    "TILT=INCLUDE\n1\n2\n0 90\n1 .9\n1 -1 2.5 2 1 2 1 0 0 0\n.9 1 40\n-90 90\n-90\n1 2\n",
    "IESNA91\nTILT=tilt.txt\n1 1000 1 2 2 3 2 0 0 0\n1 1 40\n0 90\n0 90\n1 2 3 4\n",
};

void Put(const fs::path& file, std::span<const std::byte> bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

void PutMeshFiles(const fs::path& folder) {
  using namespace kiln::engine::formats;
  fs::create_directories(folder);
  MeshFileWriter still({0, 0});
  still.AddFrame(0, Content({Square("a", 0), Fur("b")}));
  still.Write(folder / "still");
  MeshFileWriter moving({-1, 2});
  for (const int32_t frame : {-1, 2})
    moving.AddFrame(frame, Content({Square("x/a", static_cast<float>(frame))}));
  moving.Write(folder / "moving");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "fuzz_seeds FOLDER\n");
    return 2;
  }
  const fs::path folder = argv[1];
  PutMeshFiles(folder / "mesh_file");
  Put(folder / "osl" / "example", std::as_bytes(std::span(kShader)));
  for (size_t i = 0; i < std::size(kLuminaires); ++i)
    Put(folder / "photometry" / std::to_string(i), std::as_bytes(std::span(kLuminaires[i])));
  for (const auto& sample : kiln::engine::image::Samples()) Put(folder / "image" / sample.name, sample.bytes);
  return 0;
}
