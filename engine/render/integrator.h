// Unidirectional path tracing: light sampling and scattering combined by multiple importance sampling.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/render/camera_samples.h"
#include "engine/render/layers.h"
#include "engine/render/render_scene.h"
#include "engine/render/sampler.h"

namespace kiln::engine::render {

// What tracing leaves behind, one per worker.
struct TraceStatistics {
  uint64_t rays = 0;
  uint64_t dropped = 0;  // samples that were not finite
  std::vector<Ray>* record =
      nullptr;  // every ray is appended when there is one; shadow rays have a finite far or not
};

// How direct light is found. The two alone give the same mean as both together, with more noise.
enum class LightStrategy { kBoth, kLightsOnly, kScatteringOnly };

struct PathResult {
  Color radiance;
  float alpha = 0;  // whether anything but background was met
};

class PathIntegrator {
 public:
  explicit PathIntegrator(const RenderScene& scene, LightStrategy strategy = LightStrategy::kBoth)
      : scene_(scene), strategy_(strategy) {}

  // The radiance along a camera ray; `spread` is the angle of a pixel.
  PathResult Trace(const CameraSample& sample, float spread, TraceStatistics* statistics) const;
  // The same path, and what it leaves in the layers that `layers` wants; the others are left as they were or
  // not. The light of the light layers adds up to the radiance.
  PathResult Trace(const CameraSample& sample, float spread, TraceStatistics* statistics,
                   PathLayers* layers) const;

 private:
  const RenderScene& scene_;
  LightStrategy strategy_;
};

}  // namespace kiln::engine::render
