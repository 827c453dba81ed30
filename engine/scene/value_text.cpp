// Parsing and printing of values as short texts.
#include "engine/scene/value_text.h"

#include <array>
#include <charconv>
#include <cmath>

#include "engine/scene/coerce.h"

namespace kiln::engine::scene {
namespace {

constexpr std::string_view kSeparators = " \t\r\n,;[]()";

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::optional<double> ParseNumber(std::string_view text) {
  if (text == "true") return 1;
  if (text == "false") return 0;
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

// A list's numbers stay doubles until Coerce narrows them, so that a transform's offset keeps its precision.
std::optional<Value> ParseNumbers(std::string_view text) {
  std::vector<Value> numbers;
  for (size_t begin = text.find_first_not_of(kSeparators); begin != std::string_view::npos;) {
    const size_t end = std::min(text.find_first_of(kSeparators, begin), text.size());
    const std::optional<double> number = ParseNumber(text.substr(begin, end - begin));
    if (!number) return {};
    numbers.emplace_back(*number);
    begin = text.find_first_not_of(kSeparators, end);
  }
  return ValueArray(std::move(numbers));
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

// ["a", "b"]; a text without brackets is one entry.
std::optional<std::vector<Value>> ParseTexts(std::string_view text) {
  text = Trim(text);
  std::vector<Value> texts;
  if (text.empty()) return texts;
  if (text.front() != '[' || text.back() != ']' || text.size() < 2) {
    texts.emplace_back(std::string(text));
    return texts;
  }
  text = Trim(text.substr(1, text.size() - 2));
  while (!text.empty()) {
    if (text.front() != '"') return {};
    std::string entry;
    size_t i = 1;
    for (; i < text.size() && text[i] != '"'; ++i) {
      if (text[i] == '\\' && i + 1 < text.size()) ++i;
      entry += text[i];
    }
    if (i >= text.size()) return {};
    texts.emplace_back(std::move(entry));
    text = Trim(text.substr(i + 1));
    if (text.empty()) break;
    if (text.front() != ',') return {};
    text = Trim(text.substr(1));
    if (text.empty()) return {};
  }
  return texts;
}

template <class T>
std::string Shortest(T number) {
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number > 0 ? "inf" : "-inf";
  std::array<char, 32> buffer;
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  std::string text(buffer.data(), end);
  // TOML tells a float from an integer by its point or exponent.
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

struct Printer {
  const std::function<std::string(const PluginRef&)>& name_of;
  std::string text{};

  void Add(std::string_view word) {
    if (!text.empty()) text += ' ';
    text += word;
  }
  void Print(std::monostate) {}
  void Print(int32_t i) { Add(std::to_string(i)); }
  void Print(float f) { Add(FormatNumber(f)); }
  void Print(double d) { Add(FormatNumber(d)); }
  void Print(bool b) { Add(b ? "true" : "false"); }
  void Print(const Vec3& v) { PrintAll(v.x, v.y, v.z); }
  void Print(const Color& c) { PrintAll(c.r, c.g, c.b); }
  void Print(const AColor& c) { PrintAll(c.r, c.g, c.b, c.a); }
  void Print(const Matrix& m) { PrintAll(m.c0, m.c1, m.c2); }
  void Print(const Transform& t) { PrintAll(t.matrix, t.offset.x, t.offset.y, t.offset.z); }
  void Print(const std::string& s) { text += s; }
  void Print(const PluginRef& r) { text += name_of(r); }
  void Print(const StringArray& texts) {
    PrintTexts(texts, [](const std::string& s) { return s; });
  }
  void Print(const ValueArray& values) {
    PrintTexts(values, [this](const Value& value) { return FormatValue(value, name_of); });
  }
  template <class T>
  void Print(const Array<T>& elements) {
    for (const T& element : elements) Print(element);
  }

  template <class... Ts>
  void PrintAll(const Ts&... parts) {
    (Print(parts), ...);
  }
  template <class T, class ToText>
  void PrintTexts(const Array<T>& elements, ToText to_text) {
    text += '[';
    for (const T& element : elements) {
      if (text.back() != '[') text += ", ";
      text += Quoted(to_text(element));
    }
    text += ']';
  }
};

}  // namespace

std::string FormatNumber(float number) {
  return Shortest(number);
}
std::string FormatNumber(double number) {
  return Shortest(number);
}

std::optional<Value> ParseValue(std::string_view text, Type type,
                                const std::function<std::optional<PluginRef>(std::string_view)>& resolve) {
  switch (type) {
    case Type::kString:
      return std::string(text);
    case Type::kInt:
    case Type::kFloat:
    case Type::kDouble:
    case Type::kBoolean:
    case Type::kTextureFloat:
    case Type::kTextureInt: {
      const std::optional<double> number = ParseNumber(Trim(text));
      return number ? Coerce(*number, type) : std::nullopt;
    }
    case Type::kTexture: {
      if (const std::optional<double> grey = ParseNumber(Trim(text))) return Coerce(*grey, type);
      std::optional<Value> numbers = ParseNumbers(text);
      return numbers ? Coerce(std::move(*numbers), type) : std::nullopt;
    }
    case Type::kStringList:
    case Type::kPluginList:
    case Type::kTextureList:
    case Type::kTextureFloatList:
    case Type::kTextureMatrixList:
    case Type::kTextureTransformList: {
      std::optional<std::vector<Value>> texts = ParseTexts(text);
      return texts ? CoerceWith(ValueArray(std::move(*texts)), type, resolve) : std::nullopt;
    }
    case Type::kPlugin:
    case Type::kObjectList:
    case Type::kUnspecified:
      return {};
    default: {
      std::optional<Value> numbers = ParseNumbers(text);
      return numbers ? Coerce(std::move(*numbers), type) : std::nullopt;
    }
  }
}

std::string FormatValue(const Value& value, const std::function<std::string(const PluginRef&)>& name_of) {
  Printer printer{name_of};
  std::visit([&](const auto& data) { printer.Print(data); }, value.data);
  return std::move(printer.text);
}

}  // namespace kiln::engine::scene
