#include "scene/class_cache.h"

#include <cstdio>

namespace KilnNodeWrapper {

v8::Local<v8::Object> ClassCache::Find(v8::Isolate* isolate, std::string_view name) const {
  const auto entry = entries_.find(name);
  if (entry == entries_.end()) return {};
  return entry->second.object.Get(isolate);
}

void ClassCache::Insert(v8::Isolate* isolate, const std::string& name, v8::Local<v8::Object> object) {
  const auto [place, is_new] = entries_.try_emplace(name, Entry{this, &name, {}});
  Entry& entry = place->second;
  entry.object.Reset(isolate, object);
  entry.object.SetWeak(&entry, OnCollected, v8::WeakCallbackType::kParameter);
}

// First pass, possibly while an object is being made for an insertion.
void ClassCache::OnCollected(const v8::WeakCallbackInfo<Entry>& info) {
  Entry* entry = info.GetParameter();
  const std::string* name = entry->name;
  if (entry->object.IsEmpty()) {
    std::fprintf(stderr,
                 "RUNTIME ERROR: Plugin Class weak callback didn't reset the Global handle!\n"
                 " Class Name: %s\n",
                 name->c_str());
    return;
  }
  entry->owner->entries_.erase(*name);
}

}  // namespace KilnNodeWrapper
