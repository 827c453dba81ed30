// Reading scenes: files, texts, memory, several at once, filters, and what a failure leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

constexpr char kBroken[] = "[a]\nclass = \"LightPoint\"\n\n[b\n";

int32_t CountOf(KilnRendererHandle renderer) {
  return Kiln_KilnRenderer_getPluginsCountOfType(renderer, nullptr);
}

class TemporaryFile {
 public:
  explicit TemporaryFile(const char* content)
      : path_(std::filesystem::temp_directory_path() /
              ("kiln_loading_test_" + std::to_string(getpid()) + "_" + std::to_string(++count_) + ".kiln")) {
    std::ofstream(path_) << content;
  }
  ~TemporaryFile() { std::filesystem::remove(path_); }
  const char* name() const { return path_.c_str(); }

 private:
  static inline int count_ = 0;
  std::filesystem::path path_;
};

TEST(Loading, AFileReplacesTheScene) {
  const ScopedRenderer renderer;
  const TemporaryFile file(kScene);
  EXPECT_EQ(Kiln_KilnRenderer_load(renderer, file.name()), 0);
  EXPECT_EQ(CountOf(renderer), 3);
  EXPECT_EQ(Kiln_KilnRenderer_load(renderer, file.name()), 0);
  EXPECT_EQ(CountOf(renderer), 3);
  EXPECT_EQ(Kiln_KilnRenderer_append(renderer, file.name()), 0);
  EXPECT_EQ(CountOf(renderer), 6);
}

TEST(Loading, AMissingFileIsCodeOne) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(), 0);
  EXPECT_NE(Kiln_KilnRenderer_load(renderer, "/no/such/scene.kiln"), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 1);
  EXPECT_EQ(Kiln_KilnRenderer_getLastParserErrorText(renderer), nullptr);
  EXPECT_EQ(CountOf(renderer), 3) << "the old scene stays";
}

TEST(Loading, AMalformedSceneIsCodeTenWithFileAndLine) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(), 0);
  const TemporaryFile file(kBroken);
  EXPECT_NE(Kiln_KilnRenderer_load(renderer, file.name()), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 10);
  EXPECT_STREQ(Kiln_KilnRenderer_getLastParserErrorFileName(renderer), file.name());
  EXPECT_EQ(Kiln_KilnRenderer_getLastParserErrorFileLine(renderer), 4u);
  ASSERT_NE(Kiln_KilnRenderer_getLastParserErrorText(renderer), nullptr);
  EXPECT_GT(std::strlen(Kiln_KilnRenderer_getLastParserErrorText(renderer)), 5u);
  EXPECT_EQ(CountOf(renderer), 3);
}

TEST(Loading, ATextHasNoFileName) {
  const ScopedRenderer renderer;
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, kBroken), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getLastErrorCode(renderer), 10);
  EXPECT_EQ(Kiln_KilnRenderer_getLastParserErrorFileName(renderer), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getLastParserErrorFileLine(renderer), 4u);
}

TEST(Loading, AFailureIsLogged) {
  Host host;
  ScopedRenderer renderer;
  const CallbackDescriptor callback = Callback(OnMessage, host);
  Kiln_KilnRenderer_setDumpMessageCallback(renderer, &callback, 0);
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, "[a]\nclass = \"NoSuchClass\"\n"), 0);
  renderer.Release();
  ASSERT_EQ(host.Log().size(), 1u);
  EXPECT_THAT(host.Log()[0], testing::StartsWith("log 0 "));
}

TEST(Loading, SeveralTextsAreAllOrNothing) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(), 0);
  const char* const texts[] = {kScene, kScene, kBroken};
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsText(renderer, texts, 3), 0);
  EXPECT_EQ(CountOf(renderer), 3);
  EXPECT_EQ(Kiln_KilnRenderer_appendMultiAsText(renderer, texts, 2), 0);
  EXPECT_EQ(CountOf(renderer), 9);
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsText(renderer, texts, 0), 0);
}

struct Releases {
  int count = 0;
  const void* memory = nullptr;
};

void CountRelease(void* memory, uint64_t, void* user) {
  auto* releases = static_cast<Releases*>(user);
  ++releases->count;
  releases->memory = memory;
}

TEST(Loading, MemoryIsGivenBackOnceHoweverItGoes) {
  const ScopedRenderer renderer;
  Releases releases;
  const KilnSceneBuffer good{kScene, std::strlen(kScene), CountRelease, &releases};
  const KilnSceneBuffer bad{kBroken, std::strlen(kBroken), CountRelease, &releases};
  EXPECT_EQ(Kiln_KilnRenderer_loadAsBuffer(renderer, &good), 0);
  EXPECT_EQ(releases.count, 1);
  EXPECT_EQ(releases.memory, kScene);
  EXPECT_NE(Kiln_KilnRenderer_loadAsBuffer(renderer, &bad), 0);
  EXPECT_EQ(releases.count, 2);
  EXPECT_NE(Kiln_KilnRenderer_loadAsBuffer(nullptr, &good), 0);
  EXPECT_EQ(releases.count, 3) << "also without a renderer";
  const KilnSceneBuffer both[] = {bad, good};
  EXPECT_NE(Kiln_KilnRenderer_appendMultiAsBuffer(renderer, both, 2), 0);
  EXPECT_EQ(releases.count, 5) << "also of the one that was not looked at";
}

const char* FilterByName(const char* first, const char* second, void* user) {
  static_cast<std::vector<std::string>*>(user)->push_back(std::string(first) + " " + second);
  if (std::strcmp(second, "lamp") == 0) return nullptr;
  if (std::strcmp(second, "camera") != 0) return second;
  char* renamed = static_cast<char*>(C_memory_alloc(8));
  return std::strcpy(renamed, "renamed");
}

TEST(Loading, AFilterLeavesOutKeepsAndRenames) {
  const ScopedRenderer renderer;
  std::vector<std::string> seen;
  EXPECT_EQ(Kiln_KilnRenderer_loadAsTextFiltered(renderer, kScene, FilterByName, &seen), 0);
  EXPECT_THAT(seen, testing::UnorderedElementsAre("CameraPerspective camera", "LightRectangle lamp",
                                                  "SettingsSampler sampler"));
  EXPECT_EQ(CountOf(renderer), 2);
  EXPECT_NE(Kiln_KilnRenderer_getPluginID(renderer, "renamed"), KILN_NO_PLUGIN);
  EXPECT_NE(Kiln_KilnRenderer_getPluginID(renderer, "sampler"), KILN_NO_PLUGIN);
}

const char* ReleaseInFilter(const char*, const char* second, void* user) {
  Kiln_KilnRenderer_release(user);
  return second;
}

TEST(Loading, AFilterMayReleaseTheRenderer) {
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(nullptr, nullptr);
  Kiln_KilnRenderer_loadAsTextFiltered(renderer, kScene, ReleaseInFilter, renderer);
  EXPECT_EQ(CountOf(renderer), 0);
}

TEST(Loading, AnEmptySceneIsAllowed) {
  ScopedRenderer renderer;
  ASSERT_EQ(renderer.Load(), 0);
  EXPECT_EQ(Kiln_KilnRenderer_clearScene(renderer), 0);
  EXPECT_EQ(CountOf(renderer), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginID(renderer, "camera"), KILN_NO_PLUGIN);
}

}  // namespace
}  // namespace kiln::engine::test
