// How entry points reach an instance and its properties, and what they answer when they change one.
#pragma once

#include <mutex>
#include <shared_mutex>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/api/value_stream_memory.h"

namespace kiln::engine::api {

// What the setters of properties answer. Codes that cross the boundary never change.
enum class PropertyStatus : int32_t {
  kOk = 0,
  kFailed = -1,           // no such renderer, or no memory
  kUnknownPlugin = -2,    // the instance
  kUnknownProperty = -3,  // of the instance's class
  kWrongType = -4,        // the declared type cannot be made of the value
  kRefusedValue = -5,     // a list of another than the fixed length, or a reference to nothing in the scene
  kMalformed = -6,        // no readable value stream, or no text
  kBadTime = -7,          // a key frame at a time that is not finite
};

// What the body makes of the instance under the scene's lock, or the failure when there is none.
template <class R, class F>
R WithInstance(KilnRendererHandle renderer, scene::PluginId id, R failure, F&& body) noexcept {
  return WithRenderer<R>(renderer, failure, [&](Renderer& r) -> R {
    const std::shared_lock lock(r.scene.mutex);
    const scene::Instance* instance = r.scene.Find(id);
    return instance ? static_cast<R>(body(r, *instance)) : failure;
  });
}

// The same for a property of an instance.
template <class R, class F>
R WithProperty(KilnRendererHandle renderer, scene::PluginId id, const char* name, R failure,
               F&& body) noexcept {
  return WithInstance<R>(renderer, id, failure, [&](Renderer& r, const scene::Instance& instance) -> R {
    const scene::Property* property = name ? instance.type->FindProperty(name) : nullptr;
    return property ? static_cast<R>(body(r, instance, *property)) : failure;
  });
}

// Changes the scene under its lock, and hands the change to a render when the body says that there was one:
// at once, or at the next commit. What the body answered. Host memory is given back after the lock.
template <class F>
auto ChangeScene(Renderer& renderer, bool commit, F&& body) {
  const HostReleaseScope releases;
  bool changed = false;
  const auto change = [&] {
    const std::unique_lock lock(renderer.scene.mutex);
    const uint64_t before = renderer.scene.change_index();
    const auto answer = body(renderer.scene);
    changed = renderer.scene.change_index() != before;
    return answer;
  };
  const auto answer = change();
  if (changed) renderer.SceneChanged(commit);
  return answer;
}

}  // namespace kiln::engine::api
