// Writing of the scene text.
#include <algorithm>
#include <array>
#include <cstring>

#include "engine/formats/base64.h"
#include "engine/formats/deflate.h"
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

std::string Key(std::string_view text) {
  return IsBareKey(text) ? std::string(text) : QuoteText(text);
}

class Writer {
 public:
  Writer(const SceneCopy& scene, const TextOptions& options) : scene_(scene), options_(options) {}

  void Write(const Instance& instance) {
    if (!text_.empty()) text_ += '\n';
    text_ += '[' + Key(instance.name) + "]\nclass = " + QuoteText(instance.type->name) + '\n';
    for (const Property& property : instance.type->properties) {
      const auto found = instance.values.find(&property);
      if (found != instance.values.end()) Write(instance, property, found->second);
    }
  }

  std::string Take() { return std::move(text_); }

 private:
  void Write(const Instance& instance, const Property& property, const scene::PropertyState& state) {
    generic_ = property.type == Type::kObjectList || property.type == Type::kUnspecified;
    rebase_ = property.is_file && options_.folder ? &instance : nullptr;
    if (state.keys.empty()) {
      WritePlain(property, state.plain);
    } else if (options_.frozen_at) {
      WritePlain(property, scene::Interpolate(state.keys, *options_.frozen_at));
    } else {
      WriteKeys(property, options_.frames ? Within(state.keys, *options_.frames) : state.keys);
    }
  }

  void WritePlain(const Property& property, const Value& value) {
    const auto* reference = value.As<scene::PluginRef>();
    if (reference != nullptr && scene_.Find(reference->id) == nullptr) return;
    text_ += Key(property.name) + " = ";
    Put(value);
    text_ += '\n';
  }

  void WriteKeys(const Property& property, const scene::KeyFrames& keys) {
    text_ += Key(property.name) + " = { ";
    bool first = true;
    for (const auto& [time, value] : keys) {
      if (!first) text_ += ", ";
      first = false;
      text_ += QuoteText(scene::FormatNumber(time)) + " = ";
      Put(value);
    }
    text_ += " }\n";
  }

  // Never empty, as the keys are not.
  static scene::KeyFrames Within(const scene::KeyFrames& keys, const std::pair<double, double>& frames) {
    const auto [first, last] = frames;
    scene::KeyFrames within(keys.lower_bound(first), keys.upper_bound(last));
    if (keys.begin()->first < first) within.try_emplace(first, scene::Interpolate(keys, first));
    if (keys.rbegin()->first > last) within.try_emplace(last, scene::Interpolate(keys, last));
    return within;
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
  void PutData(const std::string& s) { text_ += QuoteText(rebase_ != nullptr ? Rebased(s) : s); }
  void PutData(const scene::PluginRef& r) { text_ += QuoteText(scene_.ReferenceText(r)); }
  void PutData(const scene::ValueArray& values) {
    PutElements(values, [this](const Value& value) { Put(value); });
  }
  template <class T>
  void PutData(const scene::Array<T>& elements) {
    if constexpr (!std::is_same_v<T, std::string>) {
      constexpr size_t kNumbers = std::is_same_v<T, Vec3> || std::is_same_v<T, Color> ? 3 : 1;
      if (options_.binary_lists && elements.size() * kNumbers > kMaxPlainNumbers) {
        const bool ints = std::is_same_v<T, int32_t>;
        PutBinary(ints, std::as_bytes(std::span(elements.data(), elements.size())));
        return;
      }
    }
    PutElements(elements, [this](const T& element) { PutData(element); });
  }

  void PutBinary(bool ints, std::span<const std::byte> bytes) {
    text_ += '"';
    std::vector<std::byte> deflated;
    if (options_.compressed) deflated = Deflate(bytes);
    if (!deflated.empty() && deflated.size() < bytes.size()) {
      text_ += ints ? kDeflatedInts : kDeflatedFloats;
      (text_ += std::to_string(bytes.size() / sizeof(float))) += ':';
      text_ += EncodeBase64(deflated);
    } else {
      text_ += ints ? kBase64Ints : kBase64Floats;
      text_ += EncodeBase64(bytes);
    }
    text_ += '"';
  }

  // The name of the same file from the text's folder.
  std::string Rebased(const std::string& name) const {
    const std::filesystem::path path(name);
    if (name.empty() || path.is_absolute()) return name;
    const std::filesystem::path file =
        std::filesystem::absolute(scene::ResolveFile(*rebase_, name)).lexically_normal();
    const std::filesystem::path relative = file.lexically_relative(*options_.folder);
    return (relative.empty() ? file : relative).generic_string();
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

  const SceneCopy& scene_;
  const TextOptions& options_;
  std::string text_;
  bool generic_ = false;
  const Instance* rebase_ = nullptr;  // whose file names are written from another folder
};

}  // namespace

std::string QuoteText(std::string_view text) {
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

std::string WriteText(const SceneCopy& scene, const TextOptions& options,
                      const std::function<bool(const Instance&)>& wanted) {
  Writer writer(scene, options);
  for (const Instance& instance : scene.instances()) {
    if (!wanted || wanted(instance)) writer.Write(instance);
  }
  return writer.Take();
}

}  // namespace kiln::engine::formats
