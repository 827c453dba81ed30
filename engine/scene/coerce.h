// Coercion against a whole property: its declared type, its fixed length, and names as references.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "engine/scene/scene.h"

namespace kiln::engine::scene {

// What an instance's name (or "name::output") refers to; nothing when it is unknown. May be empty.
using Resolver = std::function<std::optional<PluginRef>(std::string_view)>;

// As Coerce; a text in a type that takes references is looked up with `resolve` first.
std::optional<Value> CoerceWith(Value value, Type type, const Resolver& resolve);
// As CoerceWith, for the property's type; also nothing for a list of another than the declared fixed length.
std::optional<Value> CoerceTo(Value value, const Property& property, const Resolver& resolve);
// Rounds to the nearest float: the largest one also from the doubles just above it, infinity beyond.
float ToFloat(double number);
// A reference to no plugin, whatever the property's type: it resets the property.
bool IsReset(const Value& value);
// The number of elements of a list value; nothing for any other.
std::optional<size_t> ListSize(const Value& value);

}  // namespace kiln::engine::scene
