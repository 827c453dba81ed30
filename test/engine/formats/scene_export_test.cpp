// Exports: what comes back when a scene is written and read, and what each option does to the files.
#include "engine/formats/scene_export.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <shared_mutex>
#include <sstream>

#include "test/engine/formats/gltf_builder.h"
#include "test/engine/scene/every_type.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;
using scene::PluginId;
using scene::PluginRef;
using scene::Scene;
using scene::Type;
using scene::Value;
using scene::ValueArray;

std::string Content(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::temp_directory_path() / ("kiln_export_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_ / "again");
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Export(const Scene& scene, const std::string& name, const ExportOptions& options = {}) const {
    std::string why;
    EXPECT_TRUE(ExportScene(scene, folder_ / name, options, &why)) << why;
    return Content(folder_ / name);
  }
  // Export, import and export again, into the same folder so that file names mean the same.
  void ExpectSameAgain(const Scene& scene, const ExportOptions& options) const {
    const std::string first = Export(scene, "first.toml", options);
    Scene again;
    const LoadResult result = LoadFile(again, folder_ / "first.toml");
    ASSERT_TRUE(result.ok()) << result.file << ":" << result.line << ": " << result.text;
    EXPECT_EQ(again.Count(), scene.Count());
    EXPECT_TRUE(Export(again, "first.toml", options) == first);
  }
  void Load(Scene& scene, std::string_view text) const {
    const LoadResult result = LoadText(scene, text, folder_);
    ASSERT_TRUE(result.ok()) << result.line << ": " << result.text;
  }

  fs::path folder_;
};

// Values of a type that nobody would choose.
class RandomValues {
 public:
  explicit RandomValues(const std::vector<PluginId>& ids) : ids_(ids) {}

  Value Make(Type type) {
    switch (type) {
      case Type::kInt:
      case Type::kTextureInt:
        return static_cast<int32_t>(random_());
      case Type::kFloat:
      case Type::kTextureFloat:
        return Number();
      case Type::kDouble:
        return std::ldexp(static_cast<double>(random_()), static_cast<int>(random_() % 600) - 300);
      case Type::kBoolean:
        return random_() % 2 == 0;
      case Type::kVector:
      case Type::kTextureVector:
        return Vec3{Number(), Number(), Number()};
      case Type::kColor:
        return Color{Number(), Number(), Number()};
      case Type::kAColor:
        return AColor{Number(), Number(), Number(), Number()};
      case Type::kMatrix:
      case Type::kTextureMatrix:
        return MakeMatrix();
      case Type::kTransform:
      case Type::kTextureTransform:
        return Transform{MakeMatrix(), {1e9 / 3, -0.0, static_cast<double>(random_())}};
      case Type::kString:
        return Text();
      case Type::kPlugin:
        return PluginRef{ids_[random_() % ids_.size()]};
      case Type::kTexture:
        return random_() % 2 == 0 ? Value(Color{Number(), Number(), Number()}) : Make(Type::kPlugin);
      case Type::kIntList:
        return scene::IntArray(List<int32_t>([&] { return static_cast<int32_t>(random_()); }));
      case Type::kBooleanList:
        return scene::IntArray(List<int32_t>([&] { return static_cast<int32_t>(random_() % 2); }));
      case Type::kFloatList:
        return scene::FloatArray(List<float>([&] { return Number(); }));
      case Type::kVectorList:
        return scene::VectorArray(List<Vec3>([&] { return Vec3{Number(), Number(), Number()}; }));
      case Type::kColorList:
        return scene::ColorArray(List<Color>([&] { return Color{Number(), Number(), Number()}; }));
      case Type::kStringList:
        return scene::StringArray(List<std::string>([&] { return Text(); }));
      default:
        return MakeValues(type);
    }
  }
  uint32_t Pick(uint32_t count) { return static_cast<uint32_t>(random_() % count); }

 private:
  float Number() {
    return std::ldexp(static_cast<float>(random_()) - 2e9F, static_cast<int>(random_() % 80) - 60);
  }
  std::string Text() {
    static constexpr std::string_view kPieces[] = {"a", "\"", "\\", "\n", "\t", "\x01", "\x7F", "\xC3\xA4"};
    std::string text;
    for (size_t i = random_() % 8; i > 0; --i) text += kPieces[random_() % std::size(kPieces)];
    return text;
  }
  Matrix MakeMatrix() {
    return {{Number(), Number(), Number()}, {Number(), 1, 0}, {0.1F, Number(), Number()}};
  }
  template <class T, class Element>
  std::vector<T> List(const Element& element) {
    std::vector<T> list(random_() % 3 == 0 ? 40 + random_() % 200 : random_() % 5);
    for (T& each : list) each = element();
    return list;
  }
  Value MakeValues(Type type) {
    std::vector<Value> values;
    for (size_t i = random_() % 5; i > 0; --i) {
      switch (type) {
        case Type::kTextureFloatList:
          values.push_back(Make(Type::kTextureFloat));
          break;
        case Type::kTextureMatrixList:
          values.push_back(Make(Type::kMatrix));
          break;
        case Type::kTextureTransformList:
          values.push_back(Make(Type::kTransform));
          break;
        case Type::kTextureList:
          values.push_back(Make(Type::kTexture));
          break;
        case Type::kPluginList:
          values.push_back(Make(Type::kPlugin));
          break;
        default:
          values.push_back(Make(static_cast<Type>(random_() % 10)));
      }
    }
    return ValueArray(std::move(values));
  }

  const std::vector<PluginId>& ids_;
  std::mt19937 random_{17};
};

// Two instances of every class, with a value for nearly every property.
void Fill(Scene& scene) {
  for (int round = 0; round < 2; ++round) {
    for (const scene::PluginClass* type : scene::AllClasses()) {
      PluginId id = scene::kNoPlugin;
      ASSERT_EQ(scene.Create(*type, std::nullopt, &id), scene::CreateStatus::kOk);
    }
  }
  const std::vector<PluginId> ids = scene.Ids();
  RandomValues values(ids);
  size_t set = 0;
  for (const PluginId id : ids) {
    for (const scene::Property& property : scene.Find(id)->type->properties) {
      if (values.Pick(8) == 0) continue;
      const size_t keys = values.Pick(4) == 0 ? 3 : 0;
      bool taken = keys == 0 && scene.Set(id, property.name, values.Make(property.type));
      for (size_t i = 0; i < keys; ++i) {
        taken =
            scene.Set(id, property.name, values.Make(property.type), 2.5 * static_cast<double>(i)) || taken;
      }
      set += taken ? 1 : 0;
    }
  }
  EXPECT_GT(set, 300U);
}

std::vector<ExportOptions> AllWays() {
  std::vector<ExportOptions> ways(6);
  ways[1].text.compressed = true;
  ways[2].text.binary_lists = false;
  ways[3].text.frames = {1, 4};
  ways[4].text.frozen_at = 3;
  ways[5].sub_files = {{"materials", "_look"}, {"textures", "_look"}, {"geometry", "_shapes"},
                       {"settings", "_set"},   {"nonsense", "_x"},    {"lights", ""}};
  ways[5].host = "a \"host\"\nof two lines";
  return ways;
}

TEST_F(ExportTest, EveryClassComesBack) {
  Scene scene;
  Fill(scene);
  for (const ExportOptions& options : AllWays()) ExpectSameAgain(scene, options);
}

TEST_F(ExportTest, AnImportedModelComesBack) {
  Scene scene;
  formats::testing::GltfBuilder builder = formats::testing::GltfBuilder::Triangle();
  builder.json["materials"] = {{{"name", "red"}, {"emissiveFactor", {1, 0.25, 0}}}};
  builder.Primitive()["material"] = 0;
  ASSERT_TRUE(formats::testing::Import(scene, builder).ok());
  for (const ExportOptions& options : AllWays()) ExpectSameAgain(scene, options);
}

TEST_F(ExportTest, CompressionMakesListsShorterAndReadsBackExactly) {
  Scene scene;
  PluginId id = scene::kNoPlugin;
  ASSERT_EQ(scene.Create(*scene::FindClass("TestEveryType"), "a", &id), scene::CreateStatus::kOk);
  ASSERT_TRUE(scene.Set(id, "floats", scene::FloatArray(std::vector<float>(10000, 0.1F))));
  ASSERT_TRUE(scene.Set(id, "ints", scene::IntArray(std::vector<int32_t>(10000, -7))));
  const std::string plain = Export(scene, "plain.toml");
  ExportOptions options;
  options.text.compressed = true;
  const std::string compressed = Export(scene, "compressed.toml", options);
  EXPECT_NE(compressed.find("floats = \"deflate:f32:10000:"), std::string::npos);
  EXPECT_NE(compressed.find("ints = \"deflate:i32:10000:"), std::string::npos);
  EXPECT_LT(compressed.size(), plain.size() / 50);
  Scene again;
  ASSERT_TRUE(LoadFile(again, folder_ / "compressed.toml").ok());
  EXPECT_EQ(Export(again, "plain.toml"), plain);
  options.text.binary_lists = false;
  const std::string numbers = Export(scene, "numbers.toml", options);
  EXPECT_NE(numbers.find("ints = [-7, -7, "), std::string::npos);
  EXPECT_EQ(numbers.find("deflate:"), std::string::npos);
}

TEST_F(ExportTest, DamagedDataIsRefused) {
  for (const char* data :
       {"deflate:f32:", "deflate:f32:5", "deflate:f32:x:", "deflate:f32:1:", "deflate:f32:1:!",
        "deflate:f32:4000000000:AAAA", "deflate:i32:1:////", "deflate:f32:-1:AAAA"}) {
    Scene scene;
    const std::string text = "[a]\nclass = \"TestEveryType\"\nfloats = \"" + std::string(data) + "\"\n";
    const LoadResult result = LoadText(scene, text);
    EXPECT_EQ(result.error, LoadError::kParser) << data;
    EXPECT_EQ(result.line, 3U) << data;
  }
}

TEST_F(ExportTest, ChosenInstancesComeWithAllThatTheyReferTo) {
  Scene scene;
  Load(scene,
       "[a]\nclass = \"TestOther\"\ntarget = \"b\"\n[b]\nclass = \"TestOther\"\ntarget = \"c\"\n"
       "[c]\nclass = \"TestOther\"\ntarget = \"a\"\n[d]\nclass = \"TestOther\"\ntarget = \"a\"\n");
  ExportOptions options;
  options.plugins = {scene.FindByName("b")->id, 12345};
  options.header = false;
  const std::string text = Export(scene, "a.toml", options);
  EXPECT_EQ(text.substr(0, 4), "[a]\n");
  EXPECT_EQ(text.find("[d]"), std::string::npos);
  Scene again;
  EXPECT_TRUE(LoadFile(again, folder_ / "a.toml").ok()) << "it stands by itself";
  EXPECT_EQ(again.Count(), 3U);
  options.plugins = {12345};
  std::string why;
  EXPECT_FALSE(ExportScene(scene, folder_ / "none.toml", options, &why));
  EXPECT_EQ(why, "none of the chosen plugins is in the scene");
  EXPECT_FALSE(fs::exists(folder_ / "none.toml"));
}

TEST_F(ExportTest, FramesOutsideAreLeftOutAndTheEndsStay) {
  Scene scene;
  Load(scene,
       "[a]\nclass = \"TestEveryType\"\nfloat = { \"0\" = 0, \"10\" = 10, \"20\" = 0 }\n"
       "int = { \"0\" = 1, \"10\" = 2 }\n");
  ExportOptions options;
  options.header = false;
  options.text.frames = {5, 15};
  EXPECT_EQ(Export(scene, "a.toml", options),
            "[a]\nclass = \"TestEveryType\"\nint = { \"5.0\" = 1, \"10.0\" = 2 }\n"
            "float = { \"5.0\" = 5.0, \"10.0\" = 10.0, \"15.0\" = 5.0 }\n");
  options.text.frames = {30, 40};
  EXPECT_EQ(Export(scene, "a.toml", options),
            "[a]\nclass = \"TestEveryType\"\nint = { \"30.0\" = 2 }\nfloat = { \"30.0\" = 0.0 }\n");
  options.text.frozen_at = 15;
  options.frame = 15;
  Export(scene, "a.toml", {});
  std::string why;
  ASSERT_TRUE(ExportScene(scene, folder_ / "a.toml", options, &why)) << why;
  EXPECT_EQ(Content(folder_ / "a_0015.toml"), "[a]\nclass = \"TestEveryType\"\nint = 2\nfloat = 5.0\n");
}

TEST_F(ExportTest, KindsGoIntoFilesOfTheirOwn) {
  Scene scene;
  Load(scene,
       "[camera]\nclass = \"CameraPerspective\"\n[lamp]\nclass = \"LightPoint\"\n"
       "[spot]\nclass = \"LightSpot\"\n[object]\nclass = \"GeomInstance\"\nmaterial = \"red\"\n"
       "[red]\nclass = \"BsdfDiffuse\"\n");
  ExportOptions options;
  options.sub_files = {{"lights", "_rig"}, {"view", "_rig"}, {"materials", "_look"}, {"bitmaps", "_none"}};
  options.includes = {"more.toml"};
  options.host = "the tests";
  const std::string text = Export(scene, "a.toml", options);
  EXPECT_EQ(text,
            "# A Kiln scene.\n# Exported from the tests.\n\n"
            "include = [\"more.toml\", \"a_rig.toml\", \"a_look.toml\"]\n\n"
            "[object]\nclass = \"GeomInstance\"\nmaterial = \"red\"\n");
  EXPECT_NE(Content(folder_ / "a_rig.toml").find("[camera]"), std::string::npos);
  EXPECT_NE(Content(folder_ / "a_rig.toml").find("[lamp]"), std::string::npos);
  EXPECT_FALSE(fs::exists(folder_ / "a_none.toml"));
  std::ofstream(folder_ / "more.toml") << "[more]\nclass = \"LightPoint\"\n";
  Scene again;
  EXPECT_TRUE(LoadFile(again, folder_ / "a.toml").ok());
  EXPECT_EQ(again.Count(), 6U);
}

TEST_F(ExportTest, NamesOfFilesStillMeanTheSame) {
  std::ofstream(folder_ / "wood.png") << "x";
  Scene scene;
  Load(scene,
       "[a]\nclass = \"BitmapFile\"\nfile = \"wood.png\"\n[b]\nclass = \"BitmapFile\"\nfile = \"/c.png\"\n");
  ExportOptions options;
  options.header = false;
  EXPECT_EQ(Export(scene, "again/a.toml", options),
            "[a]\nclass = \"BitmapFile\"\nfile = \"../wood.png\"\n\n"
            "[b]\nclass = \"BitmapFile\"\nfile = \"/c.png\"\n");
  Scene again;
  ASSERT_TRUE(LoadFile(again, folder_ / "again/a.toml").ok());
  const scene::Instance& a = *again.FindByName("a");
  EXPECT_TRUE(fs::exists(scene::ResolveFile(a, *again.Get(a.id, "file").As<std::string>())));
}

TEST_F(ExportTest, WhatCannotBeWrittenSaysWhyAndLeavesTheOldFile) {
  Scene scene;
  Load(scene, "[a]\nclass = \"TestOther\"\n");
  const std::string old = Export(scene, "a.toml");
  std::string why;
  EXPECT_FALSE(ExportScene(scene, folder_ / "a.GLB", {}, &why));
  EXPECT_NE(why.find("scene text"), std::string::npos);
  EXPECT_FALSE(ExportScene(scene, folder_ / "none" / "a.toml", {}, &why));
  EXPECT_NE(why.find("cannot be written"), std::string::npos) << why;
  EXPECT_FALSE(ExportScene(scene, "", {}, &why));
  ExportOptions options;
  options.sub_files = {{"nodes", "/../x"}};
  EXPECT_FALSE(ExportScene(scene, folder_ / "a.toml", options, &why));
  EXPECT_EQ(why, "the suffix \"/../x\" of a sub-file names a folder");
  options.sub_files = {{"textures", "_x"}};
  options.includes = {"a_x.toml"};
  Load(scene, "[c]\nclass = \"TextureChecker\"\n");
  EXPECT_FALSE(ExportScene(scene, folder_ / "a.toml", options, &why));
  EXPECT_EQ(why, "\"a_x.toml\" is a sub-file and an included file at once");
  EXPECT_EQ(Content(folder_ / "a.toml"), old);
}

}  // namespace
}  // namespace kiln::engine::formats
