// Objects of the process by handle. A handle is a number and no address, so that a call with the handle of an
// object that is gone finds nothing instead of freed memory.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

namespace kiln::engine::api {

// Any thread.
template <class Handle, class Object>
class HandleTable {
 public:
  struct Entry {
    std::shared_ptr<Object> object;
    int references = 1;
  };
  using Entries = std::unordered_map<uintptr_t, Entry>;

  // The one of the process. Never destroyed: threads of the host may still call while the process ends, after
  // the destructors of this library have run. After End it has no memory of its own.
  static HandleTable& The() {
    alignas(HandleTable) static unsigned char memory[sizeof(HandleTable)];
    static HandleTable* const table = new (memory) HandleTable;
    return *table;
  }

  // With one reference. Null after End.
  Handle Add(std::shared_ptr<Object> object) {
    const std::unique_lock lock(mutex_);
    if (ended_) return nullptr;
    const uintptr_t number = kStep * next_++;
    entries_.emplace(number, Entry{std::move(object)});
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a number in disguise, and never followed
    return reinterpret_cast<Handle>(number);
  }

  // Alive as long as the result is; null for a handle that is none (any more).
  std::shared_ptr<Object> Find(Handle handle) const noexcept {
    const std::shared_lock lock(mutex_);
    const auto found = entries_.find(NumberOf(handle));
    return found == entries_.end() ? nullptr : found->second.object;
  }

  // False when there is no such object.
  bool AddReference(Handle handle) noexcept {
    const std::unique_lock lock(mutex_);
    const auto found = entries_.find(NumberOf(handle));
    if (found == entries_.end()) return false;
    ++found->second.references;
    return true;
  }

  // With the last reference the handle ends, and the object comes back for the caller to close.
  std::shared_ptr<Object> DropReference(Handle handle) noexcept {
    const std::unique_lock lock(mutex_);
    const auto found = entries_.find(NumberOf(handle));
    if (found == entries_.end() || --found->second.references > 0) return nullptr;
    std::shared_ptr<Object> object = std::move(found->second.object);
    entries_.erase(found);
    return object;
  }

  // Ends all handles for good. What is left is the caller's.
  Entries End() {
    const std::unique_lock lock(mutex_);
    ended_ = true;
    return std::exchange(entries_, {});
  }

 private:
  // Handles stay aligned as pointers would be: hosts keep bits of their own below.
  static constexpr uintptr_t kStep = 16;

  static uintptr_t NumberOf(Handle handle) { return reinterpret_cast<uintptr_t>(handle); }

  // From the clock on, so that what a host still holds of an earlier load of this library finds nothing.
  static uintptr_t FirstNumber() {
    return static_cast<uintptr_t>(std::chrono::steady_clock::now().time_since_epoch().count()) + 1;
  }

  mutable std::shared_mutex mutex_;
  Entries entries_;
  uintptr_t next_ = FirstNumber();
  bool ended_ = false;
};

}  // namespace kiln::engine::api
