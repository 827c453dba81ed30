// What every importer builds: meshes, their instances, and the camera and light that a file without them
// gets.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "engine/formats/loader.h"
#include "engine/formats/model_import_affine.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {

// One mesh in its own space; everything per vertex, empty where there is none.
struct MeshData {
  scene::VectorArray vertices;
  scene::IntArray faces;
  scene::VectorArray normals;
  scene::VectorArray uv;
  scene::VectorArray uv2;
  scene::VectorArray tangents;
  scene::FloatArray tangent_signs;
  scene::ColorArray colors;
  scene::FloatArray color_alphas;
  bool double_sided = true;
};

class ImportStage {
 public:
  using Handle = scene::SceneBatch::Handle;

  // Stages in `batch`, which outlives it.
  ImportStage(scene::SceneBatch& batch, const std::filesystem::path& folder);

  // Adds an instance of a class.
  Handle Add(std::string_view class_name, std::string_view name) { return batch_.Add(class_name, name); }
  void Set(Handle instance, std::string_view property, scene::Value value) {
    batch_.Set(instance, property, std::move(value));
  }
  scene::Value Ref(Handle instance, uint32_t output = 0) const { return batch_.Ref(instance, output); }

  Handle AddMesh(const MeshData& mesh, std::string_view name);
  // Places a mesh that AddMesh made from `data`. A map that flattens space is applied to a copy of the mesh
  // instead, because instances need an inverse; one that flattens it to a line or a point adds nothing.
  void AddObject(Handle mesh, const MeshData& data, Handle material, const Affine& world,
                 std::string_view name);
  // Cameras and lights, without their scale. The class has a `transform`.
  Handle AddPlaced(std::string_view class_name, const Affine& world, std::string_view name);
  // True once AddPlaced made one of them.
  void MarkCamera() { has_camera_ = true; }
  void MarkLight() { has_light_ = true; }

  // Something that was left out or replaced; all notes end up in the result's text, a line each.
  void Note(const std::string& note);

  // Adds "@defaultCamera", in front of the whole bounding sphere, and "@defaultLight", where there are none.
  LoadResult Finish();

 private:
  void Include(const MeshData& data, const Affine& world);
  void AddDefaultCamera();

  scene::SceneBatch& batch_;
  Vec3d lower_{INFINITY, INFINITY, INFINITY};
  Vec3d upper_{-INFINITY, -INFINITY, -INFINITY};
  bool has_camera_ = false;
  bool has_light_ = false;
  size_t note_count_ = 0;
  std::string notes_;
};

}  // namespace kiln::engine::formats
