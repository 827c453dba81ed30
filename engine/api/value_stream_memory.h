// Memory that a host lends to the scene until the scene is done with it.
#pragma once

#include <memory>

#include "values.h"

namespace kiln::engine::api {

// A block of the host's and how to tell the host that it is no longer used.
struct HostMemory {
  const void* data = nullptr;
  uint64_t size = 0;  // bytes
  KilnReleaseFunction release = nullptr;
  void* cookie = nullptr;
  HostMemory* next = nullptr;  // within a scope
};

// An owner of the block. The release function is called once: when the last copy of the result is gone, on
// the thread that drops it, or here when this throws std::bad_alloc.
std::shared_ptr<const void> AdoptHostMemory(const HostMemory& memory);

// While one of these lives, releases on its thread wait for its end. Goes around the scene's lock, since a
// host may do what it likes in a release function, such as calling the engine.
class HostReleaseScope {
 public:
  HostReleaseScope();
  ~HostReleaseScope();
  HostReleaseScope(const HostReleaseScope&) = delete;
  HostReleaseScope& operator=(const HostReleaseScope&) = delete;

 private:
  friend void ReleaseHostMemory(HostMemory* memory) noexcept;

  HostReleaseScope* outer_;
  HostMemory* waiting_ = nullptr;
};

}  // namespace kiln::engine::api
