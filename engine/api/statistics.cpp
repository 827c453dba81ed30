// The entry point of a render's statistics.
#include <algorithm>
#include <array>
#include <cstring>

#include "engine/api/blocks.h"
#include "engine/api/processor.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/render/render_scene.h"
#include "engine/render/texture_cache.h"

namespace kiln::engine::api {
namespace {

// The places of the counters behind the devices that are filled; what the engine does not have stays 0.
enum Counter { kTextures = 0, kGeometry = 1, kHair = 7, kParticles = 8, kTotal = 10 };
using Counters = std::array<uint64_t, KILN_STATISTICS_COUNTERS>;

Counters CountBytes(const render::MemoryUse& memory) {
  Counters counters{};
  counters[kTextures] = render::TextureBytes();
  counters[kGeometry] = memory.meshes + memory.acceleration;
  counters[kHair] = memory.hair;
  counters[kParticles] = memory.particles;
  for (int i = 0; i < kTotal; ++i) counters[kTotal] += counters[i];
  return counters;
}

KilnStatisticsHead MakeHead(const render::RenderStatistics& statistics, const render::Bucket& area,
                            float noise_threshold) {
  KilnStatisticsHead head{};
  const double paths = static_cast<double>(statistics.samples) * area.width * area.height;
  head.pathsPerSecond = statistics.seconds > 0 ? paths / statistics.seconds : 0;
  head.elapsedTicks = static_cast<uint32_t>(std::clamp(statistics.seconds * 1000, 0.0, 4294967295.0));
  // A pass is one sample of every pixel.
  head.sampleLevel = statistics.samples;
  head.numPasses = statistics.samples;
  head.currentNoiseThreshold = noise_threshold;
  head.device_count = 1;
  return head;
}

// Everything in one block, the device's name at its end.
KilnStatisticsHead* NewStatistics(const render::RenderStatistics& statistics, const render::SceneView& view,
                                  float noise_threshold) {
  const KilnStatisticsHead head = MakeHead(statistics, view.area, noise_threshold);
  const Counters counters = CountBytes(view.scene->memory);
  const MemoryState memory = ReadMemoryState();
  const std::string& name = TheProcessor().name;
  const size_t device_at = KILN_STATISTICS_DEVICES_OFFSET;
  const size_t counters_at = device_at + sizeof(KilnStatisticsDevice);
  const size_t name_at = counters_at + sizeof(Counters);
  char* block = NewBlock<char>(name_at + name.size() + 1);
  const KilnStatisticsDevice device{block + name_at, TakeUtilization(), memory.free, memory.total, 0};
  std::memcpy(block, &head, device_at);
  std::memcpy(block + device_at, &device, sizeof(device));
  std::memcpy(block + counters_at, counters.data(), sizeof(Counters));
  std::memcpy(block + name_at, name.c_str(), name.size() + 1);
  return reinterpret_cast<KilnStatisticsHead*>(block);
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_getRTStatistics(KilnRendererHandle renderer, KilnStatisticsHead** statistics) {
  if (!statistics) return 0;
  *statistics = nullptr;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const auto current = r.Statistics();
    const auto view = r.LastView();
    if (!current || !view) return 0;
    const float threshold = r.WithSettings([](const Settings& settings) { return settings.noise_threshold; });
    *statistics = NewStatistics(*current, *view, threshold);
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
