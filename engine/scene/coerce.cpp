// Conversion of values to declared types.
#include "engine/scene/coerce.h"

#include <algorithm>

#include "engine/scene/coerce_numbers.h"
#include "engine/scene/value_text.h"

namespace kiln::engine::scene {
namespace {

// A constant in a colour texture: a colour, or a number as grey.
std::optional<Value> CoerceColorConstant(const Value& value) {
  if (const std::optional<double> grey = Number(value)) {
    const float g = ToFloat(*grey);
    return Color{g, g, g};
  }
  return CoerceRecord(value, Type::kColor);
}

// A constant in a number texture: a number, or a colour that has no hue.
std::optional<double> NumberConstant(const Value& value) {
  if (const auto* c = value.As<Color>()) {
    if (c->r == c->g && c->g == c->b) return c->r;
    return {};
  }
  return Number(value);
}

std::optional<Value> CoerceStrings(const Value& value) {
  if (value.As<StringArray>() != nullptr) return value;
  // An empty list has no kind of its own.
  const auto* list = value.As<ValueArray>();
  if (list == nullptr) return ListSize(value) == 0 ? std::optional<Value>(StringArray()) : std::nullopt;
  std::vector<std::string> texts;
  texts.reserve(list->size());
  for (const Value& element : *list) {
    const auto* text = element.As<std::string>();
    if (text == nullptr) return {};
    texts.push_back(*text);
  }
  return StringArray(std::move(texts));
}

// A generic list that is not nested too deep for the walks over it.
bool IsFlatEnough(const Value& value, int depth = 0) {
  const auto* list = value.As<ValueArray>();
  if (list == nullptr) return true;
  return depth < kMaxNesting && std::ranges::all_of(*list, [depth](const Value& element) {
           return IsFlatEnough(element, depth + 1);
         });
}

Type ElementType(Type list) {
  return static_cast<Type>(static_cast<int32_t>(list) - static_cast<int32_t>(Type::kIntList));
}

// Lists whose elements are values of their own: references, constants in texture lists.
std::optional<Value> CoerceValues(const Value& value, Type type, const Resolver& resolve) {
  std::vector<Value> elements;
  const auto take = [&](const Value& element) {
    std::optional<Value> coerced = CoerceWith(element, ElementType(type), resolve);
    if (coerced) elements.push_back(std::move(*coerced));
    return coerced.has_value();
  };
  const auto take_all = [&](const auto& array) {
    elements.reserve(array.size());
    return std::all_of(array.begin(), array.end(), [&](const auto& e) { return take(Value(e)); });
  };
  bool taken = false;
  if (const auto* values = value.As<ValueArray>()) taken = take_all(*values);
  if (const auto* ints = value.As<IntArray>()) taken = take_all(*ints);
  if (const auto* floats = value.As<FloatArray>()) taken = take_all(*floats);
  if (const auto* colors = value.As<ColorArray>()) taken = take_all(*colors);
  if (const auto* texts = value.As<StringArray>()) taken = take_all(*texts);
  if (!taken) return {};
  return ValueArray(std::move(elements));
}

// A text in a type that takes references: a name first, then a constant. Empty means no plugin.
std::optional<Value> CoerceReferenceText(const std::string& text, Type type, const Resolver& resolve) {
  if (text.empty()) return PluginRef{};
  if (resolve) {
    if (const std::optional<PluginRef> reference = resolve(text)) return *reference;
  }
  return ParseValue(text, type);
}

std::optional<Value> CoerceTexture(const Value& value, Type type) {
  if (value.As<PluginRef>() != nullptr) return value;
  switch (type) {
    case Type::kTexture:
      return CoerceColorConstant(value);
    case Type::kTextureFloat:
      if (const std::optional<double> n = NumberConstant(value)) return ToFloat(*n);
      return {};
    case Type::kTextureInt:
      return CoerceNumber(value, Type::kInt);
    case Type::kTextureVector:
      return Coerce(value, Type::kVector);
    case Type::kTextureMatrix:
      return Coerce(value, Type::kMatrix);
    default:
      return Coerce(value, Type::kTransform);
  }
}

}  // namespace

std::optional<Value> CoerceWith(Value value, Type type, const Resolver& resolve) {
  if (value.Empty()) return {};
  if (const auto* text = value.As<std::string>(); text != nullptr && type != Type::kString) {
    if (TakesReference(type)) return CoerceReferenceText(*text, type, resolve);
    return type == Type::kUnspecified ? std::optional<Value>(value) : ParseValue(*text, type, resolve);
  }
  switch (type) {
    case Type::kInt:
    case Type::kFloat:
    case Type::kDouble:
    case Type::kBoolean:
      return CoerceNumber(value, type);
    case Type::kVector:
    case Type::kColor:
    case Type::kAColor:
    case Type::kMatrix:
    case Type::kTransform:
      return CoerceRecord(value, type);
    case Type::kString:
      return value.As<std::string>() != nullptr ? std::optional<Value>(std::move(value)) : std::nullopt;
    case Type::kPlugin:
      return value.As<PluginRef>() != nullptr ? std::optional<Value>(std::move(value)) : std::nullopt;
    case Type::kTexture:
    case Type::kTextureFloat:
    case Type::kTextureInt:
    case Type::kTextureVector:
    case Type::kTextureMatrix:
    case Type::kTextureTransform:
      return CoerceTexture(value, type);
    case Type::kIntList:
    case Type::kBooleanList:
    case Type::kFloatList:
    case Type::kVectorList:
    case Type::kColorList:
      return CoerceNumberList(value, type);
    case Type::kStringList:
      return CoerceStrings(value);
    case Type::kPluginList:
    case Type::kTextureList:
    case Type::kTextureFloatList:
    case Type::kTextureMatrixList:
    case Type::kTextureTransformList:
      return CoerceValues(value, type, resolve);
    case Type::kObjectList:
      if (!ListSize(value)) return {};
      [[fallthrough]];
    case Type::kUnspecified:
      return IsFlatEnough(value) ? std::optional<Value>(std::move(value)) : std::nullopt;
    default:
      return {};  // outputs are not set
  }
}

std::optional<Value> Coerce(Value value, Type type) {
  return CoerceWith(std::move(value), type, {});
}

std::optional<Value> CoerceTo(Value value, const Property& property, const Resolver& resolve) {
  std::optional<Value> coerced = CoerceWith(std::move(value), property.type, resolve);
  if (coerced && property.elements >= 0) {
    const std::optional<size_t> size = ListSize(*coerced);
    if (size && *size != static_cast<size_t>(property.elements)) return {};
  }
  return coerced;
}

}  // namespace kiln::engine::scene
