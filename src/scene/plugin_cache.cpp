#include "scene/plugin_cache.h"

#include <algorithm>
#include <cstdio>

namespace KilnNodeWrapper {
namespace {

constexpr size_t kFirstBuckets = 16;

}  // namespace

// IDs may be addresses or counters: their low bits alone would make long runs.
size_t PluginCache::HomeOf(KilnPluginId id) const {
  id ^= id >> 32;
  id *= UINT64_C(0x9E3779B97F4A7C15);
  return static_cast<size_t>(id >> 32) & (buckets_.size() - 1);
}

size_t PluginCache::BucketOf(KilnPluginId id, uint32_t output) const {
  const size_t mask = buckets_.size() - 1;
  size_t i = HomeOf(id);
  while (buckets_[i].slot != 0 && (buckets_[i].id != id || buckets_[i].output != output)) i = (i + 1) & mask;
  return i;
}

v8::Local<v8::Object> PluginCache::Find(v8::Isolate* isolate, KilnPluginId id, uint32_t output) const {
  if (buckets_.empty()) return {};
  const Bucket& bucket = buckets_[BucketOf(id, output)];
  return bucket.slot != 0 ? bucket.object.Get(isolate) : v8::Local<v8::Object>();
}

void PluginCache::Insert(v8::Isolate* isolate, KilnPluginId id, uint32_t output,
                         v8::Local<v8::Object> object) {
  if (count_ + 1 > buckets_.size() / 4 * 3) Grow();
  const uint32_t number = NewSlot();
  Slot& slot = At(number);
  slot.id = id;
  slot.output = output;
  slot.object.Reset(isolate, object);
  slot.object.SetWeak(&slot, OnCollected, v8::WeakCallbackType::kParameter);
  buckets_[BucketOf(id, output)] = {id, compat::HandleView(slot.object), output, number};
  count_++;
}

void PluginCache::Erase(KilnPluginId id) {
  if (buckets_.empty()) return;
  for (size_t i = HomeOf(id); buckets_[i].slot != 0;) {
    if (buckets_[i].id == id) {
      EraseBucket(i);  // which may bring another of the ID here
    } else {
      i = (i + 1) & (buckets_.size() - 1);
    }
  }
  if (count_ == 0) Clear();
}

void PluginCache::Clear() {
  std::vector<Bucket>().swap(buckets_);
  chunks_.clear();
  count_ = 0;
  free_ = 0;
}

void PluginCache::Grow() {
  std::vector<Bucket> old(std::max(kFirstBuckets, 2 * buckets_.size()));
  old.swap(buckets_);
  for (const Bucket& bucket : old) {
    if (bucket.slot != 0) buckets_[BucketOf(bucket.id, bucket.output)] = bucket;
  }
}

// Frees its slot too. Those behind the hole that would not be found any more move into it, so that no bucket
// is ever a marker of something erased.
void PluginCache::EraseBucket(size_t hole) {
  const uint32_t number = buckets_[hole].slot;
  const size_t mask = buckets_.size() - 1;
  for (size_t i = (hole + 1) & mask; buckets_[i].slot != 0; i = (i + 1) & mask) {
    if (((i - HomeOf(buckets_[i].id)) & mask) < ((i - hole) & mask)) continue;
    buckets_[hole] = buckets_[i];
    hole = i;
  }
  buckets_[hole] = {};
  At(number).object.Reset();
  At(number).next_free = free_;
  free_ = number;
  count_--;
}

uint32_t PluginCache::NewSlot() {
  if (free_ == 0) {
    const auto first = static_cast<uint32_t>(chunks_.size() * kChunk + 1);
    chunks_.push_back(std::make_unique<Slot[]>(kChunk));
    for (uint32_t number = first + kChunk; number-- > first;) {
      At(number).owner = this;
      At(number).next_free = free_;
      free_ = number;
    }
  }
  const uint32_t number = free_;
  free_ = At(number).next_free;
  return number;
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
  PluginCache& cache = *slot->owner;
  cache.EraseBucket(cache.BucketOf(slot->id, slot->output));
  if (cache.empty()) cache.Clear();
}

}  // namespace KilnNodeWrapper
