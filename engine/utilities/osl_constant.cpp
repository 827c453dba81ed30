#include "engine/utilities/osl_constant.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

namespace kiln::engine {
namespace {

using Kind = OslConstant::Kind;
using Answer = std::optional<OslConstant>;

// Deeper brackets and longer rows of signs are no constant that a person writes.
constexpr int kMostNested = 64;

struct NamedConstant {
  std::string_view name;
  double value;
};
constexpr NamedConstant kNamedConstants[] = {
    {"M_PI", std::numbers::pi},       {"M_PI_2", std::numbers::pi / 2},
    {"M_PI_4", std::numbers::pi / 4}, {"M_2PI", 2 * std::numbers::pi},
    {"M_4PI", 4 * std::numbers::pi},  {"M_1_PI", 1 / std::numbers::pi},
    {"M_2_PI", 2 / std::numbers::pi}, {"M_E", std::numbers::e},
    {"M_LN2", std::numbers::ln2},     {"M_LN10", std::numbers::ln10},
    {"M_LOG2E", std::numbers::log2e}, {"M_LOG10E", std::numbers::log10e},
    {"M_SQRT2", std::numbers::sqrt2}, {"M_SQRT1_2", std::numbers::sqrt2 / 2},
};

OslConstant Number(Kind kind, double value) {
  return {kind, {value, value, value}, {}};
}

double Compute(char operation, double a, double b, bool whole) {
  switch (operation) {
    case '+':
      return a + b;
    case '-':
      return a - b;
    case '*':
      return a * b;
    default:
      // In the language, division by zero gives zero.
      if (b == 0) return 0;
      return whole ? std::trunc(a / b) : a / b;
  }
}

Answer Combine(char operation, const Answer& a, const Answer& b) {
  if (!a || !b || a->kind == Kind::kString || b->kind == Kind::kString) return {};
  OslConstant result;
  result.kind = std::max(a->kind, b->kind);
  for (size_t i = 0; i < 3; ++i) {
    result.numbers[i] = Compute(operation, a->numbers[i], b->numbers[i], result.kind == Kind::kInt);
    if (!std::isfinite(result.numbers[i])) return {};
  }
  return result;
}

class Reader {
 public:
  Reader(OslLexer& lexer, OslToken& token) : lexer_(lexer), token_(token) {}

  Answer Sum() {
    Answer result = Product();
    while (result && (token_.Is('+') || token_.Is('-'))) {
      const char operation = TakeSymbol();
      result = Combine(operation, result, Product());
    }
    return result;
  }

 private:
  Answer Product() {
    Answer result = Factor();
    while (result && (token_.Is('*') || token_.Is('/'))) {
      const char operation = TakeSymbol();
      result = Combine(operation, result, Factor());
    }
    return result;
  }

  Answer Factor() {
    if (depth_ == kMostNested) return {};
    ++depth_;
    Answer result = Operand();
    --depth_;
    return result;
  }

  Answer Operand() {
    switch (token_.kind) {
      case OslToken::Kind::kInt:
        return Take(Number(Kind::kInt, token_.number));
      case OslToken::Kind::kFloat:
        return Take(Number(Kind::kFloat, token_.number));
      case OslToken::Kind::kString:
        return Text();
      case OslToken::Kind::kName:
        return Named();
      default:
        break;
    }
    if (token_.Is('-') || token_.Is('+')) {
      const char sign = TakeSymbol();
      return Combine(sign, Number(Kind::kInt, 0), Factor());
    }
    if (token_.Is('{')) return Triple('}', false);
    if (!token_.Is('(')) return {};
    Advance();
    Answer result = Sum();
    return token_.Is(')') ? Take(result) : Answer();
  }

  // Texts beside each other are one.
  Answer Text() {
    OslConstant result{Kind::kString, {}, {}};
    for (; token_.kind == OslToken::Kind::kString; Advance()) result.text += token_.text;
    return result;
  }

  Answer Named() {
    const std::string name = token_.text;
    Advance();
    for (const NamedConstant& constant : kNamedConstants) {
      if (constant.name == name) return Number(Kind::kFloat, constant.value);
    }
    const bool color = name == "color";
    const bool known = color || name == "point" || name == "vector" || name == "normal";
    return known && token_.Is('(') ? Triple(')', color) : Answer();
  }

  // Three numbers or one for all, behind a space perhaps, up to the bracket.
  Answer Triple(char end, bool only_rgb) {
    Advance();
    if (token_.kind == OslToken::Kind::kString) {
      if (only_rgb && token_.text != "rgb") return {};
      Advance();
      if (!token_.Is(',')) return {};
      Advance();
    }
    OslConstant result{Kind::kTriple, {}, {}};
    size_t count = 0;
    for (;; Advance()) {
      const Answer number = Sum();
      if (!number || number->kind > Kind::kFloat || count == 3) return {};
      result.numbers[count++] = number->numbers[0];
      if (token_.Is(end)) break;
      if (!token_.Is(',')) return {};
    }
    if (count == 2) return {};
    if (count == 1) result.numbers[1] = result.numbers[2] = result.numbers[0];
    return Take(result);
  }

  void Advance() { token_ = lexer_.Next(); }
  char TakeSymbol() {
    const char symbol = token_.text[0];
    Advance();
    return symbol;
  }
  Answer Take(Answer result) {
    Advance();
    return result;
  }

  OslLexer& lexer_;
  OslToken& token_;
  int depth_ = 0;
};

}  // namespace

std::optional<OslConstant> ReadOslConstant(OslLexer& lexer, OslToken& token) {
  return Reader(lexer, token).Sum();
}

}  // namespace kiln::engine
