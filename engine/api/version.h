// The engine's version, which the build states, in the forms of the boundary.
#pragma once

#include <cstdint>

namespace kiln::engine::api {

constexpr uint32_t PackVersion(uint32_t major, uint32_t minor, uint32_t patch) {
  return major << 16 | minor << 8 | patch;
}

inline constexpr uint32_t kPackedVersion =
    PackVersion(KILN_VERSION_MAJOR, KILN_VERSION_MINOR, KILN_VERSION_PATCH);

}  // namespace kiln::engine::api
