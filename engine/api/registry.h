// The renderers of the process, by handle (see handle_table.h).
#pragma once

#include <memory>

#include "abi.h"
#include "engine/api/guard.h"

namespace kiln::engine::api {

class Renderer;

// Adds a renderer with one reference, and starts the engine with the first. Null when the engine has ended
// already.
KilnRendererHandle AddRenderer(std::shared_ptr<Renderer> renderer);

// The renderer behind a handle, alive as long as the result is; null for a handle that is none (any more).
std::shared_ptr<Renderer> FindRenderer(KilnRendererHandle handle) noexcept;

// Takes one reference more; false when there is no such renderer.
bool AddReference(KilnRendererHandle handle) noexcept;
// Gives one reference back. With the last the handle ends, and the renderer comes back for the caller to
// close.
std::shared_ptr<Renderer> DropReference(KilnRendererHandle handle) noexcept;

// What the body makes of the renderer, or the failure when there is none or the body throws.
template <class R, class F>
R WithRenderer(KilnRendererHandle handle, R failure, F&& body) noexcept {
  return Guarded<R>(failure, [&]() -> R {
    const std::shared_ptr<Renderer> renderer = FindRenderer(handle);
    return renderer ? static_cast<R>(body(*renderer)) : failure;
  });
}

// For entry points without a result.
template <class F>
void WithRenderer(KilnRendererHandle handle, F&& body) noexcept {
  Guarded([&] {
    if (const std::shared_ptr<Renderer> renderer = FindRenderer(handle)) body(*renderer);
  });
}

}  // namespace kiln::engine::api
