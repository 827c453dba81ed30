#include "scene/plugin_cache.h"

#include <algorithm>
#include <cstdio>

namespace KilnNodeWrapper {
namespace {

constexpr size_t kFirstBuckets = 16;
constexpr size_t kFirstChunk = 16;
constexpr size_t kLargestChunk = 1024;

// IDs may be addresses or counters: their low bits alone would make long runs.
size_t Mix(KilnPluginId id) {
  id ^= id >> 32;
  id *= UINT64_C(0x9E3779B97F4A7C15);
  return static_cast<size_t>(id ^ (id >> 29));
}

}  // namespace

size_t PluginCache::BucketOf(KilnPluginId id) const {
  const size_t mask = buckets_.size() - 1;
  size_t i = Mix(id) & mask;
  while (buckets_[i].first && buckets_[i].id != id) i = (i + 1) & mask;
  return i;
}

v8::Local<v8::Object> PluginCache::Find(v8::Isolate* isolate, KilnPluginId id, uint32_t output) const {
  if (buckets_.empty()) return {};
  for (const Slot* slot = buckets_[BucketOf(id)].first; slot; slot = slot->next) {
    if (slot->output == output) return slot->object.Get(isolate);
  }
  return {};
}

void PluginCache::Insert(v8::Isolate* isolate, KilnPluginId id, uint32_t output,
                         v8::Local<v8::Object> object) {
  if (used_buckets_ + 1 > buckets_.size() / 4 * 3) Grow();
  Slot* slot = NewSlot();
  slot->id = id;
  slot->output = output;
  slot->object.Reset(isolate, object);
  slot->object.SetWeak(slot, OnCollected, v8::WeakCallbackType::kParameter);
  Bucket& bucket = buckets_[BucketOf(id)];
  if (!bucket.first) used_buckets_++;
  bucket.id = id;
  slot->next = bucket.first;
  bucket.first = slot;
  count_++;
}

void PluginCache::Erase(KilnPluginId id) {
  if (buckets_.empty()) return;
  const size_t i = BucketOf(id);
  Slot* slot = buckets_[i].first;
  if (!slot) return;
  EraseBucket(i);
  while (slot) {
    Slot* next = slot->next;
    Free(slot);
    slot = next;
  }
}

void PluginCache::Clear() {
  buckets_.clear();
  buckets_.shrink_to_fit();
  chunks_.clear();
  used_buckets_ = 0;
  count_ = 0;
  free_ = nullptr;
}

void PluginCache::Grow() {
  std::vector<Bucket> old(std::max(kFirstBuckets, 2 * buckets_.size()));
  old.swap(buckets_);
  for (const Bucket& bucket : old) {
    if (bucket.first) buckets_[BucketOf(bucket.id)] = bucket;
  }
}

// Those behind the hole that would not be found any more move into it, so that no bucket is ever a marker of
// something erased.
void PluginCache::EraseBucket(size_t hole) {
  const size_t mask = buckets_.size() - 1;
  for (size_t i = (hole + 1) & mask; buckets_[i].first; i = (i + 1) & mask) {
    const size_t home = Mix(buckets_[i].id) & mask;
    if (((i - home) & mask) < ((i - hole) & mask)) continue;
    buckets_[hole] = buckets_[i];
    hole = i;
  }
  buckets_[hole] = {};
  used_buckets_--;
}

void PluginCache::Erase(Slot* slot) {
  const size_t i = BucketOf(slot->id);
  Slot** link = &buckets_[i].first;
  while (*link != slot) link = &(*link)->next;
  *link = slot->next;
  if (!buckets_[i].first) EraseBucket(i);
  Free(slot);
}

PluginCache::Slot* PluginCache::NewSlot() {
  if (!free_) {
    const size_t size = std::min(kLargestChunk, kFirstChunk << std::min<size_t>(chunks_.size(), 6));
    chunks_.push_back(std::make_unique<Slot[]>(size));
    for (size_t i = 0; i < size; i++) {
      Slot& slot = chunks_.back()[i];
      slot.owner = this;
      slot.next = free_;
      free_ = &slot;
    }
  }
  Slot* slot = free_;
  free_ = slot->next;
  return slot;
}

void PluginCache::Free(Slot* slot) {
  slot->object.Reset();
  slot->next = free_;
  free_ = slot;
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
