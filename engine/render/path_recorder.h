// What a path tells about itself while it is traced: nothing, or what a film's layers keep.
#pragma once

#include "engine/render/bsdf.h"
#include "engine/render/camera.h"
#include "engine/render/layers.h"
#include "engine/render/render_scene.h"

namespace kiln::engine::render {

// For a picture without layers; every call disappears.
struct NoRecorder {
  static void Surface(const RenderScene&, const SurfacePoint&, const Hit&, const CameraRay&) {}
  static void Closure(const SurfacePoint&, const Bsdf&, const BsdfView&) {}
  static void Scattered(const SurfacePoint&, const Bsdf&, const BsdfView&, const BsdfSample&) {}
  static void Met(Color, int, Layer) {}
  static void Sampled(Color, Color, int, const SurfacePoint&, const Bsdf&, const BsdfView&, Vec3, Color) {}
};

class PathRecorder {
 public:
  explicit PathRecorder(PathLayers* layers) : layers_(*layers), splits_(layers->Wants(kLightLayers)) {}

  // The first surface that does not let the ray pass, and what its material made of it.
  void Surface(const RenderScene& scene, const SurfacePoint& point, const Hit& hit, const CameraRay& camera);
  void Closure(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view);
  // How the path left it.
  void Scattered(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view, const BsdfSample& sample);

  // Light that a ray ran into after so many bounces; `seen` is its layer when the camera itself sees it.
  void Met(Color light, int bounces, Layer seen) {
    if (!splits_) return;
    if (bounces == 0) {
      layers_[seen] += light;
    } else {
      Add(light, first_, bounces == 1);
    }
  }
  // Light of a lamp that was sampled from the surface after so many bounces, and what it would be if nothing
  // stood between. `f` is what the closure makes of light along wi.
  void Sampled(Color light, Color unshadowed, int bounces, const SurfacePoint& point, const Bsdf& bsdf,
               const BsdfView& view, Vec3 wi, Color f);

 private:
  // How much of what a first surface scatters its diffuse lobes do, and where the rest went.
  struct Split {
    Color diffuse;
    bool transmitted = false;
    bool mirrored = false;  // by a delta
  };
  static Split SplitOf(const SurfacePoint& point, const Bsdf& bsdf, const BsdfView& view, Vec3 wi, Color f);
  void Add(Color light, const Split& split, bool direct);

  PathLayers& layers_;
  const bool splits_;  // whether any layer of light is wanted
  Split first_;
};

}  // namespace kiln::engine::render
