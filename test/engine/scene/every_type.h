// Two classes for tests: one with a property of every declared type, and one beside it.
#pragma once

#include "engine/scene/plugin_class.h"

namespace kiln::engine::scene {

inline PluginClass DescribeEveryType() {
  PluginClass type;
  type.name = "TestEveryType";
  type.description = "A property of every declared type.";
  type.categories = CategoryBit(Category::kTexture);
  type.properties = {
      {.name = "int", .type = Type::kInt, .default_value = 7, .description = "An int.", .range = {0, 10}},
      {.name = "float",
       .type = Type::kFloat,
       .default_value = 2,
       .description = "A float, whose default was written as an int.",
       .unit = "m",
       .aliases = "real, number"},
      {.name = "double", .type = Type::kDouble, .default_value = {}, .description = "A double."},
      {.name = "boolean", .type = Type::kBoolean, .default_value = true, .description = "A boolean."},
      {.name = "vector", .type = Type::kVector, .default_value = {}, .description = "A vector."},
      {.name = "color", .type = Type::kColor, .default_value = {}, .description = "A colour."},
      {.name = "acolor", .type = Type::kAColor, .default_value = {}, .description = "With alpha."},
      {.name = "matrix", .type = Type::kMatrix, .default_value = {}, .description = "A matrix."},
      {.name = "transform", .type = Type::kTransform, .default_value = {}, .description = "A transform."},
      {.name = "string", .type = Type::kString, .default_value = "none", .description = "A text."},
      {.name = "plugin", .type = Type::kPlugin, .default_value = {}, .description = "A reference."},
      {.name = "texture",
       .type = Type::kTexture,
       .default_value = 0.5,
       .description = "A colour or texture."},
      {.name = "textureFloat", .type = Type::kTextureFloat, .default_value = 1, .description = "A number."},
      {.name = "textureInt", .type = Type::kTextureInt, .default_value = {}, .description = "An integer."},
      {.name = "textureVector",
       .type = Type::kTextureVector,
       .default_value = {},
       .description = "A vector."},
      {.name = "textureMatrix",
       .type = Type::kTextureMatrix,
       .default_value = Matrix{},
       .description = "A matrix."},
      {.name = "textureTransform",
       .type = Type::kTextureTransform,
       .default_value = {},
       .description = "A transform."},
      {.name = "objects", .type = Type::kObjectList, .default_value = {}, .description = "Anything."},
      {.name = "ints", .type = Type::kIntList, .default_value = {}, .description = "Ints."},
      {.name = "floats", .type = Type::kFloatList, .default_value = {}, .description = "Floats."},
      {.name = "booleans", .type = Type::kBooleanList, .default_value = {}, .description = "Booleans."},
      {.name = "vectors", .type = Type::kVectorList, .default_value = {}, .description = "Vectors."},
      {.name = "colors", .type = Type::kColorList, .default_value = {}, .description = "Colours."},
      {.name = "strings", .type = Type::kStringList, .default_value = {}, .description = "Texts."},
      {.name = "plugins", .type = Type::kPluginList, .default_value = {}, .description = "References."},
      {.name = "textures", .type = Type::kTextureList, .default_value = {}, .description = "Textures."},
      {.name = "textureFloats",
       .type = Type::kTextureFloatList,
       .default_value = {},
       .description = "Numbers."},
      {.name = "pair",
       .type = Type::kFloatList,
       .default_value = {},
       .description = "Exactly two floats.",
       .elements = 2},
  };
  type.outputs = {{"alpha", Type::kOutputTextureFloat}, {"red", Type::kOutputTextureFloat}};
  return type;
}

inline PluginClass DescribeTestOther() {
  PluginClass type;
  type.name = "TestOther";
  type.description = "A class beside it.";
  type.properties = {
      {.name = "target", .type = Type::kPlugin, .default_value = {}, .description = "A reference."}};
  return type;
}

inline const RegisterClass kEveryTypeRegistration(DescribeEveryType);
inline const RegisterClass kTestOtherRegistration(DescribeTestOther);

}  // namespace kiln::engine::scene
