// The frame-buffer window from the host's side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

struct Folder {
  Folder()
      : path(fs::temp_directory_path() /
             ("kiln-window-" + std::to_string(counter++) + "-" +
              std::to_string(::testing::UnitTest::GetInstance()->random_seed()))) {
    path += std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    fs::create_directories(path);
  }
  ~Folder() { fs::remove_all(path); }
  std::string File(const char* name) const { return (path / name).string(); }
  static inline int counter = 0;
  fs::path path;
};

std::string Settings(KilnRendererHandle renderer) {
  uint64_t slot = 0;
  const char* text = Kiln_KilnRenderer_getKvwSettings(renderer, &slot);
  return text ? text : "";
}

std::string Layers(KilnRendererHandle renderer) {
  uint64_t slot = 0;
  const char* text = Kiln_KilnRenderer_getKvwLayers(renderer, &slot);
  return text ? text : "";
}

std::string State(KilnRendererHandle renderer, int32_t kind) {
  void* block = nullptr;
  const uint64_t size = Kiln_KilnRenderer_getKvwState(renderer, &block, kind);
  const ImageHandle owned(block);
  return block ? std::string(static_cast<char*>(block), size) : "";
}

std::string Persistent(KilnRendererHandle renderer) {
  void* block = nullptr;
  const uint64_t size = Kiln_KilnRenderer_getKvwPersistentState(renderer, &block);
  const ImageHandle owned(block);
  return std::string(static_cast<char*>(block), size);
}

TEST(Window, IsNeverShown) {
  const ScopedRenderer renderer;
  Kiln_enableFrameBuffer(1);
  Kiln_KilnRenderer_showFrameBuffer(renderer, 1, 0);
  EXPECT_EQ(Kiln_KilnRenderer_isFrameBufferShown(renderer), 0);
  EXPECT_NE(Kiln_KilnRenderer_showFrameBuffer(renderer, 0, 0), 0);
}

TEST(Window, FlagsStayAsTheyAreSet) {
  const ScopedRenderer renderer;
  for (const int32_t on : {0, 1}) {
    EXPECT_NE(Kiln_KilnRenderer_enableKVWInteractivity(renderer, on), 0);
    EXPECT_EQ(Kiln_KilnRenderer_isKVWInteractivityEnabled(renderer), on);
    EXPECT_NE(Kiln_KilnRenderer_enableKVWConfirmation(renderer, on), 0);
    EXPECT_EQ(Kiln_KilnRenderer_isKVWConfirmationEnabled(renderer), on);
    EXPECT_NE(Kiln_KilnRenderer_setKvwAlwaysOnTop(renderer, on), 0);
    EXPECT_THAT(Settings(renderer), HasSubstr(on ? "\"alwaysOnTop\":true" : "\"alwaysOnTop\":false"));
  }
}

TEST(Window, HasAPlaceAndASize) {
  const ScopedRenderer renderer;
  const KvwRect wanted = {-5, 7, 320, 200};
  EXPECT_NE(Kiln_KilnRenderer_setKvwPositionAndSize(renderer, &wanted), 0);
  const KvwRect none = {0, 0, 320, 0};
  EXPECT_EQ(Kiln_KilnRenderer_setKvwPositionAndSize(renderer, &none), 0);
  KvwRect rect{};
  EXPECT_NE(Kiln_KilnRenderer_getKvwPositionAndSize(renderer, &rect), 0);
  EXPECT_EQ(std::memcmp(&rect, &wanted, sizeof(rect)), 0);
}

TEST(Window, StatesGoFromOneRendererToAnother) {
  const ScopedRenderer first;
  const ScopedRenderer second;
  const KvwRect wanted = {1, 2, 320, 200};
  Kiln_KilnRenderer_setKvwPositionAndSize(first, &wanted);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwSettings(first, R"({"mine": "kept"})"), 0);
  for (const int32_t kind : {1, 2}) {
    const std::string state = State(first, kind);
    EXPECT_NE(Kiln_KilnRenderer_setKvwState(second, state.data(), state.size(), kind), 0);
    EXPECT_EQ(Kiln_KilnRenderer_setKvwState(second, state.data(), state.size(), 3 - kind), 0);
    EXPECT_EQ(State(second, kind), state);
  }
  Kiln_KilnRenderer_resetKvwState(second);
  EXPECT_THAT(Settings(second), Not(HasSubstr("kept")));
  std::string state = Persistent(first);
  EXPECT_NE(Kiln_KilnRenderer_setKvwPersistentState(second, state.data(), state.size()), 0);
  EXPECT_THAT(Settings(second), HasSubstr("kept"));
  EXPECT_EQ(Persistent(second), state);
  state.back() ^= 1;
  Kiln_KilnRenderer_resetKvwState(second);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwPersistentState(second, state.data(), state.size()), 0);
  EXPECT_THAT(Settings(second), Not(HasSubstr("kept")));
}

TEST(Window, StatesOfUnknownKindsAreNone) {
  const ScopedRenderer renderer;
  const std::string state = State(renderer, 1);
  for (const int32_t kind : {-1, 0, 3, 1 << 20}) {
    EXPECT_EQ(State(renderer, kind), "");
    EXPECT_EQ(Kiln_KilnRenderer_setKvwState(renderer, state.data(), state.size(), kind), 0);
  }
  EXPECT_EQ(Kiln_KilnRenderer_setKvwState(renderer, nullptr, 5, 1), 0);
}

TEST(Window, DocumentsThatAreNoneChangeNothing) {
  const ScopedRenderer renderer;
  const std::string settings = Settings(renderer);
  const std::string layers = Layers(renderer);
  for (const char* text : {"", "{", "5", "[]", R"({"window": 5, "layers": 5})"}) {
    EXPECT_NE(Kiln_KilnRenderer_setKvwSettings(renderer, text), 0) << text;
    EXPECT_NE(Kiln_KilnRenderer_setKvwLayers(renderer, text), 0) << text;
  }
  EXPECT_NE(Kiln_KilnRenderer_setKvwSettings(renderer, nullptr), 0);
  EXPECT_EQ(Settings(renderer), settings);
  EXPECT_EQ(Layers(renderer), layers);
}

TEST(Window, TextsStayUntilTheyAreAskedForAgain) {
  const ScopedRenderer renderer;
  uint64_t slot = 0;
  const char* text = Kiln_KilnRenderer_getKvwSettings(renderer, &slot);
  const std::string copy = text;
  Kiln_KilnRenderer_setKvwTitlePrefix(renderer, "changed");
  Layers(renderer);
  EXPECT_EQ(text, copy);
  EXPECT_NE(slot, 0U);
  EXPECT_EQ(Kiln_KilnRenderer_getKvwSettings(renderer, &slot), nullptr);
  EXPECT_EQ(slot, 0U);
  EXPECT_THAT(Settings(renderer), HasSubstr("changed"));
  EXPECT_EQ(Kiln_KilnRenderer_getKvwSettings(renderer, nullptr), nullptr);
}

TEST(Window, PresetsGoThroughFiles) {
  const Folder folder;
  const ScopedRenderer renderer;
  const std::string file = folder.File("preset.json");
  ASSERT_EQ(Kiln_KilnRenderer_setKvwLayers(renderer, R"({"layers": [{"type": "exposure", "exposure": 3}]})"),
            0);
  const std::string layers = Layers(renderer);
  EXPECT_NE(Kiln_KilnRenderer_saveKvwColorCorrectionsPreset(renderer, file.c_str()), 0);
  Kiln_KilnRenderer_resetKvwState(renderer);
  EXPECT_NE(Layers(renderer), layers);
  EXPECT_NE(Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(renderer, file.c_str()), 0);
  EXPECT_EQ(Layers(renderer), layers);
  EXPECT_EQ(Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(renderer, folder.File("none").c_str()), 0);
  EXPECT_EQ(Kiln_KilnRenderer_saveKvwColorCorrectionsPreset(renderer, folder.File("none/none").c_str()), 0);
  std::ofstream(file) << "{\"layers\": 5}";
  EXPECT_EQ(Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(renderer, file.c_str()), 0);
  EXPECT_EQ(Layers(renderer), layers);
  // The project's folder is where files are looked for.
  ASSERT_NE(Kiln_KilnRenderer_saveKvwColorCorrectionsPreset(renderer, file.c_str()), 0);
  EXPECT_EQ(Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(renderer, "preset.json"), 0);
  EXPECT_NE(Kiln_KilnRenderer_setKvwProjectPath(renderer, folder.File("project").c_str()), 0);
  EXPECT_NE(Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(renderer, "preset.json"), 0);
}

TEST(Window, ProgressIsTextAndValue) {
  const ScopedRenderer renderer;
  EXPECT_NE(Kiln_KilnRenderer_enableKvwProgressBar(renderer, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_setKvwProgressText(renderer, "loading"), 0);
  EXPECT_NE(Kiln_KilnRenderer_setKvwProgressValue(renderer, 0.5f), 0);
  EXPECT_THAT(Settings(renderer), HasSubstr(R"("progress":{"enabled":true,"text":"loading","value":0.5})"));
  EXPECT_NE(Kiln_KilnRenderer_setKvwProgressTextAndValue(renderer, "done", 1), 0);
  EXPECT_THAT(Settings(renderer), HasSubstr(R"("text":"done","value":1.0)"));
  EXPECT_EQ(Kiln_KilnRenderer_setKvwProgressText(renderer, nullptr), 0);
}

TEST(Window, TheSceneKeepsItsSettings) {
  const ScopedRenderer renderer;
  EXPECT_EQ(Kiln_KilnRenderer_applySettingsKVW(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwSettings(renderer, R"({"mine": 5})"), 0);
  EXPECT_NE(Kiln_KilnRenderer_fillSettingsKVW(renderer, nullptr, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_fillSettingsKVW(renderer, nullptr, 1), 0);
  Kiln_KilnRenderer_resetKvwState(renderer);
  EXPECT_THAT(Settings(renderer), Not(HasSubstr("mine")));
  EXPECT_NE(Kiln_KilnRenderer_applySettingsKVW(renderer), 0);
  EXPECT_THAT(Settings(renderer), HasSubstr("\"mine\":5"));
  EXPECT_EQ(Kiln_KilnRenderer_loadAsText(renderer, "[w]\nclass = \"SettingsKVW\"\nsettings = \"no JSON\"\n"),
            0);
  EXPECT_EQ(Kiln_KilnRenderer_applySettingsKVW(renderer), 0);
  EXPECT_THAT(Settings(renderer), HasSubstr("\"mine\":5"));
}

TEST(Window, SettingsComeFromAFile) {
  const Folder folder;
  const ScopedRenderer renderer;
  const std::string file = folder.File("settings.json");
  std::ofstream(file) << R"({"settings": {"title": {"prefix": "from a file"}}})";
  EXPECT_NE(Kiln_KilnRenderer_fillSettingsKVW(renderer, file.c_str(), 1), 0);
  EXPECT_THAT(Settings(renderer), HasSubstr("from a file"));
  std::ofstream(file) << R"({"settings": {"title": 5}})";
  EXPECT_EQ(Kiln_KilnRenderer_fillSettingsKVW(renderer, file.c_str(), 1), 0);
  EXPECT_EQ(Kiln_KilnRenderer_fillSettingsKVW(renderer, folder.File("none").c_str(), 1), 0);
}

TEST(Window, TheMenuKeepsItsValues) {
  const ScopedRenderer renderer;
  const KilnContextMenuItem items[] = {{5, 1, 1, 1, "first"}, {6, 0, 0, 0, nullptr}};
  const KilnContextMenuItem twice[] = {{5, 1, 1, 1, "first"}, {5, 0, 0, 0, "second"}};
  int32_t value = -1;
  EXPECT_EQ(Kiln_KilnRenderer_getKvwContextMenuItemValue(renderer, 5, &value), 0);
  EXPECT_NE(Kiln_KilnRenderer_setKvwContextMenuItems(renderer, items, 2), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwContextMenuItems(renderer, twice, 2), 0);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwContextMenuItems(renderer, nullptr, 1), 0);
  EXPECT_NE(Kiln_KilnRenderer_getKvwContextMenuItemValue(renderer, 5, &value), 0);
  EXPECT_EQ(value, 1);
  EXPECT_NE(Kiln_KilnRenderer_setKvwContextMenuItemValue(renderer, 5, 0), 0);
  Kiln_KilnRenderer_getKvwContextMenuItemValue(renderer, 5, &value);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(Kiln_KilnRenderer_setKvwContextMenuItemValue(renderer, 7, 0), 0);
}

TEST(Window, MessagesAreEvents) {
  Host host;
  const ScopedRenderer renderer;
  const CallbackDescriptor callback = Callback(OnMessage, host);
  Kiln_KilnRenderer_setDumpMessageCallback(renderer, &callback, 3);
  EXPECT_NE(Kiln_KilnRenderer_logKvwMessage(renderer, 2, "a word"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_logKvwMessage(renderer, 4, "none"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_logKvwMessage(renderer, 2, nullptr), 0);
  EXPECT_TRUE(host.WaitFor("log 2 a word"));
}

}  // namespace
}  // namespace kiln::engine::test
