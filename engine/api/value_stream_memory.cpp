// When the memory of a host is given back.
#include "engine/api/value_stream_memory.h"

#include <new>

namespace kiln::engine::api {
namespace {

thread_local HostReleaseScope* current_scope = nullptr;

void CallRelease(const HostMemory& memory) noexcept {
  if (memory.release) memory.release(const_cast<void*>(memory.data), memory.size, memory.cookie);
}

}  // namespace

// The record itself is the link of the waiting list, so that dropping a value never allocates.
void ReleaseHostMemory(HostMemory* memory) noexcept {
  if (HostReleaseScope* scope = current_scope) {
    memory->next = scope->waiting_;
    scope->waiting_ = memory;
    return;
  }
  CallRelease(*memory);
  delete memory;
}

std::shared_ptr<const void> AdoptHostMemory(const HostMemory& memory) {
  auto* owned = new (std::nothrow) HostMemory(memory);
  if (!owned) {
    CallRelease(memory);
    throw std::bad_alloc();
  }
  const std::shared_ptr<HostMemory> owner(owned, &ReleaseHostMemory);
  return {owner, memory.data};
}

HostReleaseScope::HostReleaseScope() : outer_(current_scope) {
  current_scope = this;
}

HostReleaseScope::~HostReleaseScope() {
  current_scope = outer_;
  while (HostMemory* memory = waiting_) {
    waiting_ = memory->next;
    ReleaseHostMemory(memory);
  }
}

}  // namespace kiln::engine::api
