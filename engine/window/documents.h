// The window's settings and layers as JSON documents: what their keys are, what each may hold, and how a
// host's document changes the one that stands.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace kiln::engine::window {

using Json = nlohmann::json;

Json DefaultSettings();
// One layer of every kind, in the order in which they are applied, none of which changes a picture.
Json DefaultLayers();

// The object that a text holds; nothing for a text that is no JSON object, or is nested deeper than any
// document that a host has reason to write.
std::optional<Json> ParseDocument(std::string_view text);

// The settings changed by a document, as RFC 7396 merges them: keys that it does not name stay, null brings
// back the default, keys that nobody documented are kept. Nothing when a documented key holds what it may
// not.
std::optional<Json> MergeSettings(const Json& settings, const Json& change);

// The same for layers, whose list is replaced as a whole; parameters that a layer leaves out get their
// defaults, and layers of unknown types are kept.
std::optional<Json> MergeLayers(const Json& layers, const Json& change);

}  // namespace kiln::engine::window
