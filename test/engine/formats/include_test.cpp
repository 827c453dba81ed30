// Scenes that include others, and loads of several scenes in one step.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "engine/formats/loader.h"
#include "test/engine/formats/gltf_builder.h"
#include "test/engine/scene/every_type.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;

class IncludeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::temp_directory_path() / ("kiln_include_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_ / "sub");
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path File(const std::string& name, std::string_view content) const {
    const fs::path file = folder_ / name;
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const scene::PluginId id : scene_.Ids()) names.push_back(scene_.Find(id)->name);
    return names;
  }
  scene::PluginRef Target(std::string_view name) const {
    const scene::Value value = scene_.Get(scene_.FindByName(name)->id, "target");
    return *value.As<scene::PluginRef>();
  }

  fs::path folder_;
  scene::Scene scene_;
};

TEST_F(IncludeTest, ReferencesReachFromTextToText) {
  File("sub/b.toml", "[b]\nclass = \"TestOther\"\ntarget = \"a\"\n");
  const fs::path file =
      File("a.toml", "include = [\"sub/b.toml\"]\n[a]\nclass = \"TestOther\"\ntarget = \"b\"\n");
  const LoadResult result = LoadFile(scene_, file);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(Names(), (std::vector<std::string>{"b", "a"})) << "included ones first";
  EXPECT_EQ(Target("a").id, scene_.FindByName("b")->id);
  EXPECT_EQ(Target("b").id, scene_.FindByName("a")->id);
  EXPECT_EQ(*scene_.FindByName("b")->folder, fs::canonical(folder_ / "sub")) << "each has its own folder";
}

TEST_F(IncludeTest, AnIncludedModelCanBeReferredTo) {
  File("node.gltf", formats::testing::GltfBuilder::Triangle().Text());
  const fs::path file =
      File("a.toml", "include = \"node.gltf\"\n[a]\nclass = \"TestOther\"\ntarget = \"Node\"\n");
  const LoadResult result = LoadFile(scene_, file);
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(scene_.Find(Target("a").id)->name, "Node");
}

TEST_F(IncludeTest, EachFileIsReadOnceALoad) {
  File("c.toml", "[c]\nclass = \"TestOther\"\n");
  File("b.toml", "include = [\"c.toml\"]\n[b]\nclass = \"TestOther\"\ntarget = \"c\"\n");
  const fs::path file = File("a.toml", "include = [\"b.toml\", \"c.toml\"]\n");
  ASSERT_TRUE(LoadFile(scene_, file).ok());
  EXPECT_EQ(Names(), (std::vector<std::string>{"c", "b"}));
}

TEST_F(IncludeTest, ErrorsNameTheFileThatHasThem) {
  const fs::path bad = File("bad.toml", "[b]\nclass = \"TestOther\"\n\nflat = 1\n");
  const fs::path worse = File("worse.toml", "[b]\n[b\n");
  const auto load = [&](const std::string& text) { return LoadFile(scene_, File("a.toml", text)); };
  LoadResult result = load("include = [\"bad.toml\"]\n[a]\nclass = \"TestOther\"\n");
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.file, bad.string());
  EXPECT_EQ(result.line, 4U);
  result = load("include = [\"worse.toml\"]\n");
  EXPECT_EQ(result.file, worse.string());
  EXPECT_EQ(result.line, 2U);
  result = load("\ninclude = [\n\"none.toml\"]\n");
  EXPECT_EQ(result.file, (folder_ / "a.toml").string());
  EXPECT_EQ(result.line, 3U);
  EXPECT_EQ(result.text, "the included file \"none.toml\" was not found beside the text");
  EXPECT_EQ(load("include = 5\n").text, "\"include\" takes names of files");
  EXPECT_EQ(load("include = [5]\n").text, "\"include\" takes names of files");
  EXPECT_EQ(load("include = [\"\"]\n").error, LoadError::kParser);
  EXPECT_EQ(load("include = [\"sub\"]\n").error, LoadError::kParser) << "a folder";
  EXPECT_EQ(load("include = [\"a.toml\"]\n").text, "the text includes itself through \"a.toml\"");
  File("b.toml", "include = [\"a.toml\"]\n");
  EXPECT_EQ(load("include = [\"b.toml\"]\n").text, "the text includes itself through \"a.toml\"");
  EXPECT_EQ(scene_.Count(), 0U);
}

TEST_F(IncludeTest, AChainWithoutEndIsCut) {
  for (int i = 0; i < 100; ++i) {
    File(std::to_string(i) + ".toml", "include = [\"" + std::to_string(i + 1) + ".toml\"]\n");
  }
  EXPECT_EQ(LoadFile(scene_, folder_ / "0.toml").text, "texts include each other too deep");
}

TEST_F(IncludeTest, PathsAreLookedThroughInOrder) {
  File("sub/b.toml", "[b]\nclass = \"TestOther\"\n");
  const std::string text = "include = [\"b.toml\"]\n";
  Loader loader(scene_, {folder_ / "none", folder_ / "sub"});
  EXPECT_TRUE(loader.AddText(text).ok());
  EXPECT_TRUE(loader.Commit().ok());
  EXPECT_NE(scene_.FindByName("b"), nullptr);
  Loader blind(scene_, {folder_ / "none"});
  EXPECT_FALSE(blind.AddText(text).ok());
}

TEST_F(IncludeTest, ATableOfThatNameIsAnInstance) {
  ASSERT_TRUE(LoadText(scene_, "[include]\nclass = \"TestOther\"\n").ok());
  EXPECT_NE(scene_.FindByName("include"), nullptr);
}

TEST_F(IncludeTest, ALoaderAddsAllInOneStep) {
  Loader loader(scene_);
  ASSERT_TRUE(loader.AddText("[a]\nclass = \"TestOther\"\n").ok());
  ASSERT_TRUE(loader.AddText("[b]\nclass = \"TestOther\"\ntarget = \"a\"\n").ok()) << "of an earlier scene";
  ASSERT_TRUE(loader.AddText("[a]\nclass = \"TestOther\"\ntarget = \"a\"\n").ok());
  EXPECT_EQ(scene_.Count(), 0U);
  ASSERT_TRUE(loader.Commit().ok());
  EXPECT_EQ(Names(), (std::vector<std::string>{"a", "b", "a_2"}));
  EXPECT_EQ(Target("b").id, scene_.FindByName("a")->id);
  EXPECT_EQ(Target("a_2").id, scene_.FindByName("a_2")->id) << "its own first";
}

TEST_F(IncludeTest, AFailureOfOneLeavesNothingOfTheOthers) {
  const uint64_t before = scene_.change_index();
  Loader loader(scene_);
  EXPECT_TRUE(loader.AddText("[a]\nclass = \"TestOther\"\n").ok());
  EXPECT_EQ(loader.AddFile(folder_ / "none.toml").error, LoadError::kFileNotFound);
  EXPECT_EQ(loader.AddText("[b]\nclass = \"TestOther\"\n").error, LoadError::kFileNotFound);
  EXPECT_EQ(loader.Commit().error, LoadError::kFileNotFound);
  EXPECT_EQ(scene_.change_index(), before);
}

TEST_F(IncludeTest, AFilterOfAModelSeesEachNameOnce) {
  std::set<std::string> names;
  const fs::path file = File("a.gltf", formats::testing::GltfBuilder::Triangle().Text());
  const LoadResult result = LoadFile(scene_, file, [&](std::string_view type, std::string_view name) {
    EXPECT_TRUE(names.emplace(name).second) << name;
    // The mesh goes, and with it what its object shows.
    return type == "GeomStaticMesh" ? std::nullopt : std::optional<std::string>("my_" + std::string(name));
  });
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(scene_.Count(), names.size() - 1);
  EXPECT_NE(result.text.find("which the filter left out"), std::string::npos) << result.text;
  EXPECT_NE(scene_.FindByName("my_@defaultCamera"), nullptr);
}

}  // namespace
}  // namespace kiln::engine::formats
