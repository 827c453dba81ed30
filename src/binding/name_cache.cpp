#include "binding/name_cache.h"

#include <cstring>

namespace KilnNodeWrapper {
namespace {

constexpr size_t kEntries = 4096;  // a power of two
constexpr size_t kMaxCount = kEntries / 2;
constexpr size_t kMaxLength = 128;

}  // namespace

size_t NameCache::Place(v8::Local<v8::String> key, int hash) const {
  size_t i = static_cast<size_t>(hash) & (kEntries - 1);
  while (entries_[i].text && (entries_[i].hash != hash || entries_[i].key != key))
    i = (i + 1) & (kEntries - 1);
  return i;
}

const char* NameCache::Find(v8::Local<v8::String> key) const {
  if (count_ == 0) return nullptr;
  return entries_[Place(key, key->GetIdentityHash())].text.get();
}

const char* NameCache::Add(v8::Isolate* isolate, v8::Local<v8::String> key) {
  if (count_ == kMaxCount) return nullptr;
  const Text text(isolate, key);
  if (text.length() > kMaxLength) return nullptr;
  if (entries_.empty()) entries_.resize(kEntries);
  const int hash = key->GetIdentityHash();
  Entry& entry = entries_[Place(key, hash)];
  entry.hash = hash;
  entry.key.Reset(isolate, key);
  entry.text = std::make_unique<char[]>(text.length() + 1);
  std::memcpy(entry.text.get(), text.c_str(), text.length() + 1);
  count_++;
  return entry.text.get();
}

}  // namespace KilnNodeWrapper
