// Values as short texts, in both directions: what a property is set to and read as when a host passes text.
//
// Numbers as usual ("0.5", "-3", "inf"), booleans "true" and "false", vectors, colours, matrices, transforms
// and lists of numbers, vectors or colours as their numbers with blanks or commas between them ("1 0 0",
// brackets are ignored), lists of texts and references as ["a", "b"], references as "name" or "name::output".
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "engine/scene/value.h"

namespace kiln::engine::scene {

// The text as a value of the declared type; nothing when it is malformed, or when the type needs names that
// `resolve` (may be empty) does not know. Generic lists have no text.
std::optional<Value> ParseValue(
    std::string_view text, Type type,
    const std::function<std::optional<PluginRef>(std::string_view)>& resolve = {});

// The text of a value, which ParseValue takes back without loss; `name_of` gives the text of a reference.
std::string FormatValue(const Value& value, const std::function<std::string(const PluginRef&)>& name_of);

// The shortest text that reads back as the same number; always a TOML number.
std::string FormatNumber(float number);
std::string FormatNumber(double number);

}  // namespace kiln::engine::scene
