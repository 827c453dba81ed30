// Reading of value streams.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "engine/api/value_stream.h"
#include "engine/api/value_stream_memory.h"
#include "engine/scene/coerce.h"

namespace kiln::engine::api {
namespace {

using scene::Value;

// A tag and a word behind it: no value is shorter.
constexpr size_t kMinValueSize = 8;
// A text's length, and at least one zero byte in a word of its own.
constexpr size_t kMinTextSize = 8;
// Up to here a list of doubles stays exact, since a transform or a matrix may be written as one.
constexpr size_t kMaxExactDoubles = 64;
// Of a generic list, whose count alone proves nothing.
constexpr size_t kMaxReserve = 1024;

static_assert(sizeof(Vec3) == 12 && sizeof(Color) == 12 && sizeof(AColor) == 16 && sizeof(Matrix) == 36,
              "these are copied as they cross the boundary");

bool IsInt(double number) {
  using Int = std::numeric_limits<int32_t>;
  return number >= Int::min() && number <= Int::max() && number == std::floor(number) &&
         !(number == 0 && std::signbit(number));
}

Value FromDoubles(const std::vector<double>& numbers) {
  if (numbers.size() <= kMaxExactDoubles) {
    return scene::ValueArray(std::vector<Value>(numbers.begin(), numbers.end()));
  }
  if (std::all_of(numbers.begin(), numbers.end(), IsInt)) {
    return scene::IntArray(std::vector<int32_t>(numbers.begin(), numbers.end()));
  }
  std::vector<float> floats(numbers.size());
  std::transform(numbers.begin(), numbers.end(), floats.begin(), scene::ToFloat);
  return scene::FloatArray(std::move(floats));
}

template <class T>
Value FromElements(std::vector<T> elements) {
  if constexpr (std::is_same_v<T, double>) {
    return FromDoubles(elements);
  } else {
    return scene::Array<T>(std::move(elements));
  }
}

class Reader {
 public:
  Reader(const void* stream, const StreamTrust& trust)
      : cursor_(static_cast<const char*>(stream)), left_(trust.bytes), pointers_(trust.pointers) {}

  bool Read(Value* value, int depth);

 private:
  template <class T>
  bool Take(T* field) {
    static_assert(std::is_trivially_copyable_v<T>);
    if (left_ < sizeof(T)) return false;
    std::memcpy(static_cast<void*>(field), cursor_, sizeof(T));
    Skip(sizeof(T));
    return true;
  }
  void Skip(size_t size) {
    cursor_ += size;
    left_ -= size;
  }
  // A count of elements that the rest of the stream can hold.
  bool TakeCount(uint32_t* count, size_t element_size) {
    return Take(count) && *count <= kMaxStreamCount && *count <= left_ / element_size;
  }
  template <class T>
  bool ReadPlain(Value* value) {
    T field;
    if (!Take(&field)) return false;
    *value = field;
    return true;
  }
  bool ReadBoolean(Value* value);
  bool ReadFloatTransform(Value* value);
  bool ReadTransform(Value* value);
  bool TakeText(std::string* text);
  bool ReadText(Value* value);
  bool ReadTextList(Value* value);
  bool ReadTextPointer(Value* value);
  bool ReadPlugin(Value* value, bool with_output);
  bool ReadList(Value* value, int depth);
  template <class T>
  bool ReadInline(Value* value);
  template <class T>
  bool ReadBorrowed(Value* value);
  template <class T>
  bool ReadKept(Value* value);

  const char* cursor_;
  size_t left_;
  bool pointers_;
};

bool Reader::ReadBoolean(Value* value) {
  uint32_t word;
  if (!Take(&word)) return false;
  *value = word != 0;
  return true;
}

bool Reader::ReadFloatTransform(Value* value) {
  Transform transform;
  Vec3 offset;
  if (!Take(&transform.matrix) || !Take(&offset)) return false;
  transform.offset = {offset.x, offset.y, offset.z};
  *value = transform;
  return true;
}

bool Reader::ReadTransform(Value* value) {
  Transform transform;
  if (!Take(&transform.matrix) || !Take(&transform.offset)) return false;
  *value = transform;
  return true;
}

bool Reader::TakeText(std::string* text) {
  uint32_t length;
  if (!Take(&length) || length > kMaxStreamCount) return false;
  const size_t padded = (size_t{length} / 4 + 1) * 4;
  if (padded > left_) return false;
  text->assign(cursor_, length);
  Skip(padded);
  return true;
}

bool Reader::ReadText(Value* value) {
  std::string text;
  if (!TakeText(&text)) return false;
  *value = std::move(text);
  return true;
}

bool Reader::ReadTextList(Value* value) {
  uint32_t count;
  if (!TakeCount(&count, kMinTextSize)) return false;
  std::vector<std::string> texts;
  texts.reserve(std::min<size_t>(count, kMaxReserve));
  for (uint32_t i = 0; i < count; ++i) {
    if (!TakeText(&texts.emplace_back())) return false;
  }
  *value = scene::StringArray(std::move(texts));
  return true;
}

bool Reader::ReadTextPointer(Value* value) {
  uint64_t pointer;
  if (!Take(&pointer) || !pointers_ || !pointer) return false;
  const char* text = reinterpret_cast<const char*>(pointer);
  const size_t length = strnlen(text, size_t{kMaxStreamCount} + 1);
  if (length > kMaxStreamCount) return false;
  *value = std::string(text, length);
  return true;
}

bool Reader::ReadPlugin(Value* value, bool with_output) {
  scene::PluginRef reference;
  if (!Take(&reference.id) || (with_output && !Take(&reference.output))) return false;
  *value = reference ? reference : scene::PluginRef{};
  return true;
}

bool Reader::ReadList(Value* value, int depth) {
  uint32_t count;
  if (depth >= kMaxStreamDepth || !TakeCount(&count, kMinValueSize)) return false;
  std::vector<Value> elements;
  elements.reserve(std::min<size_t>(count, kMaxReserve));
  for (uint32_t i = 0; i < count; ++i) {
    if (!Read(&elements.emplace_back(), depth + 1)) return false;
  }
  *value = scene::ValueArray(std::move(elements));
  return true;
}

template <class T>
bool Reader::ReadInline(Value* value) {
  uint32_t count;
  if (!TakeCount(&count, sizeof(T))) return false;
  std::vector<T> elements(count);
  const size_t size = count * sizeof(T);
  if (size) std::memcpy(static_cast<void*>(elements.data()), cursor_, size);
  Skip(size);
  *value = FromElements(std::move(elements));
  return true;
}

template <class T>
std::vector<T> CopyElements(uint64_t pointer, uint32_t count) {
  std::vector<T> elements(count);
  // By bytes: nothing says that a host aligns its memory.
  if (count) {
    std::memcpy(static_cast<void*>(elements.data()), reinterpret_cast<const void*>(pointer),
                count * sizeof(T));
  }
  return elements;
}

template <class T>
bool Reader::ReadBorrowed(Value* value) {
  uint32_t count;
  uint64_t pointer;
  if (!Take(&count) || !Take(&pointer) || !pointers_) return false;
  if (count > kMaxStreamCount || (count && !pointer)) return false;
  *value = FromElements(CopyElements<T>(pointer, count));
  return true;
}

template <class T>
bool Reader::ReadKept(Value* value) {
  uint32_t count;
  uint64_t pointer;
  uint64_t release;
  uint64_t cookie;
  if (!Take(&count) || !Take(&pointer) || !Take(&release) || !Take(&cookie) || !pointers_) return false;
  const auto owner =
      AdoptHostMemory({reinterpret_cast<const void*>(pointer), uint64_t{count} * sizeof(T),
                       reinterpret_cast<KilnReleaseFunction>(release), reinterpret_cast<void*>(cookie)});
  if (count > kMaxStreamCount || (count && !pointer)) return false;
  // Without a release function nobody says how long the memory lives.
  if (!release || pointer % alignof(T) != 0) {
    *value = FromElements(CopyElements<T>(pointer, count));
  } else {
    *value = scene::Array<T>(std::shared_ptr<const T>(owner, static_cast<const T*>(owner.get())), count);
  }
  return true;
}

bool Reader::Read(Value* value, int depth) {
  uint32_t tag;
  if (!Take(&tag)) return false;
  switch (tag) {
    case KILN_VALUE_INT:
      return ReadPlain<int32_t>(value);
    case KILN_VALUE_FLOAT:
      return ReadPlain<float>(value);
    case KILN_VALUE_DOUBLE:
      return ReadPlain<double>(value);
    case KILN_VALUE_BOOLEAN:
      return ReadBoolean(value);
    case KILN_VALUE_VECTOR:
      return ReadPlain<Vec3>(value);
    case KILN_VALUE_COLOR:
      return ReadPlain<Color>(value);
    case KILN_VALUE_ACOLOR:
      return ReadPlain<AColor>(value);
    case KILN_VALUE_MATRIX:
      return ReadPlain<Matrix>(value);
    case KILN_VALUE_TRANSFORM_FLOAT:
      return ReadFloatTransform(value);
    case KILN_VALUE_TRANSFORM:
      return ReadTransform(value);
    case KILN_VALUE_STRING:
      return ReadText(value);
    case KILN_VALUE_STRING_LIST:
      return ReadTextList(value);
    case KILN_VALUE_STRING_POINTER:
      return ReadTextPointer(value);
    case KILN_VALUE_PLUGIN:
      return ReadPlugin(value, false);
    case KILN_VALUE_PLUGIN_OUTPUT:
      return ReadPlugin(value, true);
    case KILN_VALUE_LIST:
      return ReadList(value, depth);
    case KILN_VALUE_INT_LIST:
    case KILN_VALUE_BOOLEAN_LIST:
      return ReadInline<int32_t>(value);
    case KILN_VALUE_FLOAT_LIST:
      return ReadInline<float>(value);
    case KILN_VALUE_DOUBLE_LIST:
      return ReadInline<double>(value);
    case KILN_VALUE_VECTOR_LIST:
      return ReadInline<Vec3>(value);
    case KILN_VALUE_COLOR_LIST:
      return ReadInline<Color>(value);
    case KILN_VALUE_BORROWED_INT_LIST:
      return ReadBorrowed<int32_t>(value);
    case KILN_VALUE_BORROWED_FLOAT_LIST:
      return ReadBorrowed<float>(value);
    case KILN_VALUE_BORROWED_DOUBLE_LIST:
      return ReadBorrowed<double>(value);
    case KILN_VALUE_BORROWED_VECTOR_LIST:
      return ReadBorrowed<Vec3>(value);
    case KILN_VALUE_BORROWED_COLOR_LIST:
      return ReadBorrowed<Color>(value);
    case KILN_VALUE_KEPT_INT_LIST:
      return ReadKept<int32_t>(value);
    case KILN_VALUE_KEPT_FLOAT_LIST:
      return ReadKept<float>(value);
    case KILN_VALUE_KEPT_VECTOR_LIST:
      return ReadKept<Vec3>(value);
    case KILN_VALUE_KEPT_COLOR_LIST:
      return ReadKept<Color>(value);
    default:
      return false;
  }
}

}  // namespace

std::optional<Value> DecodeValue(const void* stream, const StreamTrust& trust) {
  Value value;
  if (!stream || !Reader(stream, trust).Read(&value, 0)) return {};
  return value;
}

}  // namespace kiln::engine::api
