// Writing of value streams.
#include <cstring>
#include <type_traits>

#include "engine/api/value_stream.h"
#include "values.h"

namespace kiln::engine::api {
namespace {

using scene::Type;
using scene::Value;

static_assert(sizeof(Vec3d) == 24, "an offset is copied as it crosses the boundary");

// Counts the bytes and, where there is memory, writes them: one walk for both, so that they cannot differ.
class Writer {
 public:
  explicit Writer(void* stream) : stream_(static_cast<char*>(stream)) {}
  size_t size() const { return size_; }

  void Write(const Value& value, Type type) {
    std::visit([&](const auto& data) { WriteData(data, type); }, value.data);
  }

 private:
  template <class T>
  void Put(const T& field) {
    static_assert(std::is_trivially_copyable_v<T>);
    PutBytes(&field, sizeof(T));
  }
  void PutBytes(const void* bytes, size_t size) {
    if (stream_ && size) std::memcpy(stream_ + size_, bytes, size);
    size_ += size;
  }
  void PutWord(uint32_t word) { Put(word); }
  template <class T>
  void PutTagged(uint32_t tag, const T& field) {
    PutWord(tag);
    Put(field);
  }
  template <class T>
  void PutList(uint32_t tag, const scene::Array<T>& elements) {
    PutWord(tag);
    PutWord(static_cast<uint32_t>(elements.size()));
    PutBytes(elements.data(), elements.size() * sizeof(T));
  }
  void PutText(const std::string& text) {
    constexpr char kZeros[4] = {};
    PutWord(static_cast<uint32_t>(text.size()));
    PutBytes(text.data(), text.size());
    PutBytes(kZeros, 4 - text.size() % 4);
  }

  void WriteData(std::monostate, Type) {}
  void WriteData(int32_t value, Type) { PutTagged(KILN_VALUE_INT, value); }
  void WriteData(float value, Type) { PutTagged(KILN_VALUE_FLOAT, value); }
  void WriteData(double value, Type) { PutTagged(KILN_VALUE_DOUBLE, value); }
  void WriteData(bool value, Type) { PutTagged(KILN_VALUE_BOOLEAN, uint32_t{value}); }
  void WriteData(const Vec3& value, Type) { PutTagged(KILN_VALUE_VECTOR, value); }
  void WriteData(const Color& value, Type) { PutTagged(KILN_VALUE_COLOR, value); }
  void WriteData(const AColor& value, Type) { PutTagged(KILN_VALUE_ACOLOR, value); }
  void WriteData(const Matrix& value, Type) { PutTagged(KILN_VALUE_MATRIX, value); }
  void WriteData(const Transform& value, Type) {
    PutTagged(KILN_VALUE_TRANSFORM, value.matrix);
    Put(value.offset);
  }
  void WriteData(const std::string& value, Type) {
    PutWord(KILN_VALUE_STRING);
    PutText(value);
  }
  void WriteData(const scene::PluginRef& value, Type) {
    const bool output = value && value.output > 0;
    PutTagged(output ? KILN_VALUE_PLUGIN_OUTPUT : KILN_VALUE_PLUGIN, value ? value.id : scene::kNoPlugin);
    if (output) PutWord(value.output);
  }
  void WriteData(const scene::IntArray& value, Type type) {
    PutList(type == Type::kBooleanList ? KILN_VALUE_BOOLEAN_LIST : KILN_VALUE_INT_LIST, value);
  }
  void WriteData(const scene::FloatArray& value, Type) { PutList(KILN_VALUE_FLOAT_LIST, value); }
  void WriteData(const scene::VectorArray& value, Type) { PutList(KILN_VALUE_VECTOR_LIST, value); }
  void WriteData(const scene::ColorArray& value, Type) { PutList(KILN_VALUE_COLOR_LIST, value); }
  void WriteData(const scene::StringArray& value, Type) {
    PutWord(KILN_VALUE_STRING_LIST);
    PutWord(static_cast<uint32_t>(value.size()));
    for (const std::string& text : value) PutText(text);
  }
  void WriteData(const scene::ValueArray& value, Type) {
    PutWord(KILN_VALUE_LIST);
    PutWord(static_cast<uint32_t>(value.size()));
    for (const Value& element : value) {
      // A reader counts elements, so none may be missing.
      Write(element.Empty() ? Value(scene::PluginRef{}) : element, Type::kUnspecified);
    }
  }

  char* stream_;
  size_t size_ = 0;
};

}  // namespace

size_t EncodedSize(const Value& value, Type type) {
  Writer writer(nullptr);
  writer.Write(value, type);
  return writer.size();
}

void EncodeValue(const Value& value, Type type, void* stream) {
  Writer(stream).Write(value, type);
}

}  // namespace kiln::engine::api
