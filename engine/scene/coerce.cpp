// Conversion of values to declared types.
#include "engine/scene/coerce.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "engine/scene/value_text.h"

namespace kiln::engine::scene {
namespace {

// Deep nesting is never meant; it only exhausts the stack.
constexpr int kMaxDepth = 32;

std::optional<double> Number(const Value& value) {
  if (const auto* i = value.As<int32_t>()) return *i;
  if (const auto* f = value.As<float>()) return *f;
  if (const auto* d = value.As<double>()) return *d;
  if (const auto* b = value.As<bool>()) return *b ? 1 : 0;
  return {};
}

std::optional<int32_t> ToInt(double number) {
  if (!(number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max()))
    return {};
  if (number != std::floor(number)) return {};
  return static_cast<int32_t>(number);
}

// Appends the numbers of a value: one, a list's, or those of nested lists, vectors and colours.
bool AppendNumbers(const Value& value, std::vector<double>& numbers, int depth = 0) {
  if (const std::optional<double> number = Number(value)) {
    numbers.push_back(*number);
    return true;
  }
  if (const auto* v = value.As<Vec3>()) {
    numbers.insert(numbers.end(), {v->x, v->y, v->z});
    return true;
  }
  if (const auto* c = value.As<Color>()) {
    numbers.insert(numbers.end(), {c->r, c->g, c->b});
    return true;
  }
  if (const auto* ints = value.As<IntArray>()) {
    numbers.insert(numbers.end(), ints->begin(), ints->end());
    return true;
  }
  if (const auto* floats = value.As<FloatArray>()) {
    numbers.insert(numbers.end(), floats->begin(), floats->end());
    return true;
  }
  const auto* list = value.As<ValueArray>();
  if (list == nullptr || depth >= kMaxDepth) return false;
  for (const Value& element : *list) {
    if (!AppendNumbers(element, numbers, depth + 1)) return false;
  }
  return true;
}

bool IsNumberList(const Value& value) {
  return value.As<IntArray>() != nullptr || value.As<FloatArray>() != nullptr ||
         value.As<ValueArray>() != nullptr;
}

// Exactly n numbers, flat, as a fixed record is written.
template <size_t n>
std::optional<std::array<double, n>> Tuple(const Value& value) {
  const std::optional<size_t> size = ListSize(value);
  if (size != n || !IsNumberList(value)) return {};
  std::vector<double> numbers;
  numbers.reserve(n);
  if (!AppendNumbers(value, numbers) || numbers.size() != n) return {};
  std::array<double, n> tuple{};
  std::copy(numbers.begin(), numbers.end(), tuple.begin());
  return tuple;
}

Vec3 ToVec3(const double* n) {
  return {ToFloat(n[0]), ToFloat(n[1]), ToFloat(n[2])};
}
Color ToColor(const double* n) {
  return {ToFloat(n[0]), ToFloat(n[1]), ToFloat(n[2])};
}
Matrix ToMatrix(const double* n) {
  return {ToVec3(n), ToVec3(n + 3), ToVec3(n + 6)};
}

std::optional<Value> CoerceColor(const Value& value) {
  if (value.As<Color>() != nullptr) return value;
  if (const auto* c = value.As<AColor>()) return Color{c->r, c->g, c->b};
  if (const auto tuple = Tuple<3>(value)) return ToColor(tuple->data());
  return {};
}

std::optional<Value> CoerceAColor(const Value& value) {
  if (value.As<AColor>() != nullptr) return value;
  if (const auto* c = value.As<Color>()) return AColor{c->r, c->g, c->b, 1};
  if (const auto t = Tuple<4>(value))
    return AColor{ToFloat((*t)[0]), ToFloat((*t)[1]), ToFloat((*t)[2]), ToFloat((*t)[3])};
  if (const auto t = Tuple<3>(value)) return AColor{ToFloat((*t)[0]), ToFloat((*t)[1]), ToFloat((*t)[2]), 1};
  return {};
}

std::optional<Value> CoerceTransform(const Value& value) {
  if (value.As<Transform>() != nullptr) return value;
  if (const auto tuple = Tuple<12>(value)) {
    const double* n = tuple->data();
    return Transform{ToMatrix(n), {n[9], n[10], n[11]}};
  }
  return {};
}

// A constant in a colour texture: a colour, or a number as grey.
std::optional<Value> CoerceColorConstant(const Value& value) {
  if (const std::optional<double> grey = Number(value)) {
    const float g = ToFloat(*grey);
    return Color{g, g, g};
  }
  return CoerceColor(value);
}

// A constant in a number texture: a number, or a colour that has no hue.
std::optional<double> NumberConstant(const Value& value) {
  if (const auto* c = value.As<Color>()) {
    if (c->r == c->g && c->g == c->b) return c->r;
    return {};
  }
  return Number(value);
}

std::optional<Value> CoerceInts(const Value& value, bool boolean) {
  if (!boolean && value.As<IntArray>() != nullptr) return value;
  std::vector<double> numbers;
  if (!IsNumberList(value) || !AppendNumbers(value, numbers)) return {};
  std::vector<int32_t> ints;
  ints.reserve(numbers.size());
  for (const double number : numbers) {
    const std::optional<int32_t> i = boolean ? static_cast<int32_t>(number != 0) : ToInt(number);
    if (!i) return {};
    ints.push_back(*i);
  }
  return IntArray(std::move(ints));
}

std::optional<Value> CoerceFloats(const Value& value) {
  if (value.As<FloatArray>() != nullptr) return value;
  std::vector<double> numbers;
  if (!IsNumberList(value) || !AppendNumbers(value, numbers)) return {};
  std::vector<float> floats(numbers.size());
  std::ranges::transform(numbers, floats.begin(), ToFloat);
  return FloatArray(std::move(floats));
}

// Triples: as vectors or colours, or as flat numbers whose count is a multiple of three.
template <class T, class Make>
std::optional<Value> CoerceTriples(const Value& value, Make make) {
  if (value.As<Array<T>>() != nullptr) return value;
  if (const auto* floats = value.As<FloatArray>()) {
    if (floats->size() % 3 != 0) return {};
    std::vector<T> triples(floats->size() / 3);
    if (!triples.empty())
      std::memcpy(static_cast<void*>(triples.data()), floats->data(), triples.size() * sizeof(T));
    return Array<T>(std::move(triples));
  }
  std::vector<double> numbers;
  if (!IsNumberList(value)) return {};
  if (const auto* list = value.As<ValueArray>()) {
    for (const Value& element : *list) {
      const bool triple = element.As<T>() != nullptr || ListSize(element) == 3;
      if (!triple && !Number(element)) return {};
    }
  }
  if (!AppendNumbers(value, numbers) || numbers.size() % 3 != 0) return {};
  std::vector<T> triples;
  triples.reserve(numbers.size() / 3);
  for (size_t i = 0; i < numbers.size(); i += 3) triples.push_back(make(numbers.data() + i));
  return Array<T>(std::move(triples));
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
  return depth < kMaxDepth && std::ranges::all_of(*list, [depth](const Value& element) {
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

std::optional<Value> CoerceNumber(const Value& value, Type type) {
  const std::optional<double> number = Number(value);
  if (!number) return {};
  switch (type) {
    case Type::kInt: {
      const std::optional<int32_t> i = ToInt(*number);
      return i ? std::optional<Value>(*i) : std::nullopt;
    }
    case Type::kFloat:
      return value.As<float>() != nullptr ? value : Value(ToFloat(*number));
    case Type::kDouble:
      return *number;
    default:
      return *number != 0;
  }
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

std::optional<Value> CoerceRecord(const Value& value, Type type) {
  switch (type) {
    case Type::kVector:
      if (value.As<Vec3>() != nullptr) return value;
      if (const auto tuple = Tuple<3>(value)) return ToVec3(tuple->data());
      return {};
    case Type::kColor:
      return CoerceColor(value);
    case Type::kAColor:
      return CoerceAColor(value);
    case Type::kMatrix:
      if (value.As<Matrix>() != nullptr) return value;
      if (const auto tuple = Tuple<9>(value)) return ToMatrix(tuple->data());
      return {};
    default:
      return CoerceTransform(value);
  }
}

}  // namespace

float ToFloat(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  constexpr double kFirstInfinite = 0x1.ffffffp127;
  if (std::abs(number) <= kLargest || std::isnan(number)) return static_cast<float>(number);
  const double rounded =
      std::abs(number) < kFirstInfinite ? kLargest : std::numeric_limits<double>::infinity();
  return static_cast<float>(std::copysign(rounded, number));
}

bool TakesReference(Type type) {
  switch (type) {
    case Type::kPlugin:
    case Type::kTexture:
    case Type::kTextureFloat:
    case Type::kTextureInt:
    case Type::kTextureVector:
    case Type::kTextureMatrix:
    case Type::kTextureTransform:
      return true;
    default:
      return false;
  }
}

bool IsReset(const Value& value) {
  const auto* reference = value.As<PluginRef>();
  return reference != nullptr && !*reference;
}

std::optional<size_t> ListSize(const Value& value) {
  return std::visit(
      []<class T>(const T& data) -> std::optional<size_t> {
        if constexpr (
            requires { typename T::value_type; } || !requires { data.size(); }) {
          return {};
        } else {
          return data.size();
        }
      },
      value.data);
}

Value ZeroValue(Type type) {
  switch (type) {
    case Type::kInt:
      return int32_t{0};
    case Type::kFloat:
      return 0.0F;
    case Type::kDouble:
      return 0.0;
    case Type::kBoolean:
      return false;
    case Type::kVector:
      return Vec3{};
    case Type::kColor:
      return Color{};
    case Type::kAColor:
      return AColor{};
    case Type::kMatrix:
      return Matrix{};
    case Type::kTransform:
      return Transform{};
    case Type::kString:
      return std::string();
    case Type::kIntList:
    case Type::kBooleanList:
      return IntArray();
    case Type::kFloatList:
      return FloatArray();
    case Type::kVectorList:
      return VectorArray();
    case Type::kColorList:
      return ColorArray();
    case Type::kStringList:
      return StringArray();
    case Type::kObjectList:
    case Type::kPluginList:
    case Type::kTextureList:
    case Type::kTextureFloatList:
    case Type::kTextureMatrixList:
    case Type::kTextureTransformList:
      return ValueArray();
    default:
      return TakesReference(type) ? Value(PluginRef{}) : Value();
  }
}

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
      return CoerceInts(value, type == Type::kBooleanList);
    case Type::kFloatList:
      return CoerceFloats(value);
    case Type::kVectorList:
      return CoerceTriples<Vec3>(value, ToVec3);
    case Type::kColorList:
      return CoerceTriples<Color>(value, ToColor);
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
