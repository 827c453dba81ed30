// Conversion of values to declared types.
#include "engine/scene/coerce.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "engine/scene/value_text.h"

namespace kiln::engine::scene {
namespace {

Value List(std::vector<Value> values) {
  return ValueArray(std::move(values));
}
IntArray Ints(std::vector<int32_t> values) {
  return IntArray(std::move(values));
}
FloatArray Floats(std::vector<float> values) {
  return FloatArray(std::move(values));
}

struct Case {
  Value from;
  Type type;
  std::optional<Value> to;
};

void Check(const std::vector<Case>& cases) {
  for (size_t i = 0; i < cases.size(); ++i) {
    const std::optional<Value> got = Coerce(cases[i].from, cases[i].type);
    ASSERT_EQ(got.has_value(), cases[i].to.has_value()) << "case " << i;
    if (got) {
      EXPECT_EQ(got->data.index(), cases[i].to->data.index()) << "case " << i;
      EXPECT_TRUE(*got == *cases[i].to) << "case " << i;
    }
  }
}

TEST(Coerce, NumbersAndBooleans) {
  Check({
      {3, Type::kFloat, Value(3.0F)},
      {3, Type::kDouble, Value(3.0)},
      {3, Type::kBoolean, Value(true)},
      {0.0, Type::kBoolean, Value(false)},
      {true, Type::kInt, Value(1)},
      {0.1, Type::kFloat, Value(0.1F)},
      {0.5F, Type::kDouble, Value(0.5)},
      {4.0, Type::kInt, Value(4)},
      {4.5, Type::kInt, {}},
      {2147483648.0, Type::kInt, {}},
      {-2147483648.0, Type::kInt, Value(std::numeric_limits<int32_t>::min())},
      {std::nan(""), Type::kInt, {}},
      {1e300, Type::kFloat, Value(std::numeric_limits<float>::infinity())},
      {3.4028235e38, Type::kFloat, Value(std::numeric_limits<float>::max())},
      {-3.4028236e38, Type::kFloat, Value(-std::numeric_limits<float>::infinity())},
      {Vec3{}, Type::kFloat, {}},
      {Value(), Type::kInt, {}},
  });
}

TEST(Coerce, TextsAreParsedAgainstTheType) {
  Check({
      {"0.5", Type::kFloat, Value(0.5F)},
      {" -3 ", Type::kInt, Value(-3)},
      {"+3", Type::kInt, Value(3)},
      {"3.5", Type::kInt, {}},
      {"3x", Type::kInt, {}},
      {"", Type::kFloat, {}},
      {"true", Type::kBoolean, Value(true)},
      {"0", Type::kBoolean, Value(false)},
      {"yes", Type::kBoolean, {}},
      {"1 0 0", Type::kColor, Value(Color{1, 0, 0})},
      {"[1, 0.5, 0]", Type::kVector, Value(Vec3{1, 0.5F, 0})},
      {"1 0", Type::kVector, {}},
      {"1 0 0", Type::kTexture, Value(Color{1, 0, 0})},
      {"0.25", Type::kTexture, Value(Color{0.25F, 0.25F, 0.25F})},
      {"0.25", Type::kTextureFloat, Value(0.25F)},
      {"", Type::kTexture, Value(PluginRef{})},
      {"", Type::kPlugin, Value(PluginRef{})},
      {"somebody", Type::kPlugin, {}},
      {"1 2 3", Type::kIntList, Value(Ints({1, 2, 3}))},
      {"", Type::kIntList, Value(Ints({}))},
      {"1 2 3 4 5 6", Type::kVectorList, Value(VectorArray({{1, 2, 3}, {4, 5, 6}}))},
      {"1 2 3 4", Type::kVectorList, {}},
      {R"(["a", "b\"c"])", Type::kStringList, Value(StringArray({"a", "b\"c"}))},
      {R"(["a" "b"])", Type::kStringList, {}},
      {R"(["a)", Type::kStringList, Value(StringArray({"[\"a"}))},
      {"5", Type::kString, Value("5")},
      {5, Type::kString, {}},
  });
}

TEST(Coerce, ArraysOfNumbersAreRecords) {
  Check({
      {List({1, 2.5, 0.5F}), Type::kVector, Value(Vec3{1, 2.5F, 0.5F})},
      {Ints({1, 2, 3}), Type::kColor, Value(Color{1, 2, 3})},
      {Floats({1, 2, 3, 4}), Type::kAColor, Value(AColor{1, 2, 3, 4})},
      {Floats({1, 2, 3}), Type::kAColor, Value(AColor{1, 2, 3, 1})},
      {Floats({1, 2}), Type::kVector, {}},
      {Floats({1, 2, 3, 4, 5, 6, 7, 8, 9}), Type::kMatrix, Value(Matrix{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}})},
      {List({1, 0, 0, 0, 1, 0, 0, 0, 1, 1e9 + 0.125, 2, 3}), Type::kTransform,
       Value(Transform{{}, {1e9 + 0.125, 2, 3}})},
      {Matrix{}, Type::kTransform, {}},
      {Transform{}, Type::kMatrix, {}},
      {List({1, 2, "x"}), Type::kVector, {}},
  });
}

TEST(Coerce, ColoursAndVectorsStayApart) {
  Check({
      {Color{1, 2, 3}, Type::kAColor, Value(AColor{1, 2, 3, 1})},
      {AColor{1, 2, 3, 0.5F}, Type::kColor, Value(Color{1, 2, 3})},
      {Vec3{1, 2, 3}, Type::kColor, {}},
      {Color{1, 2, 3}, Type::kVector, {}},
  });
}

TEST(Coerce, TexturesTakeConstantsAndReferences) {
  const PluginRef reference{5, 1};
  Check({
      {Color{1, 2, 3}, Type::kTexture, Value(Color{1, 2, 3})},
      {AColor{1, 2, 3, 0}, Type::kTexture, Value(Color{1, 2, 3})},
      {2, Type::kTexture, Value(Color{2, 2, 2})},
      {reference, Type::kTexture, Value(reference)},
      {0.5, Type::kTextureFloat, Value(0.5F)},
      {Color{2, 2, 2}, Type::kTextureFloat, Value(2.0F)},
      {Color{2, 2, 3}, Type::kTextureFloat, {}},
      {reference, Type::kTextureFloat, Value(reference)},
      {4, Type::kTextureInt, Value(4)},
      {Vec3{1, 2, 3}, Type::kTextureVector, Value(Vec3{1, 2, 3})},
      {Matrix{}, Type::kTextureMatrix, Value(Matrix{})},
      {Transform{}, Type::kTextureTransform, Value(Transform{})},
      {reference, Type::kPlugin, Value(reference)},
      {reference, Type::kFloat, {}},
      {1.0F, Type::kPlugin, {}},
      {1.0F, Type::kOutputTexture, {}},
  });
}

TEST(Coerce, Lists) {
  Check({
      {Ints({1, 2}), Type::kFloatList, Value(Floats({1, 2}))},
      {Floats({1, 2}), Type::kIntList, Value(Ints({1, 2}))},
      {Floats({1, 2.5F}), Type::kIntList, {}},
      {List({1, 2.0, true}), Type::kIntList, Value(Ints({1, 2, 1}))},
      {List({true, false, 5}), Type::kBooleanList, Value(Ints({1, 0, 1}))},
      {List({List({1, 2, 3}), Vec3{4, 5, 6}}), Type::kVectorList, Value(VectorArray({{1, 2, 3}, {4, 5, 6}}))},
      {Floats({1, 2, 3, 4, 5, 6}), Type::kColorList, Value(ColorArray({{1, 2, 3}, {4, 5, 6}}))},
      {Floats({1, 2, 3, 4}), Type::kColorList, {}},
      {List({List({1, 2})}), Type::kVectorList, {}},
      {VectorArray({{1, 2, 3}}), Type::kColorList, {}},
      {List({}), Type::kVectorList, Value(VectorArray())},
      {List({}), Type::kStringList, Value(StringArray())},
      {List({"a", "b"}), Type::kStringList, Value(StringArray({"a", "b"}))},
      {List({"a", 1}), Type::kStringList, {}},
      {List({PluginRef{3}, PluginRef{}}), Type::kPluginList, Value(List({PluginRef{3}, PluginRef{}}))},
      {List({PluginRef{3}, 1}), Type::kPluginList, {}},
      {List({PluginRef{3}, 1}), Type::kTextureList, Value(List({PluginRef{3}, Color{1, 1, 1}}))},
      {Floats({1, 2}), Type::kTextureFloatList, Value(List({1.0F, 2.0F}))},
      {List({1, "x", List({2})}), Type::kObjectList, Value(List({1, "x", List({2})}))},
      {1, Type::kObjectList, {}},
      {1, Type::kIntList, {}},
  });
}

TEST(Coerce, NestingWithoutEndIsRefused) {
  Value nested = List({1});
  for (int i = 0; i < 10000; ++i) nested = List({std::move(nested)});
  EXPECT_FALSE(Coerce(nested, Type::kFloatList));
  EXPECT_FALSE(Coerce(nested, Type::kObjectList));
  EXPECT_FALSE(Coerce(nested, Type::kUnspecified));
  // Its own destruction recurses as deep, so it is taken apart from the outside.
  while (const auto* list = nested.As<ValueArray>()) {
    Value inner = (*list)[0];
    nested = std::move(inner);
  }
}

TEST(Coerce, BigListsAreSharedAndNotCopied) {
  const FloatArray floats = Floats(std::vector<float>(1000, 1));
  const std::optional<Value> same = Coerce(floats, Type::kFloatList);
  ASSERT_TRUE(same);
  EXPECT_EQ(same->As<FloatArray>()->data(), floats.data());
}

TEST(ValueText, FormatsWhatItParses) {
  const auto no_name = [](const PluginRef&) { return std::string("x"); };
  const std::vector<std::pair<Value, Type>> values = {
      {0.1F, Type::kFloat},
      {-5, Type::kInt},
      {true, Type::kBoolean},
      {1.0 / 3, Type::kDouble},
      {Vec3{0.1F, 1e-20F, -3e20F}, Type::kVector},
      {Transform{{}, {1e9 + 0.1, 0, -1}}, Type::kTransform},
      {FloatArray({0.1F, 0.7F}), Type::kFloatList},
      {VectorArray({{1, 2, 3}, {4, 5, 6}}), Type::kVectorList},
      {StringArray({"a b", "c\"d\\", ""}), Type::kStringList},
      {StringArray(), Type::kStringList},
      {std::numeric_limits<float>::infinity(), Type::kFloat},
  };
  for (const auto& [value, type] : values) {
    const std::string text = FormatValue(value, no_name);
    const std::optional<Value> back = ParseValue(text, type);
    ASSERT_TRUE(back) << text;
    EXPECT_TRUE(*back == value) << text;
  }
  EXPECT_EQ(FormatValue(0.1F, no_name), "0.1");
  EXPECT_EQ(FormatValue(Vec3{1, 0, 0.5F}, no_name), "1.0 0.0 0.5");
  EXPECT_EQ(FormatValue(PluginRef{1}, no_name), "x");
}

TEST(ValueText, EveryFloatReadsBackThroughADouble) {
  uint32_t bits = 12345;
  for (int i = 0; i < 200000; ++i) {
    bits = bits * 1664525 + 1013904223;
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    const std::string text = FormatNumber(number);
    ASSERT_EQ(static_cast<float>(std::stod(text)), number) << text;
  }
}

}  // namespace
}  // namespace kiln::engine::scene
