// Exports through the entry points: each setting of the host's record, and filters with them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

namespace fs = std::filesystem;

constexpr char kMoving[] = R"(
[moving]
class = "LightPoint"
intensity = { "0" = 0, "10" = 10 }

[still]
class = "LightPoint"

[noise]
class = "GeomStaticMesh"
vertices = [0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0]
)";

class Export : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ =
        fs::temp_directory_path() / ("kiln_export_api_" + std::to_string(getpid()) + "_" + info->name());
    fs::create_directories(folder_);
    ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kMoving), 0);
  }
  void TearDown() override { fs::remove_all(folder_); }

  static KilnExportSettings Settings() {
    KilnExportSettings settings{};
    settings.compressed = 1;
    settings.hexArraysAndTransforms = 1;
    settings.printHeader = 1;
    return settings;
  }
  std::string File(const char* name = "a.toml") const { return (folder_ / name).string(); }
  std::string Content(const char* name = "a.toml") const {
    std::ostringstream text;
    text << std::ifstream(folder_ / name).rdbuf();
    return text.str();
  }
  std::string Write(const KilnExportSettings* settings) const {
    EXPECT_EQ(Kiln_KilnRenderer_exportScene(renderer, File().c_str(), settings), 0);
    return Content();
  }

  const ScopedRenderer renderer;
  fs::path folder_;
};

TEST_F(Export, NoSettingsAreTheSettingsThatAHostStartsWith) {
  const KilnExportSettings settings = Settings();
  const std::string text = Write(nullptr);
  EXPECT_EQ(text, Write(&settings));
  EXPECT_THAT(text, ::testing::StartsWith("# A Kiln scene.\n\n[moving]\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("vertices = \"deflate:f32:36:"));
  EXPECT_EQ(Kiln_KilnRenderer_load(renderer, File().c_str()), 0);
  EXPECT_EQ(Write(nullptr), text);
}

TEST_F(Export, ListsAsTheSettingsSay) {
  KilnExportSettings settings = Settings();
  settings.compressed = 0;
  EXPECT_THAT(Write(&settings), ::testing::HasSubstr("vertices = \"base64:f32:"));
  settings.hexArraysAndTransforms = 0;
  EXPECT_THAT(Write(&settings), ::testing::HasSubstr("vertices = [[0.0, 0.0, 0.0], [1.0, "));
}

TEST_F(Export, HeadersAndIncludes) {
  KilnExportSettings settings = Settings();
  settings.hostAppString = "the tests";
  settings.additionalIncludeFiles = "a\0b\0";
  EXPECT_THAT(
      Write(&settings),
      ::testing::StartsWith("# A Kiln scene.\n# Exported from the tests.\n\ninclude = [\"a\", \"b\"]\n\n"));
  settings.printHeader = 0;
  EXPECT_THAT(Write(&settings), ::testing::StartsWith("include = "));
}

TEST_F(Export, ChosenPlugins) {
  KilnExportSettings settings = Settings();
  settings.printHeader = 0;
  const KilnPluginId still = Kiln_KilnRenderer_getPluginID(renderer, "still");
  settings.pluginExportList = &still;
  settings.pluginExportListCount = 1;
  EXPECT_EQ(Write(&settings), "[still]\nclass = \"LightPoint\"\n");
}

TEST_F(Export, FramesAndTheCurrentOne) {
  KilnExportSettings settings = Settings();
  settings.leftInterval = 2;
  settings.rightInterval = 4;
  EXPECT_THAT(Write(&settings), ::testing::HasSubstr("intensity = { \"2.0\" = 2.0, \"4.0\" = 4.0 }"));
  settings.leftInterval = 5;
  EXPECT_THAT(Write(&settings), ::testing::HasSubstr("intensity = { \"0.0\" = 0.0, \"10.0\" = 10.0 }"))
      << "an interval that ends before it begins is none";
  Kiln_KilnRenderer_setCurrentTime(renderer, 7.5);
  settings.currentFrameOnly = 1;
  settings.appendFrameSuffix = 1;
  EXPECT_EQ(Kiln_KilnRenderer_exportScene(renderer, File().c_str(), &settings), 0);
  EXPECT_THAT(Content("a_0007.toml"), ::testing::HasSubstr("intensity = 7.5\n"));
}

TEST_F(Export, SubFiles) {
  KilnExportSettings settings = Settings();
  const KilnSubFileInfo files[] = {{"lights", "_lights"}, {nullptr, nullptr}};
  settings.subFileInfos = files;
  settings.subFileInfosCount = 2;
  EXPECT_THAT(Write(&settings), ::testing::HasSubstr("include = [\"a_lights.toml\"]"));
  EXPECT_THAT(Content("a_lights.toml"), ::testing::HasSubstr("[still]"));
  ASSERT_EQ(Kiln_KilnRenderer_load(renderer, File().c_str()), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, nullptr), 3);
}

TEST_F(Export, AFailureIsAnErrorAndAMessage) {
  Host host;
  ScopedRenderer other;
  const CallbackDescriptor callback = Callback(OnMessage, host);
  Kiln_KilnRenderer_setDumpMessageCallback(other, &callback, 0);
  EXPECT_NE(Kiln_KilnRenderer_exportScene(other, File("none/a.toml").c_str(), nullptr), 0);
  EXPECT_STREQ(Kiln_getErrorTextStringFromErrorCode(Kiln_KilnRenderer_getLastErrorCode(other)),
               "The scene cannot be written; the log says why.");
  EXPECT_NE(Kiln_KilnRenderer_exportScene(other, nullptr, nullptr), 0);
  EXPECT_NE(Kiln_KilnRenderer_exportScene(other, "", nullptr), 0);
  other.Release();
  ASSERT_EQ(host.Log().size(), 3U);
  EXPECT_THAT(host.Log()[0], ::testing::StartsWith("log 0 The scene cannot be exported: "));
}

TEST_F(Export, ASceneCanBeMadeATextAtAnyTime) {
  EXPECT_EQ(Kiln_KilnRenderer_serializeScene(renderer), 0);
  ASSERT_EQ(Kiln_KilnRenderer_clearScene(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_serializeScene(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_serializeScene(nullptr), 0);
}

TEST_F(Export, IncludePathsAreForTheScenesToCome) {
  fs::create_directories(folder_ / "one");
  fs::create_directories(folder_ / "two");
  std::ofstream(folder_ / "two" / "part.toml") << "[part]\nclass = \"LightPoint\"\n";
  constexpr char kText[] = "include = \"part.toml\"\n";
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, kText), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 10);
  const std::string one = (folder_ / "one").string();
  const std::string two = (folder_ / "two").string();
  EXPECT_NE(Kiln_KilnRenderer_setIncludePaths(renderer, (one + ";;" + two).c_str(), 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kText), 0);
  EXPECT_NE(Kiln_KilnRenderer_setIncludePaths(renderer, one.c_str(), 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_appendAsText(renderer, kText), 0) << "they replace those before";
  EXPECT_NE(Kiln_KilnRenderer_setIncludePaths(renderer, two.c_str(), 0), 0);
  EXPECT_EQ(Kiln_KilnRenderer_appendAsText(renderer, kText), 0) << "or stand behind them";
  EXPECT_NE(Kiln_KilnRenderer_setIncludePaths(renderer, nullptr, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, kText), 0);
}

const char* RenameAll(const char*, const char*, void* user) {
  const auto* name = static_cast<const char*>(user);
  char* text = static_cast<char*>(C_memory_alloc(std::strlen(name) + 1));
  return std::strcpy(text, name);
}

TEST_F(Export, AFiltersBadNamesHaveTheirCodes) {
  char same[] = "same";
  char spaced[] = "a b";
  EXPECT_EQ(Kiln_KilnRenderer_loadAsTextFiltered(renderer, kMoving, RenameAll, same), -2);
  EXPECT_STREQ(Kiln_getErrorTextStringFromErrorCode(Kiln_KilnRenderer_getLastErrorCode(renderer)),
               "The filter gave a plugin a name that another one has.");
  EXPECT_EQ(Kiln_KilnRenderer_appendAsTextFiltered(renderer, kMoving, RenameAll, spaced), -3);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginsCountOfType(renderer, nullptr), 3) << "the scene is as it was";
}

const char* DropMeshes(const char* type, const char* name, void*) {
  return std::strcmp(type, "GeomSphere") == 0 ? nullptr : name;
}

TEST_F(Export, WhatAFilterLeavesOutIsMissedInTheLog) {
  Host host;
  ScopedRenderer other;
  const CallbackDescriptor callback = Callback(OnMessage, host);
  Kiln_KilnRenderer_setDumpMessageCallback(other, &callback, 1);
  ASSERT_EQ(Kiln_KilnRenderer_loadAsTextFiltered(
                other, "[s]\nclass = \"GeomSphere\"\n[o]\nclass = \"GeomInstance\"\ngeometry = \"s\"\n",
                DropMeshes, nullptr),
            0);
  other.Release();
  EXPECT_THAT(host.Log(), ::testing::ElementsAre(
                              "log 1 \"o\": its \"geometry\" refers to \"s\", which the filter left out"));
}

TEST_F(Export, SeveralScenesComeInOneStep) {
  const uint64_t before = Kiln_KilnRenderer_getChangeIndex(renderer);
  const char* const bad[] = {kMoving, "[a]\nclass = \"NoSuch\"\n"};
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsText(renderer, bad, 2), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getChangeIndex(renderer), before) << "nothing was there in between";
  const char* const nothing[] = {kMoving, nullptr};
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsText(renderer, nothing, 2), 0);
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsText(renderer, nullptr, 2), 0);
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, nullptr), 0);
  EXPECT_NE(Kiln_KilnRenderer_load(renderer, nullptr), 0);
  const KilnSceneBuffer lie{nullptr, 5, nullptr, nullptr};
  EXPECT_NE(Kiln_KilnRenderer_loadAsBuffer(renderer, &lie), 0);
  EXPECT_NE(Kiln_KilnRenderer_loadAsBuffer(renderer, nullptr), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getChangeIndex(renderer), before);
}

}  // namespace
}  // namespace kiln::engine::test
