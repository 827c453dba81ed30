// What the importer's process says to the engine: a result, and the scene as text.
#include "engine/formats/import_answer.h"

#include <cstring>

namespace kiln::engine::formats {
namespace {

// The digit rises when the form changes: a library and an importer of different builds refuse each other.
constexpr std::string_view kStart = "KilnImp1";
constexpr std::string_view kEnd = "KilnDone";

// Both ends run on one machine, so numbers are as they lie in memory.
template <class T>
void Put(std::string& bytes, T number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  std::optional<std::string_view> Text(uint64_t size) {
    if (size > rest_.size()) return std::nullopt;
    const std::string_view text = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return text;
  }
  template <class T>
  std::optional<T> Number() {
    const auto text = Text(sizeof(T));
    if (!text) return std::nullopt;
    T number;
    std::memcpy(&number, text->data(), sizeof number);
    return number;
  }
  bool AtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

bool IsKnown(int32_t error) {
  return (error >= 0 && error <= 5) || error == 10;
}

}  // namespace

std::string EncodeAnswer(const LoadResult& result, std::string_view scene) {
  std::string bytes(kStart);
  bytes.reserve(64 + result.file.size() + result.text.size() + scene.size());
  Put(bytes, static_cast<int32_t>(result.error));
  Put(bytes, result.line);
  for (const std::string_view part : {std::string_view(result.file), std::string_view(result.text), scene}) {
    Put(bytes, uint64_t{part.size()});
    bytes += part;
  }
  return bytes += kEnd;
}

std::optional<ImportAnswer> DecodeAnswer(std::string_view bytes) {
  Input input(bytes);
  if (input.Text(kStart.size()) != kStart) return std::nullopt;
  const auto error = input.Number<int32_t>();
  const auto line = input.Number<uint32_t>();
  if (!error || !line || !IsKnown(*error)) return std::nullopt;
  std::string_view parts[3];
  for (std::string_view& part : parts) {
    const auto size = input.Number<uint64_t>();
    const auto text = size ? input.Text(*size) : std::nullopt;
    if (!text) return std::nullopt;
    part = *text;
  }
  if (input.Text(kEnd.size()) != kEnd || !input.AtEnd()) return std::nullopt;
  return ImportAnswer{{static_cast<LoadError>(*error), std::string(parts[0]), *line, std::string(parts[1])},
                      parts[2]};
}

}  // namespace kiln::engine::formats
