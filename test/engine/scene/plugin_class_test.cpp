// The registry, and what a class table answers.
#include "engine/scene/plugin_class.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "test/engine/scene/every_type.h"

namespace kiln::engine::scene {
namespace {

TEST(PluginClass, AllClassesAreSortedAndFoundByTheirExactName) {
  const auto& all = AllClasses();
  ASSERT_GE(all.size(), 2U);
  EXPECT_TRUE(std::ranges::is_sorted(all, {}, &PluginClass::name));
  for (const PluginClass* type : all) EXPECT_EQ(FindClass(type->name), type);
  EXPECT_EQ(FindClass("testeverytype"), nullptr);
  EXPECT_EQ(FindClass(""), nullptr);
  EXPECT_EQ(FindClass("zzz"), nullptr);
}

TEST(PluginClass, PropertiesAreFoundByNameAndByAlias) {
  const PluginClass& type = *FindClass("TestEveryType");
  const Property* property = type.FindProperty("float");
  ASSERT_NE(property, nullptr);
  EXPECT_EQ(type.FindProperty("real"), property);
  EXPECT_EQ(type.FindProperty("number"), property);
  EXPECT_EQ(type.FindProperty("numb"), nullptr);
  EXPECT_EQ(type.FindProperty("real, number"), nullptr);
  EXPECT_EQ(type.FindProperty(""), nullptr);
}

TEST(PluginClass, DefaultsTakeTheDeclaredType) {
  const PluginClass& type = *FindClass("TestEveryType");
  EXPECT_EQ(type.FindProperty("float")->default_value, Value(2.0F));
  EXPECT_EQ(type.FindProperty("texture")->default_value, Value(Color{0.5F, 0.5F, 0.5F}));
  EXPECT_EQ(type.FindProperty("plugin")->default_value, Value(PluginRef{}));
  EXPECT_EQ(type.FindProperty("vectors")->default_value, Value(VectorArray()));
  EXPECT_EQ(type.FindProperty("transform")->default_value, Value(Transform{}));
}

TEST(PluginClass, OutputsCountFromOne) {
  const PluginClass& type = *FindClass("TestEveryType");
  EXPECT_EQ(type.OutputIndex(""), 0);
  EXPECT_EQ(type.OutputIndex("alpha"), 1);
  EXPECT_EQ(type.OutputIndex("red"), 2);
  EXPECT_LT(type.OutputIndex("blue"), 0);
  EXPECT_EQ(type.OutputName(2), "red");
  EXPECT_EQ(type.OutputName(0), "");
  EXPECT_EQ(type.OutputName(3), "");
}

}  // namespace
}  // namespace kiln::engine::scene
