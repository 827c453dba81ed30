// The scene text: values of every type, errors with their lines, round trips, and damaged texts.
#include "engine/formats/scene_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "test/engine/scene/every_type.h"

namespace kiln::engine::formats {
namespace {

using scene::ColorArray;
using scene::FindClass;
using scene::FloatArray;
using scene::Instance;
using scene::IntArray;
using scene::PluginId;
using scene::PluginRef;
using scene::Scene;
using scene::StringArray;
using scene::Value;
using scene::ValueArray;
using scene::VectorArray;

constexpr std::string_view kSample = R"(# A comment.
[first]
class = "TestEveryType"
int = -3
float = 0.1
double = 0.1
boolean = false
vector = [1, 2.5, -3]
color = [1, 0, 0]
acolor = [1, 0, 0, 0.5]
matrix = [1, 2, 3, 4, 5, 6, 7, 8, 9]
transform = [1, 0, 0, 0, 1, 0, 0, 0, 1, 1000000000.125, 2, 3]
string = "a \"text\"\nof two lines"
plugin = "second@1"
texture = "second@1::alpha"
textureFloat = { "0" = 0.5, "1.5" = 2 }
textureVector = [1, 2, 3]
objects = [1, 2.5, "a", true, [1, 2], { vector = [1, 2, 3] }, { plugin = "first" }, { floats = [1, 2] }]
ints = [1, 2, 3]
floats = [0.5, 1]
booleans = [true, false]
vectors = [[1, 2, 3], [4, 5, 6]]
colors = [0.1, 0.2, 0.3]
strings = ["a", ""]
plugins = ["first", "", "second@1::red"]
textures = ["first", [1, 0, 0], 0.5]
pair = [1, 2]

["second@1"]
class = "TestEveryType"
texture = 0.25
plugin = "first"
transform = { translate = [1, 2, 3], rotate = [-90, 0, 0], scale = 2 }

[third]
class = "TestOther"
target = ""
)";

LoadResult Read(Scene& scene, std::string_view text) {
  return ReadSceneText(scene, text, "/scenes", "a.toml");
}

std::string Write(const Scene& scene) {
  return WriteText(SceneCopy(scene));
}

Value Get(const Scene& scene, std::string_view name, std::string_view property) {
  const Instance* instance = scene.FindByName(name);
  return instance != nullptr ? scene.Get(instance->id, property) : Value();
}

// The only property of the only instance, given as TOML.
Value ReadOne(const std::string& property, const std::string& text) {
  Scene scene;
  const LoadResult result = Read(scene, "[a]\nclass = \"TestEveryType\"\n" + property + " = " + text + "\n");
  EXPECT_TRUE(result.ok()) << text << ": " << result.text;
  return Get(scene, "a", property);
}

TEST(SceneText, ReadsEveryType) {
  Scene scene;
  const LoadResult result = Read(scene, kSample);
  ASSERT_TRUE(result.ok()) << result.line << ": " << result.text;
  ASSERT_EQ(scene.Count(), 3U);
  const PluginId first = scene.Ids()[0];
  const PluginId second = scene.Ids()[1];
  EXPECT_EQ(scene.Find(first)->name, "first");
  EXPECT_EQ(scene.Find(second)->name, "second@1");
  EXPECT_EQ(*scene.Find(first)->folder, "/scenes");
  EXPECT_EQ(scene.Get(first, "int"), Value(-3));
  EXPECT_EQ(scene.Get(first, "float"), Value(0.1F));
  EXPECT_EQ(scene.Get(first, "double"), Value(0.1));
  EXPECT_EQ(scene.Get(first, "boolean"), Value(false));
  EXPECT_EQ(scene.Get(first, "vector"), Value(Vec3{1, 2.5F, -3}));
  EXPECT_EQ(scene.Get(first, "color"), Value(Color{1, 0, 0}));
  EXPECT_EQ(scene.Get(first, "acolor"), Value(AColor{1, 0, 0, 0.5F}));
  EXPECT_EQ(scene.Get(first, "matrix"), Value(Matrix{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
  EXPECT_EQ(scene.Get(first, "transform"), Value(Transform{{}, {1000000000.125, 2, 3}}));
  EXPECT_EQ(scene.Get(first, "string"), Value("a \"text\"\nof two lines"));
  EXPECT_EQ(scene.Get(first, "plugin"), Value(PluginRef{second}));
  EXPECT_EQ(scene.Get(first, "texture"), Value(PluginRef{second, 1}));
  EXPECT_EQ(scene.Get(first, "textureFloat", 0.75), Value(1.25F));
  EXPECT_EQ(scene.Get(first, "textureVector"), Value(Vec3{1, 2, 3}));
  EXPECT_EQ(scene.Get(first, "ints"), Value(IntArray(std::vector<int32_t>{1, 2, 3})));
  EXPECT_EQ(scene.Get(first, "floats"), Value(FloatArray(std::vector<float>{0.5F, 1})));
  EXPECT_EQ(scene.Get(first, "booleans"), Value(IntArray(std::vector<int32_t>{1, 0})));
  EXPECT_EQ(scene.Get(first, "vectors"), Value(VectorArray({{1, 2, 3}, {4, 5, 6}})));
  EXPECT_EQ(scene.Get(first, "colors"), Value(ColorArray({{0.1F, 0.2F, 0.3F}})));
  EXPECT_EQ(scene.Get(first, "strings"), Value(StringArray({"a", ""})));
  EXPECT_EQ(scene.Get(first, "plugins"),
            Value(ValueArray({PluginRef{first}, PluginRef{}, PluginRef{second, 2}})));
  EXPECT_EQ(scene.Get(first, "textures"),
            Value(ValueArray({PluginRef{first}, Color{1, 0, 0}, Color{0.5F, 0.5F, 0.5F}})));
  const Value objects = scene.Get(first, "objects");
  const ValueArray& list = *objects.As<ValueArray>();
  ASSERT_EQ(list.size(), 8U);
  EXPECT_EQ(list[3], Value(true));
  EXPECT_EQ(list[4], Value(ValueArray({1, 2})));
  EXPECT_EQ(list[5], Value(Vec3{1, 2, 3}));
  EXPECT_EQ(list[6], Value(PluginRef{first}));
  EXPECT_EQ(list[7], Value(FloatArray(std::vector<float>{1, 2})));
  EXPECT_EQ(scene.Get(second, "texture"), Value(Color{0.25F, 0.25F, 0.25F}));
  EXPECT_EQ(scene.Get(second, "transform"), Value(Transform{{{2, 0, 0}, {0, 0, -2}, {0, 2, 0}}, {1, 2, 3}}));
}

TEST(SceneText, TransformsFromTheirParts) {
  EXPECT_EQ(ReadOne("transform", "{ translate = [1, 2, 3] }"), Value(Transform{{}, {1, 2, 3}}));
  EXPECT_EQ(ReadOne("transform", "{ scale = [1, 2, 3] }"),
            Value(Transform{{{1, 0, 0}, {0, 2, 0}, {0, 0, 3}}, {}}));
  EXPECT_EQ(ReadOne("transform", "{ rotate = [0, 90, 0] }"),
            Value(Transform{{{0, 0, -1}, {0, 1, 0}, {1, 0, 0}}, {}}));
  EXPECT_EQ(ReadOne("transform", "{ rotate = [0, 0, 90] }"),
            Value(Transform{{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}, {}}));
  // X first, then Z: the Y axis goes to Z and stays there.
  EXPECT_EQ(ReadOne("transform", "{ rotate = [90, 0, 90] }"),
            Value(Transform{{{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}, {}}));
  EXPECT_EQ(ReadOne("transform", "{ matrix = [1, 2, 3, 4, 5, 6, 7, 8, 9], translate = [1, 0, 0] }"),
            Value(Transform{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {1, 0, 0}}));
  EXPECT_EQ(ReadOne("transform", "{ from = [0, 0, 5], to = [0, 0, 0] }"), Value(Transform{{}, {0, 0, 5}}));
  EXPECT_EQ(ReadOne("transform", "{ from = [5, 0, 0], to = [0, 0, 0] }"),
            Value(Transform{{{0, 0, -1}, {0, 1, 0}, {1, 0, 0}}, {5, 0, 0}}));
  const Value down = ReadOne("transform", "{ from = [0, 5, 0], to = [0, 0, 0] }");
  EXPECT_NEAR(std::abs(Determinant(down.As<Transform>()->matrix)), 1, 1e-5);
  EXPECT_EQ(ReadOne("transform", R"({ "0" = { translate = [1, 2, 3] }, "1" = { scale = 2 } })"),
            Value(Transform{{}, {1, 2, 3}}));
}

TEST(SceneText, RotationsAreRotations) {
  const Value value = ReadOne("transform", "{ rotate = [31, -47, 123] }");
  const Matrix& m = value.As<Transform>()->matrix;
  EXPECT_NEAR(Determinant(m), 1, 1e-5);
  EXPECT_NEAR(Dot(m.c0, m.c1), 0, 1e-6);
  EXPECT_NEAR(Dot(m.c1, m.c2), 0, 1e-6);
  EXPECT_NEAR(Length(m.c2), 1, 1e-6);
}

TEST(SceneText, Base64Lists) {
  EXPECT_EQ(ReadOne("floats", "\"base64:f32:AACAPwAAAEA=\""), Value(FloatArray(std::vector<float>{1, 2})));
  EXPECT_EQ(ReadOne("ints", "\"base64:i32:AQAAAP////8=\""), Value(IntArray(std::vector<int32_t>{1, -1})));
  EXPECT_EQ(ReadOne("vectors", "\"base64:f32:AACAPwAAAEAAAEBA\""), Value(VectorArray({{1, 2, 3}})));
  EXPECT_EQ(ReadOne("colors", "\"\"\"base64:f32:\nAACAPwAA\n  AEAAAEBA\n\"\"\""),
            Value(ColorArray({{1, 2, 3}})));
  EXPECT_EQ(ReadOne("vectors", "\"base64:f32:\""), Value(VectorArray()));
}

TEST(SceneText, ErrorsNameTheLineAndTheReason) {
  struct Case {
    const char* text;
    uint32_t line;
    const char* reason;
  };
  const std::string head = "[a]\nclass = \"TestEveryType\"\n";
  const Case cases[] = {
      {"\nflot = 1", 4, "TestEveryType has no property \"flot\", did you mean \"float\"?"},
      {"quite_another_thing = 1", 3, "TestEveryType has no property \"quite_another_thing\""},
      {"float = \"bright\"", 3, "a text stands where a number is expected"},
      {"float = true", 3, "true or false stands where a number is expected"},
      {"float = [1, 2]", 3, "\"float\" takes a number"},
      {"int = 1.5", 3, "\"int\" takes an integer"},
      {"int = 3000000000", 3, "\"int\" takes an integer"},
      {"float = 1979-05-27", 3, "a date stands where a number is expected"},
      {"color = [1, 2]", 3, "\"color\" takes a colour [r, g, b]"},
      {"color = [1, 2, \"x\"]", 3, "an element is no number where a colour [r, g, b] is expected"},
      {"string = 5", 3, "\"string\" takes a text"},
      {"plugin = \"b\"", 3, "there is no instance \"b\", did you mean \"a\"?"},
      {"plugin = \"somebody_else\"", 3, "there is no instance \"somebody_else\""},
      {"plugin = \"a::alpa\"", 3, "TestEveryType has no output \"alpa\", did you mean \"alpha\"?"},
      {"plugin = 1", 3, "\"plugin\" takes the name of an instance"},
      {"plugins = [\"a\",\n\n\"nobody_here\"]", 5, "there is no instance \"nobody_here\""},
      {"pair = [1, 2, 3]", 3, "\"pair\" takes a list of numbers with 2 elements"},
      {"floats = \"base64:f32:AAA\"", 3, "the base64 data is no whole number of elements"},
      {"floats = \"base64:f32:!\"", 3, "the base64 data is malformed"},
      {"floats = \"1 2 3\"", 3, "a text stands where a list of numbers is expected"},
      {"vectors = [1, 2]", 3, "\"vectors\" takes a list of vectors"},
      {"objects = [{ colour = [1, 2, 3] }]", 3, "\"colour\" is no type of value"},
      {"objects = [{ vector = [1, 2] }]", 3, "a vector [x, y, z] is expected here"},
      {"transform = { translat = [1, 2, 3] }", 3,
       "a transform has no part \"translat\", did you mean \"translate\"?"},
      {"transform = { translate = [1, 2] }", 3, "\"translate\" takes 3 numbers"},
      {"transform = { translate = [1, 2, 3], to = [1, 2, 3] }", 3,
       "a transform is placed or looks at a point, not both"},
      {"transform = { from = [1, 2, 3], to = [1, 2, 3] }", 3,
       "\"from\" and \"to\" of a transform are the same point"},
      {"float = { \"0\" = 1,  \"x\" = 2 }", 3,
       "a table stands where a number is expected (key frames are a table of times)"},
      {"float = { \"nan\" = 1 }", 3,
       "a table stands where a number is expected (key frames are a table of times)"},
      {"[b]\nfloat = 1", 3, "the instance \"b\" has no class"},
      {"[b]\nclass = \"TestEveryTipe\"", 4,
       "there is no plugin class \"TestEveryTipe\", did you mean \"TestEveryType\"?"},
      {"[b]\nclass = 5", 4, "the class of an instance is not a text"},
      {"[\"b c\"]\nclass = \"TestOther\"", 3, "the name \"b c\" has characters other than A-Z a-z 0-9 @ | _"},
      {"[\"\"]\nclass = \"TestOther\"", 3, "an instance has an empty name"},
      {"[[b]]\nclass = \"TestOther\"", 3, "\"b\" is no table: an instance is written as [name]"},
  };
  for (const Case& c : cases) {
    Scene scene;
    const uint64_t before = scene.change_index();
    const LoadResult result = Read(scene, head + c.text + "\n");
    EXPECT_EQ(result.error, LoadError::kParser) << c.text;
    EXPECT_EQ(result.file, "a.toml") << c.text;
    EXPECT_EQ(result.line, c.line) << c.text << ": " << result.text;
    EXPECT_EQ(result.text, c.reason);
    EXPECT_EQ(scene.change_index(), before) << c.text;
  }
}

TEST(SceneText, SyntaxErrorsHaveALine) {
  for (const char* text : {"[a]\nclass = \"TestOther\"\nx = = 1\n", "[a]\nclass = \"TestOther\"\n[a]\n",
                           "[a]\nclass = \"TestOther\"\nx = \"\xFF\xFE\"\n", "[a]\n\nx = \"no end\n"}) {
    Scene scene;
    const LoadResult result = Read(scene, text);
    EXPECT_EQ(result.error, LoadError::kParser) << text;
    EXPECT_EQ(result.line, 3U) << text << result.text;
    ASSERT_FALSE(result.text.empty());
    EXPECT_NE(result.text.back(), '.');
    EXPECT_EQ(scene.Count(), 0U);
  }
}

TEST(SceneText, EmptyTextsAddNothing) {
  for (const char* text : {"", "# nothing\n", "\xEF\xBB\xBF", "\r\n"}) {
    Scene scene;
    EXPECT_TRUE(Read(scene, text).ok()) << text;
    EXPECT_EQ(scene.Count(), 0U);
  }
}

TEST(SceneText, AppendingRenamesAndMayReferToTheScene) {
  Scene scene;
  ASSERT_TRUE(Read(scene, "[a]\nclass = \"TestOther\"\n[c]\nclass = \"TestOther\"\n").ok());
  ASSERT_TRUE(
      Read(scene, "[b]\nclass = \"TestOther\"\ntarget = \"a\"\n[a]\nclass = \"TestOther\"\ntarget = \"c\"\n")
          .ok());
  const PluginId renamed = scene.FindByName("a_2")->id;
  EXPECT_EQ(Get(scene, "b", "target"), Value(PluginRef{renamed}));
  EXPECT_EQ(Get(scene, "a_2", "target"), Value(PluginRef{scene.FindByName("c")->id}));
}

TEST(SceneText, UnusualNamesAreQuotedWhereTheSceneAllowsThem) {
  Scene scene;
  scene.allow_invalid_names = true;
  const char* text = "[\"a \\\"b\\\"\\n.c\"]\nclass = \"TestOther\"\ntarget = \"a \\\"b\\\"\\n.c\"\n";
  const LoadResult result = Read(scene, text);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_NE(scene.FindByName("a \"b\"\n.c"), nullptr);
  EXPECT_EQ(Write(scene), text);
}

TEST(SceneText, WritesWhatPeopleWouldWrite) {
  Scene scene;
  ASSERT_TRUE(Read(scene, R"([spot]
class = "TestEveryType"
transform = { translate = [0, 3, 0] }
texture = 0.5
float = { "2.5" = 3, "0" = 1 }
int = 4
["A@1"]
class = "TestOther"
target = "spot"
)")
                  .ok());
  EXPECT_EQ(Write(scene), R"([spot]
class = "TestEveryType"
int = 4
float = { "0.0" = 1.0, "2.5" = 3.0 }
transform = [1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 3.0, 0.0]
texture = [0.5, 0.5, 0.5]

["A@1"]
class = "TestOther"
target = "spot"
)");
}

TEST(SceneText, ReadingWhatWasWrittenChangesNothing) {
  Scene scene;
  ASSERT_TRUE(Read(scene, kSample).ok());
  const std::string text = Write(scene);
  Scene again;
  const LoadResult result = Read(again, text);
  ASSERT_TRUE(result.ok()) << result.line << ": " << result.text << "\n" << text;
  EXPECT_EQ(Write(again), text);
  // The first scene began with ID 1 as the second did, so even the references are equal.
  for (const PluginId id : scene.Ids()) {
    for (const auto& [property, state] : scene.Find(id)->values) {
      const auto& other = again.Find(id)->values.at(property);
      EXPECT_TRUE(other.plain == state.plain) << property->name;
      EXPECT_TRUE(other.keys == state.keys) << property->name;
    }
  }
}

TEST(SceneText, ValuesAtTheirLimitsComeBack) {
  const scene::PluginClass& type = *FindClass("TestEveryType");
  Scene scene;
  PluginId id = scene::kNoPlugin;
  ASSERT_EQ(scene.Create(type, "a", &id), scene::CreateStatus::kOk);
  std::mt19937 random(3);
  std::vector<float> floats(1001);
  for (float& f : floats)
    f = std::ldexp(static_cast<float>(random()), static_cast<int>(random() % 200) - 100);
  floats[7] = -0.0F;
  floats[8] = std::numeric_limits<float>::denorm_min();
  std::string text;
  for (int c = 1; c < 128; ++c) text += static_cast<char>(c);
  EXPECT_TRUE(scene.Set(id, "floats", FloatArray(floats)));
  EXPECT_TRUE(scene.Set(id, "ints", IntArray(std::vector<int32_t>(33, std::numeric_limits<int32_t>::min()))));
  EXPECT_TRUE(scene.Set(id, "vectors", VectorArray(std::vector<Vec3>(500, Vec3{0.1F, 0.2F, -0.0F}))));
  EXPECT_TRUE(scene.Set(id, "string", text + "\xC3\xA4\xF0\x9F\x99\x82"));
  EXPECT_TRUE(scene.Set(id, "float", std::numeric_limits<float>::infinity()));
  EXPECT_TRUE(scene.Set(id, "double", std::numeric_limits<double>::denorm_min()));
  EXPECT_TRUE(scene.Set(id, "int", std::numeric_limits<int32_t>::min()));
  EXPECT_TRUE(scene.Set(id, "vector", Vec3{std::numeric_limits<float>::max(), 1e-45F, 1.0F / 3}));
  const std::string written = Write(scene);
  EXPECT_NE(written.find("floats = \"base64:f32:"), std::string::npos);
  EXPECT_NE(written.find("ints = \"base64:i32:"), std::string::npos);
  Scene again;
  const LoadResult result = Read(again, written);
  ASSERT_TRUE(result.ok()) << result.line << ": " << result.text;
  EXPECT_TRUE(Write(again) == written);
  for (const scene::Property& property : type.properties) {
    EXPECT_TRUE(Get(again, "a", property.name) == scene.Get(id, property.name)) << property.name;
  }
}

TEST(SceneText, BytesThatAreNoTextAreReplaced) {
  Scene scene;
  PluginId id = scene::kNoPlugin;
  ASSERT_EQ(scene.Create(*FindClass("TestEveryType"), "a", &id), scene::CreateStatus::kOk);
  for (const char* bytes :
       {"\xFF", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\xC0\x80z"}) {
    ASSERT_TRUE(scene.Set(id, "string", bytes));
    Scene again;
    const LoadResult result = Read(again, Write(scene));
    EXPECT_TRUE(result.ok()) << result.text;
  }
}

TEST(SceneText, ADeletedTargetIsLeftOut) {
  Scene scene;
  ASSERT_TRUE(Read(scene, "[a]\nclass = \"TestOther\"\ntarget = \"b\"\n[b]\nclass = \"TestOther\"\n").ok());
  ASSERT_TRUE(scene.Delete(scene.FindByName("b")->id));
  EXPECT_EQ(Write(scene), "[a]\nclass = \"TestOther\"\n");
}

TEST(SceneText, EveryTruncationIsReadOrRefused) {
  size_t refused = 0;
  for (size_t length = 0; length < kSample.size(); ++length) {
    Scene scene;
    const LoadResult result = Read(scene, kSample.substr(0, length));
    if (result.ok()) continue;
    ++refused;
    ASSERT_EQ(result.error, LoadError::kParser);
    ASSERT_EQ(scene.Count(), 0U);
  }
  EXPECT_GT(refused, kSample.size() / 2);
}

TEST(SceneText, RandomDamageIsReadOrRefused) {
  constexpr std::string_view kBytes = "[]{}=\"'#.,\n 0a9-e@\\:\xC3\xFF";
  std::mt19937 random(42);
  size_t refused = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text(kSample);
    for (size_t changes = 1 + random() % 4; changes > 0; --changes) {
      const size_t at = random() % text.size();
      const char byte = random() % 4 == 0 ? static_cast<char>(random()) : kBytes[random() % kBytes.size()];
      switch (random() % 3) {
        case 0:
          text[at] = byte;
          break;
        case 1:
          text.insert(at, 1, byte);
          break;
        default:
          text.erase(at, 1 + random() % 20);
      }
    }
    Scene scene;
    const LoadResult result = Read(scene, text);
    if (!result.ok()) {
      ++refused;
      ASSERT_EQ(scene.Count(), 0U) << text;
      continue;
    }
    // What was read can be written, read and written again.
    const std::string written = Write(scene);
    Scene again;
    const LoadResult second = Read(again, written);
    ASSERT_TRUE(second.ok()) << second.line << ": " << second.text << "\n" << written;
    ASSERT_EQ(Write(again), written);
  }
  EXPECT_GT(refused, 1000U);
}

TEST(SceneText, NestingWithoutEndIsRefused) {
  for (const char* open : {"[", "{ vector = "}) {
    std::string text = "[a]\nclass = \"TestEveryType\"\nobjects = ";
    for (int i = 0; i < 100000; ++i) text += open;
    Scene scene;
    EXPECT_EQ(Read(scene, text).error, LoadError::kParser);
  }
}

}  // namespace
}  // namespace kiln::engine::formats
