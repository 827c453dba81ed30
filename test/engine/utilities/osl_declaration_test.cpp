// Declarations of shaders as people write them, and as they should not be.
#include "engine/utilities/osl_declaration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace kiln::engine::test {
namespace {

using testing::ElementsAre;

std::vector<OslParameter> Read(std::string_view source, OslError error = OslError::kNone) {
  std::vector<OslParameter> parameters;
  EXPECT_EQ(ReadOslDeclaration(source, &parameters), error) << source;
  return parameters;
}

// Of one parameter.
OslParameter One(const std::string& declaration) {
  const auto parameters = Read("shader s(" + declaration + ") {}");
  EXPECT_EQ(parameters.size(), 1U) << declaration;
  return parameters.empty() ? OslParameter() : parameters[0];
}
double NumberOf(const std::string& expression) {
  return static_cast<double>(One("float x = " + expression).numbers[0]);
}
std::vector<float> TripleOf(const std::string& declaration) {
  const OslParameter p = One(declaration);
  return {p.numbers[0], p.numbers[1], p.numbers[2]};
}

constexpr char kShader[] = R"osl(// A comment with shader no(
#define SIZE 4
#include "other.h" \
  and more (

/* displacement never() */
float helper(float surface_value) { return surface_value; }
struct Pair { float a; float b; };

surface example [[ string help = "An \"example\"", int version = 3 ]]
(
    int count = 3 [[ int min = 0, int max = 10 ]],
    int enabled = 1 [[ string widget = "checkBox" ]],
    int flag = 0 [[ string label = "Flag", string widget = "Boolean" ]],
    float roughness = 0.25,
    string mode = "one" "two" [[ string widget = "popup", string options = "a|b" ]],
    string image = "" [[ string widget = "filename" ]],
    color tint = color(1, 0.5, -0.25),
    color grey = 0.5,
    vector offset = vector(1, 2, 3),
    point place = point("world", 4, 5, 6),
    normal Nn = N,
    matrix m = 1,
    float ramp[3] = { 0, 0.5, 1 },
    float open[] = { 1, 2 } [[ string page = "x" ]],
    Pair pair = { 1, 2 },
    closure color under = 0,
    output closure color result = 0,
    output color albedo = color(1),
    output float alpha = 1,
    output vector direction = 0,
    output color many[2] = { 0, 0 },
)
{
  if (count > 0) { result = 0; } // }
  string s = "}";
}
shader second(int other = 1) {}
)osl";

TEST(OslDeclaration, EveryKindOfParameterInOrder) {
  std::vector<std::string> names;
  std::vector<OslType> types;
  for (const OslParameter& p : Read(kShader)) {
    names.push_back(p.name);
    types.push_back(p.type);
  }
  EXPECT_THAT(names,
              ElementsAre("count", "enabled", "flag", "roughness", "mode", "image", "tint", "grey", "offset",
                          "place", "Nn", "m", "ramp", "open", "pair", "under", "result", "albedo", "alpha"));
  using enum OslType;
  EXPECT_THAT(types, ElementsAre(kInt, kBoolean, kBoolean, kFloat, kString, kTexture, kColor, kColor, kVector,
                                 kVector, kVector, kUnsupported, kUnsupported, kUnsupported, kUnsupported,
                                 kUnsupported, kClosureOutput, kColorOutput, kFloatOutput));
}

TEST(OslDeclaration, DefaultsAreComputed) {
  const auto parameters = Read(kShader);
  EXPECT_EQ(parameters[0].integer, 3);
  EXPECT_EQ(parameters[1].integer, 1);
  EXPECT_EQ(parameters[3].numbers[0], 0.25F);
  EXPECT_EQ(parameters[4].text, "onetwo");
  EXPECT_THAT(parameters[6].numbers, ElementsAre(1, 0.5F, -0.25F));
  EXPECT_THAT(parameters[7].numbers, ElementsAre(0.5F, 0.5F, 0.5F));
  EXPECT_THAT(parameters[9].numbers, ElementsAre(4, 5, 6));
  EXPECT_THAT(parameters[10].numbers, ElementsAre(0, 0, 0)) << "N is known in a render only";
}

TEST(OslDeclaration, ConstantExpressions) {
  EXPECT_DOUBLE_EQ(NumberOf("1 + 2 * 3"), 7);
  EXPECT_DOUBLE_EQ(NumberOf("(1 + 2) * -3 - 1"), -10);
  EXPECT_DOUBLE_EQ(NumberOf("7 / 2"), 3) << "whole numbers stay whole";
  EXPECT_DOUBLE_EQ(NumberOf("7 / 2."), 3.5);
  EXPECT_DOUBLE_EQ(NumberOf("1 / 0"), 0);
  EXPECT_DOUBLE_EQ(NumberOf(".5e1"), 5);
  EXPECT_DOUBLE_EQ(NumberOf("1.5f"), 1.5);
  EXPECT_DOUBLE_EQ(NumberOf("0x1F"), 31);
  EXPECT_FLOAT_EQ(static_cast<float>(NumberOf("M_PI")), 3.14159265F);
  EXPECT_DOUBLE_EQ(NumberOf("sqrt(4)"), 0) << "calls are not made";
  EXPECT_DOUBLE_EQ(NumberOf("SIZE"), 0);
  EXPECT_DOUBLE_EQ(NumberOf("a[b[0]] + max(1, 2)"), 0);
  EXPECT_DOUBLE_EQ(NumberOf("color(1, 2, 3)"), 0) << "of another type";
  EXPECT_DOUBLE_EQ(NumberOf("\"text\""), 0);
  EXPECT_DOUBLE_EQ(NumberOf("1e30 * 1e30"), 3.4028234663852886e38);
  EXPECT_DOUBLE_EQ(NumberOf("1e300 * 1e300"), 0);
  EXPECT_THAT(TripleOf("color c = 2 * color(1, 2, 3) + 1"), ElementsAre(3, 5, 7));
  EXPECT_THAT(TripleOf("color c = {1, 2, 3}"), ElementsAre(1, 2, 3));
  EXPECT_THAT(TripleOf("color c = color(\"rgb\", 1, 2, 3)"), ElementsAre(1, 2, 3));
  EXPECT_THAT(TripleOf("color c = color(\"hsv\", 1, 2, 3)"), ElementsAre(0, 0, 0));
  EXPECT_THAT(TripleOf("color c = color(1, 2)"), ElementsAre(0, 0, 0));
  EXPECT_EQ(One("int i = -2.75").integer, -2);
  EXPECT_EQ(One("int i = 5000000000").integer, INT32_MAX);
  EXPECT_EQ(One("int i").integer, 0);
  EXPECT_EQ(One("string s = \"a\\\\n\\n\\\"\"").text, "a\\n\n\"");
  EXPECT_EQ(One("string s = concat(\"a\", \"b\")").text, "");
}

TEST(OslDeclaration, DeepBracketsAreNoConstant) {
  const std::string deep(200000, '(');
  EXPECT_EQ(NumberOf(deep + "1" + std::string(deep.size(), ')')), 0);
  EXPECT_EQ(NumberOf(std::string(200000, '-') + "1"), 0);
  EXPECT_EQ(NumberOf(std::string(20, '(') + "1" + std::string(20, ')')), 1);
}

TEST(OslDeclaration, MetadataMakesBooleansAndTextures) {
  EXPECT_EQ(One("int b = 2 [[ string widget = \"BOOLEAN\" ]]").type, OslType::kBoolean);
  EXPECT_EQ(One("int b = 2 [[ string widget = \"number\" ]]").type, OslType::kInt);
  EXPECT_EQ(One("string b [[ string widget = \"texture\" ]]").type, OslType::kTexture);
  EXPECT_EQ(One("float b = 1 [[ string widget = \"boolean\", ]]").type, OslType::kFloat);
  EXPECT_EQ(One("int b = 1 [[ float xs[2] = {1, 2}, int widget = 3 ]]").type, OslType::kInt);
}

TEST(OslDeclaration, TheFourKindsAndNoParameters) {
  for (const char* kind : {"shader", "surface", "displacement", "volume"}) {
    EXPECT_TRUE(Read(std::string(kind) + " s() {}").empty());
  }
}

TEST(OslDeclaration, WhatIsNoShaderIsSaid) {
  for (const char* source : {"", "int x;", "float f(float x) { return x; }", "// shader s() {}",
                             "OpenShadingLanguage 1.00\nsurface s\nparam float x 1\n"}) {
    Read(source, OslError::kNoShader);
  }
  for (const char* source :
       {"shader", "shader s", "shader s(", "shader s()", "shader s() {", "shader s() {{}", "shader s(int) {}",
        "shader s(int x = ) {}", "shader s(int x = 1 int y = 2) {}", "shader 3() {}",
        "shader s(int x = 1 [[ string a = \"b\" ]) {}", "shader s(string x = \"a) {}",
        "shader s(int x = 1e999) {}", "shader s() { /* }", "/* shader s() {}", "shader s(int x[3) {}",
        "shader s(int x = f(1, 2) {}", "shader s(int x = 1]) {}", "\"shader s() {}"}) {
    Read(source, OslError::kMalformed);
  }
}

TEST(OslDeclaration, ASourceWithoutItsEndIsAnError) {
  const std::string source(kShader);
  const size_t end = source.find("shader second");
  ASSERT_EQ(Read(source.substr(0, end)).size(), 19U);
  const size_t closing = source.rfind('}', end);
  for (size_t size = 0; size <= closing; ++size) {
    std::vector<OslParameter> parameters;
    EXPECT_NE(ReadOslDeclaration(source.substr(0, size), &parameters), OslError::kNone) << size;
    EXPECT_TRUE(parameters.empty());
  }
}

TEST(OslDeclaration, AnythingGivesAnAnswer) {
  const std::string source(kShader);
  const std::string alphabet = "(){}[]\"\\/*#=,;.\n e1x\0\xff";
  std::mt19937 random(11);
  int read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string broken = source;
    for (int i = 0, changes = 1 + static_cast<int>(random() % 4); i < changes; ++i) {
      broken[random() % broken.size()] = alphabet[random() % alphabet.size()];
    }
    std::vector<OslParameter> parameters;
    read += ReadOslDeclaration(broken, &parameters) == OslError::kNone;
  }
  EXPECT_GT(read, 100);
  EXPECT_LT(read, 20000);
}

}  // namespace
}  // namespace kiln::engine::test
