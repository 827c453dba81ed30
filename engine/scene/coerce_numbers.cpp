// Conversion of numbers, records and lists of numbers.
#include "engine/scene/coerce_numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {
namespace {

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
  if (list == nullptr || depth >= kMaxNesting) return false;
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

}  // namespace

std::optional<double> Number(const Value& value) {
  if (const auto* i = value.As<int32_t>()) return *i;
  if (const auto* f = value.As<float>()) return *f;
  if (const auto* d = value.As<double>()) return *d;
  if (const auto* b = value.As<bool>()) return *b ? 1 : 0;
  return {};
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

std::optional<Value> CoerceNumberList(const Value& value, Type type) {
  switch (type) {
    case Type::kFloatList:
      return CoerceFloats(value);
    case Type::kVectorList:
      return CoerceTriples<Vec3>(value, ToVec3);
    case Type::kColorList:
      return CoerceTriples<Color>(value, ToColor);
    default:
      return CoerceInts(value, type == Type::kBooleanList);
  }
}

}  // namespace kiln::engine::scene
