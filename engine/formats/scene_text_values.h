// Values of the scene text: from TOML nodes to values of declared types. Private to the scene text.
#pragma once

#include <toml++/toml.h>

#include <array>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/scene/scene.h"

namespace kiln::engine::formats {

// Ends the reading of a text; what() is the reason.
struct SceneTextError : std::runtime_error {
  SceneTextError(uint32_t at, const std::string& reason) : std::runtime_error(reason), line(at) {}
  uint32_t line;
};

// Finds what a text refers to, or throws a SceneTextError at the line.
using ReferenceLookup = std::function<scene::PluginRef(const std::string& text, uint32_t line)>;

// The names that tell the type of a value where no declaration does; the writer uses the same.
inline constexpr std::array<std::pair<std::string_view, scene::Type>, 12> kTaggedTypes = {{
    {"float", scene::Type::kFloat},
    {"vector", scene::Type::kVector},
    {"color", scene::Type::kColor},
    {"acolor", scene::Type::kAColor},
    {"matrix", scene::Type::kMatrix},
    {"transform", scene::Type::kTransform},
    {"plugin", scene::Type::kPlugin},
    {"ints", scene::Type::kIntList},
    {"floats", scene::Type::kFloatList},
    {"vectors", scene::Type::kVectorList},
    {"colors", scene::Type::kColorList},
    {"strings", scene::Type::kStringList},
}};
inline constexpr std::string_view kBase64Floats = "base64:f32:";
inline constexpr std::string_view kBase64Ints = "base64:i32:";
inline constexpr std::string_view kDeflatedFloats = "deflate:f32:";
inline constexpr std::string_view kDeflatedInts = "deflate:i32:";

// What a property of the type takes, as the end of a sentence.
std::string DescribeType(scene::Type type);
// The candidate that differs least from a mistyped name, as `, did you mean "x"?`; empty when none is near.
std::string Suggestion(std::string_view name, const std::vector<std::string_view>& candidates);

// The times and nodes of a table of key frames; nothing when the node is none.
std::optional<std::vector<std::pair<double, const toml::node*>>> KeyFramesOf(const toml::node& node);
// A value for a property of the type, ready for coercion. Throws SceneTextError.
scene::Value ReadValue(const toml::node& node, scene::Type type, const ReferenceLookup& lookup);

}  // namespace kiln::engine::formats
