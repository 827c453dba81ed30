// The cache of decoded images: weak references by what identifies the content.
#include "engine/render/texture_cache.h"

#include <atomic>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

#include "engine/image/codec.h"

namespace kiln::engine::render {

namespace {

// A file by path, size and time of change; bytes by two hashes and their number.
using Key = std::tuple<std::string, uint64_t, uint64_t, uint64_t, bool>;

struct Slot {
  std::mutex mutex;
  std::weak_ptr<const MipMap> map;
  std::shared_ptr<const MipMap> kept{};  // the same, while images are kept
};

struct Cache {
  std::mutex mutex;  // before that of a slot
  std::map<Key, std::shared_ptr<Slot>> slots;
  std::atomic<int> keepers{0};
};

Cache& TheCache() {
  static Cache cache;
  return cache;
}

// Nobody but the cache has the slot, and nobody can get it while the cache is locked. The count alone does
// not say that what its last user wrote is seen here; the slot's lock does.
bool IsUnused(const std::shared_ptr<Slot>& slot) {
  if (slot.use_count() != 1) return false;
  const std::lock_guard lock(slot->mutex);
  return slot->map.expired();
}

// The slot outlives its owner in the cache, so a purge never pulls it away from a thread that is decoding.
std::shared_ptr<Slot> FindSlot(const Key& key) {
  Cache& cache = TheCache();
  const std::lock_guard lock(cache.mutex);
  std::erase_if(cache.slots, [](const auto& entry) { return IsUnused(entry.second); });
  std::shared_ptr<Slot>& slot = cache.slots[key];
  if (!slot) slot = std::make_shared<Slot>();
  return slot;
}

template <class F>
std::shared_ptr<const MipMap> Load(const Key& key, bool srgb, F&& decode) {
  const std::shared_ptr<Slot> slot = FindSlot(key);
  const std::lock_guard lock(slot->mutex);
  std::shared_ptr<const MipMap> map = slot->map.lock();
  if (map) {
    if (TheCache().keepers > 0) slot->kept = map;
    return map;
  }
  const std::unique_ptr<image::Image, void (*)(image::Image*)> image(
      decode(), [](image::Image* block) { FreeShared(block); });
  if (!image) return nullptr;
  map = std::make_shared<const MipMap>(*image, srgb);
  slot->map = map;
  if (TheCache().keepers > 0) slot->kept = map;
  return map;
}

// FNV-1a, from two starts: no two images of the same size have both in common by accident.
uint64_t Hash(std::span<const std::byte> bytes, uint64_t hash) {
  for (const std::byte b : bytes) hash = (hash ^ static_cast<uint64_t>(b)) * 0x100000001b3u;
  return hash;
}

}  // namespace

std::shared_ptr<const MipMap> LoadTexture(const std::filesystem::path& file, bool srgb, std::string* error) {
  std::error_code code;
  const auto size = std::filesystem::file_size(file, code);
  if (code) {
    *error = "the file '" + file.string() + "' can't be read";
    return nullptr;
  }
  const auto time = std::filesystem::last_write_time(file, code).time_since_epoch().count();
  const Key key{file.lexically_normal().string(), size, static_cast<uint64_t>(time), 0, srgb};
  return Load(key, srgb, [&] { return image::DecodeFile(file, error); });
}

std::shared_ptr<const MipMap> LoadTexture(std::span<const std::byte> bytes, bool srgb, std::string* error) {
  const Key key{{}, bytes.size(), Hash(bytes, 0xcbf29ce484222325u), Hash(bytes, 0x9ae16a3b2f90404fu), srgb};
  return Load(key, srgb, [&] { return image::Decode(bytes, error); });
}

uint64_t TextureBytes() {
  Cache& cache = TheCache();
  const std::lock_guard lock(cache.mutex);
  uint64_t bytes = 0;
  for (const auto& [key, slot] : cache.slots) {
    // One that is being decoded counts from the next time on.
    const std::unique_lock slot_lock(slot->mutex, std::try_to_lock);
    const auto map = slot_lock ? slot->map.lock() : nullptr;
    if (map) bytes += map->byte_count();
  }
  return bytes;
}

void KeepTextures(bool keep) {
  Cache& cache = TheCache();
  if ((cache.keepers += keep ? 1 : -1) > 0) return;
  std::vector<std::shared_ptr<Slot>> slots;
  {
    const std::lock_guard lock(cache.mutex);
    for (const auto& [key, slot] : cache.slots) slots.push_back(slot);
  }
  for (const std::shared_ptr<Slot>& slot : slots) {
    const std::lock_guard lock(slot->mutex);
    slot->kept.reset();
  }
}

}  // namespace kiln::engine::render
