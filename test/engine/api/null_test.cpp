// Every entry point called with nothing: null handles, null pointers, zeros.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "entry_points.h"

namespace {

// Calls the function with zeros; whether the answer is all zero bits where it has one.
template <class R, class... P>
bool CallWithZeros([[maybe_unused]] std::string_view name, R (*function)(P...)) {
  if constexpr (std::is_void_v<R>) {
    function(P{}...);
    return true;
  } else {
    const R answer = function(P{}...);
    const bool is_zero = answer == R{};
    // What does work with nothing is the caller's.
    if constexpr (std::is_same_v<R, void*>) {
      if (name == "Kiln_KilnRenderer_create") Kiln_KilnRenderer_release(answer);
      if (name == "Kiln_KilnServer_create") Kiln_KilnServer_release(answer);
      if (name.starts_with("C_memory")) C_memory_free(answer);
    }
    if constexpr (std::is_same_v<R, HostCheckResult*>) C_memory_free(answer);
    return is_zero;
  }
}

struct Call {
  const char* name;
  bool (*run)();
};

#define KILN_ENTRY(family, result, name, parameters) {#name, [] { return CallWithZeros(#name, &name); }},
const std::vector<Call> kCalls = {
#include "entry_points.def"
};

std::vector<std::string> NamesThatAnswer(bool zero, const std::string& word) {
  std::vector<std::string> names;
  for (const Call& call : kCalls) {
    if (std::strstr(call.name, word.c_str()) && call.run() == zero) names.emplace_back(call.name);
  }
  return names;
}

TEST(Null, EveryEntryPointBearsNothing) {
  ASSERT_EQ(kCalls.size(), 341u);
  for (const Call& call : kCalls) {
    SCOPED_TRACE(call.name);
    call.run();
  }
}

// "0 on success" for these: a call without a renderer must not look like one that worked.
TEST(Null, SuccessCodesOfZeroAreNotAnswered) {
  const char* const kZeroIsSuccess[] = {"Kiln_KilnRenderer_loadAs",
                                        "Kiln_KilnRenderer_append",
                                        "Kiln_KilnRenderer_startSync",
                                        "Kiln_KilnRenderer_newPlugin",
                                        "Kiln_KilnRenderer_deletePlugin",
                                        "Kiln_KilnRenderer_replacePlugin",
                                        "Kiln_KilnRenderer_rename",
                                        "Kiln_KilnRenderer_clearScene",
                                        "Kiln_KilnRenderer_setPropertyValue",
                                        "Kiln_KilnRenderer_setPropertyBytes",
                                        "Kiln_KilnRenderer_exportScene",
                                        "Kiln_KilnRenderer_setDeviceList",
                                        "Kiln_newRenderElementPlugin",
                                        "Kiln_getOSLParameters",
                                        "createProxyFile",
                                        "Kiln_setEnvironmentVariable",
                                        "Kiln_KilnRenderer_setInteractive",
                                        "Kiln_KilnRenderer_loadFiltered"};
  for (const char* word : kZeroIsSuccess)
    EXPECT_EQ(NamesThatAnswer(true, word), std::vector<std::string>()) << word;
}

// And non-zero means success for these.
TEST(Null, SuccessCodesOfOneAreNotAnswered) {
  const char* const kNonZeroIsSuccess[] = {"setRenderMode", "setNumThreads", "setInProcess", "pauseRT",
                                           "readProxy",     "SaveTo",        "compressTo",   "getBoundingBox",
                                           "Kvw",           "waitRenderEnd", "isRenderEnded"};
  const std::vector<std::string> kOthers = {"Kiln_KilnRenderer_setKvwSettings",
                                            "Kiln_KilnRenderer_setKvwLayers",
                                            "Kiln_KilnRenderer_saveKvwToFile"};
  for (const char* word : kNonZeroIsSuccess) {
    for (const std::string& name : NamesThatAnswer(false, word))
      EXPECT_THAT(kOthers, testing::Contains(name));
  }
}

TEST(Null, AHandleThatIsGoneIsNoRenderer) {
  KilnRendererHandle renderer = Kiln_KilnRenderer_create(nullptr, nullptr);
  ASSERT_NE(renderer, nullptr);
  Kiln_KilnRenderer_release(renderer);
  EXPECT_NE(Kiln_KilnRenderer_loadAsText(renderer, ""), 0);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginID(renderer, "camera"), KILN_NO_PLUGIN);
  EXPECT_EQ(Kiln_KilnRenderer_getImage(renderer, nullptr), nullptr);
  Kiln_KilnRenderer_release(renderer);
}

}  // namespace
