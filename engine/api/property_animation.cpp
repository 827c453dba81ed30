// Entry points that drop key frames of the past.
#include <cmath>
#include <iterator>
#include <vector>

#include "engine/api/property_access.h"

namespace kiln::engine::api {
namespace {

using scene::Instance;
using scene::PluginClass;
using scene::PluginId;
using scene::Property;
using scene::PropertyState;
using scene::Scene;
using scene::Value;

constexpr uint64_t kAllCategories = ~uint64_t{0};

// What is to change about one property.
struct Past {
  const Property* property;
  std::vector<double> times;
  Value last;  // of the key frames that go, where none remains
};

std::vector<Past> PastOf(const Instance& instance, double time) {
  std::vector<Past> all;
  for (const auto& [property, state] : instance.values) {
    const auto end = state.keys.upper_bound(time);
    if (end == state.keys.begin()) continue;
    Past past{property, {}, {}};
    for (auto key = state.keys.begin(); key != end; ++key) past.times.push_back(key->first);
    if (end == state.keys.end()) past.last = std::prev(end)->second;
    all.push_back(std::move(past));
  }
  return all;
}

void Forget(Scene& scene, PluginId id, const Past& past) {
  // A plain value ends the animation, and a reference to nothing takes one key frame away.
  if (!past.last.Empty()) {
    scene.Set(id, past.property->name, past.last);
  } else {
    for (const double time : past.times) scene.Set(id, past.property->name, scene::PluginRef{}, time);
  }
}

int32_t ClearUpTo(KilnRendererHandle renderer, double time, uint64_t categories) {
  if (std::isnan(time)) return 1;
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    return ChangeScene(r, true, [&](Scene& scene) {
      for (const PluginClass* type : scene::AllClasses()) {
        if (categories != kAllCategories && !(type->categories & categories)) continue;
        for (const PluginId id : scene.Ids(type)) {
          for (const Past& past : PastOf(*scene.Find(id), time)) Forget(scene, id, past);
        }
      }
      return 0;
    });
  });
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_clearAllFrameValuesUpToTime(KilnRendererHandle renderer, double time) {
  return ClearUpTo(renderer, time, kAllCategories);
}

int32_t Kiln_KilnRenderer_clearFrameValuesUpToTime(KilnRendererHandle renderer, double time,
                                                   uint64_t categories) {
  return ClearUpTo(renderer, time, categories);
}

}  // extern "C"
}  // namespace kiln::engine::api
