// The tables of documented keys, and the checks and merging over them.
#include "engine/window/documents.h"

#include <cmath>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace kiln::engine::window {
namespace {

// A value of a documented key, by its place among the parts of a document.
struct Rule {
  enum class Kind : uint8_t { kFlag, kInteger, kNumber, kText };
  const char* section;
  const char* key;
  Kind kind;
  double least;  // of numbers
  double most;
};
using Kind = Rule::Kind;

constexpr int kMostDepth = 32;
constexpr double kFarthest = 1 << 20;

constexpr Rule kSettings[] = {
    {"window", "x", Kind::kInteger, -kFarthest, kFarthest},
    {"window", "y", Kind::kInteger, -kFarthest, kFarthest},
    {"window", "width", Kind::kInteger, 1, 65535},
    {"window", "height", Kind::kInteger, 1, 65535},
    {"window", "alwaysOnTop", Kind::kFlag, 0, 0},
    {"window", "interactivity", Kind::kFlag, 0, 0},
    {"window", "confirmClearImage", Kind::kFlag, 0, 0},
    {"title", "prefix", Kind::kText, 0, 0},
    {"title", "projectPath", Kind::kText, 0, 0},
    {"progress", "enabled", Kind::kFlag, 0, 0},
    {"progress", "text", Kind::kText, 0, 0},
    {"progress", "value", Kind::kNumber, -1, 1},
    {"display", "channel", Kind::kText, 0, 0},
    {"display", "background", Kind::kText, 0, 0},
    {"history", "enabled", Kind::kFlag, 0, 0},
    {"history", "maxPictures", Kind::kInteger, 0, 10000},
    {"save", "multipleFiles", Kind::kFlag, 0, 0},
    {"save", "skipAlpha", Kind::kFlag, 0, 0},
    {"save", "frameNumber", Kind::kFlag, 0, 0},
    {"save", "noAlpha", Kind::kFlag, 0, 0},
    {"save", "singleChannel", Kind::kFlag, 0, 0},
    {"save", "skipRGB", Kind::kFlag, 0, 0},
    {"save", "writeIntegerIDs", Kind::kFlag, 0, 0},
    {"save", "velocityZeroBased", Kind::kFlag, 0, 0},
    {"save", "multiChannel", Kind::kFlag, 0, 0},
    {"save", "applyColorCorrections", Kind::kFlag, 0, 0},
    {"save", "compressionType", Kind::kInteger, 0, 10},
    {"save", "bitsPerChannel", Kind::kInteger, 8, 32},
};

// Here a section is a layer's type.
constexpr Rule kLayerParameters[] = {
    {"exposure", "exposure", Kind::kNumber, -100, 100},
    {"exposure", "contrast", Kind::kNumber, 0, 10},
    {"whiteBalance", "temperature", Kind::kNumber, 800, 40000},
    {"colorGain", "red", Kind::kNumber, 0, 1000},
    {"colorGain", "green", Kind::kNumber, 0, 1000},
    {"colorGain", "blue", Kind::kNumber, 0, 1000},
    {"saturation", "saturation", Kind::kNumber, 0, 10},
    {"gamma", "gamma", Kind::kNumber, 0.01, 100},
};

constexpr Rule kEveryLayer[] = {
    {"", "name", Kind::kText, 0, 0},
    {"", "enabled", Kind::kFlag, 0, 0},
    {"", "opacity", Kind::kNumber, 0, 1},
};

bool IsIntegral(const Json& value) {
  return value.is_number_integer() ||
         (value.is_number_float() && std::trunc(value.get<double>()) == value.get<double>());
}

bool Holds(const Rule& rule, const Json& value) {
  switch (rule.kind) {
    case Kind::kFlag:
      return value.is_boolean();
    case Kind::kText:
      return value.is_string();
    case Kind::kInteger:
    case Kind::kNumber:
      break;
  }
  if (!value.is_number()) return false;
  const double number = value.get<double>();
  return number >= rule.least && number <= rule.most && (rule.kind == Kind::kNumber || IsIntegral(value));
}

// Whether the documented keys of the object hold what they may.
bool HoldsAll(std::span<const Rule> rules, std::string_view section, const Json& object) {
  if (!object.is_object()) return false;
  for (const Rule& rule : rules) {
    if (section == rule.section && object.contains(rule.key) && !Holds(rule, object.at(rule.key)))
      return false;
  }
  return true;
}

Json DefaultsOf(const std::string& type) {
  const Json defaults = DefaultLayers();
  for (const Json& known : defaults.at("layers")) {
    if (known.at("type") == type) return known;
  }
  return {{"type", type}, {"name", type}, {"enabled", true}, {"opacity", 1.0}};
}

// A layer with every parameter of its type, or nothing.
std::optional<Json> CompleteLayer(const Json& layer) {
  if (!layer.is_object() || !layer.contains("type") || !layer.at("type").is_string()) return std::nullopt;
  const std::string& type = layer.at("type").get_ref<const std::string&>();
  Json given = Json::object();
  given.merge_patch(layer);  // without what is null
  Json whole = DefaultsOf(type);
  whole.update(given);
  const bool holds = HoldsAll(kEveryLayer, "", whole) && HoldsAll(kLayerParameters, type, whole);
  return holds ? std::optional<Json>(std::move(whole)) : std::nullopt;
}

}  // namespace

Json DefaultSettings() {
  return {
      {"window",
       {{"x", 0},
        {"y", 0},
        {"width", 640},
        {"height", 480},
        {"alwaysOnTop", false},
        {"interactivity", true},
        {"confirmClearImage", true}}},
      {"title", {{"prefix", ""}, {"projectPath", ""}}},
      {"progress", {{"enabled", false}, {"text", ""}, {"value", -1.0}}},
      {"display", {{"channel", "color"}, {"background", ""}}},
      {"history", {{"enabled", true}, {"maxPictures", 100}}},
      {"save",
       {{"multipleFiles", false},
        {"skipAlpha", false},
        {"frameNumber", false},
        {"noAlpha", false},
        {"singleChannel", false},
        {"skipRGB", false},
        {"writeIntegerIDs", false},
        {"velocityZeroBased", false},
        {"multiChannel", false},
        {"applyColorCorrections", false},
        {"compressionType", 0},
        {"bitsPerChannel", 32}}},
  };
}

Json DefaultLayers() {
  const auto layer = [](const char* type, const char* name, Json parameters) {
    parameters.update(Json{{"type", type}, {"name", name}, {"enabled", true}, {"opacity", 1.0}});
    return parameters;
  };
  Json list = Json::array();
  list.push_back(layer("exposure", "Exposure", {{"exposure", 0.0}, {"contrast", 1.0}}));
  list.push_back(layer("whiteBalance", "White balance", {{"temperature", 6500.0}}));
  list.push_back(layer("colorGain", "Colour gain", {{"red", 1.0}, {"green", 1.0}, {"blue", 1.0}}));
  list.push_back(layer("saturation", "Saturation", {{"saturation", 1.0}}));
  list.push_back(layer("gamma", "Gamma", {{"gamma", 1.0}}));
  return {{"layers", std::move(list)}};
}

std::optional<Json> ParseDocument(std::string_view text) {
  bool deep = false;
  // What is too deep is dropped as it is read: writing a document goes as deep as the document does.
  const auto shallow = [&](int depth, Json::parse_event_t, Json&) {
    deep = deep || depth > kMostDepth;
    return !deep;
  };
  Json document = Json::parse(text, shallow, false);
  if (deep || !document.is_object()) return std::nullopt;
  return document;
}

std::optional<Json> MergeSettings(const Json& settings, const Json& change) {
  if (!change.is_object()) return std::nullopt;
  Json wanted = settings;
  wanted.merge_patch(change);
  Json merged = DefaultSettings();
  merged.merge_patch(wanted);
  const Json defaults = DefaultSettings();
  for (const auto& [section, parts] : defaults.items()) {
    if (!HoldsAll(kSettings, section, merged.at(section))) return std::nullopt;
  }
  const int bits = merged.at("save").at("bitsPerChannel").get<int>();
  if (bits != 8 && bits != 16 && bits != 32) return std::nullopt;
  return merged;
}

std::optional<Json> MergeLayers(const Json& layers, const Json& change) {
  if (!change.is_object()) return std::nullopt;
  Json wanted = layers;
  wanted.merge_patch(change);
  Json merged = DefaultLayers();
  merged.merge_patch(wanted);
  Json& list = merged.at("layers");
  if (!list.is_array()) return std::nullopt;
  for (Json& layer : list) {
    std::optional<Json> whole = CompleteLayer(layer);
    if (!whole) return std::nullopt;
    layer = std::move(*whole);
  }
  return merged;
}

}  // namespace kiln::engine::window
