// Saving and loading what the window shows, from the host's side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

namespace fs = std::filesystem;

struct SavingTest : testing::Test {
  SavingTest()
      : folder(
            fs::temp_directory_path() /
            ("kiln-saving-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()))) {
    fs::create_directories(folder);
  }
  ~SavingTest() override { fs::remove_all(folder); }

  std::string File(const char* name) const { return (folder / name).string(); }
  int32_t Save(const char* name, uint32_t flags = 0, int32_t compression = 0, int32_t bits = 32) const {
    const KvwSaveOptions options = {flags, compression, bits};
    return Kiln_KilnRenderer_saveKvwToFile(renderer, File(name).c_str(), &options);
  }
  bool Has(const char* name) const { return fs::exists(folder / name); }
  void Render() {
    ASSERT_EQ(renderer.Load(32), 0);
    KilnPluginId plugin = KILN_NO_PLUGIN;
    ASSERT_EQ(Kiln_newRenderElementPlugin(renderer, 117, "depth", nullptr, &plugin), 0);
    ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
    ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  }

  fs::path folder;
  ScopedRenderer renderer;
};

TEST_F(SavingTest, WithoutAPictureThereIsNothingToSave) {
  EXPECT_EQ(Save("a.exr"), 2);
  EXPECT_EQ(Kiln_KilnRenderer_saveKvwToFile(renderer, nullptr, nullptr), 1);
  EXPECT_FALSE(Has("a.exr"));
}

TEST_F(SavingTest, ARenderIsSaved) {
  Render();
  EXPECT_EQ(Save("a.exr", KILN_KVW_MULTI_CHANNEL), 0);
  EXPECT_EQ(Save("a.png", 0, 0, 8), 0);
  EXPECT_EQ(Save("b.exr", KILN_KVW_MULTIPLE_FILES), 0);
  EXPECT_TRUE(Has("b.alpha.exr") && Has("b.z_depth.exr"));
  EXPECT_EQ(Kiln_KilnRenderer_saveKvwToFile(renderer, File("c.exr").c_str(), nullptr), 0);
  Kiln_KilnRenderer_setCurrentFrame(renderer, 7);
  EXPECT_EQ(Save("d.exr", KILN_KVW_FRAME_NUMBER), 0);
  EXPECT_TRUE(Has("d.0007.exr"));
  EXPECT_EQ(Save("a.gif"), 3);
  EXPECT_EQ(Save("a.exr", 0, 99), 4);
  EXPECT_EQ(Save("none/a.exr"), 5);
}

TEST_F(SavingTest, TheSettingsAreTheOptionsOfNone) {
  Render();
  ASSERT_EQ(Kiln_KilnRenderer_setKvwSettings(
                renderer, R"({"save": {"multipleFiles": true}, "display": {"channel": "none"}})"),
            0);
  EXPECT_EQ(Kiln_KilnRenderer_saveKvwToFile(renderer, File("a.exr").c_str(), nullptr), 0);
  EXPECT_TRUE(Has("a.z_depth.exr"));
  EXPECT_EQ(Save("b.exr", KILN_KVW_SINGLE_CHANNEL), 2);
  ASSERT_EQ(Kiln_KilnRenderer_setKvwSettings(renderer, R"({"display": {"channel": "z_depth"}})"), 0);
  EXPECT_EQ(Save("b.exr", KILN_KVW_SINGLE_CHANNEL), 0);
}

TEST_F(SavingTest, ALoadedPictureIsShownUntilTheNextRender) {
  Render();
  ASSERT_EQ(Save("rendered.png", 0, 0, 8), 0);
  EXPECT_NE(Kiln_KilnRenderer_clearKvwImage(renderer), 0);
  EXPECT_EQ(Save("none.png"), 2);
  EXPECT_NE(Kiln_KilnRenderer_loadKvwImage(renderer, File("rendered.png").c_str()), 0);
  EXPECT_EQ(Save("loaded.png", KILN_KVW_MULTIPLE_FILES, 0, 8), 0);
  EXPECT_FALSE(Has("loaded.z_depth.exr"));
  EXPECT_EQ(Kiln_KilnRenderer_loadKvwImage(renderer, File("none.png").c_str()), 0);
  EXPECT_EQ(Save("still.png", 0, 0, 8), 0);
  EXPECT_NE(Kiln_KilnRenderer_loadKvwBackgroundImage(renderer, File("rendered.png").c_str()), 0);
  EXPECT_EQ(Kiln_KilnRenderer_loadKvwBackgroundImage(renderer, File("none.png").c_str()), 0);
  ASSERT_EQ(Kiln_KilnRenderer_startSync(renderer), 0);
  ASSERT_NE(Kiln_KilnRenderer_waitRenderEnd(renderer, 60000), 0);
  EXPECT_EQ(Save("again.exr", KILN_KVW_MULTIPLE_FILES), 0);
  EXPECT_TRUE(Has("again.z_depth.exr"));
}

TEST_F(SavingTest, CorrectionsAreAppliedWhenTheyAreAskedFor) {
  Render();
  ASSERT_EQ(
      Kiln_KilnRenderer_setKvwLayers(renderer, R"({"layers": [{"type": "exposure", "exposure": -20}]})"), 0);
  ASSERT_EQ(Save("plain.png", 0, 0, 8), 0);
  ASSERT_EQ(Save("dark.png", KILN_KVW_APPLY_COLOR_CORRECTIONS, 0, 8), 0);
  EXPECT_LT(fs::file_size(folder / "dark.png"), fs::file_size(folder / "plain.png"));
}

}  // namespace
}  // namespace kiln::engine::test
