// Rays for picks, and the scene that they are shot into.
#include "engine/render/picker.h"

#include <algorithm>
#include <shared_mutex>
#include <unordered_set>

#include "engine/render/image_window.h"
#include "engine/render/render_job.h"

namespace kiln::engine::render {
namespace {

using Clock = std::chrono::steady_clock;

// Surfaces that one ray may meet; fields of hair have many.
constexpr int kMaxSurfaces = 1 << 17;
// The clock is looked at once in so many of them.
constexpr int kSurfacesPerLook = 64;

bool IsOver(const Deadline& deadline) {
  return deadline && Clock::now() >= *deadline;
}

bool Contains(const Bucket& area, Vec2 pixel) {
  return pixel.x >= static_cast<float>(area.x) && pixel.x < static_cast<float>(area.x + area.width) &&
         pixel.y >= static_cast<float>(area.y) && pixel.y < static_cast<float>(area.y + area.height);
}

// Lights with a form of their own, which no surface is.
std::vector<PickedInstance> MeetLights(const RenderScene& scene, const CameraRay& ray) {
  std::vector<PickedInstance> met;
  for (const uint32_t index : scene.shape_lights()) {
    if (index >= scene.light_ids.size()) continue;
    const Light& light = *scene.lights[index];
    LightHit hit;
    if (!light.visible_to_camera()) continue;
    if (!light.Intersect(ray.origin, ray.direction, ray.near, ray.far, &hit)) continue;
    met.push_back({scene.light_ids[index], hit.distance, scene::kNoPlugin});
  }
  return met;
}

// Objects, each at its nearest surface that shows.
std::vector<PickedInstance> MeetObjects(const RenderScene& scene, const CameraRay& camera, size_t limit,
                                        const Deadline& deadline) {
  std::vector<PickedInstance> met;
  std::unordered_set<scene::PluginId> known;
  Ray ray{camera.origin, camera.near, camera.direction, camera.far};
  double travelled = 0;
  SurfacePoint point;
  Hit hit;
  for (int i = 0; i < kMaxSurfaces && scene.Intersect(ray, &hit); ++i) {
    if (i % kSurfacesPerLook == kSurfacesPerLook - 1 && IsOver(deadline)) break;
    const SceneObject& object = scene.objects[hit.object];
    scene.MakeSurfacePoint(hit, ray.direction, 0, 0, &point);
    const bool shows = object.visible_to_camera && (object.opaque || object.material->Opacity(point) > 0);
    if (shows && known.insert(object.id).second) {
      met.push_back({object.id, travelled + hit.distance, object.material_id});
      if (limit != 0 && met.size() >= limit) break;
    }
    travelled += hit.distance;
    ray = {point.RayOrigin(ray.direction), 0, ray.direction, ray.far - hit.distance};
  }
  return met;
}

// Says nothing to nobody: what is wrong with a scene is told when it is rendered.
class SilentListener final : public RenderListener {
 public:
  void OnState(State, State) override {}
  bool WantsBuckets() const override { return false; }
  bool WantsBucketImages() const override { return false; }
  bool WantsImageUpdates() const override { return false; }
  bool WantsUpdatedImages() const override { return false; }
  void OnBucketInit(const Bucket&) override {}
  void OnBucketReady(const Bucket&, image::Image*) override {}
  void OnImageUpdated(image::Image*, uint64_t, int) override {}
  void OnProgress(std::string_view, int, int) override {}
  void OnLog(int, std::string_view) override {}
};

uint64_t ChangeIndex(const scene::Scene& scene) {
  const std::shared_lock lock(scene.mutex);
  return scene.change_index();
}

}  // namespace

bool ShowTheSame(const RenderOptions& a, const RenderOptions& b) {
  return a.width == b.width && a.height == b.height && a.region == b.region && a.crop == b.crop &&
         a.camera == b.camera && a.time == b.time && a.scene_folder == b.scene_folder;
}

std::vector<PickedInstance> PickAlong(const SceneView& view, Vec2 pixel, size_t limit,
                                      const Deadline& deadline) {
  if (!Contains(view.area, pixel)) return {};
  const RenderScene& scene = *view.scene;
  const ImageWindow window(view.width, view.height, view.options.crop);
  const CameraRay ray = scene.camera->Generate(window.ToScreen(pixel), window.aspect, {0.5F, 0.5F});
  std::vector<PickedInstance> met = MeetObjects(scene, ray, limit, deadline);
  const std::vector<PickedInstance> lights = MeetLights(scene, ray);
  met.insert(met.end(), lights.begin(), lights.end());
  std::ranges::stable_sort(met, {}, &PickedInstance::distance);
  if (limit != 0 && met.size() > limit) met.resize(limit);
  return met;
}

Picker::~Picker() {
  if (thread_.joinable()) thread_.join();
}

std::optional<SceneView> Picker::View(const RenderOptions& options, const Deadline& deadline) {
  std::unique_lock lock(mutex_);
  const auto is_wanted = [&] { return ShowTheSame(wanted_, options); };
  if (!building_ && is_wanted() && view_ && view_->scene->change_index == ChangeIndex(scene_)) return view_;
  while (true) {
    if (!building_) {
      if (thread_.joinable()) thread_.join();
      wanted_ = options;
      thread_ = std::thread([this, options] { Build(options); });
      building_ = true;
    }
    // The scene may change as fast as it is built, so what was built for this call is taken in any case.
    const bool own = is_wanted();
    const auto done = [this] { return !building_; };
    if (!deadline) {
      built_.wait(lock, done);
    } else if (!built_.wait_until(lock, *deadline, done)) {
      return std::nullopt;
    }
    if (own && is_wanted()) return view_;
  }
}

void Picker::Build(RenderOptions options) {
  std::optional<SceneView> view;
  try {
    RenderJob job;
    SilentListener listener;
    job.options = std::move(options);
    if (BuildJob(scene_, builder_, listener, &job) == RenderError::kNone) {
      view = SceneView{std::move(job.scene), job.width, job.height, job.area, std::move(job.options)};
    }
  } catch (const std::exception&) {
    view.reset();  // no memory, or nothing that can be built: there is nothing to pick
  }
  const std::scoped_lock lock(mutex_);
  view_ = std::move(view);
  building_ = false;
  built_.notify_all();
}

}  // namespace kiln::engine::render
