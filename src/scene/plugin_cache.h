// The Plugin and PluginRef objects that one renderer has handed out, by ID and output.
#pragma once

#include <v8.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "binding/v8_compat.h"
#include "values.h"

namespace KilnNodeWrapper {

// A flat hash by ID, in which the outputs of one ID follow each other. A bucket has all that a look-up asks
// for, so that among many it waits for memory twice: for the bucket and for the handle. Slots stay where they
// are, for the weak handles' callbacks. JavaScript thread only; the collector may erase at any allocation
// on V8's heap, so nothing of the table is held across one.
class PluginCache {
 public:
  PluginCache() = default;
  PluginCache(const PluginCache&) = delete;
  PluginCache& operator=(const PluginCache&) = delete;
  ~PluginCache() { Clear(); }

  // The object of an ID and output; empty when there is none that is alive.
  v8::Local<v8::Object> Find(v8::Isolate* isolate, KilnPluginId id, uint32_t output) const;
  // Holds the object weakly. There must be none for this ID and output.
  void Insert(v8::Isolate* isolate, KilnPluginId id, uint32_t output, v8::Local<v8::Object> object);
  // Lets go of all objects of an ID, for all outputs.
  void Erase(KilnPluginId id);
  void Clear();
  bool empty() const { return count_ == 0; }

 private:
  struct Slot {
    v8::Global<v8::Object> object;  // empty in a free slot
    KilnPluginId id = 0;
    PluginCache* owner = nullptr;
    uint32_t output = 0;
    uint32_t next_free = 0;  // a number as in Bucket
  };
  struct Bucket {
    KilnPluginId id = 0;
    compat::HandleView<v8::Object> object;  // that of the slot
    uint32_t output = 0;
    uint32_t slot = 0;  // its number from 1 on; 0: the bucket is free
  };

  static void OnCollected(const v8::WeakCallbackInfo<Slot>& info);
  Slot& At(uint32_t number) const { return chunks_[(number - 1) / kChunk][(number - 1) % kChunk]; }
  size_t HomeOf(KilnPluginId id) const;
  // The bucket of an ID and output, or the free one where it would stand. There is always a free one.
  size_t BucketOf(KilnPluginId id, uint32_t output) const;
  void Grow();
  void EraseBucket(size_t hole);
  uint32_t NewSlot();

  static constexpr uint32_t kChunk = 256;

  std::vector<Bucket> buckets_;  // a power of two, at most three quarters of them full, or none
  size_t count_ = 0;
  std::vector<std::unique_ptr<Slot[]>> chunks_;
  uint32_t free_ = 0;
};

}  // namespace KilnNodeWrapper
