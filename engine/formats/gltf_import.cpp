// Reads glTF 2.0, JSON or GLB, into a scene.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "engine/formats/gltf_material.h"
#include "engine/formats/gltf_mesh.h"
#include "engine/formats/gltf_nodes.h"
#include "engine/formats/importers.h"
#include "engine/formats/load_stage.h"
#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

using Handle = ImportStage::Handle;

constexpr double kDegrees = 180 / 3.14159265358979323846;
constexpr float kFar = 1e30f;

class GltfImporter {
 public:
  GltfImporter(const GltfDocument& document, scene::SceneBatch& batch, const std::filesystem::path& base_dir)
      : model_(document.model),
        stage_(batch, base_dir),
        textures_(document, stage_, base_dir),
        materials_(document, stage_, textures_),
        meshes_(document, stage_),
        nodes_(FlattenNodes(document.model)) {}

  LoadResult Run() {
    for (const int node : nodes_.visible) {
      if (model_.nodes[node].mesh >= 0) AddMesh(node);
      if (model_.nodes[node].camera >= 0) AddCamera(node);
      AddLight(node);
    }
    return stage_.Finish();
  }

 private:
  struct Placeable {
    MeshData data;
    Handle mesh = 0;
  };

  void AddMesh(int node_index) {
    const tinygltf::Node& node = model_.nodes[node_index];
    const tinygltf::Mesh& mesh = model_.meshes[node.mesh];
    for (size_t p = 0; p < mesh.primitives.size(); ++p) {
      const tinygltf::Primitive& primitive = mesh.primitives[p];
      const bool skinned = node.skin >= 0 && primitive.attributes.contains("JOINTS_0") &&
                           primitive.attributes.contains("WEIGHTS_0");
      // Poses of its own keep a node from sharing the mesh.
      const bool own_pose = skinned || !node.weights.empty();
      const auto key = std::make_tuple(node.mesh, p, own_pose ? node_index : -1);
      const auto [it, added] = placeables_.try_emplace(key);
      if (added) it->second = MakePlaceable(node, mesh, static_cast<int>(p), skinned);
      if (!it->second) continue;
      const Affine world = skinned ? Affine{} : nodes_.world[node_index];
      stage_.AddObject(it->second->mesh, it->second->data, materials_.Get(primitive.material), world,
                       node.name.empty() ? mesh.name : node.name);
    }
  }

  std::optional<Placeable> MakePlaceable(const tinygltf::Node& node, const tinygltf::Mesh& mesh,
                                         int primitive, bool skinned) {
    const auto& weights = node.weights.empty() ? mesh.weights : node.weights;
    std::optional<MeshData> data =
        meshes_.Read(node.mesh, primitive, weights, skinned ? &Joints(node.skin) : nullptr);
    if (!data) return std::nullopt;
    const int material = mesh.primitives[primitive].material;
    data->double_sided = material >= 0 && model_.materials[material].doubleSided;
    const Handle handle = stage_.AddMesh(*data, mesh.name);
    return Placeable{std::move(*data), handle};
  }

  // What brings a vertex from the space of its mesh to the world, per joint, in the pose of the nodes.
  const JointMatrices& Joints(int skin) {
    const auto [it, added] = joints_.try_emplace(skin);
    if (added) {
      it->second = meshes_.InverseBind(skin);
      for (size_t i = 0; i < it->second.size(); ++i) {
        it->second[i] = Multiply(nodes_.world[model_.skins[skin].joints[i]], it->second[i]);
      }
    }
    return it->second;
  }

  void AddCamera(int node_index) {
    const tinygltf::Node& node = model_.nodes[node_index];
    const tinygltf::Camera& camera = model_.cameras[node.camera];
    const std::string& name = node.name.empty() ? camera.name : node.name;
    const bool orthographic = camera.type == "orthographic";
    const Handle handle = stage_.AddPlaced(orthographic ? "CameraOrthographic" : "CameraPerspective",
                                           nodes_.world[node_index], name);
    if (orthographic) {
      SetOrthographic(handle, camera.orthographic, node.camera);
    } else {
      SetPerspective(handle, camera.perspective, node.camera);
    }
    stage_.MarkCamera();
  }

  void SetPerspective(Handle handle, const tinygltf::PerspectiveCamera& camera, int index) {
    const double fov = camera.yfov * kDegrees;
    if (!(fov > 0 && fov < 180)) {
      throw ImportFailure(fmt::format("cameras[{}] has a field of view of {} degrees", index, fov));
    }
    stage_.Set(handle, "fov", static_cast<float>(fov));
    SetClip(handle, camera.znear, camera.zfar);
  }

  void SetOrthographic(Handle handle, const tinygltf::OrthographicCamera& camera, int index) {
    const double height = 2 * std::abs(camera.ymag);
    if (!(height > 0)) throw ImportFailure(fmt::format("cameras[{}] shows an area without height", index));
    stage_.Set(handle, "height", static_cast<float>(height));
    SetClip(handle, camera.znear, camera.zfar);
  }

  void SetClip(Handle handle, double near, double far) {
    stage_.Set(handle, "nearClip", static_cast<float>(std::max(near, 0.0)));
    stage_.Set(handle, "farClip", far > near ? static_cast<float>(far) : kFar);
  }

  // Candela and lux are taken one to one as W/sr and W/m^2, which only scales the picture; a range is an
  // optimisation of other renderers and is left out.
  void AddLight(int node_index) {
    const tinygltf::Node& node = model_.nodes[node_index];
    const auto extension = node.extensions.find("KHR_lights_punctual");
    if (extension == node.extensions.end() || !extension->second.Has("light")) return;
    const int index = extension->second.Get("light").GetNumberAsInt();
    const tinygltf::Light& light = model_.lights[index];
    const char* class_name = light.type == "point"         ? "LightPoint"
                             : light.type == "spot"        ? "LightSpot"
                             : light.type == "directional" ? "LightDirectional"
                                                           : nullptr;
    if (class_name == nullptr) {
      throw ImportFailure(fmt::format("extensions.KHR_lights_punctual.lights[{}] has the unknown type '{}'",
                                      index, light.type));
    }
    const Handle handle =
        stage_.AddPlaced(class_name, nodes_.world[node_index], node.name.empty() ? light.name : node.name);
    if (light.color.size() == 3) {
      const auto channel = [&](int i) { return static_cast<float>(std::max(light.color[i], 0.0)); };
      stage_.Set(handle, "color", Color{channel(0), channel(1), channel(2)});
    }
    stage_.Set(handle, "intensity", static_cast<float>(std::max(light.intensity, 0.0)));
    if (light.type == "spot") {
      const double outer = std::clamp(light.spot.outerConeAngle * kDegrees, 0.0, 90.0);
      stage_.Set(handle, "outerAngle", static_cast<float>(outer));
      stage_.Set(handle, "innerAngle",
                 static_cast<float>(std::clamp(light.spot.innerConeAngle * kDegrees, 0.0, outer)));
    }
    stage_.MarkLight();
  }

  const tinygltf::Model& model_;
  ImportStage stage_;
  GltfTextures textures_;
  GltfMaterials materials_;
  GltfMeshes meshes_;
  GltfNodes nodes_;
  std::map<std::tuple<int, size_t, int>, std::optional<Placeable>> placeables_;
  std::map<int, JointMatrices> joints_;
};

}  // namespace

LoadResult StageGltf(LoadStage& stage, std::span<const std::byte> bytes,
                     const std::filesystem::path& base_dir, const std::string& file_label) {
  return GuardImport(file_label, [&]() -> LoadResult {
    const GltfDocument document = OpenGltf(bytes, base_dir);
    if (document.needs_draco) {
      const bool binary = !bytes.empty() && bytes[0] == std::byte{'g'};
      const std::filesystem::path name = std::filesystem::path(file_label).filename();
      const std::filesystem::path file =
          base_dir.empty() ? std::filesystem::path() : base_dir / (name.empty() ? "scene.gltf" : name);
      return StageModel(stage, bytes, file, binary ? "glb" : "gltf");
    }
    return GltfImporter(document, stage.batch, base_dir).Run();
  });
}

LoadResult ImportGltf(scene::Scene& scene, std::span<const std::byte> bytes,
                      const std::filesystem::path& base_dir, const std::string& file_label,
                      const scene::LoadFilter& filter) {
  LoadStage stage{scene};
  LoadResult staged = StageGltf(stage, bytes, base_dir, file_label);
  return staged.ok() ? CommitStage(stage, filter, std::move(staged)) : staged;
}

}  // namespace kiln::engine::formats
