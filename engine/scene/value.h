// A property value: one variant over every declared type, with big lists shared and never copied.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "engine/utilities/math.h"

namespace kiln::engine::scene {

using PluginId = uint64_t;
// No plugin; 0 is none either.
inline constexpr PluginId kNoPlugin = ~PluginId{0};

// Declared types. The numbers are those that cross the boundary.
enum class Type : int32_t {
  kInt = 0,
  kFloat = 1,
  kDouble = 2,
  kBoolean = 3,
  kVector = 4,
  kColor = 5,
  kAColor = 6,
  kMatrix = 7,
  kTransform = 8,
  kString = 9,
  kPlugin = 10,
  kTexture = 11,
  kObjectList = 12,
  kTextureFloat = 13,
  kTextureInt = 14,
  kTextureVector = 15,
  kTextureMatrix = 16,
  kTextureTransform = 17,
  kIntList = 100,
  kFloatList = 101,
  kBooleanList = 103,
  kVectorList = 104,
  kColorList = 105,
  kStringList = 109,
  kPluginList = 110,
  kTextureList = 111,
  kTextureFloatList = 113,
  kTextureMatrixList = 116,
  kTextureTransformList = 117,
  kOutputTexture = 1000,
  kOutputTextureFloat = 1001,
  kOutputTextureInt = 1002,
  kOutputTextureVector = 1003,
  kOutputTextureMatrix = 1004,
  kOutputTextureTransform = 1005,
  kUnspecified = 10000,
};

// A plugin, or one of its outputs when `output` is above 0.
struct PluginRef {
  PluginId id = kNoPlugin;
  uint32_t output = 0;
  explicit operator bool() const { return id != 0 && id != kNoPlugin; }
  friend bool operator==(const PluginRef&, const PluginRef&) = default;
};

// An immutable array with shared ownership of whatever holds its memory: our own vector, or the host's block.
template <class T>
class Array {
 public:
  Array() = default;
  explicit Array(std::vector<T> elements) {
    auto owner = std::make_shared<const std::vector<T>>(std::move(elements));
    size_ = owner->size();
    data_ = std::shared_ptr<const T>(owner, owner->data());
  }
  // Memory of another owner, alive as long as `data` is.
  Array(std::shared_ptr<const T> data, size_t size) : data_(std::move(data)), size_(size) {}

  const T* data() const { return data_.get(); }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const T* begin() const { return data(); }
  const T* end() const { return data() + size_; }
  const T& operator[](size_t i) const { return data()[i]; }
  friend bool operator==(const Array& a, const Array& b) {
    return a.size_ == b.size_ && (a.data() == b.data() || std::equal(a.begin(), a.end(), b.begin()));
  }

 private:
  std::shared_ptr<const T> data_;
  size_t size_ = 0;
};

struct Value;
using IntArray = Array<int32_t>;
using FloatArray = Array<float>;
using VectorArray = Array<Vec3>;
using ColorArray = Array<Color>;
using StringArray = Array<std::string>;
using ValueArray = Array<Value>;

// monostate is "no value". Plugin and texture properties hold a PluginRef, or a constant where the type
// allows it.
struct Value {
  std::variant<std::monostate, int32_t, float, double, bool, Vec3, Color, AColor, Matrix, Transform,
               std::string, PluginRef, IntArray, FloatArray, VectorArray, ColorArray, StringArray, ValueArray>
      data;

  Value() = default;
  // A value is what it holds. The constraint keeps copies from this constructor, which the check does not
  // see.
  template <class T>
  // NOLINTNEXTLINE(bugprone-forwarding-reference-overload)
  requires(!std::is_same_v<std::remove_cvref_t<T>, Value>) Value(T&& value) : data(std::forward<T>(value)) {}
  Value(const char* text) : data(std::string(text)) {}
  bool Empty() const { return std::holds_alternative<std::monostate>(data); }
  template <class T>
  const T* As() const {
    return std::get_if<T>(&data);
  }
  friend bool operator==(const Value& a, const Value& b) { return a.data == b.data; }
};

}  // namespace kiln::engine::scene
