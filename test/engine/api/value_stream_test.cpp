// The codec of value streams by itself: every tag in both directions, limits, and streams of nonsense.
#include "engine/api/value_stream.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <thread>

#include "engine/api/value_stream_memory.h"
#include "test/engine/api/stream_builder.h"

namespace kiln::engine::test {
namespace {

using api::DecodeValue;
using scene::ColorArray;
using scene::FloatArray;
using scene::IntArray;
using scene::PluginRef;
using scene::StringArray;
using scene::Type;
using scene::Value;
using scene::ValueArray;
using scene::VectorArray;

Value Decoded(const Stream& stream) {
  std::optional<Value> value = DecodeValue(stream.data(), {.bytes = stream.size()});
  EXPECT_TRUE(value.has_value());
  return value.value_or(Value());
}

IntArray Ints(std::vector<int32_t> elements) {
  return IntArray(std::move(elements));
}
FloatArray Floats(std::vector<float> elements) {
  return FloatArray(std::move(elements));
}
VectorArray Vectors(std::vector<Vec3> elements) {
  return VectorArray(std::move(elements));
}
ColorArray Colors(std::vector<Color> elements) {
  return ColorArray(std::move(elements));
}
StringArray Strings(std::vector<std::string> elements) {
  return StringArray(std::move(elements));
}
ValueArray Values(std::vector<Value> elements) {
  return ValueArray(std::move(elements));
}

bool Refused(const Stream& stream) {
  return !DecodeValue(stream.data(), {.bytes = stream.size()});
}

std::vector<char> Encoded(const Value& value, Type type = Type::kUnspecified) {
  std::vector<char> bytes(api::EncodedSize(value, type));
  api::EncodeValue(value, type, bytes.data());
  return bytes;
}

const Transform kTransform{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {1e9 + 0.125, -2, 3}};

Stream TransformStream() {
  return Stream().Word(28).Floats(1, 2, 3, 4, 5, 6, 7, 8, 9).Double(1e9 + 0.125).Double(-2).Double(3);
}

TEST(ValueStream, ReadsScalars) {
  EXPECT_EQ(Decoded(Stream().Word(0).Int(-7)), Value(int32_t{-7}));
  EXPECT_EQ(Decoded(Stream().Word(1).Float(0.5F)), Value(0.5F));
  EXPECT_EQ(Decoded(Stream().Word(2).Double(0.1)), Value(0.1));
  EXPECT_EQ(Decoded(Stream().Word(3).Word(0)), Value(false));
  EXPECT_EQ(Decoded(Stream().Word(3).Word(77)), Value(true));
}

TEST(ValueStream, ReadsRecords) {
  EXPECT_EQ(Decoded(Stream().Word(4).Floats(1, 2, 3)), Value(Vec3{1, 2, 3}));
  EXPECT_EQ(Decoded(Stream().Word(5).Floats(1, 2, 3)), Value(Color{1, 2, 3}));
  EXPECT_EQ(Decoded(Stream().Word(6).Floats(1, 2, 3, 4)), Value(AColor{1, 2, 3, 4}));
  EXPECT_EQ(Decoded(Stream().Word(7).Floats(1, 2, 3, 4, 5, 6, 7, 8, 9)),
            Value(Matrix{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
  EXPECT_EQ(Decoded(TransformStream()), Value(kTransform));
  EXPECT_EQ(Decoded(Stream().Word(8).Floats(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12)),
            Value(Transform{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {10, 11, 12}}));
}

TEST(ValueStream, ReadsTexts) {
  for (const char* text : {"", "a", "abc", "abcd", "abcde", "\xC3\xA9"})
    EXPECT_EQ(Decoded(Stream().Word(9).Text(text)), Value(text));
  EXPECT_EQ(Decoded(Stream().Word(9).Text(std::string_view("a\0b", 3))), Value(std::string("a\0b", 3)));
  EXPECT_EQ(Decoded(Stream().Word(109).Word(2).Text("one").Text("four")), Value(Strings({"one", "four"})));
  EXPECT_EQ(Decoded(Stream().Word(200).Pointer("elsewhere")), Value("elsewhere"));
}

TEST(ValueStream, ReadsReferences) {
  EXPECT_EQ(Decoded(Stream().Word(10).Long(5)), Value(PluginRef{5, 0}));
  EXPECT_EQ(Decoded(Stream().Word(210).Long(5).Word(2)), Value(PluginRef{5, 2}));
  EXPECT_EQ(Decoded(Stream().Word(10).Long(0)), Value(PluginRef{}));
  EXPECT_EQ(Decoded(Stream().Word(10).Long(KILN_NO_PLUGIN)), Value(PluginRef{}));
  EXPECT_EQ(Decoded(Stream().Word(210).Long(0).Word(2)), Value(PluginRef{}));
}

TEST(ValueStream, ReadsInlineLists) {
  EXPECT_EQ(Decoded(Stream().Word(100).Word(2).Int(-1).Int(5)), Value(Ints({-1, 5})));
  EXPECT_EQ(Decoded(Stream().Word(101).Word(2).Floats(1, 2)), Value(Floats({1, 2})));
  EXPECT_EQ(Decoded(Stream().Word(102).Word(2).Double(0.1).Double(2)),
            Value(Values({Value(0.1), Value(2.0)})));
  EXPECT_EQ(Decoded(Stream().Word(103).Word(2).Word(0).Word(1)), Value(Ints({0, 1})));
  EXPECT_EQ(Decoded(Stream().Word(104).Word(1).Floats(1, 2, 3)), Value(Vectors({{1, 2, 3}})));
  EXPECT_EQ(Decoded(Stream().Word(105).Word(1).Floats(1, 2, 3)), Value(Colors({{1, 2, 3}})));
  for (const uint32_t tag : {12, 100, 101, 102, 103, 104, 105, 109})
    EXPECT_FALSE(Refused(Stream().Word(tag).Word(0))) << tag;
}

TEST(ValueStream, ReadsListsOfAnything) {
  const Stream inner = Stream().Word(12).Word(1).Append(TransformStream());
  const Stream stream =
      Stream().Word(12).Word(4).Word(0).Int(1).Append(inner).Word(9).Text("text").Word(10).Long(9);
  EXPECT_EQ(Decoded(stream), Value(Values({int32_t{1}, Values({kTransform}), "text", PluginRef{9, 0}})));
}

TEST(ValueStream, CopiesBorrowedLists) {
  std::vector<float> floats{1, 2, 3, 4, 5, 6};
  std::vector<int32_t> ints{7, 8};
  const auto stream = [](uint32_t tag, uint32_t count, const void* data) {
    return Stream().Word(tag).Word(count).Pointer(data);
  };
  const Value copy = Decoded(stream(2001, 6, floats.data()));
  const Value vectors = Decoded(stream(2004, 2, floats.data()));
  const Value colors = Decoded(stream(2005, 2, floats.data()));
  EXPECT_EQ(Decoded(stream(2000, 2, ints.data())), Value(Ints({7, 8})));
  floats.assign(6, 0);
  EXPECT_EQ(copy, Value(Floats({1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(vectors, Value(Vectors({{1, 2, 3}, {4, 5, 6}})));
  EXPECT_EQ(colors, Value(Colors({{1, 2, 3}, {4, 5, 6}})));
  EXPECT_EQ(Decoded(stream(2001, 0, nullptr)), Value(FloatArray()));
  EXPECT_TRUE(Refused(stream(2001, 1, nullptr)));
}

// No property holds doubles: what becomes of a list of them loses nothing that a property could keep.
TEST(ValueStream, ListsOfDoublesKeepWhatAPropertyCanHold) {
  const auto decode = [](const std::vector<double>& numbers) {
    return Decoded(Stream().Word(2002).Word(static_cast<uint32_t>(numbers.size())).Pointer(numbers.data()));
  };
  EXPECT_EQ(decode({0.1, 1e300}), Value(Values({Value(0.1), Value(1e300)}))) << "short: exact";
  std::vector<double> numbers(1000, 16777217);
  EXPECT_EQ(decode(numbers), Value(IntArray(std::vector<int32_t>(1000, 16777217)))) << "whole numbers";
  numbers.back() = 0.1;
  const Value floats = decode(numbers);
  ASSERT_NE(floats.As<FloatArray>(), nullptr);
  EXPECT_EQ((*floats.As<FloatArray>())[999], 0.1F);
  numbers.back() = 3e9;
  EXPECT_NE(decode(numbers).As<FloatArray>(), nullptr) << "beyond an int";
  numbers.back() = std::numeric_limits<double>::quiet_NaN();
  EXPECT_NE(decode(numbers).As<FloatArray>(), nullptr);
}

TEST(ValueStream, AdoptsKeptListsWithoutACopy) {
  Loan<float> loan{{1, 2, 3, 4, 5, 6}};
  {
    const Value value = Decoded(loan.Lend(3004, 2));
    ASSERT_NE(value.As<VectorArray>(), nullptr);
    EXPECT_EQ(static_cast<const void*>(value.As<VectorArray>()->data()), loan.elements.data());
    EXPECT_EQ(value, Value(Vectors({{1, 2, 3}, {4, 5, 6}})));
    const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): it shares
    EXPECT_EQ(loan.releases, 0);
  }
  EXPECT_EQ(loan.releases, 1);
  EXPECT_EQ(loan.memory, loan.elements.data());
  EXPECT_EQ(loan.size, 24u);
  EXPECT_EQ(Decoded(loan.Lend(3001, 6)), Value(Floats({1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(Decoded(loan.Lend(3005, 1)), Value(Colors({{1, 2, 3}})));
  Loan<int32_t> ints{{4, 5}};
  EXPECT_EQ(Decoded(ints.Lend(3000, 2)), Value(Ints({4, 5})));
  EXPECT_EQ(loan.releases, 3);
  EXPECT_EQ(ints.releases, 1);
}

TEST(ValueStream, GivesKeptMemoryBackWhateverIsWrong) {
  Loan<float> loan{{1, 2, 3}};
  EXPECT_TRUE(Refused(Stream().Word(12).Word(2).Append(loan.Lend(3001, 3)).Word(4711).Word(0)));
  EXPECT_EQ(loan.releases, 1) << "a list with nonsense behind it";
  EXPECT_TRUE(Refused(loan.Lend(3001, api::kMaxStreamCount + 1)));
  EXPECT_EQ(loan.releases, 2) << "too many";
  EXPECT_TRUE(Refused(Stream()
                          .Word(3001)
                          .Word(3)
                          .Pointer(nullptr)
                          .Long(reinterpret_cast<uint64_t>(&Loan<float>::Release))
                          .Pointer(&loan)));
  EXPECT_EQ(loan.releases, 3) << "no memory";
  EXPECT_EQ(Decoded(loan.Lend(3001, 0)), Value(FloatArray()));
  EXPECT_EQ(loan.releases, 4) << "an empty list";
}

TEST(ValueStream, CopiesKeptMemoryThatCannotStay) {
  Loan<float> loan{{0, 0}};
  char* unaligned = reinterpret_cast<char*>(loan.elements.data()) + 1;
  const float number = 7;
  std::memcpy(unaligned, &number, sizeof(number));
  const Value value = Decoded(Stream()
                                  .Word(3001)
                                  .Word(1)
                                  .Pointer(unaligned)
                                  .Long(reinterpret_cast<uint64_t>(&Loan<float>::Release))
                                  .Pointer(&loan));
  EXPECT_EQ(value, Value(Floats({7})));
  EXPECT_EQ(loan.releases, 1) << "and gives it back at once";
  std::vector<float> floats{7};
  const Value copy = Decoded(Stream().Word(3001).Word(1).Pointer(floats.data()).Long(0).Long(0));
  floats[0] = 0;
  EXPECT_EQ(copy, Value(Floats({7}))) << "nobody says how long it lives";
}

TEST(ValueStream, ReleasesWaitForTheScopeOfTheirThread) {
  Loan<float> here{{1}};
  Loan<float> there{{2}};
  {
    const api::HostReleaseScope outer;
    {
      const api::HostReleaseScope inner;
      Decoded(here.Lend(3001, 1));
      EXPECT_EQ(here.releases, 0);
    }
    EXPECT_EQ(here.releases, 0) << "the outer scope goes on waiting";
    Decoded(here.Lend(3001, 1));
    std::thread([&] { Decoded(there.Lend(3001, 1)); }).join();
    EXPECT_EQ(there.releases, 1);
  }
  EXPECT_EQ(here.releases, 2);
}

TEST(ValueStream, RefusesWhatItDoesNotKnow) {
  EXPECT_FALSE(DecodeValue(nullptr));
  for (const uint32_t tag : {11U, 13U, 27U, 29U, 106U, 110U, 201U, 2003U, 3002U, 0xFFFFFFFFU})
    EXPECT_TRUE(Refused(Stream().Word(tag).Long(0).Long(0).Long(0).Long(0))) << tag;
}

TEST(ValueStream, RefusesCountsThatCannotBe) {
  // Streams of the boundary have no end, so the limits alone keep these from being read.
  for (const uint32_t tag : {9, 12, 100, 101, 102, 103, 104, 105, 109, 2000, 2001, 2002, 2004, 2005}) {
    const float element = 0;
    const Stream stream = Stream().Word(tag).Word(api::kMaxStreamCount + 1).Pointer(&element);
    EXPECT_FALSE(DecodeValue(stream.data())) << tag;
  }
  EXPECT_FALSE(DecodeValue(Stream().Word(200).Long(0).data()));
}

Stream Nested(int depth) {
  Stream stream;
  for (int i = 0; i < depth; ++i) stream.Word(12).Word(1);
  return stream.Word(0).Int(1);
}

TEST(ValueStream, RefusesListsNestedTooDeep) {
  EXPECT_FALSE(Refused(Nested(api::kMaxStreamDepth)));
  EXPECT_TRUE(Refused(Nested(api::kMaxStreamDepth + 1)));
}

TEST(ValueStream, ReadsNothingBehindItsEnd) {
  std::vector<Stream> streams{TransformStream(), Nested(3), Stream().Word(9).Text("hello"),
                              Stream().Word(109).Word(2).Text("a").Text("bcd"),
                              Stream().Word(104).Word(2).Floats(1, 2, 3, 4, 5, 6)};
  for (const Stream& stream : streams) {
    for (size_t size = 0; size < stream.size(); ++size) {
      const std::vector<char> cut(stream.bytes().begin(), stream.bytes().begin() + size);
      EXPECT_FALSE(DecodeValue(cut.data(), {.bytes = size}));
    }
  }
}

TEST(ValueStream, FollowsNoPointersOnRequest) {
  Loan<float> loan{{1}};
  for (const Stream& stream : {loan.Lend(3001, 1), Stream().Word(200).Pointer("text"),
                               Stream().Word(2001).Word(1).Pointer(loan.elements.data())})
    EXPECT_FALSE(DecodeValue(stream.data(), {.bytes = stream.size(), .pointers = false}));
  EXPECT_EQ(loan.releases, 0);
}

TEST(ValueStream, WritesWhatAHostReads) {
  EXPECT_EQ(Encoded(int32_t{-7}), Stream().Word(0).Int(-7).bytes());
  EXPECT_EQ(Encoded(0.5F), Stream().Word(1).Float(0.5F).bytes());
  EXPECT_EQ(Encoded(0.1), Stream().Word(2).Double(0.1).bytes());
  EXPECT_EQ(Encoded(true), Stream().Word(3).Word(1).bytes());
  EXPECT_EQ(Encoded(Vec3{1, 2, 3}), Stream().Word(4).Floats(1, 2, 3).bytes());
  EXPECT_EQ(Encoded(Color{1, 2, 3}), Stream().Word(5).Floats(1, 2, 3).bytes());
  EXPECT_EQ(Encoded(AColor{1, 2, 3, 4}), Stream().Word(6).Floats(1, 2, 3, 4).bytes());
  EXPECT_EQ(Encoded(kTransform.matrix), Stream().Word(7).Floats(1, 2, 3, 4, 5, 6, 7, 8, 9).bytes());
  EXPECT_EQ(Encoded(kTransform), TransformStream().bytes());
  EXPECT_EQ(TransformStream().size(), 64u);
  EXPECT_EQ(Encoded("four"), Stream().Word(9).Text("four").bytes());
  EXPECT_EQ(Encoded("four").size(), 16u) << "a zero word behind a whole one";
  EXPECT_EQ(Encoded("abc").size(), 12u);
  EXPECT_EQ(Encoded(PluginRef{5, 0}), Stream().Word(10).Long(5).bytes());
  EXPECT_EQ(Encoded(PluginRef{5, 2}), Stream().Word(210).Long(5).Word(2).bytes());
  EXPECT_EQ(Encoded(PluginRef{}), Stream().Word(10).Long(KILN_NO_PLUGIN).bytes());
  EXPECT_EQ(Encoded(PluginRef{0, 2}), Stream().Word(10).Long(KILN_NO_PLUGIN).bytes());
  EXPECT_TRUE(Encoded(Value()).empty());
}

TEST(ValueStream, WritesLists) {
  EXPECT_EQ(Encoded(Ints({1, 2})), Stream().Word(100).Word(2).Int(1).Int(2).bytes());
  EXPECT_EQ(Encoded(Ints({1, 0}), Type::kBooleanList), Stream().Word(103).Word(2).Int(1).Int(0).bytes());
  EXPECT_EQ(Encoded(Floats({1})), Stream().Word(101).Word(1).Float(1).bytes());
  EXPECT_EQ(Encoded(Vectors({{1, 2, 3}})), Stream().Word(104).Word(1).Floats(1, 2, 3).bytes());
  EXPECT_EQ(Encoded(Colors({{1, 2, 3}})), Stream().Word(105).Word(1).Floats(1, 2, 3).bytes());
  EXPECT_EQ(Encoded(Strings({"a", ""})), Stream().Word(109).Word(2).Text("a").Text("").bytes());
  EXPECT_EQ(Encoded(Values({int32_t{1}, Value()})),
            Stream().Word(12).Word(2).Word(0).Int(1).Word(10).Long(KILN_NO_PLUGIN).bytes());
  EXPECT_EQ(Encoded(VectorArray()), Stream().Word(104).Word(0).bytes());
}

// Bits, so that a NaN survives as well.
class RandomValues {
 public:
  explicit RandomValues(uint32_t seed) : random_(seed) {}

  Value Make(int depth = 0) {
    switch (Below(depth < 4 ? 17 : 12)) {
      case 0:
        return static_cast<int32_t>(random_());
      case 1:
        return Float();
      case 2:
        return static_cast<double>(random_()) / 3;
      case 3:
        return Below(2) == 1;
      case 4:
        return Vector();
      case 5:
        return Color{Float(), Float(), Float()};
      case 6:
        return AColor{Float(), Float(), Float(), Float()};
      case 7:
        return Matrix{Vector(), Vector(), Vector()};
      case 8:
        return Transform{{Vector(), Vector(), Vector()}, {1.0 / (1 + Below(9)), 2, 3}};
      case 9:
        return std::string(Below(20), static_cast<char>('a' + Below(26)));
      case 10:
        return PluginRef{1 + uint64_t{random_()}, Below(4)};
      case 11:
        return PluginRef{};
      case 12:
        return IntArray(std::vector<int32_t>(Below(40), static_cast<int32_t>(random_())));
      case 13:
        return FloatArray(std::vector<float>(Below(40), Float()));
      case 14:
        return VectorArray(std::vector<Vec3>(Below(40), Vector()));
      case 15:
        return StringArray(std::vector<std::string>(Below(9), std::string(Below(9), 'x')));
      default:
        return MakeList(depth);
    }
  }
  uint32_t Below(uint32_t limit) { return random_() % limit; }

 private:
  float Float() { return static_cast<float>(static_cast<int32_t>(random_())) / 1024; }
  Vec3 Vector() { return {Float(), Float(), Float()}; }
  Value MakeList(int depth) {
    std::vector<Value> elements(Below(6));
    for (Value& element : elements) element = Make(depth + 1);
    return ValueArray(std::move(elements));
  }

  std::mt19937 random_;
};

TEST(ValueStream, AnyValueComesBackAsItWas) {
  RandomValues values(1);
  for (int i = 0; i < 20000; ++i) {
    const Value value = values.Make();
    const std::vector<char> stream = Encoded(value);
    const auto back = DecodeValue(stream.data(), {.bytes = stream.size()});
    ASSERT_TRUE(back.has_value()) << i;
    ASSERT_EQ(*back, value) << i;
    ASSERT_EQ(stream.size() % 4, 0u);
  }
}

// What a damaged stream decodes to does not matter, as long as nothing outside it is touched and whatever is
// decoded can be written again.
TEST(ValueStream, DamagedStreamsDoNoHarm) {
  RandomValues values(2);
  int refused = 0;
  for (int i = 0; i < 50000; ++i) {
    std::vector<char> stream = Encoded(values.Make());
    for (uint32_t flips = 1 + values.Below(4); flips > 0; --flips) {
      const size_t at = values.Below(static_cast<uint32_t>(stream.size()));
      stream[at] =
          static_cast<char>(values.Below(3) == 0 ? values.Below(256) : stream[at] ^ 1 << values.Below(8));
    }
    if (values.Below(4) == 0) stream.resize(values.Below(static_cast<uint32_t>(stream.size())));
    const auto value = DecodeValue(stream.data(), {.bytes = stream.size(), .pointers = false});
    if (value) Encoded(*value);
    refused += !value;
  }
  EXPECT_GT(refused, 1000);
  EXPECT_LT(refused, 49000);
}

}  // namespace
}  // namespace kiln::engine::test
