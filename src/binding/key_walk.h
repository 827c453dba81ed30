// Walks the keys of an object whose keys count in any case: all its enumerable property names, inherited ones
// too, in their order.
#pragma once

#include <v8.h>

#include <functional>
#include <string_view>

namespace KilnNodeWrapper {

// Takes a key and its value; false ends the walk.
using KeyVisitor = std::function<bool(std::string_view key, v8::Local<v8::Value> value)>;
enum class Unreadable : uint8_t { kEndsTheWalk, kIsSkipped };

// Keys whose value is undefined are skipped. What getters and the visitor threw is forgotten. False when the
// walk ended early.
bool WalkKeys(v8::Local<v8::Context> context, v8::Local<v8::Object> object, Unreadable unreadable,
              const KeyVisitor& visitor);

}  // namespace KilnNodeWrapper
