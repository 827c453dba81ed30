// How every property value crosses the boundary: one self-describing stream of 32-bit words.
//
// The conversion looks at the JavaScript value only; coercion to a declared type is the SDK's business.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "binding/environment.h"
#include "values.h"
#include "values/typed_lists.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
class RendererWrapper;
}

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// Times that are no times; the bits must not be normalised on the way.
inline const double TimeOmitted =
    std::bit_cast<double>(KILN_TIME_OMITTED_BITS);  // getValue, setValue without a time
inline const double TimeDirect =
    std::bit_cast<double>(KILN_TIME_DIRECT_BITS);  // direct reads and assignments

// Makes the stream of one value. Short values stay inside the object.
class ValueWriter {
 public:
  // Typed lists above max_copy_size bytes (compared unsigned, after sign extension) are kept by the SDK.
  ValueWriter(Environment& environment, int32_t max_copy_size)
      : environment_(environment),
        isolate_(environment.isolate()),
        max_copy_size_(max_copy_size),
        heap_(nullptr, std::free) {}
  ValueWriter(const ValueWriter&) = delete;
  ValueWriter& operator=(const ValueWriter&) = delete;

  // Writes a number, a boolean or an object of a value class, as most values are. False for any other, of
  // which nothing is written.
  bool writeShort(v8::Local<v8::Value> value);
  // False when the value can't be written: with dataError for unacceptable data, otherwise with an exception
  // pending.
  bool write(v8::Local<v8::Value> value);
  bool dataError() const { return data_error_; }
  const void* data() const { return data_; }
  size_t size() const { return used_; }

 private:
  // Makes room for more bytes; a reservation that fails drops the field that it was meant for.
  bool Reserve(size_t size) { return used_ + size <= capacity_ || Grow(size); }
  bool Grow(size_t size);
  void Append(const void* bytes, size_t size) {
    if (!Reserve(size)) return;
    if (size > 0) std::memcpy(data_ + used_, bytes, size);
    used_ += size;
  }
  template <class T>
  void Append(T value) {
    Append(&value, sizeof(value));
  }
  void AppendTag(uint32_t tag) { Append(tag); }
  template <class T>
  bool AppendTagged(uint32_t tag, T value) {
    AppendTag(tag);
    Append(value);
    return true;
  }
  bool WriteValueObject(v8::Local<v8::Object> object);
  bool Refuse();
  void WriteString(v8::Local<v8::String> text);
  bool WritePlugin(v8::Local<v8::Object> object);
  bool WriteTypedArray(v8::Local<v8::TypedArray> array);
  bool WriteArray(v8::Local<v8::Array> array);
  bool WriteElement(uint32_t tag, v8::Local<v8::Value> element);

  static constexpr size_t kInlineSize = 64;
  Environment& environment_;
  v8::Isolate* isolate_;
  int32_t max_copy_size_;
  bool data_error_ = false;
  size_t used_ = 0;
  size_t capacity_ = kInlineSize;
  char* data_ = inline_;
  std::unique_ptr<char, void (*)(void*)> heap_;
  alignas(8) char inline_[kInlineSize];
};

// Reads one value at the cursor and advances it. Keeps no pointer into the stream.
class ValueReader {
 public:
  // renderer_object: the KilnRenderer that plugins are wrapped for; empty when there is none, and a plugin is
  // undefined. size: of the stream in bytes; 0 when nobody knows.
  ValueReader(Environment& environment, v8::Local<v8::Object> renderer_object, const uint32_t* cursor,
              int32_t size = 0);
  // Empty when an object could not be made, or the stream ends before the value does.
  v8::MaybeLocal<v8::Value> read();

 private:
  // Whether there are that many bytes; if not, the read has failed.
  bool Reserve(size_t bytes);
  template <class T>
  T Take();
  const uint32_t* TakeWords(size_t count);
  template <class T>
  v8::MaybeLocal<v8::Value> ReadComponents();
  v8::MaybeLocal<v8::Value> ReadTagged(uint32_t tag);
  v8::MaybeLocal<v8::Value> ReadTransform();
  v8::Local<v8::Value> ReadString();
  v8::Local<v8::Value> ReadStringPointer();
  v8::Local<v8::Value> ReadPlugin(bool with_output);
  v8::MaybeLocal<v8::Value> ReadStringList();
  v8::MaybeLocal<v8::Value> ReadList();
  v8::MaybeLocal<v8::Value> ReadTypedList(ListKind kind, uint32_t words_per_element);

  Environment& environment_;
  v8::Isolate* isolate_;
  v8::Local<v8::Object> renderer_object_;
  const uint32_t* cursor_;
  const uint32_t* end_;  // null: unknown
  bool overrun_ = false;
};

// Sets the result to a stream's value when that is a number, a boolean, a vector or a colour, as most are.
// False for any other stream, also for one that ends before its value does; the ValueReader knows them all.
bool ReturnShortValue(Environment& environment, const uint32_t* stream, int32_t size,
                      v8::ReturnValue<v8::Value> result);

// The text of a declared type code; "Object" for a code without one.
const char* propertyTypeName(int32_t code);

// A plugin by its ID, or by its name when that is not null.
struct PropertyTarget {
  KilnPluginId id = KILN_NO_PLUGIN;
  const char* name = nullptr;
};

enum class Stored {
  kYes,      // the SDK took it
  kNo,       // the SDK refused it
  kNothing,  // an exception is pending, and the SDK was not asked
};

// Assigns one value to a property; every assignment of the add-on goes through here.
Stored PropertyStore(Environment& environment, KilnRendererNodeWrapper::RendererWrapper& renderer,
                     const PropertyTarget& target, const char* property, v8::Local<v8::Value> value,
                     double time);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
