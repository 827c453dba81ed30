// What types and values are by themselves: zeros, sizes, rounding.
#include <cmath>
#include <limits>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {

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

}  // namespace kiln::engine::scene
