// Entry points that ask what shows at a pixel.
#include <chrono>
#include <cmath>
#include <vector>

#include "engine/api/blocks.h"
#include "engine/api/registry.h"
#include "engine/api/render_overrides.h"
#include "engine/api/renderer_object.h"
#include "engine/render/picker.h"

namespace kiln::engine::api {
namespace {

// Enough for any list that somebody looks through.
constexpr size_t kMostPicks = 65536;

render::Deadline DeadlineIn(int32_t milliseconds) {
  if (milliseconds < 0) return {};
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

// A material by the low bits of its plugin's ID, so that none is 0.
int32_t MaterialNumber(scene::PluginId material) {
  return material == scene::kNoPlugin ? 0 : static_cast<int32_t>(material & INT32_MAX);
}

KilnPickResult* NewResult(const std::vector<render::PickedInstance>& picks) {
  const size_t count = std::max<size_t>(picks.size(), 1);
  auto* result = reinterpret_cast<KilnPickResult*>(
      NewBlock<char>(offsetof(KilnPickResult, entries) + count * sizeof(KilnPick)));
  result->count = static_cast<uint32_t>(picks.size());
  result->reserved = 0;
  for (size_t i = 0; i < picks.size(); ++i) {
    result->entries[i] = {picks[i].instance, picks[i].distance, MaterialNumber(picks[i].material), 0};
  }
  return result;
}

}  // namespace

std::optional<render::SceneView> Renderer::LastView() const {
  const SessionPtr last = session();
  return last ? last->view() : std::nullopt;
}

std::optional<render::SceneView> Renderer::View(const render::Deadline& deadline) {
  render::RenderOptions options = MakeRenderOptions();
  if (!ApplyOverrides(scene, &options)) return {};
  std::optional<render::SceneView> view = LastView();
  if (view && (state() > render::State::kPreparing || IsCurrent(*view, options))) return view;
  return ThePicker().View(options, deadline);
}

bool Renderer::IsCurrent(const render::SceneView& view, const render::RenderOptions& options) const {
  return view.scene->change_index == ChangeIndex() && ShowTheSame(view.options, options);
}

render::Picker& Renderer::ThePicker() {
  const std::lock_guard lock(mutex_);
  if (!picker_) picker_ = std::make_unique<render::Picker>(scene);
  return *picker_;
}

extern "C" {

KilnPluginId Kiln_KilnRenderer_pickPluginByXY(KilnRendererHandle renderer, int32_t x, int32_t y,
                                              int32_t timeout) {
  return WithRenderer<KilnPluginId>(renderer, 0, [&](Renderer& r) -> KilnPluginId {
    const render::Deadline deadline = DeadlineIn(timeout);
    const auto view = r.View(deadline);
    if (!view) return 0;
    const Vec2 pixel{static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
    const auto picks = render::PickAlong(*view, pixel, 1, deadline);
    return picks.empty() ? 0 : picks.front().instance;
  });
}

int32_t Kiln_KilnRenderer_pickPluginsByXY(KilnRendererHandle renderer, double x, double y, int32_t timeout,
                                          int32_t max_results, KilnPickResult** result) {
  if (!result) return -1;
  *result = nullptr;
  return WithRenderer<int32_t>(renderer, -1, [&](Renderer& r) {
    const render::Deadline deadline = DeadlineIn(timeout);
    const auto view = r.View(deadline);
    if (!view) return -1;
    const Vec2 pixel{static_cast<float>(x), static_cast<float>(y)};
    const size_t limit = max_results > 0 ? static_cast<size_t>(max_results) : kMostPicks;
    const auto picks = render::PickAlong(*view, pixel, std::min(limit, kMostPicks), deadline);
    *result = NewResult(picks);
    return static_cast<int32_t>(picks.size());
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
