// One picture to render: the frozen scene, and which pixels of it.
#pragma once

#include <memory>

#include "engine/render/frame.h"
#include "engine/render/scene_builder.h"
#include "engine/render/session.h"

namespace kiln::engine::render {

struct RenderJob {
  RenderOptions options;
  std::shared_ptr<const RenderScene> scene;
  std::unique_ptr<FrameRenderer> frame;
  Bucket area;  // the pixels to render
  int width = 0, height = 0;
  int workers = 1;
};

// Freezes the scene by the job's options and fills in the rest. What is wrong is logged as well; the job is
// then as it was. Throws what building throws.
RenderError BuildJob(const scene::Scene& scene, SceneBuilder& builder, RenderListener& listener,
                     RenderJob* job);

// What the options say, or else the scene. The samples are INT_MAX where none are the last.
int SampleLimit(const RenderOptions& options, const RenderSettings& settings);
double TimeLimit(const RenderOptions& options, const RenderSettings& settings);

}  // namespace kiln::engine::render
