#include "binding/name_cache.h"

#include <cstring>

namespace KilnNodeWrapper {
namespace {

constexpr size_t kMaxLength = 128;

}  // namespace

const char* NameCache::Add(v8::Isolate* isolate, v8::Local<v8::String> key) {
  if (count_ == kEntries / 2) return nullptr;
  const Text text(isolate, key);
  if (text.length() > kMaxLength) return nullptr;
  if (entries_.empty()) entries_.resize(kEntries);
  const int hash = key->GetIdentityHash();
  Entry& entry = entries_[Place(key, hash)];
  entry.key.Reset(isolate, key);
  entry.text = std::make_unique<char[]>(text.length() + 1);
  std::memcpy(entry.text.get(), text.c_str(), text.length() + 1);
  count_++;
  return entry.text.get();
}

}  // namespace KilnNodeWrapper
