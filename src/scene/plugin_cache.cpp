#include "scene/plugin_cache.h"

#include <algorithm>
#include <cstdio>

namespace KilnNodeWrapper {
namespace {

constexpr size_t kFirstBuckets = 16;

// IDs may be addresses or counters: their low bits alone would make long runs.
uint32_t Mix(KilnPluginId id) {
  id ^= id >> 32;
  id *= UINT64_C(0x9E3779B97F4A7C15);
  return static_cast<uint32_t>(id >> 32);
}

}  // namespace

size_t PluginCache::BucketOf(KilnPluginId id, uint32_t hash) const {
  const size_t mask = buckets_.size() - 1;
  size_t i = hash & mask;
  while (buckets_[i].slot != 0 && (buckets_[i].hash != hash || At(buckets_[i].slot).id != id))
    i = (i + 1) & mask;
  return i;
}

v8::Local<v8::Object> PluginCache::Find(v8::Isolate* isolate, KilnPluginId id, uint32_t output) const {
  if (buckets_.empty()) return {};
  for (uint32_t number = buckets_[BucketOf(id, Mix(id))].slot; number != 0;) {
    const Slot& slot = At(number);
    if (slot.output == output) return slot.object.Get(isolate);
    number = slot.next;
  }
  return {};
}

void PluginCache::Insert(v8::Isolate* isolate, KilnPluginId id, uint32_t output,
                         v8::Local<v8::Object> object) {
  if (used_buckets_ + 1 > buckets_.size() / 4 * 3) Grow();
  const uint32_t hash = Mix(id);
  const uint32_t number = NewSlot();
  Slot& slot = At(number);
  slot.id = id;
  slot.output = output;
  slot.object.Reset(isolate, object);
  slot.object.SetWeak(&slot, OnCollected, v8::WeakCallbackType::kParameter);
  Bucket& bucket = buckets_[BucketOf(id, hash)];
  if (bucket.slot == 0) used_buckets_++;
  slot.next = bucket.slot;
  bucket = {hash, number};
  count_++;
}

void PluginCache::Erase(KilnPluginId id) {
  if (buckets_.empty()) return;
  const size_t i = BucketOf(id, Mix(id));
  uint32_t number = buckets_[i].slot;
  if (number == 0) return;
  EraseBucket(i);
  while (number != 0) {
    const uint32_t next = At(number).next;
    Free(number);
    number = next;
  }
}

void PluginCache::Clear() {
  std::vector<Bucket>().swap(buckets_);
  chunks_.clear();
  used_buckets_ = 0;
  count_ = 0;
  free_ = 0;
}

void PluginCache::Grow() {
  std::vector<Bucket> old(std::max(kFirstBuckets, 2 * buckets_.size()));
  old.swap(buckets_);
  const size_t mask = buckets_.size() - 1;
  for (const Bucket& bucket : old) {
    if (bucket.slot == 0) continue;
    size_t i = bucket.hash & mask;
    while (buckets_[i].slot != 0) i = (i + 1) & mask;
    buckets_[i] = bucket;
  }
}

// Those behind the hole that would not be found any more move into it, so that no bucket is ever a marker of
// something erased.
void PluginCache::EraseBucket(size_t hole) {
  const size_t mask = buckets_.size() - 1;
  for (size_t i = (hole + 1) & mask; buckets_[i].slot != 0; i = (i + 1) & mask) {
    const size_t home = buckets_[i].hash & mask;
    if (((i - home) & mask) < ((i - hole) & mask)) continue;
    buckets_[hole] = buckets_[i];
    hole = i;
  }
  buckets_[hole] = {};
  used_buckets_--;
}

void PluginCache::Erase(Slot* slot) {
  const size_t i = BucketOf(slot->id, Mix(slot->id));
  uint32_t* link = &buckets_[i].slot;
  while (&At(*link) != slot) link = &At(*link).next;
  const uint32_t number = *link;
  *link = slot->next;
  if (buckets_[i].slot == 0) EraseBucket(i);
  Free(number);
}

uint32_t PluginCache::NewSlot() {
  if (free_ == 0) {
    const auto first = static_cast<uint32_t>(chunks_.size() * kChunk + 1);
    chunks_.push_back(std::make_unique<Slot[]>(kChunk));
    for (uint32_t number = first + kChunk; number-- > first;) {
      At(number).owner = this;
      At(number).next = free_;
      free_ = number;
    }
  }
  const uint32_t number = free_;
  free_ = At(number).next;
  return number;
}

void PluginCache::Free(uint32_t number) {
  Slot& slot = At(number);
  slot.object.Reset();
  slot.next = free_;
  free_ = number;
  if (--count_ == 0) Clear();
}

// First pass, possibly while an object is being made for an insertion.
void PluginCache::OnCollected(const v8::WeakCallbackInfo<Slot>& info) {
  Slot* slot = info.GetParameter();
  if (slot->object.IsEmpty()) {
    std::fprintf(stderr,
                 "RUNTIME ERROR: PluginRef weak callback didn't reset the Global handle!\n"
                 " InstanceID=%llu, index=%d\n",
                 static_cast<unsigned long long>(slot->id), static_cast<int>(slot->output));
    return;
  }
  slot->owner->Erase(slot);
}

}  // namespace KilnNodeWrapper
