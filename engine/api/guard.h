// Where exceptions end: nothing that the engine throws may cross an entry point.
#pragma once

#include <type_traits>
#include <utility>

namespace kiln::engine::api {

// What the body returns, or the failure when it throws.
template <class R, class F>
R Guarded(R failure, F&& body) noexcept {
  try {
    return std::forward<F>(body)();
  } catch (...) {
    return failure;
  }
}

// For bodies without a result.
template <class F>
requires std::is_void_v<std::invoke_result_t<F>>
void Guarded(F&& body) noexcept {
  try {
    std::forward<F>(body)();
  } catch (...) {
    return;
  }
}

}  // namespace kiln::engine::api
