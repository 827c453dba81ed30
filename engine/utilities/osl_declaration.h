// The parameters that a shader source declares, without compiling or running it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kiln::engine {

// The numbers are those that cross the boundary.
enum class OslType : int32_t {
  kUnsupported,
  kInt,
  kBoolean,
  kFloat,
  kString,
  kTexture,
  kColor,
  kVector,
  kClosureOutput,
  kColorOutput,
  kFloatOutput,
};

struct OslParameter {
  std::string name;
  OslType type = OslType::kUnsupported;
  int32_t integer = 0;    // kInt, kBoolean
  float numbers[3] = {};  // kFloat the first, kColor and kVector all
  std::string text;       // kString
};

enum class OslError : uint8_t { kNone, kNoShader, kMalformed };

// Reads the first shader, surface, displacement or volume of a source, in order of declaration. Its body must
// be there to its closing brace, but nothing in it is looked at. Lines of the preprocessor are skipped: what
// they define is unknown, and of conditions all branches count.
//
// An int with the metadata `widget` "boolean" or "checkBox" is a kBoolean, a text with `widget` "filename" or
// "texture" a kTexture; upper and lower case are the same. Points, vectors and normals are kVector. Arrays,
// matrices, structs and closures that are no output are kUnsupported. Outputs of other types than those of
// OslType are left out. A default that is no constant expression (see osl_constant.h) counts as zero or an
// empty text.
OslError ReadOslDeclaration(std::string_view source, std::vector<OslParameter>* parameters);

}  // namespace kiln::engine
