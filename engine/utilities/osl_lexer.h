// The words of a shader source, as Open Shading Language 1.12 defines them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kiln::engine {

struct OslToken {
  // A symbol is one character, whatever it is. kBad: a text or a comment without an end, or a number that is
  // none.
  enum class Kind : uint8_t { kEnd, kBad, kName, kInt, kFloat, kString, kSymbol };
  Kind kind = Kind::kEnd;
  std::string text;  // of a string, what it stands for
  double number = 0;

  bool Is(char symbol) const { return kind == Kind::kSymbol && text[0] == symbol; }
  bool Is(std::string_view name) const { return kind == Kind::kName && text == name; }
};

// Gives the words of a source one after the other; comments and the lines of the preprocessor are skipped.
// Copies go on from where they were made.
class OslLexer {
 public:
  explicit OslLexer(std::string_view source) : rest_(source) {}
  // kEnd at the end and ever after.
  OslToken Next();

 private:
  bool SkipBlanks();
  bool SkipComment();
  OslToken TakeName();
  OslToken TakeNumber();
  OslToken TakeString();

  std::string_view rest_;
  bool line_begins_ = true;
};

}  // namespace kiln::engine
