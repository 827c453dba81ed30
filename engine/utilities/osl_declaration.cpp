#include "engine/utilities/osl_declaration.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>

#include "engine/utilities/osl_constant.h"
#include "engine/utilities/osl_lexer.h"

namespace kiln::engine {
namespace {

using Kind = OslToken::Kind;

// What compiled shaders begin with.
constexpr std::string_view kCompiled = "OpenShadingLanguage";

bool IsOneOf(const std::string& text, std::initializer_list<std::string_view> choices) {
  std::string lower = text;
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
  return std::find(choices.begin(), choices.end(), lower) != choices.end();
}

struct Declaration {
  bool output = false;
  bool closure = false;
  bool array = false;
  std::string type;
  std::string name;
  std::optional<OslConstant> value;
  std::string widget;
};

OslType OutputType(const Declaration& d) {
  if (d.closure) return OslType::kClosureOutput;
  return d.type == "color" ? OslType::kColorOutput : OslType::kFloatOutput;
}

bool IsListedOutput(const Declaration& d) {
  return !d.array && (d.type == "color" || (d.type == "float" && !d.closure));
}

OslType InputType(const Declaration& d) {
  if (d.array || d.closure) return OslType::kUnsupported;
  if (d.type == "int") return IsOneOf(d.widget, {"boolean", "checkbox"}) ? OslType::kBoolean : OslType::kInt;
  if (d.type == "float") return OslType::kFloat;
  if (d.type == "string") {
    return IsOneOf(d.widget, {"filename", "texture"}) ? OslType::kTexture : OslType::kString;
  }
  if (d.type == "color") return OslType::kColor;
  const bool triple = d.type == "point" || d.type == "vector" || d.type == "normal";
  return triple ? OslType::kVector : OslType::kUnsupported;
}

int32_t ToInt(double number) {
  constexpr double kLowest = std::numeric_limits<int32_t>::min();
  constexpr double kHighest = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::clamp(number, kLowest, kHighest));
}

float ToFloat(double number) {
  constexpr double kHighest = std::numeric_limits<float>::max();
  return static_cast<float>(std::clamp(number, -kHighest, kHighest));
}

void SetDefault(const OslConstant& value, OslParameter& parameter) {
  if (value.kind == OslConstant::Kind::kString) {
    if (parameter.type == OslType::kString) parameter.text = value.text;
    return;
  }
  const bool triple = parameter.type == OslType::kColor || parameter.type == OslType::kVector;
  if (value.kind == OslConstant::Kind::kTriple && !triple) return;
  parameter.integer = ToInt(value.numbers[0]);
  for (size_t i = 0; i < 3; ++i) parameter.numbers[i] = ToFloat(value.numbers[i]);
}

OslParameter MakeParameter(const Declaration& d) {
  OslParameter parameter;
  parameter.name = d.name;
  parameter.type = d.output ? OutputType(d) : InputType(d);
  if (d.value && !d.output) SetDefault(*d.value, parameter);
  return parameter;
}

// Readers answer false at what cannot be there.
class Reader {
 public:
  explicit Reader(std::string_view source) : lexer_(source) { Advance(); }

  // Goes to the word behind the kind of the first shader; false when there is none.
  bool FindShader() {
    int depth = 0;
    for (; token_.kind != Kind::kEnd && token_.kind != Kind::kBad; Advance()) {
      depth += token_.Is('{') - token_.Is('}');
      const bool begins =
          token_.Is("shader") || token_.Is("surface") || token_.Is("displacement") || token_.Is("volume");
      if (depth != 0 || !begins) continue;
      Advance();
      return true;
    }
    return false;
  }
  bool AtBadWord() const { return token_.kind == Kind::kBad; }

  bool ReadShader(std::vector<OslParameter>* parameters) {
    if (!TakeName(nullptr) || !ReadMetadata(nullptr) || !Take('(')) return false;
    while (!token_.Is(')')) {
      Declaration declaration;
      if (!ReadParameter(declaration)) return false;
      if (!declaration.output || IsListedOutput(declaration)) {
        parameters->push_back(MakeParameter(declaration));
      }
      if (!token_.Is(')') && !Take(',')) return false;
    }
    Advance();
    return SkipBody();
  }

 private:
  bool ReadParameter(Declaration& d) {
    d.output = TakeWord("output");
    return ReadVariable(d) && ReadMetadata(&d.widget);
  }

  // A type, a name, an array's length and a value, as parameters and metadata have them.
  bool ReadVariable(Declaration& d) {
    d.closure = TakeWord("closure");
    TakeWord("struct");
    if (!TakeName(&d.type) || !TakeName(&d.name)) return false;
    if (token_.Is('[') && !NextIs('[')) {
      d.array = true;
      while (!token_.Is(']')) {
        if (AtEnd()) return false;
        Advance();
      }
      Advance();
    }
    if (!token_.Is('=')) return true;
    Advance();
    return ReadValue(d);
  }

  bool ReadValue(Declaration& d) {
    const OslLexer lexer = lexer_;
    const OslToken token = token_;
    if (!d.array) d.value = ReadOslConstant(lexer_, token_);
    if (d.value && AtValueEnd()) return true;
    d.value.reset();
    lexer_ = lexer;
    token_ = token;
    return SkipValue();
  }

  bool AtValueEnd() { return token_.Is(',') || token_.Is(')') || token_.Is(']') || AtMetadata(); }

  // To the comma or the bracket that ends it. Two operands without an operator between them are a comma that
  // was forgotten.
  bool SkipValue() {
    int depth = 0;
    bool after_operand = false;
    if (AtValueEnd()) return false;
    do {
      if (AtEnd() || (after_operand && AtOperand())) return false;
      after_operand = AtOperand();
      depth += token_.Is('(') || token_.Is('[') || token_.Is('{');
      depth -= token_.Is(')') || token_.Is(']') || token_.Is('}');
      if (depth < 0) return false;
      Advance();
    } while (depth > 0 || !AtValueEnd());
    return true;
  }
  bool AtOperand() const {
    return token_.kind == Kind::kName || token_.kind == Kind::kInt || token_.kind == Kind::kFloat;
  }

  // Double brackets around variables, if there are any.
  bool ReadMetadata(std::string* widget) {
    if (!AtMetadata()) return true;
    Advance();
    Advance();
    while (!token_.Is(']')) {
      Declaration item;
      if (!ReadVariable(item)) return false;
      const bool text = item.value && item.value->kind == OslConstant::Kind::kString;
      if (widget && text && item.name == "widget") *widget = item.value->text;
      if (!token_.Is(']') && !Take(',')) return false;
    }
    return Take(']') && Take(']');
  }

  bool SkipBody() {
    if (!token_.Is('{')) return false;
    int depth = 0;
    do {
      if (AtEnd()) return false;
      depth += token_.Is('{') - token_.Is('}');
      Advance();
    } while (depth > 0);
    return true;
  }

  bool AtEnd() const { return token_.kind == Kind::kEnd || token_.kind == Kind::kBad; }
  bool AtMetadata() { return token_.Is('[') && NextIs('['); }
  bool NextIs(char symbol) const {
    OslLexer ahead = lexer_;
    return ahead.Next().Is(symbol);
  }

  void Advance() { token_ = lexer_.Next(); }
  bool Take(char symbol) {
    if (!token_.Is(symbol)) return false;
    Advance();
    return true;
  }
  bool TakeWord(std::string_view word) {
    if (!token_.Is(word)) return false;
    Advance();
    return true;
  }
  bool TakeName(std::string* name) {
    if (token_.kind != Kind::kName) return false;
    if (name) *name = token_.text;
    Advance();
    return true;
  }

  OslLexer lexer_;
  OslToken token_;
};

}  // namespace

OslError ReadOslDeclaration(std::string_view source, std::vector<OslParameter>* parameters) {
  if (source.starts_with(kCompiled)) return OslError::kNoShader;
  Reader reader(source);
  if (!reader.FindShader()) return reader.AtBadWord() ? OslError::kMalformed : OslError::kNoShader;
  std::vector<OslParameter> read;
  if (!reader.ReadShader(&read)) return OslError::kMalformed;
  *parameters = std::move(read);
  return OslError::kNone;
}

}  // namespace kiln::engine
