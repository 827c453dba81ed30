// The references between plugins, and what is read from photometric files and shader sources.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "test/engine/api/host.h"

namespace kiln::engine::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kGraph[] = R"(
[red]
class = "TextureNoise"
[mix]
class = "TextureMix"
colorA = "red"
colorB = "red"
amount = "red"
[wood]
class = "MaterialPrincipled"
baseColor = "mix"
[ball]
class = "GeomSphere"
[one]
class = "GeomInstance"
geometry = "ball"
material = "wood"
[two]
class = "GeomInstance"
geometry = "ball"
material = "wood"
)";

struct Graph {
  ScopedRenderer renderer;

  explicit Graph(const char* scene = kGraph) {
    EXPECT_EQ(Kiln_KilnRenderer_loadAsText(renderer, scene), 0)
        << Kiln_KilnRenderer_getLastParserErrorText(renderer);
  }
  KilnPluginId Id(const char* name) const { return Kiln_KilnRenderer_getPluginID(renderer, name); }
  std::string Name(KilnPluginId id) const { return Kiln_KilnRenderer_getPluginName(renderer, id); }

  // "holder.property > target", with the output when it is not the plugin itself.
  std::vector<std::string> Texts(const PluginLink* links, int32_t count) const {
    std::vector<std::string> texts;
    for (int32_t i = 0; i < count; ++i) {
      const PluginLink& link = links[i];
      const char* property =
          Kiln_KilnRenderer_getPropertyNameFromIndexByID(renderer, link.from, link.property_index);
      texts.push_back(Name(link.from) + "." + (property ? property : "?") + " > " + Name(link.to) +
                      (link.output_index ? ":" + std::to_string(link.output_index) : ""));
    }
    return texts;
  }
  std::vector<std::string> Children(const char* name, bool recursive) const {
    PluginLink* links = nullptr;
    const int32_t count = Util_getChildPlugins(renderer, Id(name), recursive, &links);
    EXPECT_EQ(links == nullptr, count == 0);
    auto texts = Texts(links, count);
    C_memory_free(links);
    return texts;
  }
  std::vector<std::string> Parents(const char* name, bool recursive) const {
    PluginLink* links = nullptr;
    const int32_t count = Util_getParentPlugins(renderer, Id(name), recursive, &links);
    EXPECT_EQ(links == nullptr, count == 0);
    auto texts = Texts(links, count);
    C_memory_free(links);
    return texts;
  }
};

TEST(PluginLinks, ChildrenComeInTheOrderOfTheClass) {
  const Graph graph;
  EXPECT_THAT(graph.Children("one", false), ElementsAre("one.geometry > ball", "one.material > wood"));
  EXPECT_THAT(graph.Children("ball", true), IsEmpty());
}

TEST(PluginLinks, ChildrenOfChildrenComeOnceAndNearestFirst) {
  const Graph graph;
  EXPECT_THAT(graph.Children("one", true),
              ElementsAre("one.geometry > ball", "one.material > wood", "wood.baseColor > mix",
                          "mix.colorA > red", "mix.colorB > red", "mix.amount > red"));
}

TEST(PluginLinks, ParentsComeInOrderOfCreation) {
  const Graph graph;
  EXPECT_THAT(graph.Parents("wood", false), ElementsAre("one.material > wood", "two.material > wood"));
  EXPECT_THAT(graph.Parents("one", true), IsEmpty());
  EXPECT_THAT(graph.Parents("mix", true),
              ElementsAre("wood.baseColor > mix", "one.material > wood", "two.material > wood"));
}

TEST(PluginLinks, CirclesEnd) {
  const Graph graph(R"(
[a]
class = "TextureMix"
colorA = "b"
colorB = "a"
[b]
class = "TextureMix"
colorA = "a"
)");
  EXPECT_THAT(graph.Children("a", true), ElementsAre("a.colorA > b", "a.colorB > a", "b.colorA > a"));
  EXPECT_THAT(graph.Parents("a", true), ElementsAre("a.colorB > a", "b.colorA > a", "a.colorA > b"));
}

TEST(PluginLinks, WhatIsDeletedIsNoLink) {
  const Graph graph;
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(graph.renderer, graph.Id("ball"), 1), 0);
  EXPECT_THAT(graph.Children("one", false), ElementsAre("one.material > wood"));
}

TEST(PluginLinks, WithoutASceneThereAreNone) {
  const Graph graph;
  PluginLink* links = nullptr;
  EXPECT_EQ(Util_getChildPlugins(graph.renderer, 99999, 1, &links), 0);
  EXPECT_EQ(Util_getChildPlugins(graph.renderer, KILN_NO_PLUGIN, 1, &links), 0);
  EXPECT_EQ(Util_getChildPlugins(nullptr, graph.Id("one"), 1, &links), 0);
  EXPECT_EQ(Util_getParentPlugins(graph.renderer, graph.Id("wood"), 1, nullptr), 0);
  EXPECT_EQ(links, nullptr);
}

TEST(Photometry, TheIntensityIsTheFluxOfTheFile) {
  const auto file = testing::TempDir() + "kiln_flux.ies";
  std::ofstream(file) << "IESNA:LM-63-2002\nTILT=NONE\n1 1000 2 2 1 1 2 0 0 0\n1 1 10\n0 180\n0\n50 50\n";
  EXPECT_FLOAT_EQ(Util_getIESPrescribedIntensity(file.c_str()), 1256.637061F);
  EXPECT_EQ(Util_getIESPrescribedIntensity("/no/such/file.ies"), 0);
  EXPECT_EQ(Util_getIESPrescribedIntensity(nullptr), 0);
}

struct Words {
  std::string bytes;
  size_t place = 0;
  template <class Word>
  Word Take() {
    Word word{};
    EXPECT_LE(place + 4, bytes.size());
    std::memcpy(&word, bytes.data() + place, 4);
    place += 4;
    return word;
  }
  std::string TakeText() {
    const auto size = static_cast<size_t>(Take<int32_t>());
    std::string text = bytes.substr(place, size);
    place += (size + 4) & ~size_t{3};
    return text;
  }
};

TEST(Shaders, TheDescriptionHoldsNamesTypesAndDefaults) {
  const auto file = testing::TempDir() + "kiln_shader.osl";
  std::ofstream(file)
      << "shader s(int a = 7, string text = \"four\", color c = color(1, 2, 3), matrix m = 1,\n"
         "  int on = 1 [[ string widget = \"boolean\" ]], output float out = 0) { }";
  void* block = nullptr;
  uint64_t size = 0;
  ASSERT_EQ(Kiln_getOSLParameters(file.c_str(), &block, &size), 0);
  Words words{std::string(static_cast<char*>(block), size)};
  C_memory_free(block);
  EXPECT_EQ(words.Take<int32_t>(), 6);
  EXPECT_EQ(words.TakeText(), "a");
  EXPECT_EQ(words.Take<int32_t>(), 1);
  EXPECT_EQ(words.Take<int32_t>(), 7);
  EXPECT_EQ(words.TakeText(), "text");
  EXPECT_EQ(words.Take<int32_t>(), 4);
  EXPECT_EQ(words.TakeText(), "four");
  EXPECT_EQ(words.TakeText(), "c");
  EXPECT_EQ(words.Take<int32_t>(), 6);
  for (const float number : {1.0F, 2.0F, 3.0F}) EXPECT_EQ(words.Take<float>(), number);
  EXPECT_EQ(words.TakeText(), "m");
  EXPECT_EQ(words.Take<int32_t>(), 0);
  EXPECT_EQ(words.TakeText(), "on");
  EXPECT_EQ(words.Take<int32_t>(), 2);
  EXPECT_EQ(words.Take<int32_t>(), 1);
  EXPECT_EQ(words.TakeText(), "out");
  EXPECT_EQ(words.Take<int32_t>(), 10);
  EXPECT_EQ(words.place, size);
}

TEST(Shaders, WhatFailsHasASentence) {
  const auto file = testing::TempDir() + "kiln_broken.osl";
  const auto error_of = [](const char* name) {
    void* block = &block;
    uint64_t size = 1;
    const int32_t code = Kiln_getOSLParameters(name, &block, &size);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0U);
    return std::string(Kiln_getErrorTextStringFromErrorCode(code));
  };
  std::ofstream(file) << "shader s(";
  EXPECT_THAT(error_of(file.c_str()), testing::HasSubstr("malformed"));
  std::ofstream(file) << "float f() { }";
  EXPECT_THAT(error_of(file.c_str()), testing::HasSubstr("no source of a shader"));
  EXPECT_THAT(error_of("/no/such/file.osl"), testing::HasSubstr("not found"));
  EXPECT_THAT(error_of(nullptr), testing::HasSubstr("not found"));
}

}  // namespace
}  // namespace kiln::engine::test
