// Value streams: how a property value crosses the boundary, in both directions. Knows values, no renderer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "engine/scene/value.h"

namespace kiln::engine::api {

// What a stream may hold at most: counts of elements and bytes of a text, and lists within lists.
inline constexpr uint32_t kMaxStreamCount = uint32_t{1} << 28;
inline constexpr int kMaxStreamDepth = 64;

// How far a stream is trusted. Streams of the boundary come without a length, and with pointers.
struct StreamTrust {
  size_t bytes = SIZE_MAX;  // nothing behind is read
  bool pointers = true;     // whether memory outside the stream is read; otherwise its tags are refused
};

// The value of a stream of any tag that a host writes or that the engine writes itself; nothing for a null or
// malformed one, an unknown tag, or one beyond the limits. Borrowed lists are copied, kept lists adopted
// without a copy: their release function is called once, when the last copy of the value is gone (see
// value_stream_memory.h), or at once where the stream is refused behind them. Any thread; throws
// std::bad_alloc.
//
// Lists of doubles, which no property holds, become what keeps them best: a short one a list of doubles, a
// long one of whole numbers ints, any other floats.
std::optional<scene::Value> DecodeValue(const void* stream, const StreamTrust& trust = {});

// The bytes of a value's stream, and the stream written there; a multiple of 4, and 0 for no value. The type
// is the declared one: it tells a list of booleans from one of ints.
size_t EncodedSize(const scene::Value& value, scene::Type type);
void EncodeValue(const scene::Value& value, scene::Type type, void* stream);

}  // namespace kiln::engine::api
