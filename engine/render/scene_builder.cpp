// Freezing, resolving and caching of a scene's parts.
#include "engine/render/scene_builder.h"

#include <fmt/format.h>

#include <atomic>

#include "engine/render/bsdf.h"
#include "engine/render/dome.h"
#include "engine/render/elements.h"
#include "engine/render/instance_inputs.h"

namespace kiln::engine::render {
namespace {

// Of the whole process: a device lives as long as the last scene that was made with it, which may be longer
// than its builder.
std::atomic<int64_t> device_bytes{0};

// What an object without a material looks like.
class DefaultMaterial : public Material {
 public:
  void Evaluate(const ShadingPoint& point, Bsdf* bsdf) const override {
    const float side = point.backfacing ? -1.0f : 1.0f;
    bsdf->Begin(Frame(point.normal * side), point.geometric_normal * side);
    bsdf->AddDiffuse({0.5f, 0.5f, 0.5f});
  }
};

bool IsFinite(const Transform& t) {
  const Matrix& m = t.matrix;
  const Vec3 o = Offset(t);
  const float sum =
      m.c0.x + m.c0.y + m.c0.z + m.c1.x + m.c1.y + m.c1.z + m.c2.x + m.c2.y + m.c2.z + o.x + o.y + o.z;
  return std::isfinite(sum);
}

// An object whose owner keeps what it points to alive.
template <class T>
std::shared_ptr<const T> HoldTogether(std::unique_ptr<T> object,
                                      const std::vector<std::shared_ptr<const void>>& parts) {
  if (object == nullptr) return nullptr;
  struct Holder {
    std::vector<std::shared_ptr<const void>> parts;
    std::unique_ptr<T> object;
  };
  auto holder = std::make_shared<Holder>();
  holder->parts = parts;
  holder->object = std::move(object);
  return std::shared_ptr<const T>(holder, holder->object.get());
}

ScenePtr BuildMeshScene(RTCDevice device, const Mesh& mesh) {
  ScenePtr scene(rtcNewScene(device));
  rtcSetSceneBuildQuality(scene.get(), RTC_BUILD_QUALITY_HIGH);
  rtcSetSceneFlags(scene.get(), RTC_SCENE_FLAG_ROBUST);
  RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
  rtcSetGeometryBuildQuality(geometry, RTC_BUILD_QUALITY_HIGH);
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.positions(), 0,
                             sizeof(Vec3), mesh.vertex_count());
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices(), 0,
                             3 * sizeof(int32_t), mesh.triangle_count());
  rtcCommitGeometry(geometry);
  rtcAttachGeometry(scene.get(), geometry);
  rtcReleaseGeometry(geometry);
  rtcCommitScene(scene.get());
  return scene;
}

}  // namespace

SceneBuilder::SceneBuilder() : default_material_(std::make_shared<DefaultMaterial>()) {}
SceneBuilder::~SceneBuilder() = default;

// Made when it is needed: a device takes threads and memory.
RTCDevice SceneBuilder::Device() {
  if (device_ == nullptr) {
    device_.reset(rtcNewDevice(nullptr));
    const auto count = [](void*, ssize_t more, bool) {
      device_bytes += more;
      return true;
    };
    rtcSetDeviceMemoryMonitorFunction(device_.get(), count, nullptr);
  }
  return device_.get();
}

void SceneBuilder::Warn(std::string_view text) const {
  if (*log_) (*log_)(1, text);
}

void SceneBuilder::Depend(scene::PluginId id) {
  if (recording_.empty()) return;
  const scene::Instance* instance = snapshot_.Find(id);
  recording_.back().instances.emplace_back(id, instance != nullptr ? instance->revision : 0);
}

bool SceneBuilder::UpToDate(const Dependencies& dependencies, double time) const {
  if (dependencies.animated && time != request_->time) return false;
  for (const auto& [id, revision] : dependencies.instances) {
    const scene::Instance* instance = snapshot_.Find(id);
    if ((instance != nullptr ? instance->revision : 0) != revision) return false;
  }
  for (const Dependencies::File& file : dependencies.files) {
    std::error_code error;
    const auto now = std::filesystem::last_write_time(file.path, error);
    if ((error ? std::filesystem::file_time_type{} : now) != file.time) return false;
  }
  return true;
}

template <class Function>
void SceneBuilder::ForEachCache(Function function) {
  function(textures_);
  function(materials_);
  function(sources_);
  function(lights_);
  function(cameras_);
  function(uvw_gens_);
  function(bitmaps_);
  function(volumes_);
  function(channels_);
}

template <class T>
std::shared_ptr<const T> SceneBuilder::Get(Cache<T>& cache, scene::PluginId id,
                                           std::unique_ptr<T> (*scene::Evaluation::*role)(const Inputs&)) {
  Depend(id);
  const scene::Instance* instance = snapshot_.Find(id);
  if (instance == nullptr || instance->type == nullptr || instance->type->evaluation.*role == nullptr)
    return nullptr;
  if (std::find(in_progress_.begin(), in_progress_.end(), id) != in_progress_.end()) {
    Warn(fmt::format("{}: a chain of references leads back to it and is cut", instance->name));
    return nullptr;
  }
  Cached<T>& cached = cache[id];
  if (cached.used_in != build_ && (cached.used_in == 0 || !UpToDate(cached.dependencies, cached.time))) {
    in_progress_.push_back(id);
    recording_.emplace_back();
    recording_.back().instances.emplace_back(id, instance->revision);
    std::unique_ptr<T> made;
    try {
      made = (instance->type->evaluation.*role)(InstanceInputs(*this, *instance));
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) {
      Warn(fmt::format("{}: {}", instance->name, error.what()));
    }
    in_progress_.pop_back();
    // Looked up again: resolving references may have moved the entry.
    Cached<T>& entry = cache[id];
    entry.object = HoldTogether<T>(std::move(made), recording_.back().parts);
    recording_.back().parts.clear();
    entry.dependencies = std::move(recording_.back());
    entry.time = request_->time;
    recording_.pop_back();
  } else if (cached.used_in != build_) {
    // What it points to is in use as well, and as up to date as itself.
    const auto parts = cached.dependencies.instances;
    ForEachCache([&](auto& each) {
      for (const auto& [part, revision] : parts) {
        if (const auto found = each.find(part); found != each.end()) found->second.used_in = build_;
      }
    });
  }
  Cached<T>& entry = cache[id];
  entry.used_in = build_;
  if (!recording_.empty()) {
    Dependencies& outer = recording_.back();
    const Dependencies& own = entry.dependencies;
    outer.instances.insert(outer.instances.end(), own.instances.begin(), own.instances.end());
    outer.files.insert(outer.files.end(), own.files.begin(), own.files.end());
    outer.animated = outer.animated || own.animated;
    outer.parts.push_back(entry.object);
  }
  return entry.object;
}

template std::shared_ptr<const UvwGen> SceneBuilder::Get(
    Cache<UvwGen>&, scene::PluginId, std::unique_ptr<UvwGen> (*scene::Evaluation::*)(const Inputs&));
template std::shared_ptr<const Bitmap> SceneBuilder::Get(
    Cache<Bitmap>&, scene::PluginId, std::unique_ptr<Bitmap> (*scene::Evaluation::*)(const Inputs&));
template std::shared_ptr<const Texture> SceneBuilder::Get(
    Cache<Texture>&, scene::PluginId, std::unique_ptr<Texture> (*scene::Evaluation::*)(const Inputs&));
template std::shared_ptr<const Material> SceneBuilder::Get(
    Cache<Material>&, scene::PluginId, std::unique_ptr<Material> (*scene::Evaluation::*)(const Inputs&));
template std::shared_ptr<const GeometrySource> SceneBuilder::Get(
    Cache<GeometrySource>&, scene::PluginId,
    std::unique_ptr<GeometrySource> (*scene::Evaluation::*)(const Inputs&));

template <class T>
void SceneBuilder::Evict(Cache<T>& cache) {
  std::erase_if(cache, [this](const auto& entry) { return entry.second.used_in != build_; });
}

void SceneBuilder::Begin(const scene::Scene& scene, const BuildRequest& request, const Log& log) {
  request_ = &request;
  log_ = &log;
  ++build_;
  meshes_built_ = 0;
  in_progress_.clear();
  recording_.clear();
  snapshot_.Update(scene);
}

Bounds3 SceneBuilder::GeometryBounds(const scene::Scene& scene, const BuildRequest& request,
                                     scene::PluginId geometry) {
  const Log silent;
  Begin(scene, request, silent);
  const auto source = Get(sources_, geometry, &scene::Evaluation::geometry);
  return source != nullptr ? source->mesh().bounds() : Bounds3{};
}

std::shared_ptr<const RenderScene> SceneBuilder::Build(const scene::Scene& scene, const BuildRequest& request,
                                                       const Log& log) {
  Begin(scene, request, log);

  auto out = std::make_shared<RenderScene>();
  out->change_index = snapshot_.change_index();
  ReadSettings(out.get());
  for (const scene::PluginId id : snapshot_.ids()) {
    const scene::Instance* instance = snapshot_.Find(id);
    if (instance == nullptr || instance->type == nullptr) continue;
    if (instance->type->evaluation.light != nullptr) {
      if (auto light = Get(lights_, id, &scene::Evaluation::light)) {
        out->lights.push_back(std::move(light));
        out->light_ids.push_back(id);
      }
    } else if (instance->type->is_object) {
      AddObject(*instance, out.get());
    }
  }
  ChooseCamera(out.get());
  if (!IsBlack(out->settings.background)) {
    out->lights.push_back(MakeDome({.radiance = out->settings.background}));
  }
  ForEachCache([this](auto& cache) { Evict(cache); });
  std::erase_if(meshes_, [this](const auto& entry) { return !sources_.contains(entry.first); });
  out->Finish(Device());
  Measure(out.get());
  return out;
}

void SceneBuilder::ReadSettings(RenderScene* out) {
  RenderSettings& s = out->settings;
  for (const scene::PluginId id : snapshot_.ids()) {
    const scene::Instance* instance = snapshot_.Find(id);
    if (instance == nullptr || instance->type == nullptr) continue;
    const std::string_view type = instance->type->name;
    const InstanceInputs in(*this, *instance);
    if (type == "SettingsImage") {
      s.width = in.Int("width");
      s.height = in.Int("height");
      s.box_filter = in.Int("pixelFilter") == 0;
      s.filter_radius = in.Float("filterRadius");
    } else if (type == "SettingsSampler") {
      s.samples = std::max(1, in.Int("samples"));
      s.time_limit = std::max(0.0f, in.Float("timeLimit"));
      s.seed = static_cast<uint32_t>(in.Int("seed"));
      s.bucket_size = std::clamp(in.Int("bucketSize"), 4, 1024);
    } else if (type == "SettingsIntegrator") {
      s.max_depth = std::max(0, in.Int("maxDepth"));
      s.min_depth = std::max(0, in.Int("minDepth"));
      s.clamp = std::max(0.0f, in.Float("clamp"));
      out->channel = Get(channels_, in.Reference("channel").id, &scene::Evaluation::channel);
    } else if (instance->type->element != 0) {
      const Element* element = FindElement(static_cast<ElementType>(instance->type->element));
      if (element != nullptr && in.Bool("enabled")) out->layers |= element->layers;
    } else if (type == "SettingsEnvironment") {
      s.background = in.Color("background");
    }
  }
}

std::shared_ptr<const MeshAccel> SceneBuilder::GetMesh(scene::PluginId id) {
  std::shared_ptr<const GeometrySource> source = Get(sources_, id, &scene::Evaluation::geometry);
  if (source == nullptr) return nullptr;
  std::shared_ptr<const MeshAccel>& accel = meshes_[id];
  if (accel == nullptr || accel->source != source) {
    auto built = std::make_shared<MeshAccel>();
    built->scene = BuildMeshScene(Device(), source->mesh());
    built->source = std::move(source);
    accel = std::move(built);
    ++meshes_built_;
  }
  return accel;
}

void SceneBuilder::AddObject(const scene::Instance& instance, RenderScene* out) {
  const InstanceInputs in(*this, instance);
  if (!in.Bool("visible")) return;
  SceneObject object;
  object.accel = GetMesh(in.Reference("geometry").id);
  if (object.accel == nullptr) return;
  object.transform = in.Transform("transform");
  const float det = Determinant(object.transform.matrix);
  if (!IsFinite(object.transform) || !std::isfinite(det) || det == 0) {
    in.Warn("its transform is singular or not finite, so it is left out");
    return;
  }
  const bool own_material = instance.type->evaluation.material != nullptr;
  std::shared_ptr<const Material> material =
      Get(materials_, own_material ? instance.id : in.Reference("material").id, &scene::Evaluation::material);
  if (material == nullptr) {
    if (own_material) return;
    material = default_material_;
  }
  if (!own_material) {
    auto volume = Get(volumes_, in.Reference("volume").id, &scene::Evaluation::volume);
    object.volume = volume.get();
    if (volume != nullptr) out->keep_alive.push_back(std::move(volume));
  }
  object.material = material.get();
  out->keep_alive.push_back(std::move(material));
  object.id = instance.id;
  if (!own_material) object.material_id = in.Reference("material").id;
  object.visible_to_camera = in.Bool("visibleToCamera");
  if ((out->layers & LayerBit(Layer::kVelocity)) != 0) {
    out->motions.push_back(in.MotionOf("transform", object.transform));
  }
  out->objects.push_back(std::move(object));
}

void SceneBuilder::Measure(RenderScene* out) const {
  MemoryUse& memory = out->memory;
  memory.acceleration = static_cast<uint64_t>(std::max<int64_t>(device_bytes, 0));
  for (const auto& [id, accel] : meshes_) {
    const Mesh& mesh = accel->source->mesh();
    const std::string_view type = snapshot_.Find(id)->type->name;
    uint64_t& kind = type == "GeomMayaHair"         ? memory.hair
                     : type == "GeomParticleSystem" ? memory.particles
                                                    : memory.meshes;
    kind += mesh.byte_count();
  }
}

void SceneBuilder::ChooseCamera(RenderScene* out) {
  std::vector<scene::PluginId> candidates{request_->camera};
  for (const scene::PluginId id : snapshot_.ids()) {
    const scene::Instance* instance = snapshot_.Find(id);
    if (instance != nullptr && instance->type != nullptr && instance->type->name == "SettingsEnvironment") {
      candidates.push_back(InstanceInputs(*this, *instance).Reference("camera").id);
    }
  }
  candidates.insert(candidates.end(), snapshot_.ids().begin(), snapshot_.ids().end());
  for (const scene::PluginId id : candidates) {
    out->camera = Get(cameras_, id, &scene::Evaluation::camera);
    if (out->camera == nullptr) continue;
    out->camera_name = snapshot_.Find(id)->name;
    return;
  }
}

}  // namespace kiln::engine::render
