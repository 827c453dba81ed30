// The C texts of property keys, so that a key which comes again costs no conversion.
#pragma once

#include <v8.h>

#include <memory>
#include <optional>
#include <vector>

#include "binding/text.h"

namespace KilnNodeWrapper {

// Keys are told apart by identity, which is right for those that V8 hands to an interceptor: they are unique.
// The cache takes a limited number of keys and keeps them, so that a text stays valid as long as the cache.
// JavaScript thread only.
class NameCache {
 public:
  // Null for a key that is not known.
  const char* Find(v8::Local<v8::String> key) const {
    if (entries_.empty()) return nullptr;
    return entries_[Place(key, key->GetIdentityHash())].text.get();
  }
  // Null when the cache is full or the key too long.
  const char* Add(v8::Isolate* isolate, v8::Local<v8::String> key);

 private:
  struct Entry {
    v8::Global<v8::String> key;
    std::unique_ptr<char[]> text;  // null: free
  };
  // Where the key stands, or would stand.
  size_t Place(v8::Local<v8::String> key, int hash) const {
    size_t i = static_cast<size_t>(hash) & (kEntries - 1);
    // The key first: nearly always it is the right one.
    while (entries_[i].key != key && entries_[i].text) i = (i + 1) & (kEntries - 1);
    return i;
  }

  static constexpr size_t kEntries = 4096;  // a power of two

  std::vector<Entry> entries_;
  size_t count_ = 0;
};

// The C text of a key during a call.
class KeyText {
 public:
  // From an interceptor: the key is remembered.
  static KeyText OfKey(v8::Isolate* isolate, NameCache& cache, v8::Local<v8::Name> key) {
    return KeyText(isolate, cache, key.As<v8::String>(), true);
  }
  // From an argument, which may be any string.
  static KeyText OfArgument(v8::Isolate* isolate, NameCache& cache, v8::Local<v8::String> key) {
    return KeyText(isolate, cache, key, false);
  }
  KeyText(const KeyText&) = delete;
  KeyText& operator=(const KeyText&) = delete;

  const char* c_str() const { return text_; }

 private:
  KeyText(v8::Isolate* isolate, NameCache& cache, v8::Local<v8::String> key, bool remember)
      : text_(cache.Find(key)) {
    if (!text_ && remember) text_ = cache.Add(isolate, key);
    if (!text_) text_ = own_.emplace(isolate, key).c_str();
  }

  const char* text_;
  std::optional<Text> own_;
};

}  // namespace KilnNodeWrapper
