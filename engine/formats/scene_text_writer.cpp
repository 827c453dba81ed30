// Writing of the scene text.
#include <algorithm>
#include <array>
#include <cstring>

#include "engine/formats/base64.h"
#include "engine/formats/scene_text.h"
#include "engine/formats/scene_text_values.h"
#include "engine/scene/value_text.h"

namespace kiln::engine::formats {
namespace {

using scene::Instance;
using scene::Property;
using scene::Type;
using scene::Value;

// Lists with more numbers than this are base64: people read and edit the short ones.
constexpr size_t kMaxPlainNumbers = 32;

bool IsBareKey(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

// The length of the UTF-8 sequence at the start of the text; 0 when it is malformed.
size_t SequenceLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const uint8_t second = byte(1);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool outside = (lead == 0xED && second >= 0xA0) || (lead == 0xF4 && second >= 0x90);
  return overlong || outside ? 0 : length;
}

// A TOML basic string. Bytes that are no UTF-8, which TOML cannot hold, become U+FFFD.
std::string Quoted(std::string_view text) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string quoted = "\"";
  while (!text.empty()) {
    const char c = text.front();
    const size_t length = SequenceLength(text);
    const auto code = static_cast<uint8_t>(c);
    if (length == 0) {
      quoted += "\xEF\xBF\xBD";
    } else if (c == '"' || c == '\\') {
      (quoted += '\\') += c;
    } else if (c == '\n') {
      quoted += "\\n";
    } else if (c == '\t') {
      quoted += "\\t";
    } else if (c == '\r') {
      quoted += "\\r";
    } else if (code < 0x20 || code == 0x7F) {
      quoted += "\\u00";
      (quoted += kHex[code >> 4]) += kHex[code & 15];
    } else {
      quoted += text.substr(0, length);
    }
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return quoted + '"';
}

std::string Key(std::string_view text) {
  return IsBareKey(text) ? std::string(text) : Quoted(text);
}

class Writer {
 public:
  explicit Writer(const scene::Scene& scene) : scene_(scene) {}

  void Write(const Instance& instance) {
    if (!text_.empty()) text_ += '\n';
    text_ += '[' + Key(instance.name) + "]\nclass = " + Quoted(instance.type->name) + '\n';
    for (const Property& property : instance.type->properties) {
      const auto found = instance.values.find(&property);
      if (found != instance.values.end()) Write(property, found->second);
    }
  }

  std::string Take() { return std::move(text_); }

 private:
  void Write(const Property& property, const scene::PropertyState& state) {
    generic_ = property.type == Type::kObjectList || property.type == Type::kUnspecified;
    if (state.keys.empty()) {
      const auto* reference = state.plain.As<scene::PluginRef>();
      if (reference != nullptr && scene_.Find(reference->id) == nullptr) return;
      text_ += Key(property.name) + " = ";
      Put(state.plain);
    } else {
      text_ += Key(property.name) + " = { ";
      bool first = true;
      for (const auto& [time, value] : state.keys) {
        if (!first) text_ += ", ";
        first = false;
        text_ += Quoted(scene::FormatNumber(time)) + " = ";
        Put(value);
      }
      text_ += " }";
    }
    text_ += '\n';
  }

  // A value; in lists without element type in the form that tells its type.
  void Put(const Value& value) {
    const std::string_view tag = generic_ ? TagOf(value) : std::string_view();
    if (!tag.empty()) text_ += "{ " + std::string(tag) + " = ";
    std::visit([this](const auto& data) { PutData(data); }, value.data);
    if (!tag.empty()) text_ += " }";
  }

  static std::string_view TagOf(const Value& value) {
    for (const auto& [tag, type] : kTaggedTypes) {
      if (scene::ZeroValue(type).data.index() == value.data.index()) return tag;
    }
    return {};
  }

  void PutData(std::monostate) { text_ += "\"\""; }
  void PutData(int32_t i) { text_ += std::to_string(i); }
  void PutData(bool b) { text_ += b ? "true" : "false"; }
  void PutData(float f) { text_ += scene::FormatNumber(f); }
  void PutData(double d) { text_ += scene::FormatNumber(d); }
  void PutData(const Vec3& v) { PutAll(v.x, v.y, v.z); }
  void PutData(const Color& c) { PutAll(c.r, c.g, c.b); }
  void PutData(const AColor& c) { PutAll(c.r, c.g, c.b, c.a); }
  void PutData(const Matrix& m) {
    PutAll(m.c0.x, m.c0.y, m.c0.z, m.c1.x, m.c1.y, m.c1.z, m.c2.x, m.c2.y, m.c2.z);
  }
  void PutData(const Transform& t) {
    const Matrix& m = t.matrix;
    PutAll(m.c0.x, m.c0.y, m.c0.z, m.c1.x, m.c1.y, m.c1.z, m.c2.x, m.c2.y, m.c2.z, t.offset.x, t.offset.y,
           t.offset.z);
  }
  void PutData(const std::string& s) { text_ += Quoted(s); }
  void PutData(const scene::PluginRef& r) { text_ += Quoted(scene_.ReferenceText(r)); }
  void PutData(const scene::ValueArray& values) {
    PutElements(values, [this](const Value& value) { Put(value); });
  }
  template <class T>
  void PutData(const scene::Array<T>& elements) {
    if constexpr (!std::is_same_v<T, std::string>) {
      constexpr size_t kNumbers = std::is_same_v<T, Vec3> || std::is_same_v<T, Color> ? 3 : 1;
      if (elements.size() * kNumbers > kMaxPlainNumbers) {
        const std::string_view prefix = std::is_same_v<T, int32_t> ? kBase64Ints : kBase64Floats;
        ((text_ += '"') += prefix) +=
            EncodeBase64(std::as_bytes(std::span(elements.data(), elements.size())));
        text_ += '"';
        return;
      }
    }
    PutElements(elements, [this](const T& element) { PutData(element); });
  }

  template <class... Ts>
  void PutAll(const Ts&... numbers) {
    text_ += '[';
    ((text_ += scene::FormatNumber(numbers), text_ += ", "), ...);
    text_.resize(text_.size() - 2);
    text_ += ']';
  }
  template <class List, class PutElement>
  void PutElements(const List& elements, PutElement put) {
    text_ += '[';
    bool first = true;
    for (const auto& element : elements) {
      if (!first) text_ += ", ";
      first = false;
      put(element);
    }
    text_ += ']';
  }

  const scene::Scene& scene_;
  std::string text_;
  bool generic_ = false;
};

}  // namespace

std::string WriteText(const scene::Scene& scene) {
  Writer writer(scene);
  for (const scene::PluginId id : scene.Ids()) writer.Write(*scene.Find(id));
  return writer.Take();
}

}  // namespace kiln::engine::formats
