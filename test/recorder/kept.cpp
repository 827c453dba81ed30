// Memory of the host that the "SDK" has kept.
#include "kept.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>

#include "renderer.h"

namespace recorder {
namespace {

struct Store {
  std::mutex mutex;
  std::map<uint64_t, Kept> kept;
  uint64_t next = 1;
};

Store& The() {
  static auto* const store = new Store;
  return *store;
}

template <class T>
T Read(const std::string& bytes, uint64_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(value));
  return value;
}

void Release(const Kept& kept) {
  if (kept.release == 0) return;
  const auto release = reinterpret_cast<KilnReleaseFunction>(kept.release);
  release(reinterpret_cast<void*>(kept.data), kept.size, reinterpret_cast<void*>(kept.user));
}

// The word before the pointer is the count, the word before that the tag.
void CollectLists(const Row& row, const Item& stream, std::vector<Kept>& found) {
  for (const Nested& nested : stream.nested) {
    if (nested.kind != 'a' || Read<uint32_t>(stream.bytes, nested.offset - 8) < KILN_VALUE_KEPT_INT_LIST)
      continue;
    found.push_back({0, row.name, Read<uint64_t>(stream.bytes, nested.offset), nested.bytes.size(),
                     Read<uint64_t>(stream.bytes, nested.offset + 8),
                     Read<uint64_t>(stream.bytes, nested.offset + 16)});
  }
}

void CollectBuffers(const Row& row, const Argument& buffers, std::vector<Kept>& found) {
  for (const Item& item : buffers.items) {
    const auto buffer = Read<KilnSceneBuffer>(item.bytes, 0);
    found.push_back({0, row.name, reinterpret_cast<uint64_t>(buffer.data), buffer.size,
                     reinterpret_cast<uint64_t>(buffer.release), reinterpret_cast<uint64_t>(buffer.user)});
  }
}

}  // namespace

void KeepMemory(const Row& row, const std::vector<Argument>& arguments, bool keep) {
  std::vector<Kept> found;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].kind == 's') CollectLists(row, arguments[i].items[0], found);
    if (row.parameters[i].type == "const KilnSceneBuffer*") CollectBuffers(row, arguments[i], found);
  }
  if (!keep) {
    for (const Kept& kept : found) Release(kept);
    return;
  }
  const std::lock_guard lock(The().mutex);
  for (Kept& kept : found) {
    kept.id = The().next++;
    The().kept.emplace(kept.id, kept);
  }
}

std::vector<Kept> KeptMemory() {
  const std::lock_guard lock(The().mutex);
  std::vector<Kept> all;
  for (const auto& [id, kept] : The().kept) all.push_back(kept);
  return all;
}

int ReleaseKept(const std::vector<uint64_t>& ids) {
  std::vector<Kept> taken;
  {
    const std::lock_guard lock(The().mutex);
    for (auto it = The().kept.begin(); it != The().kept.end();) {
      const bool wanted = ids.empty() || std::find(ids.begin(), ids.end(), it->first) != ids.end();
      if (wanted) taken.push_back(it->second);
      it = wanted ? The().kept.erase(it) : std::next(it);
    }
  }
  for (const Kept& kept : taken) Release(kept);
  return static_cast<int>(taken.size());
}

}  // namespace recorder
