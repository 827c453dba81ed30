// Reading of single values of the scene text.
#include "engine/formats/scene_text_values.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "engine/formats/base64.h"
#include "engine/formats/deflate.h"
#include "engine/formats/scene_text_transform.h"

namespace kiln::engine::formats {
namespace {

using scene::Type;
using scene::Value;

static_assert(std::endian::native == std::endian::little, "base64 lists are stored little-endian");

uint32_t LineOf(const toml::node& node) {
  return node.source().begin.line;
}

bool IsGeneric(Type type) {
  return type == Type::kObjectList || type == Type::kUnspecified;
}

bool IsNumberListType(Type type) {
  return type == Type::kIntList || type == Type::kFloatList || type == Type::kBooleanList ||
         type == Type::kVectorList || type == Type::kColorList;
}

// The element type of a list whose elements are texts or references; nothing for other types.
std::optional<Type> NamedElementType(Type type) {
  switch (type) {
    case Type::kStringList:
    case Type::kPluginList:
    case Type::kTextureList:
    case Type::kTextureFloatList:
    case Type::kTextureMatrixList:
    case Type::kTextureTransformList:
      return static_cast<Type>(static_cast<int32_t>(type) - static_cast<int32_t>(Type::kIntList));
    default:
      return {};
  }
}

Value ReadInteger(int64_t number) {
  const bool small =
      number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max();
  return small ? Value(static_cast<int32_t>(number)) : Value(static_cast<double>(number));
}

template <class T>
Value MakeList(std::span<const std::byte> bytes) {
  std::vector<T> elements(bytes.size() / sizeof(T));
  if (!elements.empty()) std::memcpy(elements.data(), bytes.data(), bytes.size());
  return scene::Array<T>(std::move(elements));
}

template <class T>
Value DecodeList(std::string_view data, uint32_t line) {
  const std::optional<std::vector<std::byte>> bytes = DecodeBase64(data);
  if (!bytes) throw SceneTextError(line, "the base64 data is malformed");
  if (bytes->size() % sizeof(T) != 0)
    throw SceneTextError(line, "the base64 data is no whole number of elements");
  return MakeList<T>(*bytes);
}

// "<count>:<base64>"
template <class T>
Value InflateList(std::string_view data, uint32_t line) {
  uint32_t count = 0;
  const auto [end, error] = std::from_chars(data.data(), data.data() + data.size(), count);
  const auto digits = static_cast<size_t>(end - data.data());
  if (error != std::errc() || digits == data.size() || *end != ':')
    throw SceneTextError(line, "the deflated data does not say how many elements it has");
  const std::optional<std::vector<std::byte>> deflated = DecodeBase64(data.substr(digits + 1));
  if (!deflated) throw SceneTextError(line, "the base64 data is malformed");
  const std::optional<std::vector<std::byte>> bytes = Inflate(*deflated, size_t{count} * sizeof(T));
  if (!bytes) throw SceneTextError(line, "the deflated data is damaged");
  return MakeList<T>(*bytes);
}

Value ReadString(const std::string& text, Type type, uint32_t line, const ReferenceLookup& lookup) {
  if (type == Type::kString || IsGeneric(type)) return text;
  if (scene::TakesReference(type)) return text.empty() ? scene::PluginRef{} : lookup(text, line);
  if (IsNumberListType(type)) {
    if (text.starts_with(kBase64Floats))
      return DecodeList<float>(std::string_view(text).substr(kBase64Floats.size()), line);
    if (text.starts_with(kBase64Ints))
      return DecodeList<int32_t>(std::string_view(text).substr(kBase64Ints.size()), line);
    if (text.starts_with(kDeflatedFloats))
      return InflateList<float>(std::string_view(text).substr(kDeflatedFloats.size()), line);
    if (text.starts_with(kDeflatedInts))
      return InflateList<int32_t>(std::string_view(text).substr(kDeflatedInts.size()), line);
  }
  throw SceneTextError(line, "a text stands where " + DescribeType(type) + " is expected");
}

// Arrays of numbers: what they are is the coercion's business.
Value ReadNumbers(const toml::array& array, Type type) {
  std::vector<Value> elements;
  elements.reserve(array.size());
  for (const toml::node& node : array) {
    if (const auto* integer = node.as_integer()) {
      elements.push_back(ReadInteger(integer->get()));
    } else if (const auto* number = node.as_floating_point()) {
      elements.emplace_back(number->get());
    } else if (const auto* boolean = node.as_boolean(); boolean != nullptr && type == Type::kBooleanList) {
      elements.emplace_back(boolean->get());
    } else if (const auto* nested = node.as_array()) {
      elements.push_back(ReadNumbers(*nested, type));
    } else {
      throw SceneTextError(LineOf(node),
                           "an element is no number where " + DescribeType(type) + " is expected");
    }
  }
  return scene::ValueArray(std::move(elements));
}

Value ReadArray(const toml::array& array, Type type, const ReferenceLookup& lookup) {
  const std::optional<Type> named = NamedElementType(type);
  if (!named && !IsGeneric(type)) return ReadNumbers(array, type);
  std::vector<Value> elements;
  elements.reserve(array.size());
  for (const toml::node& node : array) {
    elements.push_back(ReadValue(node, named.value_or(Type::kUnspecified), lookup));
  }
  return scene::ValueArray(std::move(elements));
}

Value ReadTable(const toml::table& table, Type type, const ReferenceLookup& lookup) {
  if (type == Type::kTransform || type == Type::kTextureTransform) return ReadTransform(table);
  if (!IsGeneric(type) || table.size() != 1) {
    throw SceneTextError(LineOf(table), "a table stands where " + DescribeType(type) +
                                            " is expected (key frames are a table of times)");
  }
  const auto entry = table.begin();
  const toml::node& node = entry->second;
  const auto* tag =
      std::ranges::find(kTaggedTypes, entry->first.str(), [](const auto& t) { return t.first; });
  if (tag == kTaggedTypes.end()) {
    throw SceneTextError(LineOf(node), "\"" + std::string(entry->first.str()) + "\" is no type of value");
  }
  std::optional<Value> value = scene::Coerce(ReadValue(node, tag->second, lookup), tag->second);
  if (!value) throw SceneTextError(LineOf(node), DescribeType(tag->second) + " is expected here");
  return std::move(*value);
}

std::optional<double> ParseTime(std::string_view text) {
  double time = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), time);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(time)) return {};
  return time;
}

// Levenshtein's distance, by rows.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j < row.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j < row.size(); ++j) {
      const size_t substituted = diagonal + (a[i - 1] != b[j - 1] ? 1 : 0);
      diagonal = row[j];
      row[j] = std::min({substituted, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string DescribeType(Type type) {
  switch (type) {
    case Type::kInt:
      return "an integer";
    case Type::kFloat:
    case Type::kDouble:
      return "a number";
    case Type::kBoolean:
      return "true or false";
    case Type::kVector:
      return "a vector [x, y, z]";
    case Type::kColor:
      return "a colour [r, g, b]";
    case Type::kAColor:
      return "a colour [r, g, b, a]";
    case Type::kMatrix:
      return "a matrix of 9 numbers";
    case Type::kTransform:
      return "a transform of 12 numbers or a table";
    case Type::kString:
      return "a text";
    case Type::kPlugin:
      return "the name of an instance";
    case Type::kTexture:
      return "a colour, a number or the name of an instance";
    case Type::kTextureFloat:
      return "a number or the name of an instance";
    case Type::kTextureInt:
      return "an integer or the name of an instance";
    case Type::kTextureVector:
      return "a vector or the name of an instance";
    case Type::kTextureMatrix:
      return "a matrix or the name of an instance";
    case Type::kTextureTransform:
      return "a transform or the name of an instance";
    case Type::kIntList:
      return "a list of integers";
    case Type::kFloatList:
      return "a list of numbers";
    case Type::kBooleanList:
      return "a list of true and false";
    case Type::kVectorList:
      return "a list of vectors";
    case Type::kColorList:
      return "a list of colours";
    case Type::kStringList:
      return "a list of texts";
    case Type::kPluginList:
      return "a list of instance names";
    case Type::kTextureList:
    case Type::kTextureFloatList:
    case Type::kTextureMatrixList:
    case Type::kTextureTransformList:
      return "a list of constants and instance names";
    default:
      return "a list";
  }
}

std::string Suggestion(std::string_view name, const std::vector<std::string_view>& candidates) {
  // Names of any length can be in a file; only short ones are worth comparing.
  constexpr size_t kLongest = 64;
  size_t best = std::min(name.size() / 3 + 1, size_t{4});
  std::string_view nearest;
  for (const std::string_view candidate : candidates) {
    if (name.size() > kLongest || candidate.size() > kLongest) continue;
    const size_t distance = Distance(name, candidate);
    if (distance < best || (distance == best && nearest.empty())) {
      best = distance;
      nearest = candidate;
    }
  }
  return nearest.empty() ? std::string() : ", did you mean \"" + std::string(nearest) + "\"?";
}

std::optional<std::vector<std::pair<double, const toml::node*>>> KeyFramesOf(const toml::node& node) {
  const toml::table* table = node.as_table();
  if (table == nullptr || table->empty()) return {};
  std::vector<std::pair<double, const toml::node*>> frames;
  for (const auto& [key, value] : *table) {
    const std::optional<double> time = ParseTime(key.str());
    if (!time) return {};
    frames.emplace_back(*time, &value);
  }
  return frames;
}

Value ReadValue(const toml::node& node, Type type, const ReferenceLookup& lookup) {
  if (const auto* integer = node.as_integer()) return ReadInteger(integer->get());
  if (const auto* number = node.as_floating_point()) return number->get();
  if (const auto* boolean = node.as_boolean()) {
    if (type == Type::kBoolean || IsGeneric(type)) return boolean->get();
    throw SceneTextError(LineOf(node), "true or false stands where " + DescribeType(type) + " is expected");
  }
  if (const auto* text = node.as_string()) return ReadString(text->get(), type, LineOf(node), lookup);
  if (const auto* array = node.as_array()) return ReadArray(*array, type, lookup);
  if (const auto* table = node.as_table()) return ReadTable(*table, type, lookup);
  throw SceneTextError(LineOf(node), "a date stands where " + DescribeType(type) + " is expected");
}

}  // namespace kiln::engine::formats
