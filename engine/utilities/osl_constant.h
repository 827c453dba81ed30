// Constant expressions of shader sources, computed.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "engine/utilities/osl_lexer.h"

namespace kiln::engine {

struct OslConstant {
  enum class Kind : uint8_t { kInt, kFloat, kTriple, kString };
  Kind kind = Kind::kInt;
  std::array<double, 3> numbers{};  // of a single number, three times the same
  std::string text;
};

// Reads an expression from `token` on, which afterwards is the first word behind it. Known are numbers,
// texts, signs, sums, products and brackets, colours, points, vectors and normals from numbers, and the
// constants of mathematics by their names; of spaces, colours know "rgb" only. Nothing for any other
// expression, with the lexer somewhere inside.
std::optional<OslConstant> ReadOslConstant(OslLexer& lexer, OslToken& token);

}  // namespace kiln::engine
