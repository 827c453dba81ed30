#include "engine/utilities/osl_lexer.h"

#include <algorithm>
#include <charconv>

namespace kiln::engine {
namespace {

using Kind = OslToken::Kind;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

char Unescaped(char c) {
  switch (c) {
    case 'n':
      return '\n';
    case 't':
      return '\t';
    case 'r':
      return '\r';
    default:
      return c;
  }
}

}  // namespace

// False for a comment without an end. What is skipped may hold the beginning of a line.
bool OslLexer::SkipComment() {
  const bool line = rest_[1] == '/';
  const size_t end = rest_.find(line ? "\n" : "*/", 2);
  if (end == rest_.npos && !line) return false;
  // The end of a line is the caller's to see.
  rest_.remove_prefix(end == rest_.npos ? rest_.size() : end + (line ? 0 : 2));
  return true;
}

bool OslLexer::SkipBlanks() {
  while (!rest_.empty()) {
    const char c = rest_.front();
    if (IsBlank(c)) {
      line_begins_ = line_begins_ || c == '\n';
      rest_.remove_prefix(1);
    } else if (rest_.starts_with("//") || rest_.starts_with("/*")) {
      if (!SkipComment()) return false;
    } else if (c == '#' && line_begins_) {
      size_t end = rest_.find('\n');
      while (end != rest_.npos && rest_[end - 1] == '\\') end = rest_.find('\n', end + 1);
      rest_.remove_prefix(std::min(end, rest_.size()));
    } else {
      break;
    }
  }
  return true;
}

OslToken OslLexer::TakeName() {
  const auto* end =
      std::find_if_not(rest_.begin(), rest_.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
  OslToken token{Kind::kName, std::string(rest_.begin(), end)};
  rest_.remove_prefix(token.text.size());
  return token;
}

OslToken OslLexer::TakeNumber() {
  const bool hexadecimal = rest_.starts_with("0x") || rest_.starts_with("0X");
  const char* const first = rest_.data() + (hexadecimal ? 2 : 0);
  const char* const last = rest_.data() + rest_.size();
  OslToken token{Kind::kInt, {}};
  std::from_chars_result result{first, std::errc()};
  if (hexadecimal) {
    uint32_t bits = 0;
    result = std::from_chars(first, last, bits, 16);
    token.number = static_cast<int32_t>(bits);
  } else {
    result = std::from_chars(first, last, token.number);
    if (std::any_of(first, result.ptr, [](char c) { return !IsDigit(c); })) token.kind = Kind::kFloat;
  }
  if (result.ec != std::errc()) token.kind = Kind::kBad;
  rest_.remove_prefix(static_cast<size_t>(result.ptr - rest_.data()));
  if (!hexadecimal && (rest_.starts_with('f') || rest_.starts_with('F'))) {
    token.kind = Kind::kFloat;
    rest_.remove_prefix(1);
  }
  return token;
}

OslToken OslLexer::TakeString() {
  OslToken token{Kind::kString, {}};
  for (size_t i = 1; i < rest_.size() && rest_[i] != '\n'; ++i) {
    if (rest_[i] == '"') {
      rest_.remove_prefix(i + 1);
      return token;
    }
    const bool escaped = rest_[i] == '\\' && i + 1 < rest_.size();
    if (escaped) ++i;
    token.text += escaped ? Unescaped(rest_[i]) : rest_[i];
  }
  return {Kind::kBad, {}};
}

OslToken OslLexer::Next() {
  if (!SkipBlanks()) return {Kind::kBad, {}};
  if (rest_.empty()) return {};
  line_begins_ = false;
  const char c = rest_.front();
  if (IsLetter(c)) return TakeName();
  if (IsDigit(c) || (c == '.' && rest_.size() > 1 && IsDigit(rest_[1]))) return TakeNumber();
  if (c == '"') return TakeString();
  rest_.remove_prefix(1);
  return {Kind::kSymbol, std::string(1, c)};
}

}  // namespace kiln::engine
