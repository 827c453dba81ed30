// Reads the geometry plugins of a scene.
#include "engine/formats/mesh_file_scene.h"

#include <fmt/format.h>

#include <shared_mutex>

#include "engine/formats/loader.h"

namespace kiln::engine::formats {
namespace {

using scene::PluginId;
using scene::Scene;

template <class T>
T ValueOf(const Scene& scene, PluginId id, std::string_view property, double time) {
  const scene::Value value = scene.Get(id, property, time);
  const T* data = value.As<T>();
  return data != nullptr ? *data : T{};
}

template <class T>
std::vector<T> List(const Scene& scene, PluginId id, std::string_view property, double time) {
  const auto list = ValueOf<scene::Array<T>>(scene, id, property, time);
  return {list.begin(), list.end()};
}

void ReadMeshPlugin(const Scene& scene, PluginId id, double time, MeshObject* out) {
  out->vertices = List<Vec3>(scene, id, "vertices", time);
  out->faces = List<int32_t>(scene, id, "faces", time);
  out->normals = List<Vec3>(scene, id, "normals", time);
  out->face_normals = List<int32_t>(scene, id, "faceNormals", time);
  MapChannel maps[] = {
      {0, "uv", List<Vec3>(scene, id, "uv", time), List<int32_t>(scene, id, "faceUv", time)},
      {1, "uv2", List<Vec3>(scene, id, "uv2", time), List<int32_t>(scene, id, "faceUv2", time)}};
  for (MapChannel& map : maps) {
    if (!map.values.empty()) out->maps.push_back(std::move(map));
  }
}

void ReadHairPlugin(const Scene& scene, PluginId id, double time, MeshObject* out) {
  out->hair_vertices = List<Vec3>(scene, id, "vertices", time);
  out->strands = List<int32_t>(scene, id, "verticesPerStrand", time);
  out->hair_widths = List<float>(scene, id, "widths", time);
  if (out->hair_widths.empty()) out->hair_widths = {ValueOf<float>(scene, id, "width", time)};
}

void ReadParticlePlugin(const Scene& scene, PluginId id, double time, MeshObject* out) {
  out->particles = List<Vec3>(scene, id, "positions", time);
  out->particle_widths = List<float>(scene, id, "radii", time);
  if (out->particle_widths.empty()) out->particle_widths = {ValueOf<float>(scene, id, "radius", time)};
  for (float& width : out->particle_widths) width *= 2;
}

bool IsGeometry(std::string_view type) {
  return type == "GeomStaticMesh" || type == "GeomMayaHair" || type == "GeomParticleSystem";
}

}  // namespace

MeshObject ObjectOfPlugin(const Scene& scene, PluginId id, double time) {
  MeshObject object;
  const scene::Instance* instance = scene.Find(id);
  if (instance == nullptr || !IsGeometry(instance->type->name))
    throw MeshFileFailure("a mesh file is made of meshes, hair and particle systems");
  object.name = instance->name;
  if (instance->type->name == "GeomStaticMesh") {
    ReadMeshPlugin(scene, id, time, &object);
  } else if (instance->type->name == "GeomMayaHair") {
    ReadHairPlugin(scene, id, time, &object);
  } else {
    ReadParticlePlugin(scene, id, time, &object);
  }
  return object;
}

bool IsAnimated(const Scene& scene, PluginId id) {
  const scene::Instance* instance = scene.Find(id);
  if (instance == nullptr) return false;
  return std::any_of(instance->values.begin(), instance->values.end(),
                     [](const auto& value) { return !value.second.keys.empty(); });
}

MeshReadOptions OptionsOfProperties(const std::function<scene::Value(std::string_view)>& get) {
  const auto value = [&]<class T>(std::string_view property, T otherwise) {
    const scene::Value held = get(property);
    const T* data = held.As<T>();
    return data != nullptr ? *data : otherwise;
  };
  MeshReadOptions options;
  options.object_path = value("object_path", std::string());
  options.full_names = value("use_full_names", false);
  options.normals = static_cast<MeshNormals>(value("compute_normals", 1));
  options.smooth_angle = value("smooth_angle", options.smooth_angle);
  options.axis = static_cast<MeshAxis>(value("flip_axis", 0));
  options.playback = static_cast<MeshPlayback>(value("anim_type", 0));
  options.speed = value("anim_speed", options.speed);
  options.offset = value("anim_offset", options.offset);
  options.hair_width_factor = value("hair_width_multiplier", options.hair_width_factor);
  options.particle_width_factor = value("particle_width_multiplier", options.particle_width_factor);
  return options;
}

MeshContent ReadModel(const std::filesystem::path& file) {
  Scene scene;
  const LoadResult loaded = LoadFile(scene, file);
  if (!loaded.ok()) throw MeshFileFailure(fmt::format("can't read \"{}\": {}", file.string(), loaded.text));
  std::vector<MeshObject> objects;
  const std::shared_lock lock(scene.mutex);
  for (const PluginId id : scene.Ids(scene::FindClass("GeomInstance"))) {
    const PluginId geometry = ValueOf<scene::PluginRef>(scene, id, "geometry", 0).id;
    const scene::Instance* source = scene.Find(geometry);
    if (source == nullptr || !IsGeometry(source->type->name)) continue;
    MeshObject object = ObjectOfPlugin(scene, geometry, 0);
    object.name = scene.Find(id)->name;
    object.id = static_cast<int32_t>(objects.size());
    const scene::Instance* material = scene.Find(ValueOf<scene::PluginRef>(scene, id, "material", 0).id);
    if (material != nullptr && !object.faces.empty()) {
      object.shaders.emplace_back(static_cast<int32_t>(material->id), material->name);
      object.material_ids.assign(object.faces.size() / 3, static_cast<int32_t>(material->id));
    }
    CheckObject(object);
    ApplyTransform(object, ValueOf<Transform>(scene, id, "transform", 0));
    objects.push_back(std::move(object));
  }
  if (objects.empty()) throw MeshFileFailure(fmt::format("there is no mesh in \"{}\"", file.string()));
  std::vector<VoxelPlan> plans;
  return BuildContent(objects, {}, &plans);
}

}  // namespace kiln::engine::formats
