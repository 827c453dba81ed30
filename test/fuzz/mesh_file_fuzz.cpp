// Any bytes as a mesh file, with checksums made right: every way of reading it gives lists that fit each
// other, or a failure.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/formats/mesh_file_read.h"
#include "engine/formats/mesh_file_scene.h"
#include "test/engine/formats/mesh_samples.h"

namespace kiln::engine::formats {

// Models are another reader's.
MeshContent ReadModel(const std::filesystem::path&) {
  throw MeshFileFailure("no model");
}

}  // namespace kiln::engine::formats

namespace {

using namespace kiln::engine::formats;

template <class F>
void Attempt(const F& read) {
  try {
    read();
  } catch (const MeshFileFailure& failure) {
    if (failure.what()[0] == '\0') std::abort();
  }
}

void Check(const MeshContent& content) {
  if (!CheckLengths(CountLists(content)).empty()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int memory = memfd_create("mesh", MFD_CLOEXEC);
  std::vector<uint8_t> file(data, data + size);
  Seal(std::as_writable_bytes(std::span(file)));
  if (ftruncate(memory, 0) != 0 || pwrite(memory, file.data(), size, 0) != static_cast<ssize_t>(size))
    std::abort();

  MeshReadOptions options{.file = "/proc/self/fd/" + std::to_string(memory)};
  Attempt([&] { Check(ReadMesh(options)); });
  Attempt([&] {
    const MeshContent preview = ReadPreview(options, size % 8);
    if (preview.preview_indices.size() > 3 * (size % 8)) std::abort();
    if (!InRange(preview.preview_indices, preview.preview_vertices.size())) std::abort();
    if (!FitStrands(preview.preview_strands, preview.preview_hair_vertices.size())) std::abort();
  });
  Attempt([&] { MeshReading::OfPreviews(options); });
  options.normals = MeshNormals::kAlways;
  options.axis = MeshAxis::kYUpToZUp;
  options.time = static_cast<double>(size % 16);
  Attempt([&] { Check(ReadMesh(options)); });
  options.object_path = size % 2 == 0 ? "a" : "b";
  Attempt([&] { Check(ReadMesh(options)); });
  return 0;
}
