// The library as a whole: what it exports, versions, texts, memory, string vectors, its environment.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "entry_points.h"

namespace {

#define KILN_ENTRY(family, result, name, parameters) #name,
const std::set<std::string> kNames = {
#include "entry_points.def"
};

TEST(Library, ExportsTheEntryPointsAndNothingElse) {
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&C_memory_free), &info), 0);
  const std::string command =
      "nm -D --defined-only --format=just-symbols '" + std::string(info.dli_fname) + "'";
  FILE* output = popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::set<std::string> exported;
  char line[256];
  while (std::fgets(line, sizeof line, output)) exported.insert(std::string(line, std::strcspn(line, "\n@")));
  ASSERT_EQ(pclose(output), 0) << command;
  EXPECT_EQ(exported.size(), 341u);
  EXPECT_EQ(exported, kNames);
}

TEST(Library, StatesItsVersion) {
  EXPECT_GT(Kiln_getKilnVersion(), 0u);
  EXPECT_EQ(Kiln_getSDKVersion(), Kiln_getKilnVersion());
  const uint32_t version = Kiln_getKilnVersion();
  const std::string text = std::to_string(version >> 16) + "." + std::to_string(version >> 8 & 0xFF) + "." +
                           std::to_string(version & 0xFF);
  EXPECT_THAT(Kiln_getKilnVersionDetails(), testing::HasSubstr(text));
  EXPECT_THAT(Kiln_getKilnVersionDetails(), testing::HasSubstr("Embree"));
  EXPECT_EQ(Kiln_getMaterialLibraryPath(), nullptr);
  EXPECT_EQ(Kiln_isDR2(), 0);
}

TEST(Library, EveryErrorCodeHasItsOwnSentence) {
  std::set<std::string> sentences;
  const std::string unknown = Kiln_getErrorTextStringFromErrorCode(12345);
  const int32_t codes[] = {0, 1, 2, 3, 4, 5, 10, 20, 21, 22, 23, 30, 31, 32, 33, 34, 99};
  for (const int32_t code : codes) {
    const std::string text = Kiln_getErrorTextStringFromErrorCode(code);
    EXPECT_NE(text, unknown) << code;
    EXPECT_EQ(text.back(), '.') << code;
    EXPECT_TRUE(sentences.insert(text).second) << code;
  }
}

TEST(Library, CountsItsUsers) {
  const int32_t before = Kiln_incrementModuleReferenceCounter();
  EXPECT_EQ(Kiln_incrementModuleReferenceCounter(), before + 1);
}

TEST(Library, KnowsWhichFilesCanBeRead) {
  EXPECT_NE(Kiln_isFileAvailable("/proc/self/exe"), 0);
  EXPECT_EQ(Kiln_isFileAvailable("/proc/self"), 0) << "a folder";
  EXPECT_EQ(Kiln_isFileAvailable("/no/such/file"), 0);
  EXPECT_EQ(Kiln_isFileAvailable(""), 0);
}

TEST(Environment, ReadsTheProcessUnderItsOwn) {
  ASSERT_EQ(setenv("KILN_TEST_VARIABLE", "process", 1), 0);
  EXPECT_STREQ(Kiln_getEnvironmentVariable("KILN_TEST_VARIABLE"), "process");
  EXPECT_EQ(Kiln_setEnvironmentVariable("KILN_TEST_VARIABLE", "engine"), 0);
  EXPECT_STREQ(Kiln_getEnvironmentVariable("KILN_TEST_VARIABLE"), "engine");
  EXPECT_STREQ(getenv("KILN_TEST_VARIABLE"), "process");
  EXPECT_EQ(Kiln_setEnvironmentVariable("KILN_TEST_VARIABLE", nullptr), 0);
  EXPECT_EQ(Kiln_getEnvironmentVariable("KILN_TEST_VARIABLE"), nullptr);
}

TEST(Environment, RefusesWhatIsNoName) {
  EXPECT_NE(Kiln_setEnvironmentVariable("", "x"), 0);
  EXPECT_NE(Kiln_setEnvironmentVariable("a=b", "x"), 0);
  EXPECT_EQ(Kiln_getEnvironmentVariable("a=b"), nullptr);
  EXPECT_EQ(Kiln_getEnvironmentVariable("KILN_TEST_NEVER_SET"), nullptr);
}

TEST(Memory, GrowsAndKeepsItsContent) {
  auto* block = static_cast<char*>(C_memory_alloc(8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "content", 8);
  block = static_cast<char*>(C_memory_realloc(block, 100000));
  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(block, "content");
  C_memory_free(block);
  C_memory_free(nullptr);
}

TEST(Memory, AnswersSizesAtTheEnds) {
  void* empty = C_memory_alloc(0);
  EXPECT_NE(empty, nullptr);
  empty = C_memory_realloc(empty, 0);
  EXPECT_NE(empty, nullptr);
  C_memory_free(empty);
  EXPECT_EQ(C_memory_alloc(UINT64_MAX), nullptr);
  EXPECT_EQ(C_memory_realloc(nullptr, UINT64_MAX), nullptr);
}

TEST(Vectors, AnswerOnlyWithinTheirRange) {
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(nullptr, nullptr);
  KilnStringVector names = Kiln_KilnRenderer_getPluginClassNames(renderer);
  ASSERT_NE(names, nullptr);
  const int32_t count = getVectorSize(names);
  EXPECT_EQ(count, Kiln_KilnRenderer_getPluginClassNamesCount(renderer));
  EXPECT_GT(count, 0);
  EXPECT_NE(getVectorElement(names, 0), nullptr);
  EXPECT_NE(getVectorElement(names, count - 1), nullptr);
  EXPECT_EQ(getVectorElement(names, count), nullptr);
  EXPECT_EQ(getVectorElement(names, -1), nullptr);
  releaseVector(names);
  Kiln_KilnRenderer_release(renderer);
}

}  // namespace
