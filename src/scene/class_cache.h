// The Class objects that one renderer has handed out, by class name.
#pragma once

#include <v8.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace KilnNodeWrapper {

// JavaScript thread only; the collector may erase at any allocation on V8's heap.
class ClassCache {
 public:
  ClassCache() = default;
  ClassCache(const ClassCache&) = delete;
  ClassCache& operator=(const ClassCache&) = delete;

  // Empty when there is none that is alive.
  v8::Local<v8::Object> Find(v8::Isolate* isolate, std::string_view name) const;
  // Holds the object weakly. The name must outlive the cache. There must be no object of that name.
  void Insert(v8::Isolate* isolate, const std::string& name, v8::Local<v8::Object> object);
  void Clear() { entries_.clear(); }
  bool empty() const { return entries_.empty(); }

 private:
  // An entry stays where it is as long as it is in the map.
  struct Entry {
    ClassCache* owner;
    const std::string* name;
    v8::Global<v8::Object> object;
  };

  static void OnCollected(const v8::WeakCallbackInfo<Entry>& info);

  std::unordered_map<std::string_view, Entry> entries_;
};

}  // namespace KilnNodeWrapper
