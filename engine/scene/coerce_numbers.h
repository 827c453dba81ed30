// Coercion to the types that are made of numbers. Private to the coercion.
#pragma once

#include <optional>

#include "engine/scene/value.h"

namespace kiln::engine::scene {

// Deeper nesting of lists is never meant; it only exhausts the stack.
inline constexpr int kMaxNesting = 32;

// A number or a boolean; nothing for any other value.
std::optional<double> Number(const Value& value);

// The value in the type, or nothing when it can't be one: an int, a float, a double or a boolean; a vector, a
// colour, a matrix or a transform; a list of ints, booleans, floats, vectors or colours.
std::optional<Value> CoerceNumber(const Value& value, Type type);
std::optional<Value> CoerceRecord(const Value& value, Type type);
std::optional<Value> CoerceNumberList(const Value& value, Type type);

}  // namespace kiln::engine::scene
