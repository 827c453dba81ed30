// How fast the engine traces: rays per second of a whole render, shading included, against Embree's own rate
// on the very same rays in the same scene.
//
//   engine_rays <scene> [side in pixels, 512] [samples, 16] [threads, one per core] [picture.ppm]
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "engine/formats/loader.h"
#include "engine/render/bucket_queue.h"
#include "engine/render/frame.h"
#include "engine/render/scene_builder.h"
#include "engine/render/threads.h"

namespace {

using namespace kiln::engine;
// Of all threads of the process, in seconds.
double ProcessorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// Renders every bucket on the workers; the rays of one sample per pixel are kept when `recorded` is given.
double RenderAll(const render::FrameRenderer& frame, int side, int samples, int workers, render::Film* film,
                 uint64_t* rays, std::vector<std::vector<render::Ray>>* recorded) {
  render::BucketQueue queue;
  queue.Fill(render::SpiralBuckets({0, 0, side, side}, 32));
  std::vector<render::TraceStatistics> statistics(workers);
  if (recorded != nullptr) recorded->assign(workers, {});
  const std::atomic<bool> never{false};
  const double begin = ProcessorSeconds();
  render::RunWorkers(workers, [&](int worker) {
    render::TraceStatistics own;
    if (recorded != nullptr) own.record = &(*recorded)[worker];
    render::Bucket bucket;
    while (queue.Next(&bucket)) frame.RenderBucket(bucket, 0, samples, never, film, &own);
    statistics[worker] = own;
  });
  const double seconds = ProcessorSeconds() - begin;
  *rays = 0;
  for (const auto& s : statistics) *rays += s.rays;
  return seconds;
}

// Traces recorded rays again with nothing around them.
double Retrace(const render::RenderScene& scene, const std::vector<std::vector<render::Ray>>& recorded) {
  const double begin = ProcessorSeconds();
  render::RunWorkers(static_cast<int>(recorded.size()), [&](int worker) {
    size_t met = 0;
    for (const render::Ray& ray : recorded[worker]) {
      render::Hit hit;
      met += scene.Intersect(ray, &hit) ? 1 : 0;
    }
    if (met > recorded[worker].size()) std::abort();
  });
  return ProcessorSeconds() - begin;
}

void WritePpm(const image::Image& image, const char* path) {
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr) return;
  std::fprintf(file, "P6\n%d %d\n255\n", image.width, image.height);
  for (size_t i = 0; i < image.pixel_count(); ++i) {
    for (int c = 0; c < 3; ++c) {
      const float v = std::clamp(image.pixels()[4 * i + c], 0.0f, 1.0f);
      const float encoded = v <= 0.0031308f ? 12.92f * v : 1.055f * std::pow(v, 1 / 2.4f) - 0.055f;
      std::fputc(static_cast<int>(encoded * 255 + 0.5f), file);
    }
  }
  std::fclose(file);
}

int Run(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: engine_rays <scene> [side] [samples] [threads] [picture.ppm]\n");
    return 2;
  }
  const auto number = [&](int i, int otherwise) { return argc > i ? std::atoi(argv[i]) : otherwise; };
  const int side = std::max(1, number(2, 512));
  const int samples = std::max(1, number(3, 16));
  const int workers = render::WorkerCount(number(4, 0));

  scene::Scene scene;
  const formats::LoadResult loaded = formats::LoadFile(scene, argv[1]);
  if (!loaded.ok()) {
    std::fprintf(stderr, "%s: %s\n", argv[1], loaded.text.c_str());
    return 1;
  }
  render::SceneBuilder builder;
  std::shared_ptr<const render::RenderScene> built;
  const double begin = ProcessorSeconds();
  render::RunInArena(workers, [&] {
    built = builder.Build(scene, {}, [](int level, std::string_view text) {
      std::fprintf(stderr, "log %d: %.*s\n", level, static_cast<int>(text.size()), text.data());
    });
  });
  if (built->camera == nullptr) {
    std::fprintf(stderr, "%s: no camera\n", argv[1]);
    return 1;
  }
  const double preparation = ProcessorSeconds() - begin;
  const render::FrameRenderer frame(built, side, side, {});
  render::Film film;
  film.Resize(side, side, false);
  uint64_t rays = 0;
  const double seconds = RenderAll(frame, side, samples, workers, &film, &rays, nullptr);
  const double rate = static_cast<double>(rays) / seconds;

  render::Film scratch;
  scratch.Resize(side, side, false);
  std::vector<std::vector<render::Ray>> recorded;
  uint64_t recorded_rays = 0;
  RenderAll(frame, side, 1, workers, &scratch, &recorded_rays, &recorded);
  Retrace(*built, recorded);
  const double limit = static_cast<double>(recorded_rays) / Retrace(*built, recorded);
  std::printf(
      "prepare %.3f s, render %.3f s, %.1f Mrays, %.2f Mrays/s; Embree alone %.2f Mrays/s; ratio %.2f "
      "(seconds of one core)\n",
      preparation, seconds, static_cast<double>(rays) * 1e-6, rate * 1e-6, limit * 1e-6, rate / limit);
  if (argc > 5) {
    const image::ImagePtr image(film.MakeImage());
    if (image != nullptr) WritePpm(*image, argv[5]);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return Run(argc, argv);
}
