// Scenes for the renderer's tests, built from properties as a host would, and their renders.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/render/film.h"
#include "engine/render/frame.h"
#include "engine/render/scene_builder.h"
#include "engine/render/session.h"
#include "engine/scene/scene.h"

namespace kiln::engine::render::test {

using image::ImagePtr;
using scene::PluginId;
using scene::PluginRef;
using scene::Value;

// A listener that remembers what it was told.
class Recorder : public RenderListener {
 public:
  bool wants_buckets = true;
  bool wants_images = true;

  void OnState(State from, State to) override {
    const std::scoped_lock lock(mutex);
    states.emplace_back(from, to);
    told.notify_all();
  }
  bool WantsBuckets() const override { return wants_buckets; }
  bool WantsBucketImages() const override { return wants_images; }
  bool WantsImageUpdates() const override { return true; }
  bool WantsUpdatedImages() const override { return wants_images; }
  void OnBucketInit(const Bucket& bucket) override {
    const std::scoped_lock lock(mutex);
    begun.push_back(bucket);
  }
  void OnBucketReady(const Bucket& bucket, image::Image* image) override {
    const std::scoped_lock lock(mutex);
    ready.push_back(bucket);
    bucket_images.emplace_back(image);
  }
  void OnImageUpdated(image::Image* image, uint64_t, int samples) override {
    const std::scoped_lock lock(mutex);
    images.emplace_back(image);
    passes.push_back(samples);
    told.notify_all();
  }
  void OnProgress(std::string_view, int done, int total) override {
    const std::scoped_lock lock(mutex);
    progress.emplace_back(done, total);
  }
  void OnLog(int level, std::string_view text) override {
    const std::scoped_lock lock(mutex);
    logs.emplace_back(level, text);
  }
  // True once the condition holds; looks again at each state and picture.
  template <class Condition>
  bool Await(Condition condition) {
    std::unique_lock lock(mutex);
    return told.wait_for(lock, std::chrono::seconds(20), condition);
  }
  bool AwaitState(State state) {
    return Await([&] { return !states.empty() && states.back().second == state; });
  }

  std::mutex mutex;
  std::condition_variable told;
  std::vector<std::pair<State, State>> states;
  std::vector<Bucket> begun, ready;
  std::vector<ImagePtr> images, bucket_images;
  std::vector<int> passes;
  std::vector<std::pair<int, int>> progress;
  std::vector<std::pair<int, std::string>> logs;
};

inline Transform Translate(Vec3 to) {
  return {Matrix{}, {to.x, to.y, to.z}};
}
// At `from`, with -Z towards `to`.
inline Transform LookAt(Vec3 from, Vec3 to) {
  const Vec3 back = Normalize(from - to);
  const Vec3 guess = std::abs(back.y) > 0.99f ? Vec3{0, 0, -1} : Vec3{0, 1, 0};
  const Vec3 right = Normalize(Cross(guess, back));
  return {Matrix{right, Cross(back, right), back}, {from.x, from.y, from.z}};
}

class SceneKit {
 public:
  PluginId Make(std::string_view type,
                std::initializer_list<std::pair<std::string_view, Value>> values = {}) {
    PluginId id = scene::kNoPlugin;
    const scene::PluginClass* found = scene::FindClass(type);
    EXPECT_NE(found, nullptr) << type;
    if (found == nullptr) return id;
    EXPECT_EQ(scene.Create(*found, {}, &id), scene::CreateStatus::kOk);
    for (const auto& [property, value] : values) EXPECT_TRUE(scene.Set(id, property, value)) << property;
    return id;
  }
  PluginId Settings(int width, int height, int samples, int max_depth = 12) {
    Make("SettingsImage", {{"width", width}, {"height", height}, {"pixelFilter", 0}});
    sampler = Make("SettingsSampler", {{"samples", samples}, {"bucketSize", 16}});
    return Make("SettingsIntegrator", {{"maxDepth", max_depth}});
  }
  PluginId Camera(Vec3 from, Vec3 to, float fov = 40) {
    return Make("CameraPerspective", {{"transform", LookAt(from, to)}, {"fov", fov}});
  }
  // A camera that sees a patch of side 2 * half around `to`, along the line from `from`.
  PluginId PatchCamera(Vec3 from, Vec3 to, float half) {
    return Make("CameraOrthographic", {{"transform", LookAt(from, to)}, {"height", 2 * half}});
  }
  PluginId Diffuse(Color color, Color emission = {}) {
    return Make("MaterialPrincipled",
                {{"baseColor", color}, {"specular", 0.0f}, {"roughness", 1.0f}, {"emission", emission}});
  }
  PluginId Mesh(std::vector<Vec3> vertices, std::vector<int32_t> faces) {
    return Make("GeomStaticMesh", {{"vertices", scene::VectorArray(std::move(vertices))},
                                   {"faces", scene::IntArray(std::move(faces))}});
  }
  PluginId Put(PluginId mesh, PluginId material, const Transform& transform = {}) {
    return Make("GeomInstance",
                {{"geometry", PluginRef{mesh}}, {"material", PluginRef{material}}, {"transform", transform}});
  }
  // A quad a, b, c, d; its front sees them counter-clockwise.
  PluginId Quad(Vec3 a, Vec3 b, Vec3 c, Vec3 d, PluginId material) {
    return Put(Mesh({a, b, c, d}, {0, 1, 2, 0, 2, 3}), material);
  }
  // A sphere of `radius` around the origin, of 2 * n * n quads; inscribed, so a little smaller.
  PluginId Sphere(float radius, int n) {
    std::vector<Vec3> vertices;
    std::vector<int32_t> faces;
    for (int i = 0; i <= n; ++i) {
      for (int j = 0; j <= 2 * n; ++j) {
        const float theta = kPi * static_cast<float>(i) / static_cast<float>(n);
        const float phi = kPi * static_cast<float>(j) / static_cast<float>(n);
        vertices.push_back(
            Vec3{std::sin(theta) * std::cos(phi), std::cos(theta), std::sin(theta) * std::sin(phi)} * radius);
      }
    }
    const int row = 2 * n + 1;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < 2 * n; ++j) {
        const int a = i * row + j;
        if (i > 0) faces.insert(faces.end(), {a, a + 1, a + row + 1});
        if (i + 1 < n) faces.insert(faces.end(), {a, a + row + 1, a + row});
      }
    }
    return Mesh(std::move(vertices), std::move(faces));
  }

  // Renders in this thread alone and gives the image.
  ImagePtr Render(LightStrategy strategy = LightStrategy::kBoth, TraceStatistics* statistics = nullptr) {
    const auto built = Build();
    if (built == nullptr || built->camera == nullptr) return nullptr;
    const RenderSettings& s = built->settings;
    const FrameRenderer frame(built, s.width, s.height, {}, strategy);
    Film film;
    film.Resize(s.width, s.height, false);
    TraceStatistics own;
    const std::atomic<bool> never{false};
    frame.RenderBucket({0, 0, s.width, s.height}, 0, s.samples, never, &film,
                       statistics != nullptr ? statistics : &own);
    return ImagePtr(film.MakeImage());
  }
  std::shared_ptr<const RenderScene> Build(double time = 0) {
    return builder.Build(scene, {.time = time},
                         [this](int level, std::string_view text) { logs.emplace_back(level, text); });
  }

  scene::Scene scene;
  SceneBuilder builder;
  PluginId sampler = scene::kNoPlugin;
  std::vector<std::pair<int, std::string>> logs;
};

inline Color Mean(const image::Image& image) {
  double sum[3] = {};
  for (size_t i = 0; i < image.pixel_count(); ++i) {
    for (int c = 0; c < 3; ++c) sum[c] += image.pixels()[4 * i + c];
  }
  const auto n = static_cast<double>(image.pixel_count());
  return {static_cast<float>(sum[0] / n), static_cast<float>(sum[1] / n), static_cast<float>(sum[2] / n)};
}

inline bool SamePixels(const image::Image& a, const image::Image& b) {
  return a.width == b.width && a.height == b.height &&
         std::equal(a.pixels(), a.pixels() + 4 * a.pixel_count(), b.pixels());
}

}  // namespace kiln::engine::render::test
